#include <gtest/gtest.h>
#include <kotms.h>

#include <limits>
#include <memory>
#include <new>
#include <tuple>
#include <type_traits>
#include <utility>

// Expressions that programs write, and what they mean. Most of the test is that it compiles, under
// every compiler.

namespace
{

// One owner of the data of a record.
static_assert(!std::is_copy_constructible_v<KoTypeConvertData>);
static_assert(!std::is_copy_assignable_v<KoTypeConvertData>);

using OfConstString = decltype(std::declval<const KoString&>()[0]);
static_assert(!std::is_assignable_v<OfConstString, char> &&
              !std::is_assignable_v<OfConstString, KoChar>);
static_assert(!std::is_assignable_v<decltype(std::declval<const KoIString&>()[0]), char>);
static_assert(!std::is_constructible_v<KoStringIterator, KoString&&>); // it would outlive the text

// Neither has a meaning: a truth value has no text, a date has no fraction.
template <class A, class B>
concept Comparable = requires(const A& a, const B& b)
{
    a == b;
};
static_assert(!Comparable<KoString, bool> && !Comparable<KoDate, double>);

struct Case {
    const char* reason;
    bool holds;
};

template <std::size_t n>
void Check(const Case (&cases)[n])
{
    for (const Case& row : cases)
        EXPECT_TRUE(row.holds) << row.reason;
}

/// What stands beside a value, from both sides and under all six operators.
template <class A, class B>
bool Mirrored(const A& value, const B& operand, int order)
{
    const int differs = value != operand;
    const int reversed = operand != value;
    if (std::is_same_v<A, KoInt64> || std::is_same_v<A, KoBoolean> // 1 or 0, no order
            ? differs != reversed || differs != (order != 0)
            : (differs < 0) != (order < 0) || (differs > 0) != (order > 0) || reversed != -differs)
        return false;
    return (value == operand) == (order == 0) && (operand == value) == (order == 0) &&
           (value < operand) == (order < 0) && (operand > value) == (order < 0) &&
           (value > operand) == (order > 0) && (operand < value) == (order > 0) &&
           (value <= operand) == (order <= 0) && (operand >= value) == (order <= 0) &&
           (value >= operand) == (order >= 0) && (operand <= value) == (order >= 0);
}

TEST(Expressions, WhatStandsBesideATextIsAText)
{
    const KoString b("b");
    const KoIString i("b");
    const unsigned short units[] = {'c', 0};
    char writable[] = "c";
    Check({
        {"a literal", Mirrored(b, "b", 0) && Mirrored(b, "a", 1) && Mirrored(i, "c", -1)},
        {"an array that can be written", Mirrored(b, writable, -1) && b + writable == "bc"},
        {"16-bit text", Mirrored(b, units, -1) && Mirrored(b, u"a", 1) && b + u"c" == "bc"},
        {"the pattern is the literal on either side",
         "b*" == KoString("bc") && !("bc" == KoString("b*"))},
        {"a char",
         Mirrored(b, 'b', 0) && Mirrored(i, 'c', -1) && 'a' + b == "ab" && i + 'c' == "bc"},
        {"a KoChar", Mirrored(b, KoChar('a'), 1) && Mirrored(b, b[0], 0) && b + b[0] == "bb"},
        {"a character of 16 bits",
         Mirrored(b, u'b', 0) && (KoString("x") << u'y' << u"z") == "xyz"},
        {"a number is its digits",
         b + 5 == "b5" && 5 + b == "5b" && i + 5 == "b5" && b + 1.5 == "b1.5"},
        {"all 32 bits are printed as signed",
         b + 4294967295U == "b-1" && KoString("-1") == 4294967295U},
        {"a character outside any text", KoString(b[2]).IsEmpty() && b[1] == 0},
        {"other types of characters",
         KoString("aub").Find(u'b') == 2 &&
             KoString().Fill(2, static_cast<unsigned char>('x')) == "xx"},
        {"a character among characters", Mirrored(b[0], 'a', 1) && Mirrored(b[0], 0x63, -1)},
        {"no code of 16 bits", !(b[0] == 0x10062)},
    });
}

template <class N>
void CheckNumber()
{
    const KoDate date(2024, 2, 28);
    const KoTime time(10, 0, 0);
    const KoInt64 five(5);
    KoDateTimeN moment(date, time);
    moment.AddSeconds(N(5));
    moment.AddNanoSeconds(N(6));
    KoTimeSpan span(0, 0, 0, 0, 0, 0, 0);
    span.SetTotalSeconds(N(7));
    Check({
        {"text", KoString("a") + N(5) == "a5" && (KoString("a") << N(5)) == "a5" &&
                     Mirrored(KoString("5"), N(5), 0) && Mirrored(KoCaseIString("5"), N(4), 1)},
        {"days", date + N(2) == KoDate(2024, 3, 1) && date - N(28) == KoDate(2024, 1, 31) &&
                     Mirrored(date, N(0), 1)},
        {"seconds", time + N(5) == KoTime(10, 0, 5) && time - N(1) == KoTime(9, 59, 59) &&
                        Mirrored(KoTime(0, 0, 7), N(7), 0)},
        {"totals", moment == KoDateTimeN(2024, 2, 28, 10, 0, 5, 6) && span.Seconds() == 7},
        {"KoInt64",
         five + N(5) == KoInt64(10) && N(5) - five == KoInt64(0) && five * N(2) == N(10)},
        {"compared with KoInt64", Mirrored(five, N(6), -1)},
        {"truth", Mirrored(KoBoolean(1), N(1), 0) && Mirrored(KoBoolean(0), N(9), -1)},
    });
}

TEST(Expressions, TakeNumbersOfEveryWidth)
{
    std::apply(
        [](auto... n) { (CheckNumber<decltype(n)>(), ...); },
        std::tuple<short, int, unsigned, long, unsigned long, long long, unsigned long long>());

    KoTimeSpan span(0.0);
    span.AddNanoSeconds(std::numeric_limits<o_u8b>::max());
    KoBoolean null(0);
    null.SetNullValue();
    Check({
        {"bits beyond 32 are not lost in comparisons",
         Mirrored(KoTime(0, 0, 7), (1LL << 32) + 7, -1) && Mirrored(KoBoolean(1), 1LL << 32, 0) &&
             Mirrored(KoDate(0), 1ULL << 63, -1)},
        {"a count beyond 63 bits stops there",
         span.GetTotalNanoSeconds() == std::numeric_limits<o_8b>::max()},
        {"truth values and fractions",
         KoBoolean(1) == true && false != KoBoolean(1) && 0.5 == KoBoolean(1)},
        {"null equals no number", Mirrored(null, 0, -1) && Mirrored(null, 1L, -1)},
    });
}

TEST(Expressions, ConstTextIsOnlyRead)
{
    KoString text("abc");
    const KoString& fixed = text;
    KoChar first = fixed[0]; // no copy is made on the way
    first = 'x';
    KoChar second(fixed, 1);
    second = 'x';
    KoStringIterator reader(fixed);
    *reader = 'x';
    KoCharToUpper upper;
    KoStringIterator(text).Transform(reader, upper);
    EXPECT_STREQ(text.StrGet(), "abc");
    *KoStringIterator(text) = 'x';
    text[1] = 0x79;
    EXPECT_STREQ(fixed.StrGet(), "xyc");

    KoIString a("abc");
    KoIString b;
    a[3] = b[0] = a[-1] = 'x';
    EXPECT_EQ(std::as_const(b)[0] + b[0] + a[3] + a[4], 0);
    EXPECT_STREQ(a.StrGet(), "abc");
}

// A case-blind text has blanks of its own code; they are those of a string.
TEST(Expressions, BothKindsOfTextTrimTheSame)
{
    for (int c = 1; c < 256; ++c) {
        const char text[] = {static_cast<char>(c), '-', static_cast<char>(c), 0};
        KoIString a(text);
        KoString b(text);
        b.SetCodeSet(KoCS_WINDOWS_1252);
        EXPECT_STREQ(a.Trim().StrGet(), b.Trim().StrGet()) << c;
    }
}

TEST(Expressions, ManagersAreMadeAnywhereAndServeAsConst)
{
    alignas(KoTypeMgr) unsigned char place[sizeof(KoTypeMgr)];
    const KoTypeMgr* manager = new (place) KoTypeMgr(5);
    const std::unique_ptr<KoTypeMgr> other(new (std::nothrow) KoTypeMgr(*manager));
    o_4b number = 17;
    const std::unique_ptr<KoTypeConvertData> texts(manager->ConvertTo(Ko4B_T, &number, 1));
    EXPECT_STREQ(texts->GetString(0)->StrGet(), "17");
    EXPECT_EQ(manager->SetNullValue(Ko4B_T, &number), KoRC_OK);
    EXPECT_EQ(number, 0);

    alignas(KoTypeConvertData) unsigned char room[sizeof(KoTypeConvertData)];
    auto* record = new (room) KoTypeConvertData();
    EXPECT_EQ(record->GetString(0), nullptr);
    record->~KoTypeConvertData();
}

} // namespace
