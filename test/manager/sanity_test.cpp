#include "support/failing_heap.h"
#include "support/fixtures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>

/// What holds for every type, swept over both tables.

namespace
{

const unsigned char persistentFormats[] = {KoFMT_LITTLE, KoFMT_BIG, 0};

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

TEST(TypeSanity, StoredValuesComeBack)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        const FixtureArray values(manager, id);
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[id];
        const unsigned count = values.Count();
        for (const unsigned char format : persistentFormats) {
            SCOPED_TRACE(testing::Message() << "format " << int{format});
            Bytes bytes = Stored(manager, id, values.Data(), format, count);
            const auto size = static_cast<unsigned>(bytes.size());
            Bytes oneByOne;
            for (unsigned i = 0; i < count; ++i) {
                const Bytes one = Stored(manager, id, values[i], format, 1);
                oneByOne.insert(oneByOne.end(), one.begin(), one.end());
            }
            if (id != KoBLOB_T) { // its array has one total in front
                EXPECT_EQ(oneByOne, bytes) << "an array is its elements one after the other";
            }
            EXPECT_EQ(manager.DiskLenGet(id, bytes.data(), format, count, format), size);
            MemFile file(bytes.data(), bytes.size());
            EXPECT_EQ(manager.DiskLenGetFromMemFile(id, &file, format, count), size);
            if (type.isFixed != 0) {
                EXPECT_EQ(type.nullSizeGet(count), size);
            }
            const Array loaded{manager, id, manager.Create(id, count), count};
            manager.Load(id, loaded.data, bytes.data(), format,
                         count); // the loop below looks at it
            int status = 1;
            EXPECT_EQ(manager.Cmp(id, 0, values.Data(), 0, loaded.data, kExact, count, KoFMT_MEMORY,
                                  status),
                      0);
            EXPECT_EQ(status, 0);
            const unsigned hash = manager.Hash(id, 0, values.Data(), count, KoFMT_MEMORY, status);
            EXPECT_EQ(manager.Hash(id, size, bytes.data(), count, format, status), hash);
            EXPECT_EQ(status, 0);

            // Translating is storing, copying, loading.
            const unsigned memory = type.memLen * count;
            Bytes made(size);
            EXPECT_EQ(manager.Translate(id, made.data(), format, size, values.Data(), KoFMT_MEMORY,
                                        memory, count),
                      size);
            EXPECT_EQ(made, bytes);
            Bytes copy(size);
            EXPECT_EQ(
                manager.Translate(id, copy.data(), format, size, made.data(), format, size, count),
                size);
            EXPECT_EQ(copy, bytes);
            manager.AssignmentPtrGet(id)(loaded.data, values[0], count, 1);
            manager.Translate(id, loaded.data, KoFMT_MEMORY, memory, bytes.data(), format, size,
                              count);
            EXPECT_EQ(Stored(manager, id, loaded.data, format, count), bytes);
        }
        // Whatever else the bits are: only 2 alone puts the high byte first.
        for (unsigned byte = 0; byte < (type.isFixed != 0 ? 256 : 16); ++byte) {
            SCOPED_TRACE(testing::Message() << "format " << byte);
            const auto format = static_cast<unsigned char>(byte);
            const Bytes bytes = Stored(manager, id, values.Data(), format, count);
            if ((byte & KoFMT_MEMORY) == 0) {
                const unsigned char order = (byte & 15) == 2 ? KoFMT_BIG : KoFMT_LITTLE;
                EXPECT_EQ(bytes, Stored(manager, id, values.Data(), order, count));
            }
            const Array loaded{manager, id, manager.Create(id, count), count};
            EXPECT_EQ(manager.Load(id, loaded.data, bytes.data(), format, count), bytes.size());
            EXPECT_EQ(Stored(manager, id, loaded.data, format, count), bytes);
        }
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

TEST(TypeSanity, TextsConvertBack)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        const FixtureArray values(manager, id);
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[id];
        const unsigned count = values.Count();
        const std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(id, values.Data(), count));
        ASSERT_NE(texts, nullptr);
        EXPECT_EQ(texts->manager, &manager);
        const Array back{manager, id, manager.ConvertFrom(id, texts.get(), count), count};
        for (unsigned i = 0; i < count; ++i) {
            const KoString& text = *texts->GetString(static_cast<int>(i));
            SCOPED_TRACE(testing::Message() << values.Reason(i) << ": " << text.StrGet());
            void* element = manager.GetArrayElement(id, back.data, i, count);
            // The character 0 has no text, and no text means null where there is a null.
            if (manager.IsNullValue(id, values[i]) != 0 ||
                (type.isFixed != 0 && type.setNull != nullptr && text.IsEmpty())) {
                EXPECT_NE(manager.IsNullValue(id, element), 0);
            } else {
                EXPECT_EQ(Stored(manager, id, element, KoFMT_BIG, 1),
                          Stored(manager, id, values[i], KoFMT_BIG, 1));
            }
        }
    });
}

/// Whatever allocation fails, nothing crashes, the handler hears of it, and what was made can be
/// released.
TEST(TypeSanity, LackOfMemoryIsSurvived)
{
    ForEachType([](KoTypeMgr& manager, o_char id) {
        const FixtureArray values(manager, id);
        for (unsigned i = 0; i < values.Count(); ++i) {
            SCOPED_TRACE(values.Reason(i));
            Bytes bytes = Stored(manager, id, values[i], KoFMT_LITTLE, 1);
            const Array target{manager, id, manager.Create(id, 1), 1};
            bool failed = true;
            for (int first = 0; failed; ++first) {
                ASSERT_LT(first, 200);
                const FailingHeap heap(first);
                const Array made{manager, id, manager.Create(id, 1), 1};
                const Array byDefault{manager, id, manager.DefaultValue(id, 1, 0), 1};
                EXPECT_TRUE(first != 0 || (made.data == nullptr && byDefault.data == nullptr));
                manager.AssignmentPtrGet(id)(target.data, values[i], 1, 0);
                manager.Load(id, target.data, bytes.data(), KoFMT_LITTLE, 1);
                const std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(id, values[i], 1));
                const Array back{manager, id, manager.ConvertFrom(id, texts.get(), 1), 1};
                EXPECT_TRUE(first != 0 || back.data == nullptr);
                KoString text;
                manager.PrintToKoString(id, text, values[i], nullptr, 1);
                unsigned errorAt = 0;
                manager.ParseFromKoString(id, target.data, text, nullptr, errorAt);
                manager.ScanFromKoString(id, target.data, text, nullptr, 1);
                int status = 0;
                manager.Hash(id, 0, target.data, 1, KoFMT_MEMORY, status);
                manager.Cmp(id, target.data, values[i], 0, 1, KoFMT_MEMORY);
                manager.GetValue(id, bytes.data(), 0, KoFMT_LITTLE, 'O');
                manager.SetNullValue(id, target.data);
                KoString old("a,b,");
                const Array joined{manager, KoSTRING_T,
                                   manager.ConvertToKoStringOld(values[i], id, 1), 1};
                const Array pieces{manager, id, manager.ConvertFromKoStringOld(&old, id, 2), 2};
                failed = heap.HasFailed();
                EXPECT_EQ(heap.HandlerCalls() > 0, failed);
            }
        }
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
