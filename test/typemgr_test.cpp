#include "failing_heap.h"
#include "fixtures.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{

/// A type's record to change; it is as it was when the test ends.
class ScopedType
{
public:
    explicit ScopedType(KoTypeId id) : m_type(*koCurrentTypeTable.entry[id]), m_saved(m_type) {}
    ScopedType(const ScopedType&) = delete;
    ScopedType& operator=(const ScopedType&) = delete;
    ~ScopedType() { m_type = m_saved; }
    KoTypeDescriptor* operator->() const { return &m_type; }

private:
    KoTypeDescriptor& m_type;
    KoTypeDescriptor m_saved;
};

std::string Text(const KoString& text)
{
    return text.StrGet();
}

/// Bytes at distinct addresses, to recognise arguments by.
char mark[8];

// ---- the choice of a type

TEST(TypeMgr, FactoryChoosesTheTable)
{
    struct {
        unsigned given;
        unsigned short factory;
        bool current;
        const char* reason;
    } const rows[] = {
        {0, 0, false, "lowest"},           {3, 3, false, "last of the old ones"},
        {4, 4, true, "first of the new"},  {5, 5, true, "the default"},
        {10, 10, true, "below the gap"},   {11, 3, false, "the one odd number"},
        {12, 4, true, "from here on all"}, {200, 4, true, "a byte"},
        {0xFFFFFFFF, 4, true, "unsigned"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        KoTypeMgr set; // the other way to give the number
        set.SetFactory(row.given);
        for (const KoTypeMgr& manager : {KoTypeMgr(row.given), set}) {
            EXPECT_EQ(manager.GetFactory(), row.factory);
            // Only the current table has a type 28.
            EXPECT_EQ(manager.MemLenGet(KoNULL_1B_T, 1) == 2, row.current);
        }
    }
    EXPECT_EQ(KoTypeMgr().GetFactory(), 5);
}

TEST(TypeMgr, IdsAndNames)
{
    const KoTypeMgr current;
    const KoTypeMgr compat(0);
    struct {
        int id;
        int valid;
        const char* name; ///< on the current table
        const char* idName;
        const char* compatName;
    } const rows[] = {
        {0, 1, "o_char", "Ko1B_T", "o_char"},
        {11, 1, "KoString", "KoSTRING_T", "KoString"},
        {27, 1, "KoBoolean", "KoBOOLEAN_T", "KoBoolean"},
        {28, 1, "KoNull_char", "KoNULL_1B_T", "illegal"},
        {46, 1, "illegal", "KoRES_T", "illegal"},
        {47, 0, "illegal", "KoRES_T", "illegal"},
        {99, 0, "illegal", "KoRES_T", "illegal"},
        {100, 1, "illegal", "KoRES_T", "illegal"},
        {127, 1, "illegal", "KoRES_T", "illegal"},
        {-1, 1, "illegal", "KoRES_T", "illegal"},
        {-128, 1, "illegal", "KoRES_T", "illegal"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        const auto id = static_cast<o_char>(row.id);
        for (const KoTypeMgr& manager : {current, compat})
            EXPECT_EQ(manager.IsValidType(id), row.valid);
        EXPECT_STREQ(current.NameGet(id), row.name);
        EXPECT_STREQ(current.TypeIdNameGet(id), row.idName);
        EXPECT_STREQ(compat.NameGet(id), row.compatName);
        char buffer[20] = "xxxxxxxxxxxxxxxxxxx";
        EXPECT_EQ(current.NameGet(id, buffer), buffer);
        EXPECT_STREQ(buffer, row.name);
    }
}

TEST(TypeMgr, FindsTypesByName)
{
    struct {
        unsigned factory;
        const char* name;
        int result;
        o_char id;
        const char* reason;
    } const rows[] = {
        {5, "KoString", 0, 11, "a type name"},
        {5, "KoSTRING_T", 1, 47, "id names are not searched"},
        {5, "kostring", 1, 47, "case counts"},
        {5, "KoStrin", 1, 47, "a part is no name"},
        {5, "", 1, 47, "no name is empty"},
        {5, nullptr, 1, 47, "null is no name"},
        {5, "illegal", 0, 46, "the reserved type has a name"},
        {5, "KoNull_u8b", 0, 45, "late in the table"},
        {0, "KoBoolean", 0, 27, "last of the old table"},
        {0, "KoNull_u8b", 1, 47, "beyond the old table"},
        {0, "illegal", 1, 47, "nor does it hold the reserved type"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        o_char id = 99;
        EXPECT_EQ(KoTypeMgr(row.factory).Name2KoTypeId(row.name, id), row.result);
        EXPECT_EQ(id, row.id);
    }
}

TEST(TypeMgr, LengthsAndElements)
{
    const KoTypeMgr manager;
    const KoTypeMgr compat(0);
    EXPECT_EQ(manager.MemLenGet(KoSTRING_T, 5000), 14464) << "80000 in 16 bits";
    EXPECT_EQ(manager.MemLenGet(101, 7), 0);
    EXPECT_EQ(manager.IsFixed(KoSTRING_T), 0);
    EXPECT_EQ(manager.IsFixed(47), 1);

    char* base = mark;
    EXPECT_EQ(manager.GetArrayElement(Ko2B_T, base, 2, 3), base + 4);
    EXPECT_EQ(manager.GetArrayElement(Ko2B_T, base, 3, 3), nullptr);
    EXPECT_EQ(manager.GetArrayElement(Ko2B_T, base, 3, 0), base + 6) << "no bound";
    EXPECT_EQ(manager.GetArrayElement(120, base, 3, 0), base) << "elements of no length";
    EXPECT_EQ(compat.GetArrayElement(KoNULL_1B_T, base, 0, 0), nullptr);
    EXPECT_EQ(manager.GetArrayElement(-1, base, 0, 0), nullptr);
    EXPECT_EQ(manager.GetArrayElement(47, base, 0, 0), nullptr);
}

// ---- replacement

int OtherCmp(unsigned char, unsigned, void*, unsigned, void*, unsigned short, unsigned, int&)
{
    return 7;
}

TEST(TypeMgr, ReplacesForAllManagers)
{
    const ScopedType saved(KoREF_T);
    const ScopedType reserved(KoRES_T);
    KoTypeMgr one;
    KoTypeMgr compat(3);
    EXPECT_STREQ(one.ExchangeFormat(KoREF_T, "new"), "(%D:%H-%L#%B, %C)");
    EXPECT_STREQ(compat.ExchangeFormat(KoREF_T, nullptr), "new");
    EXPECT_STREQ(one.ExchangeFormat(KoREF_T, nullptr), "new") << "null only reads";

    const KoTypeCmpFunc old = one.CmpFuncPtrGet(KoREF_T);
    EXPECT_EQ(one.ExchangeKoTypeCmpFunc(KoREF_T, OtherCmp), old);
    EXPECT_EQ(compat.CmpFuncPtrGet(KoREF_T), OtherCmp);
    EXPECT_EQ(compat.Cmp(KoREF_T, mark, mark, 0, 1, 8), 7);

    // An id without a type answers as the reserved type and changes nothing.
    for (const int id : {-1, 47, 99})
        EXPECT_STREQ(one.ExchangeFormat(static_cast<o_char>(id), "x"), "illegal") << id;
    EXPECT_STREQ(compat.ExchangeFormat(KoNULL_1B_T, "x"), "illegal");
    EXPECT_STREQ(one.ExchangeFormat(KoNULL_1B_T, nullptr), "%c");
    EXPECT_STREQ(one.ExchangeFormat(KoRES_T, nullptr), "illegal");
    EXPECT_STREQ(one.ExchangeFormat(101, "y"), "illegal");
    EXPECT_STREQ(one.ExchangeFormat(KoRES_T, nullptr), "y") << "101 is the reserved type";
}

// ---- forwarding

TEST(TypeMgr, ForwardsArgumentsInTheirOrder)
{
    const KoTypeMgr manager;
    const ScopedType type(KoBLOCKID_T);
    type->sizeGet = [](const void* value, unsigned char valueFormat, unsigned char format,
                       unsigned count) {
        return value == mark && valueFormat == 8 && format == 2 && count == 5 ? 20U : 0U;
    };
    EXPECT_EQ(manager.DiskLenGet(KoBLOCKID_T, mark, 2, 5, 8), 20U);

    type->cmp = [](unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short cmpOp, unsigned count, int& status) {
        const bool same =
            format == 1 && value1 == mark && value2 == mark + 1 && cmpOp == 0x110 && count == 9;
        const int result = status;
        status = KoRC_TRUNCATED;
        return same && length1 == length2 * 2 ? result - 1 : 99;
    };
    int status = 5;
    EXPECT_EQ(manager.Cmp(KoBLOCKID_T, 6, mark, 3, mark + 1, 0x110, 9, 1, status), 4);
    EXPECT_EQ(status, KoRC_TRUNCATED);
    EXPECT_EQ(manager.Cmp(KoBLOCKID_T, mark, mark + 1, 0x110, 9, 1), -1)
        << "no bounds, status 0 that is dropped";

    type->translate = [](void* destination, unsigned char destinationFormat,
                         unsigned destinationLength, void* source, unsigned char sourceFormat,
                         unsigned sourceLength, unsigned count) {
        return destination == mark && source == mark + 1
                   ? destinationFormat * 1000U + destinationLength * 100U + sourceFormat * 10U +
                         sourceLength + count * 10000U
                   : 0U;
    };
    EXPECT_EQ(manager.Translate(KoBLOCKID_T, mark, 1, 2, mark + 1, 3, 4, 5), 51234U);

    type->evalAndBound = [](KoIdxBounds* bounds, unsigned short& op, void* value,
                            unsigned char format, unsigned count, KoIdxBounds* newBounds) {
        const bool same = bounds == nullptr && value == mark && format == 2 && count == 3 &&
                          newBounds == static_cast<void*>(mark + 2);
        op = same ? 77 : 0;
        return 0.25F;
    };
    unsigned short op = 4;
    EXPECT_EQ(manager.EvalAndBound(KoBLOCKID_T, nullptr, op, mark, 2, 3,
                                   reinterpret_cast<KoIdxBounds*>(mark + 2), nullptr),
              0.25F);
    EXPECT_EQ(op, 77);

    type->hash = [](unsigned char format, unsigned length, void* value, unsigned count,
                    int& outcome) {
        outcome = value == mark ? 0 : -1;
        return format * 100U + length * 10U + count;
    };
    EXPECT_EQ(manager.Hash(KoBLOCKID_T, 3, mark, 4, 2, status), 234U);
    EXPECT_EQ(status, 0);

    EXPECT_EQ(manager.ComparePtrGet(KoBLOCKID_T), nullptr);
    EXPECT_EQ(manager.DiskIsNullValue(KoSTRING_T, nullptr), KoRC_NOT_SUPPORTED);
}

// ---- null values and sequences

TEST(TypeMgr, SetNullValueFallsThroughItsSteps)
{
    KoTypeMgr manager;
    const ScopedType type(KoBLOCKID_T);
    char value = 'v';
    type->convertFrom = [](KoTypeConvertData* record, unsigned count) -> void* {
        const bool good = record->manager != nullptr && record->typeId == KoSTRING_T &&
                          record->count == 1 && count == 1;
        const KoString* text = record->GetString(0);
        return new char(good && (text == nullptr || text->IsEmpty()) ? 'e' : '!');
    };
    type->destroy = [](void* array, unsigned) -> void* {
        delete static_cast<char*>(array);
        return nullptr;
    };
    type->assignment = [](void* destination, void* source, unsigned count, int broadcast) {
        *static_cast<char*>(destination) =
            count == 1 && broadcast == 1 ? *static_cast<char*>(source) : '!';
    };
    type->scanFromKoString = [](void* destination, KoString& text, const char* format,
                                unsigned count) {
        *static_cast<char*>(destination) =
            std::strcmp(format, "#%lu") == 0 && count == 1 ? text.StrGet()[0] : '!';
        text = KoString("used up");
        return destination;
    };

    type->setNull = [](void* target) { return *static_cast<char*>(target) = 'n', 3; };
    EXPECT_EQ(manager.SetNullValue(KoBLOCKID_T, &value), 3);
    EXPECT_EQ(value, 'n') << "its own null value";

    type->setNull = [](void*) { return static_cast<int>(KoRC_NOT_SUPPORTED); };
    EXPECT_EQ(manager.SetNullValue(KoBLOCKID_T, &value), 0);
    EXPECT_EQ(value, 'e') << "what an empty text converts to";

    type->convertFrom = [](KoTypeConvertData*, unsigned) -> void* { return nullptr; };
    value = 'v';
    EXPECT_EQ(manager.SetNullValue(KoBLOCKID_T, &value), 0);
    EXPECT_EQ(value, 'v') << "no new value to be had";

    type->setNull = nullptr;
    type->assignment = nullptr;
    for (int round = 0; round < 2; ++round) { // a scanner that eats its text spoils nothing
        value = 'v';
        EXPECT_EQ(manager.SetNullValue(KoBLOCKID_T, &value), 0);
        EXPECT_EQ(value, '0') << "the zero text";
    }
    type->scanFromKoString = nullptr;
    EXPECT_EQ(manager.SetNullValue(KoBLOCKID_T, &value), 0);
}

// What the fakes of the next test saw and answer.
struct Sequence {
    std::string calls;
    unsigned loaded = 1;
    unsigned stored = 1;
    int stepped = KoRC_OK;
};
Sequence sequence;

TEST(TypeMgr, GetValueStepsStoredValues)
{
    struct {
        unsigned char format;
        char kind;
        Sequence given;
        int result;
        const char* calls;
        const char* reason;
    } const rows[] = {
        {1, 'P', {}, KoRC_NOT_SUPPORTED, "", "an unknown kind touches nothing"},
        {8, 2, {}, KoRC_NOT_SUPPORTED, "", "the smallest value is out of reach"},
        {8, 'N', {}, 0, "step(8,N,44)", "memory form goes straight through"},
        {1, 'M', {}, 0, "create load(1) step(8,M,0) store(1) destroy", "stored form"},
        {2, 'N', {}, 0, "create load(0) step(8,N,0) store(0) destroy", "bit 1 is dropped"},
        {0xF9, 'O', {}, 0, "create load(129) step(8,O,0) store(129) destroy", "bits 0 and 7"},
        {1, 'N', {"", 0}, KoRC_NOT_SUPPORTED, "create load(1) destroy", "nothing to load"},
        {1,
         'N',
         {"", 1, 0},
         KoRC_NOT_SUPPORTED,
         "create load(1) step(8,N,0) store(1) destroy",
         "nothing stored"},
        {1,
         'N',
         {"", 1, 1, KoRC_OVERFLOW},
         KoRC_OVERFLOW,
         "create load(1) step(8,N,0) destroy",
         "an overflow leaves the stored value"},
    };
    KoTypeMgr manager;
    const ScopedType type(KoBLOCKID_T);
    type->create = [](unsigned) -> void* { return sequence.calls += "create", mark; };
    type->destroy = [](void*, unsigned) -> void* { return sequence.calls += " destroy", nullptr; };
    type->load = [](void*, const void*, unsigned char format, unsigned) {
        sequence.calls += " load(" + std::to_string(format) + ")";
        return sequence.loaded;
    };
    type->store = [](void*, const void*, unsigned char format, unsigned) {
        sequence.calls += " store(" + std::to_string(format) + ")";
        return sequence.stored;
    };
    type->getValue = [](void*, unsigned length, unsigned char format, unsigned char kind) {
        sequence.calls += (sequence.calls.empty() ? "step(" : " step(") + std::to_string(format) +
                          "," + static_cast<char>(kind) + "," + std::to_string(length) + ")";
        return sequence.stepped;
    };
    char value[8] = {};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        sequence = row.given;
        EXPECT_EQ(manager.GetValue(KoBLOCKID_T, value, 44, row.format,
                                   static_cast<unsigned char>(row.kind)),
                  row.result);
        EXPECT_EQ(sequence.calls, row.calls);
    }
    type->create = [](unsigned) -> void* { return nullptr; };
    EXPECT_EQ(manager.GetValue(KoBLOCKID_T, value, 0, 1, 'N'), KoRC_NOT_SUPPORTED);

    const ScopedType text(KoSTRING_T);
    text->getValue = type->getValue;
    sequence = {};
    EXPECT_EQ(manager.GetValue(KoSTRING_T, value, 4, 0x81, 'N'), 0);
    EXPECT_EQ(sequence.calls, "step(129,N,4)") << "texts step their stored form themselves";
}

TEST(TypeMgr, StoreTimeStampBuildsTheMemoryForm)
{
    static std::vector<o_1b> stored;
    static unsigned length;
    KoTimeStampRec clock = {2024, 2, 29, 23, 58, 5, 7};
    const auto year = clock.year;
    o_1b yearBytes[2];
    std::memcpy(yearBytes, &year, 2);
    const o_1b y0 = yearBytes[0];
    const o_1b y1 = yearBytes[1];
    struct {
        KoTypeId id;
        o_4b fraction;
        std::vector<o_1b> expected;
        const char* reason;
    } const rows[] = {
        {KoDATE_T, 7, {y0, y1, 2, 29}, "the head of the record"},
        {KoTIME_T, 7, {23, 58, 5}, "from the hour on"},
        {KoDATIME_T, 7, {y0, y1, 2, 29, 23, 58, 5}, "date and time"},
        {D_DATE_T, 7, {y0, y1, 2, 29}, "the standard's date"},
        {D_TIME_T, 7, {0, 0, 23, 58, 12, 0}, "the fraction counts as seconds"},
        {D_TIME_T, -7, {0, 0, 23, 58, -2, 0}, "downwards too"},
        // 10^9 = 0x3B9ACA00: the low byte is kept
        {D_TIME_T, 999999999, {0, 0, 23, 58, 0, 0}, "in single precision, cut to a byte"},
        {D_TIME_T, 2147483647, {0, 0, 23, 58, 0, 0}, "2^31 is within the arithmetic"},
        {D_TIMESTAMP_T, 7, {y0, y1, 2, 29, 0, 0, 23, 58, 12, 0}, "one after the other"},
    };
    KoTypeMgr manager;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const ScopedType type(row.id);
        length = static_cast<unsigned>(row.expected.size());
        type->store = [](void*, const void* source, unsigned char format, unsigned count) {
            const auto* bytes = static_cast<const o_1b*>(source);
            stored.assign(bytes, bytes + length);
            return format * 10U + count;
        };
        clock.fraction = row.fraction;
        EXPECT_EQ(manager.StoreTimeStamp(row.id, mark, 2, &clock), 21);
        EXPECT_EQ(stored, row.expected);
        EXPECT_EQ(manager.StoreTimeStamp(row.id, mark, 2, nullptr), KoRC_NOT_SUPPORTED);
    }
    EXPECT_EQ(manager.StoreTimeStamp(KoSTRING_T, mark, 2, &clock), KoRC_NOT_SUPPORTED)
        << "no time stamp to store";
}

// ---- text

TEST(TypeMgr, PrintsArraysElementByElement)
{
    const KoTypeMgr manager;
    const ScopedType type(KoU1B_T);
    const auto print = [](KoString& text, void* value, const char* format,
                          unsigned count) -> KoString& {
        text << format;
        for (unsigned i = 0; i < count; ++i)
            text << static_cast<int>(static_cast<o_u1b*>(value)[i]);
        return text;
    };
    type->printToKoString = print;
    o_u1b values[] = {1, 22, 3};
    struct {
        const char* before;
        const char* format;
        unsigned count;
        const char* after;
        const char* reason;
    } const rows[] = {
        {"", "d", 3, "d1,d22,d3", "commas between the elements"},
        {"x", "d", 3, "xd1,d22,d3", "appended to what stands there"},
        {"x", "d", 1, "xd1", "one element"},
        {"x", "d", 0, "xd", "none: the function decides"},
        {"", nullptr, 2, "%c1,%c22", "the type's own format"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        KoString text(row.before);
        EXPECT_EQ(&manager.PrintToKoString(KoU1B_T, text, values, row.format, row.count), &text);
        EXPECT_EQ(Text(text), row.after);
    }

    type->printToKoString = nullptr;
    KoString kept("kept");
    EXPECT_EQ(Text(manager.PrintToKoString(KoU1B_T, kept, values, "d", 3)), "kept");
}

TEST(TypeMgr, ScansAndParsesWithTheTypesFormat)
{
    KoTypeMgr manager;
    const ScopedType type(KoBLOCKID_T);
    type->scanFromKoString = [](void* value, KoString&, const char* format, unsigned count) {
        *static_cast<std::string*>(value) = format + std::to_string(count);
        return value;
    };
    std::string seen;
    KoString text("1");
    EXPECT_EQ(manager.ScanFromKoString(KoBLOCKID_T, &seen, text, "f", 2), &seen);
    EXPECT_EQ(seen, "f2");
    manager.ScanFromKoString(KoBLOCKID_T, &seen, text, nullptr, 1);
    EXPECT_EQ(seen, "#%lu1");
    type->scanFromKoString = nullptr;
    EXPECT_EQ(manager.ScanFromKoString(KoBLOCKID_T, &seen, text, "f", 2), &seen);
    EXPECT_EQ(seen, "#%lu1");

    for (const int id : {46, 47, -1, 120}) {
        unsigned errorAt = 9;
        EXPECT_EQ(manager.ParseFromKoString(static_cast<o_char>(id), &seen, text, nullptr, errorAt),
                  KoRC_NOT_SUPPORTED);
        EXPECT_EQ(errorAt, 0U) << id;
    }
}

TEST(TypeMgr, PrintsCharactersAsOneText)
{
    const KoTypeMgr manager;
    char letters[] = "abc";
    KoString text("<");
    EXPECT_EQ(Text(manager.PrintToKoString(Ko1B_T, text, letters, nullptr, 3)), "<abc");
    const ScopedType type(Ko1B_T);
    type->printToKoString = koCurrentTypeTable.entry[KoU1B_T]->printToKoString;
    KoString single;
    EXPECT_EQ(Text(manager.PrintToKoString(Ko1B_T, single, letters, nullptr, 3)), "a,b,c")
        << "it is the function that takes arrays, not the type";
    o_4b numbers[] = {1, 2, 3};
    EXPECT_EQ(Text(manager.PrintToKoString(Ko4B_T, text, numbers, "%ld", 3)), "<abc1,2,3");
}

TEST(ConvertData, GivesTextsAndReleasesItsData)
{
    KoTypeMgr manager;
    struct {
        o_char typeId;
        unsigned count;
        bool hasData;
        int index;
        int text; ///< index of the answer, -1 for null
        const char* reason;
    } const rows[] = {
        {KoSTRING_T, 2, true, 1, 1, "within"},
        {KoSTRING_T, 2, true, 2, -1, "behind the last"},
        {KoSTRING_T, 2, true, -1, -1, "before the first"},
        {KoDOUBLE_T, 2, true, 0, -1, "no texts"},
        {KoSTRING_T, 2, false, 0, -1, "no data"},
    };
    KoString texts[2];
    for (const auto& row : rows) {
        const std::unique_ptr<KoTypeConvertData> record(
            KoTypeConvertData::Make(row.typeId, row.count, row.hasData ? texts : nullptr, nullptr));
        EXPECT_EQ(record->GetString(row.index), row.text < 0 ? nullptr : texts + row.text)
            << row.reason;
    }

    // What a record leaves in its memory, with and without a manager that releases the data.
    for (KoTypeMgr* owner : {&manager, static_cast<KoTypeMgr*>(nullptr)}) {
        void* data = manager.Create(KoSTRING_T, 3);
        alignas(KoTypeConvertData) unsigned char memory[sizeof(KoTypeConvertData)];
        auto* record = ::new (memory) KoTypeConvertData{owner, data, 3, KoSTRING_T};
        record->~KoTypeConvertData();
        void* left;
        o_u4b count;
        std::memcpy(&left, memory + offsetof(KoTypeConvertData, data), sizeof left);
        std::memcpy(&count, memory + offsetof(KoTypeConvertData, count), sizeof count);
        EXPECT_EQ(left, owner != nullptr ? nullptr : data);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(memory[offsetof(KoTypeConvertData, typeId)], 100);
        if (owner == nullptr)
            manager.Delete(KoSTRING_T, data, 3);
    }

    const FailingHeap heap(0);
    EXPECT_EQ(KoTypeConvertData::Make(KoSTRING_T, 2, texts, nullptr), nullptr);
    EXPECT_EQ(heap.HandlerCalls(), 1);
}

/// Releases what a manager made.
struct Release {
    o_char id;
    unsigned count;
    void operator()(void* array) const { KoTypeMgr().Delete(id, array, count); }
};
template <class T>
using Made = std::unique_ptr<T, Release>;

KoString Wide(std::vector<unsigned short> units)
{
    units.push_back(0);
    return KoString(units.data());
}

TEST(TypeMgr, OldTextDelimitsItself)
{
    KoTypeMgr manager;
    std::string all;
    for (int code = 1; code <= 254; ++code)
        all += static_cast<char>(code);
    struct {
        std::vector<KoString> values;
        std::string joined;
        const char* reason;
    } rows[] = {
        {{"a", "b"}, "a\1b\1", "the smallest code"},
        {{"\1", "\2x"}, std::string("\1\3\2x\3"), "the smallest that is not used"},
        {{"", ""}, "\1\1", "empty texts"},
        {{}, "", "nothing"},
        {{all.c_str()}, all + ",", "every code is used"},
        {{Wide({'a', 1, 0xE4}), "b"}, "a\1\xE4\2b\2", "16-bit text counts as it is joined"},
        {{NullText(), "x"}, "\1x\1", "null has no text"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const auto count = static_cast<unsigned>(row.values.size());
        const Made<KoString> joined(
            manager.ConvertToKoStringOld(row.values.data(), KoSTRING_T, count), {KoSTRING_T, 1});
        ASSERT_NE(joined, nullptr);
        EXPECT_EQ(Text(*joined), row.joined);
    }
    EXPECT_EQ(manager.ConvertToKoStringOld(mark, KoRES_T, 1), nullptr);
}

TEST(TypeMgr, OldTextIsSplitAtItsLastCharacter)
{
    KoTypeMgr manager;
    const std::string longPiece(40000, 'x');
    struct {
        KoString text;
        unsigned count;
        std::vector<std::string> pieces;
        const char* reason;
    } rows[] = {
        {"a,b,", 3, {"a", "b", ""}, "the last piece is empty"},
        {"a,b,", 1, {"a"}, "fewer asked for than there are"},
        {"a,", 3, {"a", "", ""}, "more asked for than there are"},
        {"a,bc", 1, {"a,b"}, "any last character delimits"},
        {"", 1, {""}, "no text"},
        {(longPiece + "|y|").c_str(), 2, {longPiece, "y"}, "beyond 15 bits"},
        {"\xE4*\xFF?*", 2, {"\xE4", "\xFF?"}, "no wildcard, no sign"},
        {Wide({'a', ';', 'b', ';'}), 2, {"a", "b"}, "16-bit text"},
    };
    for (auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const unsigned char codeSet = row.text.CodeSet();
        row.text.SetLanguage(7);
        const Made<KoString> pieces(static_cast<KoString*>(manager.ConvertFromKoStringOld(
                                        &row.text, KoSTRING_T, row.count)),
                                    {KoSTRING_T, row.count});
        ASSERT_NE(pieces, nullptr);
        EXPECT_TRUE(row.text.IsEmpty()) << "the text is used up";
        for (unsigned i = 0; i < row.count; ++i) {
            KoString piece = pieces.get()[i];
            if (!piece.IsEmpty()) {
                EXPECT_EQ(piece.CodeSet(), codeSet);
                EXPECT_EQ(piece.Language(), 7);
            }
            piece.SetCodeSet(1);
            EXPECT_EQ(Text(piece), row.pieces[i]);
        }
    }
    KoString text("a,");
    EXPECT_EQ(manager.ConvertFromKoStringOld(&text, KoRES_T, 1), nullptr);
}

TEST(TypeMgr, OldTextSurvivesLackOfMemory)
{
    KoTypeMgr manager;
    KoString values[] = {"a", "b"};
    bool failed = true;
    for (int first = 0; failed; ++first) {
        ASSERT_LT(first, 1000);
        KoString text("a,b,");
        const FailingHeap heap(first);
        const Made<KoString> joined(manager.ConvertToKoStringOld(values, KoSTRING_T, 2),
                                    {KoSTRING_T, 1});
        const Made<void> pieces(manager.ConvertFromKoStringOld(&text, KoSTRING_T, 2),
                                {KoSTRING_T, 2});
        KoString value("v");
        manager.SetNullValue(KoISTRING_T, &value);
        failed = heap.HasFailed();
        EXPECT_EQ(heap.HandlerCalls() > 0, failed);
    }
}

TEST(TypeMgr, NullPrintString)
{
    EXPECT_EQ(Text(KoTypeMgr::GetNullPrintString()), "{NULL}");
    KoTypeMgr::SetNullPrintString(KoString("-"));
    EXPECT_EQ(Text(KoTypeMgr::GetNullPrintString()), "-");
    KoTypeMgr::SetNullPrintString(KoString("{NULL}"));
}

} // namespace
