#include "failing_heap.h"
#include "fixtures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// What holds for every type, swept over both tables.

namespace
{

using Bytes = std::vector<unsigned char>;

struct Table {
    const KoTypeTable& entries;
    unsigned factory;
};
const Table tables[] = {{koCurrentTypeTable, 5}, {koCompatTypeTable, 3}};

const KoTypeDescriptor& Reserved()
{
    return *koCurrentTypeTable.entry[KoRES_T];
}

/// True for a type whose new element is null: an identity that names nothing yet.
bool IsNullWhenNew(int id)
{
    return id == KoOBJID_T || id == KoCLID_T || id == KoREF_T;
}

/// Calls `visit(manager, id, type)` for every type that has operations. The current table is
/// enough: the other one shares all of its records but the older string type's.
template <class Visit>
void ForEachType(Visit visit)
{
    const KoTypeMgr manager;
    for (int slot = 0; slot < KoTYPE_COUNT; ++slot) {
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[slot];
        if (IsPending(type))
            continue;
        SCOPED_TRACE(type.name);
        visit(manager, static_cast<o_char>(slot), type);
    }
}

Bytes Stored(const KoTypeMgr& manager, o_char id, const void* values, unsigned char format,
             unsigned count)
{
    constexpr unsigned char kGuard = 0xA5;
    const unsigned size = manager.DiskLenGet(id, values, format, count, KoFMT_MEMORY);
    Bytes bytes(size + 16, kGuard);
    EXPECT_EQ(manager.Store(id, bytes.data(), values, format, count), size);
    for (std::size_t at = size; at < bytes.size(); ++at)
        EXPECT_EQ(bytes[at], kGuard) << "written beyond the end, format " << int{format};
    bytes.resize(size);
    return bytes;
}

const unsigned char persistentFormats[] = {KoFMT_LITTLE, KoFMT_BIG, 0};
const unsigned char otherFormats[] = {KoFMT_MEMORY, KoFMT_MEMORY | KoFMT_BIG, 0x0F};

/// Every type has fixtures, and every slot of it does something of its own but for the null value
/// of types without one. Estimates and steps of a sequence, which many types answer as the reserved
/// one does, have tests of their own.
TEST(TypeSanity, EveryTypeIsWritten)
{
    std::set<int> covered;
    for (const Fixture& fixture : AllFixtures())
        covered.insert(fixture.id);
    for (int id = 0; id < KoRES_T; ++id) {
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[id];
        SCOPED_TRACE(type.name);
        EXPECT_EQ(covered.count(id), 1U) << "has fixtures";
        std::string absent;
#define NAME_ABSENT(fieldType, field)                                                              \
    if (type.field == Reserved().field &&                                                          \
        !std::set<std::string>{"evalAndBound", "getValue"}.count(#field))                          \
        absent += #field " ";
        KO_SLOT_LIST(NAME_ABSENT)
#undef NAME_ABSENT
        std::string expected;
        if (type.setNull == nullptr)
            expected += "isNull setNull ";
        if (type.isFixed != 0)
            expected += "isFixed ";
        expected += "reserved1 reserved2 ";
        EXPECT_EQ(absent, expected + "reserved3 ");
    }
}

TEST(TypeSanity, RecordsAreComplete)
{
    std::set<std::string> names;
    std::set<std::string> idNames;
    for (int slot = 0; slot < KoTYPE_COUNT; ++slot) {
        const KoTypeDescriptor& type = *koCurrentTypeTable.entry[slot];
        EXPECT_TRUE(names.insert(type.name).second) << type.name;
        EXPECT_TRUE(idNames.insert(type.idName).second) << type.idName;
        const KoTypeDescriptor* compat = koCompatTypeTable.entry[slot];
        if (slot != KoSTRING_T) {
            EXPECT_EQ(compat, slot < KoTYPE_COUNT_COMPAT ? &type : nullptr) << slot;
        }
    }
    const KoTypeDescriptor& string = *koCurrentTypeTable.entry[KoSTRING_T];
    const KoTypeDescriptor& oldString = *koCompatTypeTable.entry[KoSTRING_T];
    EXPECT_NE(&oldString, &string);
    EXPECT_STREQ(oldString.name, string.name);
    EXPECT_STREQ(oldString.idName, string.idName);
    EXPECT_STREQ(oldString.printFormat, string.printFormat);
    EXPECT_EQ(oldString.memLen, string.memLen);
    EXPECT_EQ(oldString.setNull, nullptr);
    KoString null = NullText();
    EXPECT_EQ(oldString.isNull(&null), 0);
    EXPECT_EQ(oldString.getValue(&null, 0, KoFMT_MEMORY, 'O'), KoRC_NOT_SUPPORTED);

    for (const Table& table : tables) {
        for (const KoTypeDescriptor* type : table.entries.entry) {
            if (type == nullptr)
                continue;
            SCOPED_TRACE(type->name);
            std::string empty;
#define NAME_EMPTY(fieldType, field) empty += !type->field ? #field " " : "";
            KO_SLOT_LIST(NAME_EMPTY)
#undef NAME_EMPTY
            std::string expected = type->setNull == nullptr ? "setNull " : "";
            if (type->memLen == 0)
                expected += "memLen ";
            if (type->isFixed == 0)
                expected += "isFixed ";
            EXPECT_EQ(empty, expected + "reserved1 reserved2 reserved3 ");
        }
    }
}

TEST(TypeSanity, Capabilities)
{
    // N null value, I integral, T time stamp; by id.
    const char* const marks[KoTYPE_COUNT] = {
        "I", "I", "I", "",   "",  "I", "I", "I", "I",  "I", "I", "N", "NT", "NT", "",  "NI",
        "N", "N", "N", "NT", "",  "",  "T", "T", "T",  "",  "I", "N", "N",  "N",  "N", "N",
        "N", "N", "N", "N",  "N", "N", "N", "",  "NT", "N", "I", "I", "N",  "N",  ""};
    const KoTypeMgr manager;
    const KoTypeMgr compat(3);
    for (int id = -128; id < 128; ++id) {
        SCOPED_TRACE(id);
        const auto code = static_cast<o_char>(id);
        const std::string expected = id >= 0 && id < KoTYPE_COUNT ? marks[id] : "";
        const auto has = [&](char mark) { return expected.find(mark) != std::string::npos; };
        for (const KoTypeMgr& either : {manager, compat}) {
            EXPECT_EQ(either.SupportsCapability(code, KoCAP_INTEGRAL), has('I'));
            EXPECT_EQ(either.SupportsCapability(code, KoCAP_TIMESTAMP), has('T'));
            EXPECT_EQ(either.SupportsCapability(code, 0), 0);
            EXPECT_EQ(either.SupportsCapability(code, 4), 0);
        }
        if (id < 0 || id >= KoTYPE_COUNT || IsPending(*koCurrentTypeTable.entry[id]))
            continue;
        EXPECT_EQ(manager.SupportsNullValue(code), has('N'));
        EXPECT_EQ(compat.SupportsNullValue(code),
                  has('N') && id < KoTYPE_COUNT_COMPAT && id != KoSTRING_T);
    }
}

TEST(TypeSanity, NullTestBelongsToTheNullValue)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor& type) {
        EXPECT_EQ(type.isNull == Reserved().isNull, type.setNull == nullptr);
        const FixtureArray values(manager, id);
        for (unsigned i = 0; i < values.Count(); ++i) {
            const bool expected =
                type.setNull != nullptr && std::strcmp(values.Reason(i), "null") == 0;
            EXPECT_EQ(manager.IsNullValue(id, values[i]) != 0, expected) << values.Reason(i);
        }
        const Array element{manager, id, manager.Create(id, 1), 1};
        EXPECT_EQ(manager.IsNullValue(id, element.data) != 0, IsNullWhenNew(id));
        if (type.setNull != nullptr) {
            EXPECT_EQ(KoTypeMgr(manager).SetNullValue(id, element.data), 0);
            EXPECT_NE(manager.IsNullValue(id, element.data), 0);
        }
    });
}

TEST(TypeSanity, StoredValuesComeBack)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor& type) {
        const FixtureArray values(manager, id);
        const unsigned count = values.Count();
        for (const unsigned char format : persistentFormats) {
            SCOPED_TRACE(testing::Message() << "format " << int{format});
            Bytes bytes = Stored(manager, id, values.Data(), format, count);
            const auto size = static_cast<unsigned>(bytes.size());
            Bytes oneByOne;
            for (unsigned i = 0; i < count; ++i) {
                SCOPED_TRACE(values.Reason(i));
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
            EXPECT_EQ(manager.Load(id, loaded.data, bytes.data(), format, count), size);
            EXPECT_EQ(Stored(manager, id, loaded.data, format, count), bytes);

            int status = 1;
            EXPECT_EQ(manager.Cmp(id, 0, values.Data(), 0, loaded.data, kExact, count, KoFMT_MEMORY,
                                  status),
                      0);
            EXPECT_EQ(status, 0);
            Bytes copy = bytes;
            EXPECT_EQ(manager.Cmp(id, size, bytes.data(), size, copy.data(), kExact, count, format,
                                  status),
                      0);
            EXPECT_EQ(status, 0);
            const unsigned hash = manager.Hash(id, 0, values.Data(), count, KoFMT_MEMORY, status);
            EXPECT_EQ(manager.Hash(id, size, bytes.data(), count, format, status), hash);
            EXPECT_EQ(status, 0);
        }
        // Whatever else the low four bits are: only 2 alone puts the high byte first.
        for (const unsigned char format : otherFormats) {
            SCOPED_TRACE(testing::Message() << "format " << int{format});
            const Bytes bytes = Stored(manager, id, values.Data(), format, count);
            const Array loaded{manager, id, manager.Create(id, count), count};
            EXPECT_EQ(manager.Load(id, loaded.data, bytes.data(), format, count), bytes.size());
            EXPECT_EQ(Stored(manager, id, loaded.data, format, count), bytes);
        }
    });
}

TEST(TypeSanity, NoElementsAreNeverTouched)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor&) {
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

TEST(TypeSanity, TranslateIsStoreAndLoad)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor& type) {
        const FixtureArray values(manager, id);
        const unsigned count = values.Count();
        const unsigned memory = type.memLen * count;
        for (const unsigned char format : persistentFormats) {
            SCOPED_TRACE(testing::Message() << "format " << int{format});
            Bytes stored = Stored(manager, id, values.Data(), format, count);
            const auto size = static_cast<unsigned>(stored.size());
            Bytes bytes(size);
            EXPECT_EQ(manager.Translate(id, bytes.data(), format, size, values.Data(), KoFMT_MEMORY,
                                        memory, count),
                      size);
            EXPECT_EQ(bytes, stored);
            Bytes copy(size);
            EXPECT_EQ(
                manager.Translate(id, copy.data(), format, size, bytes.data(), format, size, count),
                size);
            EXPECT_EQ(copy, stored);
            const Array loaded{manager, id, manager.Create(id, count), count};
            manager.Translate(id, loaded.data, KoFMT_MEMORY, memory, bytes.data(), format, size,
                              count);
            EXPECT_EQ(Stored(manager, id, loaded.data, format, count), stored);
        }
    });
}

TEST(TypeSanity, ArraysAreMadeCopiedAndAssigned)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor& type) {
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
        const std::unique_ptr<void, void (*)(void*)> raw(KoAlloc(std::size_t{type.memLen} * count),
                                                         KoFree);
        manager.ConstructorPtrGet(id)(raw.get(), count, 0);
        EXPECT_EQ(stored(raw.get()), empty) << "constructed is as empty as created";
        manager.DestructorPtrGet(id)(raw.get(), count, 0);
        manager.CopyPtrGet(id)(raw.get(), values.Data(), count, 0);
        EXPECT_EQ(stored(raw.get()), expected);
        for (unsigned i = 0; i < count; ++i) {
            manager.AssignmentPtrGet(id)(raw.get(), values[i], count, 1);
            const Bytes first = Stored(manager, id, raw.get(), KoFMT_BIG, 1);
            EXPECT_EQ(first, Stored(manager, id, values[i], KoFMT_BIG, 1)) << values.Reason(i);
            for (unsigned n = 0; n < count; ++n) {
                const void* element = manager.GetArrayElement(id, raw.get(), n, count);
                EXPECT_EQ(Stored(manager, id, element, KoFMT_BIG, 1), first) << values.Reason(i);
            }
        }
        manager.DestructorPtrGet(id)(raw.get(), count, 0);
        EXPECT_EQ(stored(values.Data()), expected);

        const Array byDefault{manager, id, manager.DefaultValue(id, count, 0), count};
        ASSERT_NE(byDefault.data, nullptr);
        KoTypeMgr writable(manager);
        const std::unique_ptr<KoTypeConvertData> texts(
            KoTypeConvertData::Make(KoSTRING_T, count, manager.Create(KoSTRING_T, count), nullptr));
        const Array fromTexts{manager, id, writable.ConvertFrom(id, texts.get(), count), count};
        ASSERT_NE(fromTexts.data, nullptr);
        EXPECT_EQ(stored(byDefault.data), stored(fromTexts.data)) << "from empty texts";
    });
}

TEST(TypeSanity, TextsConvertBack)
{
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor& type) {
        KoTypeMgr writable(manager);
        const FixtureArray values(manager, id);
        const unsigned count = values.Count();
        const std::unique_ptr<KoTypeConvertData> texts(
            writable.ConvertTo(id, values.Data(), count));
        ASSERT_NE(texts, nullptr);
        EXPECT_EQ(texts->manager, &writable);
        const Array back{manager, id, writable.ConvertFrom(id, texts.get(), count), count};
        ASSERT_NE(back.data, nullptr);
        for (unsigned i = 0; i < count; ++i) {
            const KoString& text = *texts->GetString(static_cast<int>(i));
            SCOPED_TRACE(testing::Message() << values.Reason(i) << ": " << text.StrGet());
            void* element = manager.GetArrayElement(id, back.data, i, count);
            // The character 0 has no text, and no text means null where there is a null.
            if (type.isFixed != 0 && type.setNull != nullptr && text.IsEmpty()) {
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
    ForEachType([](const KoTypeMgr& manager, o_char id, const KoTypeDescriptor&) {
        KoTypeMgr writable(manager);
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
                manager.AssignmentPtrGet(id)(target.data, values[i], 1, 0);
                manager.Load(id, target.data, bytes.data(), KoFMT_LITTLE, 1);
                const std::unique_ptr<KoTypeConvertData> texts(
                    writable.ConvertTo(id, values[i], 1));
                const Array back{manager, id, writable.ConvertFrom(id, texts.get(), 1), 1};
                KoString text;
                manager.PrintToKoString(id, text, values[i], nullptr, 1);
                unsigned errorAt = 0;
                manager.ParseFromKoString(id, target.data, text, nullptr, errorAt);
                manager.ScanFromKoString(id, target.data, text, nullptr, 1);
                int status = 0;
                manager.Hash(id, 0, target.data, 1, KoFMT_MEMORY, status);
                manager.Cmp(id, target.data, values[i], 0, 1, KoFMT_MEMORY);
                writable.GetValue(id, bytes.data(), 0, KoFMT_LITTLE, 'O');
                writable.SetNullValue(id, target.data);
                failed = heap.HasFailed();
                EXPECT_EQ(heap.HandlerCalls() > 0, failed);
            }
        }
    });
}

/// Every operation of an id that names no type leaves the value and gives the reserved type's
/// answer. Types themselves get a value of their own.
TEST(TypeSanity, NoIdIsOutOfRange)
{
    for (const Table& table : tables) {
        KoTypeMgr manager(table.factory);
        for (int code = -128; code < 128; ++code) {
            const auto id = static_cast<o_char>(code);
            SCOPED_TRACE(testing::Message() << "id " << code << ", factory " << table.factory);
            const bool isType = code >= 0 && code < KoRES_T &&
                                table.entries.entry[code] != nullptr &&
                                !IsPending(*table.entries.entry[code]);
            alignas(16) unsigned char scratch[64] = "unchanged";
            const Array made{manager, id, manager.Create(id, 1), 1};
            EXPECT_EQ(made.data != nullptr, isType);
            void* value = isType ? made.data : scratch;

            alignas(16) unsigned char stored[64] = "unchanged";
            const unsigned size = manager.DiskLenGet(id, value, 1, 1, 8);
            ASSERT_LE(size, sizeof stored);
            EXPECT_EQ(size != 0, isType);
            EXPECT_EQ(manager.Store(id, stored, value, 1, 1), size);
            EXPECT_EQ(manager.Load(id, value, stored, 1, 1), size);
            MemFile file(stored, size);
            EXPECT_EQ(manager.DiskLenGetFromMemFile(id, &file, 1, 1), size);
            EXPECT_EQ(manager.Cmp(id, value, value, 0x0110, 1, 8), 0);
            int status = 9;
            manager.Hash(id, 0, value, 1, 8, status);
            EXPECT_EQ(status, 0);
            EXPECT_EQ(manager.Translate(id, stored, 1, size, value, 8, 64, 1), size);
            EXPECT_EQ(manager.IsNullValue(id, value) != 0, isType && IsNullWhenNew(id));
            EXPECT_EQ(manager.SetNullValue(id, value), 0);
            manager.GetValue(id, value, 0, 8, 'O');
            EXPECT_EQ(manager.GetArrayElement(id, scratch, 5, 5), nullptr);
            KoTimeStampRec clock = {2024, 2, 29, 1, 2, 3, 4};
            const int stamped = manager.StoreTimeStamp(id, stored, 1, &clock);
            EXPECT_EQ(stamped, manager.SupportsCapability(id, KoCAP_TIMESTAMP) == 0
                                   ? static_cast<int>(KoRC_NOT_SUPPORTED)
                                   : static_cast<int>(size));

            KoString text;
            manager.PrintToKoString(id, text, value, nullptr, 1);
            EXPECT_EQ(manager.ScanFromKoString(id, value, text, nullptr, 1), value);
            unsigned errorAt = 0;
            manager.ParseFromKoString(id, value, text, nullptr, errorAt);
            const std::unique_ptr<KoTypeConvertData> texts(manager.ConvertTo(id, value, 1));
            EXPECT_EQ(texts != nullptr, isType);
            const std::unique_ptr<KoString, void (*)(KoString*)> joined(
                manager.ConvertToKoStringOld(value, id, 1),
                [](KoString* made) { KoTypeMgr().Delete(KoSTRING_T, made, 1); });
            KoString split("a,");
            manager.Delete(id, manager.ConvertFromKoStringOld(&split, id, 1), 1);
            manager.Delete(id, manager.DefaultValue(id, 1, 0), 1);
            if (!isType) {
                EXPECT_EQ(std::memcmp(scratch, "unchanged", 10), 0);
                EXPECT_EQ(std::memcmp(stored, "unchanged", 10), 0);
                EXPECT_EQ(manager.MemLenGet(id, 3),
                          code >= 0 && code < KoTYPE_COUNT && table.entries.entry[code] != nullptr
                              ? table.entries.entry[code]->memLen * 3
                              : 0);
                unsigned short op = 3;
                EXPECT_EQ(manager.EvalAndBound(id, nullptr, op, value, 8, 1, nullptr, nullptr),
                          0.0F);
            }
        }
    }
}

} // namespace
