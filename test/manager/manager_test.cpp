#include "support/fixtures.h"
#include "support/scoped_type.h"

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

// As test/data/manager/steps.txt has them.
TEST(TypeMgr, GetValueStepsStoredValues)
{
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
    data::ForEachRow("manager/steps.txt", 6, [&](const auto&, const data::Row& row) {
        sequence = {};
        sequence.loaded = row[2] == "nothing loaded" ? 0 : 1;
        sequence.stored = row[2] == "nothing stored" ? 0 : 1;
        sequence.stepped = row[2] == "overflow" ? KoRC_OVERFLOW : KoRC_OK;
        const auto kind = static_cast<unsigned char>(row[1][0]);
        EXPECT_EQ(manager.GetValue(KoBLOCKID_T, value, 44,
                                   static_cast<unsigned char>(data::Hex(row[0])), kind),
                  std::stoi(row[3]));
        EXPECT_EQ(sequence.calls, row[4] == "-" ? "" : row[4]);
    });
    EXPECT_EQ(manager.GetValue(KoBLOCKID_T, value, 44, KoFMT_MEMORY, 2), KoRC_NOT_SUPPORTED)
        << "the smallest value is out of reach";
    type->create = [](unsigned) -> void* { return nullptr; };
    EXPECT_EQ(manager.GetValue(KoBLOCKID_T, value, 0, 1, 'N'), KoRC_NOT_SUPPORTED);

    const ScopedType text(KoSTRING_T);
    text->getValue = type->getValue;
    sequence = {};
    EXPECT_EQ(manager.GetValue(KoSTRING_T, value, 4, 0x81, 'N'), 0);
    EXPECT_EQ(sequence.calls, "step(129,N,4)") << "texts step their stored form themselves";
}

// As test/data/manager/timestamps.txt has them.
TEST(TypeMgr, StoreTimeStampStoresMomentsOfTheType)
{
    KoTypeMgr manager;
    KoTimeStampRec clock = {2024, 2, 29, 23, 58, 5, 7};
    data::ForEachRow("manager/timestamps.txt", 4, [&](const auto&, const data::Row& row) {
        const auto id = static_cast<o_char>(FindType(row[0]));
        clock.fraction = std::stoi(row[1]);
        const Bytes expected = data::ParseBytes(row[2]);
        Bytes stored(expected.size() + 1, 0xA5);
        EXPECT_EQ(manager.StoreTimeStamp(id, stored.data(), KoFMT_BIG, &clock),
                  static_cast<int>(expected.size()));
        EXPECT_EQ(stored.back(), 0xA5);
        stored.pop_back();
        EXPECT_EQ(stored, expected);
        EXPECT_EQ(manager.StoreTimeStamp(id, mark, 2, nullptr), KoRC_NOT_SUPPORTED);
    });
    EXPECT_EQ(manager.StoreTimeStamp(KoSTRING_T, mark, 2, &clock), KoRC_NOT_SUPPORTED)
        << "no time stamp to store";
}

} // namespace
