#include "scoped_type.h"

#include <kotms.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

/// Bytes at distinct addresses, to recognise arguments by.
char mark[8];

/// A static object of the application: the library's texts are there before it and after it.
struct FromStartToEnd {
    FromStartToEnd() { Check(); }
    ~FromStartToEnd() { Check(); }
    static void Check()
    {
        if (std::strcmp(KoTypeMgr::GetNullPrintString().StrGet(), "{NULL}") != 0)
            std::abort();
    }
};
const FromStartToEnd fromStartToEnd;

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
        {27, 1, "KoBoolean", "KoBOOLEAN_T", "KoBoolean"},
        {28, 1, "KoNull_char", "KoNULL_1B_T", "illegal"},
        {47, 0, "illegal", "KoRES_T", "illegal"},
        {99, 0, "illegal", "KoRES_T", "illegal"},
        {100, 1, "illegal", "KoRES_T", "illegal"},
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
        {5, "KoStrin", 1, 47, "a part is no name"},
        {5, "", 1, 47, "no name is empty"},
        {5, nullptr, 1, 47, "null is no name"},
        {5, "illegal", 0, 46, "the reserved type has a name"},
        {0, "KoBoolean", 0, 27, "last of the old table"},
        {0, "KoNull_u8b", 1, 47, "beyond the old table"},
        {0, "illegal", 1, 47, "nor does it hold the reserved type"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        const auto check = [&row](auto id) {
            EXPECT_EQ(KoTypeMgr(row.factory).Name2KoTypeId(row.name, id), row.result);
            EXPECT_EQ(id, row.id);
        };
        check(o_char{99});
        check(char{99});
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

TEST(TypeMgr, ReordersArguments)
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
    const Sequence unstored{"", 1, 0};
    const Sequence atEnd{"", 1, 1, KoRC_OVERFLOW};
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
        {1, 'N', unstored, KoRC_NOT_SUPPORTED, "create load(1) step(8,N,0) store(1) destroy",
         "nothing stored"},
        {1, 'N', atEnd, KoRC_OVERFLOW, "create load(1) step(8,N,0) destroy",
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
    o_1b y0, y1; // the year as memory holds it
    std::memcpy(&y0, &clock.year, 1);
    std::memcpy(&y1, reinterpret_cast<char*>(&clock.year) + 1, 1);
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

} // namespace
