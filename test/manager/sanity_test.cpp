#include "support/fixtures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>

/// What holds for every type, swept over both tables.

namespace
{

#define NAME_SLOT(fieldType, field)                                                                \
    if (test(type.field, reserved.field))                                                          \
        names += #field " ";

/// The slots that pass a test beside those of the reserved type.
template <class Test>
std::string Slots(const KoTypeDescriptor& type, Test test)
{
    const KoTypeDescriptor& reserved = *koCurrentTypeTable.entry[KoRES_T];
    std::string names;
    KO_SLOT_LIST(NAME_SLOT)
    return names;
}
#undef NAME_SLOT

/// Every type has names of its own, no slot of it is empty, and every slot does
/// something of its own but for the null value of types without one. Estimates and steps of a
/// sequence, which many types answer as the reserved one does, have tests of their own.
TEST(TypeSanity, EveryTypeIsWritten)
{
    std::set<std::string> names;
    for (int id = 0; id < KoTYPE_COUNT; ++id) {
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[id];
        SCOPED_TRACE(type.name);
        EXPECT_TRUE(names.insert(type.name).second && names.insert(type.idName).second);
        const KoTypeDescriptor* compat = koCompatTypeTable.entry[id];
        EXPECT_TRUE(id == KoSTRING_T || compat == (id < KoTYPE_COUNT_COMPAT ? &type : nullptr));
        for (const KoTypeDescriptor* record : {&type, compat}) {
            if (record == nullptr)
                continue;
            const std::string empty = Slots(*record, [](auto slot, auto) { return !slot; });
            EXPECT_EQ(empty, std::string(record->setNull == nullptr ? "setNull " : "") +
                                 (record->memLen == 0 ? "memLen " : "") +
                                 (record->isFixed == 0 ? "isFixed " : "") +
                                 "reserved1 reserved2 reserved3 ");
        }
        if (id == KoRES_T)
            continue;
        KoTypeDescriptor own = type; // but for the two that have tests of their own
        own.evalAndBound = nullptr;
        own.getValue = nullptr;
        const std::string absent = Slots(own, [](auto slot, auto none) { return slot == none; });
        EXPECT_EQ(absent, std::string(type.setNull == nullptr ? "isNull setNull " : "") +
                              (type.isFixed != 0 ? "isFixed " : "") +
                              "reserved1 reserved2 reserved3 ");
    }
    const KoTypeDescriptor& string = *koCurrentTypeTable.entry[KoSTRING_T];
    const KoTypeDescriptor& oldString = *koCompatTypeTable.entry[KoSTRING_T];
    EXPECT_STREQ(oldString.name, string.name);
    EXPECT_STREQ(oldString.idName, string.idName);
    EXPECT_STREQ(oldString.printFormat, string.printFormat);
    EXPECT_EQ(oldString.memLen, string.memLen);
    EXPECT_EQ(oldString.setNull, nullptr);
    KoString null = NullText();
    EXPECT_EQ(oldString.isNull(&null), 0);
    EXPECT_EQ(oldString.getValue(&null, 0, KoFMT_MEMORY, 'O'), KoRC_NOT_SUPPORTED);
}

TEST(TypeSanity, Capabilities)
{
    // N null value, I integral, T time stamp; by id.
    const char* const marks[] = {"I",  "I",  "I", "",   "",   "I", "I", "I",  "I", "I", "I", "N",
                                 "NT", "NT", "",  "NI", "N",  "N", "N", "NT", "",  "",  "T", "T",
                                 "T",  "",   "I", "N",  "N",  "N", "N", "N",  "N", "N", "N", "N",
                                 "N",  "N",  "N", "",   "NT", "N", "I", "I",  "N", "N", ""};
    for (const unsigned factory : {5U, 3U}) {
        const KoTypeMgr manager(factory);
        for (int id = -128; id < 128; ++id) {
            SCOPED_TRACE(id);
            const auto code = static_cast<o_char>(id);
            const std::string expected =
                id >= 0 && id < static_cast<int>(std::size(marks)) ? marks[id] : "";
            const auto has = [&](char mark) { return expected.find(mark) != std::string::npos; };
            EXPECT_EQ(manager.SupportsCapability(code, KoCAP_INTEGRAL), has('I'));
            EXPECT_EQ(manager.SupportsCapability(code, KoCAP_TIMESTAMP), has('T'));
            EXPECT_EQ(manager.SupportsCapability(code, 0), 0);
            EXPECT_EQ(manager.SupportsCapability(code, 4), 0);
            if (id >= 0 && id < KoRES_T) {
                EXPECT_EQ(manager.SupportsNullValue(code),
                          has('N') &&
                              (factory == 5 || (id < KoTYPE_COUNT_COMPAT && id != KoSTRING_T)));
            }
        }
    }
}

TEST(TypeSanity, NullTestBelongsToTheNullValue)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        const FixtureArray values(manager, id);
        const bool hasNull = koCurrentTypeTable.entry[id]->setNull != nullptr;
        for (unsigned i = 0; i < values.Count(); ++i) {
            const bool expected = hasNull && std::string(values.Reason(i)).rfind("null", 0) == 0;
            EXPECT_EQ(manager.IsNullValue(id, values[i]) != 0, expected) << values.Reason(i);
        }
        const Array element{manager, id, manager.Create(id, 1), 1};
        EXPECT_EQ(manager.IsNullValue(id, element.data) != 0, IsIdentity(id));
        manager.SetNullValue(id, element.data);
        EXPECT_EQ(manager.IsNullValue(id, element.data) != 0, hasNull);
    });
}

TEST(TypeSanity, NoElementsAreNeverTouched)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG, KoFMT_MEMORY}) {
            EXPECT_EQ(manager.Store(id, nullptr, nullptr, format, 0), 0U);
            EXPECT_EQ(manager.Load(id, nullptr, nullptr, format, 0), 0U);
            EXPECT_EQ(manager.DiskLenGet(id, nullptr, format, 0, format),
                      id == KoBLOB_T && format == KoFMT_MEMORY ? 4U : 0U);
            EXPECT_EQ(manager.Translate(id, nullptr, format, 0, nullptr, format, 0, 0), 0U);
            EXPECT_EQ(manager.Cmp(id, nullptr, nullptr, 0, 0, format), 0);
            int status = 9;
            manager.Hash(id, 0, nullptr, 0, format, status);
            EXPECT_EQ(status, 0);
        }
        KoString text("kept");
        manager.PrintToKoString(id, text, nullptr, nullptr, 0);
        EXPECT_STREQ(text.StrGet(), "kept");
        EXPECT_EQ(manager.ScanFromKoString(id, nullptr, text, nullptr, 0), nullptr);
        manager.AssignmentPtrGet(id)(nullptr, nullptr, 0, 1);
        manager.CopyPtrGet(id)(nullptr, nullptr, 0, 1);
    });
}

TEST(TypeSanity, ArraysAreMadeCopiedAndAssigned)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        const FixtureArray values(manager, id);
        const unsigned count = values.Count();
        const auto stored = [&](const void* array) {
            return Stored(manager, id, array, KoFMT_BIG, count);
        };
        const Bytes expected = stored(values.Data());
        const Array made{manager, id, manager.Create(id, count), count};
        const Bytes empty = stored(made.data);
        manager.AssignmentPtrGet(id)(made.data, values.Data(), count, 0);
        EXPECT_EQ(stored(made.data), expected);

        // In raw memory; a copy and its source are separate.
        const std::unique_ptr<void, void (*)(void*)> raw(
            KoAlloc(std::size_t{koCurrentTypeTable.entry[id]->memLen} * count), KoFree);
        manager.ConstructorPtrGet(id)(raw.get(), count, 0);
        EXPECT_EQ(stored(raw.get()), empty) << "constructed is as empty as created";
        manager.DestructorPtrGet(id)(raw.get(), count, 0);
        manager.CopyPtrGet(id)(raw.get(), values.Data(), count, 0);
        EXPECT_EQ(stored(raw.get()), expected);
        for (unsigned i = 0; i < count; ++i) {
            manager.AssignmentPtrGet(id)(raw.get(), values[i], count, 1);
            const Bytes first = Stored(manager, id, raw.get(), KoFMT_BIG, 1);
            EXPECT_EQ(first, Stored(manager, id, values[i], KoFMT_BIG, 1)) << values.Reason(i);
            const void* last = manager.GetArrayElement(id, raw.get(), count - 1, count);
            EXPECT_EQ(first, Stored(manager, id, last, KoFMT_BIG, 1)) << values.Reason(i);
        }
        manager.DestructorPtrGet(id)(raw.get(), count, 0);
        EXPECT_EQ(stored(values.Data()), expected);

        const Array byDefault{manager, id, manager.DefaultValue(id, count, 0), count};
        ASSERT_NE(byDefault.data, nullptr);
        const std::unique_ptr<KoTypeConvertData> texts(
            KoTypeConvertData::Make(KoSTRING_T, count, manager.Create(KoSTRING_T, count), nullptr));
        const Array fromTexts{manager, id, manager.ConvertFrom(id, texts.get(), count), count};
        ASSERT_NE(fromTexts.data, nullptr);
        EXPECT_EQ(stored(byDefault.data), stored(fromTexts.data)) << "from empty texts";
    });
}

/// Every operation of an id that names no type leaves the value and gives the reserved type's
/// answer.
TEST(TypeSanity, NoIdIsOutOfRange)
{
    for (const unsigned factory : {5U, 3U}) {
        const KoTypeTable& table = factory == 5 ? koCurrentTypeTable : koCompatTypeTable;
        KoTypeMgr manager(factory);
        for (int code = -128; code < 128; ++code) {
            const auto id = static_cast<o_char>(code);
            SCOPED_TRACE(testing::Message() << "id " << code << ", factory " << factory);
            const KoTypeDescriptor* entry =
                code >= 0 && code < KoTYPE_COUNT ? table.entry[code] : nullptr;
            if (entry != nullptr && code != KoRES_T)
                continue;
            alignas(16) unsigned char value[64] = "unchanged";
            EXPECT_EQ(manager.Create(id, 1), nullptr);
            EXPECT_EQ(manager.DiskLenGet(id, value, 1, 1, 8), 0U);
            EXPECT_EQ(manager.Store(id, value, value, 1, 1), 0U);
            EXPECT_EQ(manager.Load(id, value, value, 1, 1), 0U);
            MemFile file(value, sizeof value);
            EXPECT_EQ(manager.DiskLenGetFromMemFile(id, &file, 1, 1), 0U);
            EXPECT_EQ(manager.Cmp(id, value, value, 0x0110, 1, 8), 0);
            int status = 9;
            manager.Hash(id, 0, value, 1, 8, status);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(manager.Translate(id, value, 1, 0, value, 8, 64, 1), 0U);
            EXPECT_EQ(manager.IsNullValue(id, value), 0);
            EXPECT_EQ(manager.SetNullValue(id, value), 0);
            manager.GetValue(id, value, 0, 8, 'O');
            EXPECT_EQ(manager.GetArrayElement(id, value, 5, 5), nullptr);
            KoTimeStampRec clock = {2024, 2, 29, 1, 2, 3, 4};
            EXPECT_EQ(
                manager.StoreTimeStamp(id, value, 1, &clock),
                manager.SupportsCapability(id, KoCAP_TIMESTAMP) != 0 ? 0 : int{KoRC_NOT_SUPPORTED});
            KoString text;
            manager.PrintToKoString(id, text, value, nullptr, 1);
            EXPECT_TRUE(text.IsEmpty());
            EXPECT_EQ(manager.ScanFromKoString(id, value, text, nullptr, 1), value);
            unsigned errorAt = 9;
            EXPECT_EQ(manager.ParseFromKoString(id, value, text, nullptr, errorAt),
                      KoRC_NOT_SUPPORTED);
            EXPECT_EQ(errorAt, 0U);
            EXPECT_EQ(manager.ConvertTo(id, value, 1), nullptr);
            EXPECT_EQ(manager.ConvertToKoStringOld(value, id, 1), nullptr);
            KoString split("a,");
            EXPECT_EQ(manager.ConvertFromKoStringOld(&split, id, 1), nullptr);
            EXPECT_EQ(manager.DefaultValue(id, 1, 0), nullptr);
            EXPECT_EQ(std::memcmp(value, "unchanged", 10), 0);
            EXPECT_EQ(manager.MemLenGet(id, 3), entry != nullptr ? entry->memLen * 3 : 0);
            unsigned short op = 3;
            EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, value, 8, 1, nullptr, nullptr), 0.0F);
        }
    }
}

} // namespace
