#include "support/fixtures.h"

#include <gtest/gtest.h>
#include <kotms.h>

#include <cstdint>
#include <functional>
#include <string>

namespace
{

TEST(KoIString, Edits)
{
    struct {
        const char* reason;
        const char* before;
        std::function<void(KoIString&)> edit;
        const char* expected;
    } const rows[] = {
        {"unsigned is printed as signed", "", [](KoIString& s) { s = 4294967295U; }, "-1"},
        {"64 bits", "", [](KoIString& s) { s = o_u8b{1} << 63; }, "9223372036854775808"},
        {"from the character 0", "x", [](KoIString& s) { s = '\0'; }, ""},
        {"counted", "", [](KoIString& s) { s = KoIString("abc", 2); }, "ab"},
        {"filled with nothing", "abcd", [](KoIString& s) { s.Fill(2, '\0'); }, ""},
        {"trimmed", " \ta b\xA0 ", [](KoIString& s) { s.Trim(); }, "a b"},
        {"nothing but blanks", "   ", [](KoIString& s) { s.RightTrim(); }, ""},
        {"blanks to zeros", " 1 ", [](KoIString& s) { s.SpaceToZero(); }, "010"},
        {"zeros to blanks", "010", [](KoIString& s) { s.ZeroToSpace(); }, " 1 "},
        {"upper case", "az\xE0\xFE\xF7\x9C\x9F[", [](KoIString& s) { s.ToUpper(); },
         "AZ\xC0\xDE\xF7\x8C\xFF["},
        {"lower case", "AZ\xC0\xDE\xD7\x8C\xFF@", [](KoIString& s) { s.ToLower(); },
         "az\xE0\xFE\xD7\x9C\x9F@"},
        {"a character overwritten", "abc", [](KoIString& s) { s[1] = 'X'; }, "aXc"},
    };
    for (const auto& row : rows) {
        KoIString text(row.before);
        row.edit(text);
        EXPECT_STREQ(text.StrGet(), row.expected) << row.reason;
        EXPECT_EQ(text.IsEmpty(), *row.expected == 0) << row.reason;
        EXPECT_EQ(text.Len(), std::char_traits<char>::length(row.expected)) << row.reason;
    }
    KoIString full = KoIString().Fill(65000, 'x');
    EXPECT_EQ((full += full).Len(), 65531);
    EXPECT_EQ(full.ReplaceAll("xx", "yyy").Len(), 65531);
    EXPECT_EQ(full[70000], 0);
    EXPECT_EQ(KoIString("aXbX").SubStringPos("X"), 1);
    EXPECT_EQ(KoIString("aXbX").Find("X", 2), 3);
    EXPECT_EQ(static_cast<short>(KoIString("65537")), 1);
    EXPECT_EQ(static_cast<o_8b>(KoIString("-9223372036854775808")), INT64_MIN);
    EXPECT_EQ(static_cast<double>(KoIString("2.5")), 2.5);
    EXPECT_EQ(static_cast<int>(KoIString("0x10")), 0) << "decimal only";
    KoIString flagged("x");
    flagged.SetFlag(0x20);
    KoIString copy;
    copy = flagged;
    EXPECT_EQ(copy.Flag(), 0x20);
    copy = "y";
    copy.Destruct(flagged);
    EXPECT_STREQ(copy.StrGet(), "x");
    EXPECT_EQ(copy.Flag(), 0x20);
    EXPECT_TRUE(flagged.IsEmpty() && flagged.Flag() == 0x20);
    flagged.Init();
    EXPECT_EQ(flagged.Flag(), 0);
    EXPECT_EQ(KoIString("y").Flag(), 0);
}

TEST(KoIString, Orders)
{
    data::ForEachRow("collation/caseless.txt", 6, [](const auto&, const data::Row& row) {
        const auto check = [&](auto a, unsigned char flag, const std::string& expected) {
            auto b = a;
            a = data::ParseText(row[0]).StrGet();
            b = data::ParseText(row[1]).StrGet();
            a.SetFlag(flag);
            b.SetFlag(flag);
            EXPECT_EQ(Sign(a != b), std::stoi(expected));
            a.SetFlag(0); // it is enough that one of them has it
            EXPECT_EQ(Sign(b != a), -std::stoi(expected));
        };
        check(KoIString(), 0, row[2]);
        check(KoCaseIString(), 0, row[3]);
        check(KoCaseIString(), KoCaseIString::kAccents, row[4]);
    });
    EXPECT_EQ(KoIString("abX").Compare("abY", 2), 0);
    EXPECT_EQ(KoIString("a") != KoIString("A"), 78 - 84);
    KoIString small("a");
    KoCaseIString large("B");
    int status = 1;
    EXPECT_LT(KoIStringCompare(KoFMT_MEMORY, 0, &small, 0, &large, 0, 1, status), 0);
    EXPECT_GT(KoCaseIStringCompare(KoFMT_MEMORY, 0, &large, 0, &small, 0, 1, status), 0);
    EXPECT_TRUE(KoCaseIString("hawk") == "HAWK");
    EXPECT_TRUE(KoIString("a") < KoIString("A"));
}

template <class T>
constexpr o_char kId = std::is_same_v<T, KoIString> ? KoISTRING_T : KoCASEISTRING_T;

template <class T>
Bytes Stored(const T& text, unsigned char format)
{
    return Stored(KoTypeMgr(), kId<T>, &text, format, 1);
}

/// Memory, records of both orders and keys have one order and one hash, whichever of them meet.
template <class T>
void AllFormsAgree()
{
    const KoTypeMgr manager;
    int status = 1;
    const auto hash = [&](void* value, unsigned char format) {
        return manager.Hash(kId<T>, 0, value, 1, format, status);
    };
    const char* const pool[] = {"",   "a",    "A",     "\xE1", "ss",           "\xDF",     "SS",
                                "oe", "\x9C", "z\xDF", "zs",   "\xDF\xDF\xDF", "\x81\xFF", "hawk"};
    for (const unsigned char flag : {o_u1b{0}, o_u1b{T::kAccents}}) {
        for (unsigned pair = 0; pair < std::size(pool) * std::size(pool); ++pair) {
            T a(pool[pair / std::size(pool)]);
            T b(pool[pair % std::size(pool)]);
            SCOPED_TRACE(pair);
            a.SetFlag(flag);
            b.SetFlag(flag);
            const int order = a != b;
            EXPECT_TRUE(order != 0 || hash(&a, KoFMT_MEMORY) == hash(&b, KoFMT_MEMORY));
            for (const unsigned char format : {o_u1b{1}, o_u1b{2}, o_u1b{0x81}, o_u1b{0x82}}) {
                const auto byteOrder = static_cast<unsigned char>(format & 2);
                Bytes x = Stored(a, format);
                EXPECT_EQ(hash(x.data(), byteOrder), hash(&a, KoFMT_MEMORY));
                for (const int mixed : {format & 2, format | 0x80}) {
                    Bytes y = Stored(b, static_cast<unsigned char>(mixed));
                    EXPECT_EQ(
                        manager.Cmp(kId<T>, 0, x.data(), 0, y.data(), 0, 1, byteOrder, status),
                        order);
                }
            }
        }
    }
}

TEST(KoIStringRecord, AllFormsAgree)
{
    AllFormsAgree<KoIString>();
    AllFormsAgree<KoCaseIString>();
}

TEST(KoIStringRecord, Layout)
{
    EXPECT_EQ(Stored(KoIString("a\xDF"), 0x82), Bytes({0, 5, 0x80, 78, 156, 156, 0}));
    KoCaseIString accents("\xE9\xDF");
    accents.SetFlag(KoCaseIString::kAccents);
    EXPECT_EQ(Stored(accents, 1), Bytes({4, 0, 0x20, 0xE9, 0xDF, 0}));
    EXPECT_EQ(Stored(accents, 0x81), Bytes({4, 0, 0xA0, 107, 156, 0}));
    // A key that is read stays one.
    const KoTypeMgr manager;
    const Bytes key = Stored(accents, 0x81);
    KoCaseIString back;
    EXPECT_EQ(manager.Load(KoCASEISTRING_T, &back, key.data(), 1, 1), key.size());
    EXPECT_EQ(Stored(back, 1), key);
    EXPECT_EQ(Stored(back, 0x81), key);
    EXPECT_EQ(Stored(KoIString().Fill(65531, '\xDF'), 0x81).size(), 65535U + 2);
}

} // namespace
