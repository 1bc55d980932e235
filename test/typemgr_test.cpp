#include "datafile.h"
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
    data::ForEachRow("manager/factories.txt", 4, [](const auto&, const data::Row& row) {
        const auto given = static_cast<unsigned>(std::stoul(row[0]));
        KoTypeMgr set; // the other way to give the number
        set.SetFactory(given);
        for (const KoTypeMgr& manager : {KoTypeMgr(given), set}) {
            EXPECT_EQ(manager.GetFactory(), std::stoi(row[1]));
            // Only the current table has a type 28.
            EXPECT_EQ(manager.MemLenGet(KoNULL_1B_T, 1) == 2, row[2] == "current");
        }
    });
    EXPECT_EQ(KoTypeMgr().GetFactory(), 5);
}

TEST(TypeMgr, IdsAndNames)
{
    const KoTypeMgr current;
    const KoTypeMgr compat(0);
    data::ForEachRow("manager/ids.txt", 6, [&](const auto&, const data::Row& row) {
        const auto id = static_cast<o_char>(std::stoi(row[0]));
        EXPECT_EQ(current.IsValidType(id) + compat.IsValidType(id), 2 * std::stoi(row[1]));
        EXPECT_EQ(current.NameGet(id), row[2]);
        EXPECT_EQ(compat.NameGet(id), row[3]);
        EXPECT_EQ(current.TypeIdNameGet(id), row[4]);
        char buffer[20] = "xxxxxxxxxxxxxxxxxxx";
        EXPECT_EQ(current.NameGet(id, buffer), buffer);
        EXPECT_EQ(buffer, row[2]);
    });
    data::ForEachRow("manager/names.txt", 5, [](const auto&, const data::Row& row) {
        const auto check = [&row](auto id) {
            const std::string name = row[1] == "null" ? "" : data::ParseString(row[1]);
            const KoTypeMgr manager(static_cast<unsigned>(std::stoul(row[0])));
            EXPECT_EQ(manager.Name2KoTypeId(row[1] == "null" ? nullptr : name.c_str(), id),
                      std::stoi(row[2]));
            EXPECT_EQ(id, std::stoi(row[3]));
        };
        check(o_char{99});
        check(char{99});
    });
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

// ---- null values and sequences

TEST(TypeMgr, SetNullValueFallsBackToTheTextOfZero)
{
    KoTypeMgr manager;
    const ScopedType type(Ko4B_T);
    type->assignment = nullptr;
    o_4b value = 7;
    EXPECT_EQ(manager.SetNullValue(Ko4B_T, &value), 0);
    EXPECT_EQ(value, 0);
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
