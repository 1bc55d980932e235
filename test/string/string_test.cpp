#include "support/data_file.h"
#include "support/failing_heap.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{

using Edit = void (*)(KoString&);

const unsigned short* Wide(const char16_t* text)
{
    return reinterpret_cast<const unsigned short*>(text);
}

KoString Wide(const char* text)
{
    KoString wide(text);
    wide.SetCodeSet(KoCS_UNICODE);
    return wide;
}

TEST(String, ConstructorsGiveTextInTheirCodeSet)
{
    const char16_t euro[] = u"\u20ACuro";
    const struct {
        KoString text;
        std::u16string units;
        unsigned byteSize;
        unsigned codeSet;
    } rows[] = {
        {KoString(), u"", 0, 1},
        {KoString(static_cast<const char*>(nullptr)), u"", 0, 1},
        {KoString(static_cast<unsigned short>(0)), u"", 0, 253},
        {KoString(static_cast<unsigned char>(0xE9)), u"\u00E9", 2, 1},
        {KoString(static_cast<unsigned short>(0x20AC)), u"\u20AC", 4, 253},
        {KoString("abc", 2), u"ab", 3, 1},
        {KoString("abc", KoString::kToEnd), u"abc", 4, 1},
        {KoString(Wide(euro)), euro, 10, 253},
        {KoString(Wide(euro), 1), u"\u20AC", 4, 253},
        {KoString(4294967295U), u"-1", 3, 1}, // formatted as an int
        {KoString(0.1), u"0.10000000000000001", 20, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.StrGet());
        EXPECT_EQ(UnitsOf(row.text), row.units);
        EXPECT_EQ(row.text.ByteSize(), row.byteSize);
        EXPECT_EQ(row.text.CodeSet(), row.codeSet);
        EXPECT_EQ(row.text.IsEmpty(), row.units.empty());
    }
    EXPECT_EQ(KoString::EmptyString().StrGet()[0], '\0');
}

template <class T>
struct EditRow {
    const char* what;
    void (*edit)(T&);
    const char* result; ///< of "abc"
};

/// Edits of every class of strings.
template <class T>
std::vector<EditRow<T>> Edits()
{
    return {
        {"append itself", [](T& s) { s += s; }, "abcabc"},
        {"assign itself", [](T& s) { s = *&s; }, "abc"},
        {"insert in front", [](T& s) { s.Insert("xy", 0); }, "xyabc"},
        {"insert beyond end", [](T& s) { s.Insert("xy", 4); }, "abc"},
        {"replace inside", [](T& s) { s.Replace("x", 1); }, "axc"},
        {"replace cut at end", [](T& s) { s.Replace("xyz", 2); }, "abx"},
        {"cut to end", [](T& s) { s.Cut(2, -1); }, "ab"},
        {"copy", [](T& s) { s = s.Copy(1, 2); }, "bc"},
        {"left, right", [](T& s) { s = s.Left(2) + s.Right(2) + s.Right(9); }, "abbcabc"},
        {"fill", [](T& s) { s.Fill(4, '*'); }, "****"},
        {"expand", [](T& s) { s.Expand(8, '.').Expand(3, '!'); }, "abc....."},
        {"insert itself", [](T& s) { s.Insert(s, 1); }, "aabcbc"},
        {"replace with itself", [](T& s) { s.Replace(s, 1); }, "aab"},
        {"cut nothing", [](T& s) { s.Cut(1, 0).Cut(3, 1); }, "abc"},
        {"append zero character", [](T& s) { s << '\0'; }, "abc"},
        {"append numbers", [](T& s) { s << -1 << 2.5 << 3000000000U; }, "abc-12.5-1294967296"},
        {"destroy", [](T& s) { s.Destroy(); }, ""},
        {"take over itself", [](T& s) { s.Destruct(s); }, "abc"},
        {"replace by what holds it", [](T& s) { (s += s).ReplaceAll("b", "bbb"); }, "abbbcabbbc"},
        {"replace with less, from 1 on", [](T& s) { (s += s).ReplaceAll("ab", "x", 1); }, "abcxc"},
        {"replace itself", [](T& s) { s.ReplaceAll(s, s + s); }, "abcabc"},
        {"replace by nothing", [](T& s) { s.ReplaceAll("abc", ""); }, ""},
        {"replace nothing", [](T& s) { s.ReplaceAll("", "x").ReplaceAll('d', 'x'); }, "abc"},
    };
}

// Each edit starts from "abc".
TEST(String, EditsWorkAlikeInBothWidthsAndAllClasses)
{
    std::vector<EditRow<KoString>> rows = Edits<KoString>();
    const EditRow<KoString> kOwn[] = {
        {"append other width", [](KoString& s) { s += Wide("de"); }, "abcde"},
        {"fill 16-bit", [](KoString& s) { s.Fill(3, o_u2b{'*'}); }, "***"},
        {"expand 16-bit", [](KoString& s) { s.Expand(4, o_u2b{'!'}); }, "abc!"},
    };
    rows.insert(rows.end(), std::begin(kOwn), std::end(kOwn));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        for (KoString text : {KoString("abc"), Wide("abc")}) {
            const unsigned char codeSet = text.CodeSet();
            const unsigned width = text.Width();
            row.edit(text);
            const std::string result = row.result;
            EXPECT_EQ(UnitsOf(text), std::u16string(result.begin(), result.end()));
            EXPECT_EQ(text.CodeSet(), codeSet);
            EXPECT_EQ(text.ByteSize(), result.empty() ? 0 : (result.size() + 1) * width);
        }
    }
    for (const auto& row : Edits<KoIString>()) {
        KoIString text("abc");
        row.edit(text);
        EXPECT_STREQ(text.StrGet(), row.result) << row.what;
        EXPECT_EQ(text.Len(), std::strlen(row.result)) << row.what;
    }
}

TEST(String, AssignmentTakesCodeSetAndLanguage)
{
    const KoString german(KoCS_WINDOWS_1252, 7);
    KoString text("abc");
    text = german;
    EXPECT_TRUE(text.CodeSet() == KoCS_WINDOWS_1252 && text.Language() == 7 && text.IsEmpty());
    text = "abc"; // plain text comes in the defaults
    EXPECT_TRUE(text.CodeSet() == KoCS_LATIN1 && text.Language() == 0);
    text = text.StrGet() + 1; // inside its own buffer
    EXPECT_STREQ(text.StrGet(), "bc");

    KoString taken;
    taken.Destruct(text);
    EXPECT_STREQ(taken.StrGet(), "bc");
    EXPECT_TRUE(text.IsEmpty() && text.ByteSize() == 0);
    taken.Destruct(taken);
    EXPECT_STREQ(taken.StrGet(), "bc");

    const KoString sum = german + KoString("x");
    EXPECT_TRUE(sum.CodeSet() == KoCS_WINDOWS_1252 && sum.Language() == 7 && sum.Len() == 1);

    KoString number("a"); // a 16-bit number is a character in 16-bit text alone
    EXPECT_STREQ((number << static_cast<unsigned short>(65)).StrGet(), "a65");
    EXPECT_EQ(UnitsOf(Wide("a") << static_cast<unsigned short>(65)), u"aA");
}

TEST(String, TextBeyondTheLimitIsCutOff)
{
    const struct {
        const char* what;
        Edit edit;
        unsigned byteSize;
        int reports;
    } rows[] = {
        {"longest 8-bit", [](KoString& s) { s.Fill(65531, 'a'); }, 65532, 0},
        {"one more", [](KoString& s) { s.Fill(65531, 'a') << 'b'; }, 65532, 1},
        {"insert pushes the end out", [](KoString& s) { s.Fill(65531, 'a').Insert("xyz", 65530); },
         65532, 1},
        {"longest 16-bit", [](KoString& s) { (s = Wide("a")).Fill(32765, 'a'); }, 65532, 0},
        {"one more", [](KoString& s) { (s = Wide("a")).Fill(32766, 'a'); }, 65532, 1},
        {"widened", [](KoString& s) { s.Fill(65531, 'a').SetCodeSet(KoCS_UNICODE); }, 65532, 1},
    };
    for (const char* setting : {"1", "0"}) {
        for (const auto& row : rows) {
            SCOPED_TRACE(row.what);
            const Reports reports;
            DefaultConfig::Set("debug", "stringOverflow", setting);
            KoString text;
            row.edit(text);
            EXPECT_EQ(text.ByteSize(), row.byteSize);
            EXPECT_EQ(text.Len(), row.byteSize / text.Width() - 1);
            DefaultConfig::Set("debug", "stringOverflow", nullptr);
            EXPECT_EQ(reports.Texts(), setting[0] == '1' && row.reports != 0
                                           ? "String overflow|src\\kostring|1110;"
                                           : "");
        }
    }
    KoString text;
    text.Fill(65531, 'a').Insert("xyz", 65530);
    EXPECT_STREQ(text.Copy(65529, KoString::kRest).StrGet(), "ax");
}

TEST(String, NumbersAreReadUnderTheOptionsWord)
{
    data::ForEachRow("strings/numbers.txt", 4, [](const auto&, const data::Row& row) {
        const KoString narrow = data::ParseText(row[0]);
        for (const int options : {0, 1}) { // bit 0 clear: base by prefix
            ___KoTypeMgrOptions() = options;
            const o_8b expected = std::stoll(row[options == 0 ? 1 : 2]);
            const auto held = static_cast<int>(
                std::min<o_8b>(std::max<o_8b>(expected, INT_MIN), INT_MAX)); // saturates
            for (const KoString& text : {narrow, Wide(narrow.StrGet())}) {
                EXPECT_EQ(static_cast<o_8b>(text), expected);
                EXPECT_EQ(static_cast<int>(text), held);
                EXPECT_EQ(static_cast<short>(text), static_cast<short>(held));
            }
        }
    });
    ___KoTypeMgrOptions() = 0;
    data::ForEachRow("strings/checkednumbers.txt", 5, [](const auto&, const data::Row& row) {
        const auto check = [&row](const auto& text) {
            const int rc = std::stoi(row[1]);
            int n = 99;
            o_8b wide = 99;
            EXPECT_TRUE(text.Atol(n) == rc && n == std::stoi(row[2]));
            EXPECT_TRUE(text.Atoll(wide) == rc && wide == n);
            EXPECT_TRUE(text.Strtol(n) == rc && n == std::stoi(row[3]));
            EXPECT_TRUE(text.Strtoll(wide) == rc && wide == n);
        };
        const KoString text = data::ParseText(row[0]);
        check(text);
        check(KoIString(text.StrGet()));
    });
    EXPECT_EQ(static_cast<double>(Wide(" -2.5e3x")), -2500.0);
    EXPECT_EQ(static_cast<double>(KoString("x")), 0.0);
}

TEST(String, CodeSetsChangeByNameOrByMeaning)
{
    // 0xA4 is the currency sign in Latin-1 and the euro sign in ISO 8859-15.
    KoString text("\xA4");
    text.SetCodeSet(15);
    EXPECT_EQ(UnitsOf(text), u"\u00A4"); // same width: only the name changes
    EXPECT_EQ(text.SetCodeSetCode(KoCS_UNICODE), KoRC_REFUSED);
    EXPECT_EQ(text.CodeSet(), 15);
    text.SetCodeSet(KoCS_UNICODE);
    EXPECT_EQ(UnitsOf(text), u"\u20AC");
    EXPECT_EQ(text.MapToCodeSet(KoCS_WINDOWS_1252), 0);
    EXPECT_EQ(UnitsOf(text), u"\u0080");
    EXPECT_EQ(text.MapToCodeSet(KoCS_LATIN1), -1); // no euro sign there
    EXPECT_STREQ(text.StrGet(), "?");
    for (const int codeSet : {0, 254, 255})
        EXPECT_EQ(text.MapToCodeSet(static_cast<unsigned char>(codeSet)), KoRC_REFUSED);

    // Text without a code set is native text when its meaning counts, and plain bytes otherwise.
    KoLanguageContext::SetNativeCodeSet(15);
    KoString plain("\xA4");
    plain.SetCodeSetCode(KoCS_NONE);
    EXPECT_EQ(UnitsOf(KoString(KoCS_KOI8_R, 0) += plain), u"\u00A4");
    EXPECT_EQ(UnitsOf(KoString(KoCS_UNICODE, 0) += plain), u"\u20AC");
    KoString mapped(KoCS_LATIN1, 9);
    EXPECT_EQ(mapped.CopyMapped(plain + "xy", KoCS_WINDOWS_1252, 2), 0);
    EXPECT_EQ(UnitsOf(mapped), u"\u0080x");
    EXPECT_EQ(mapped.Language(), plain.Language());
    EXPECT_EQ(mapped.CopyMapped(mapped, KoCS_LATIN1, 1), KoRC_REFUSED);
    KoString native;
    EXPECT_EQ(native.CopyMapped(mapped, KoCS_NONE, -1), 0); // refused by MapToCodeSet alone
    EXPECT_EQ(native.CodeSet(), KoCS_NONE);
    EXPECT_EQ(UnitsOf(native), u"\u00A4x");
    EXPECT_EQ(native.CopyMapped(mapped, KoCS_NULL, -1), KoRC_REFUSED);
    KoLanguageContext::SetNativeCodeSet(KoCS_LATIN1);
}

TEST(String, NullIsEmptyUntilTextComesIn)
{
    const struct {
        unsigned char codeSet, language;
        bool null;
    } marks[] = {{1, 254, true}, {254, 0, true}, {254, 5, false}, {0, 0, false}};
    for (const auto& mark : marks)
        EXPECT_EQ(KoString(mark.codeSet, mark.language).IsNullValue(), mark.null);

    KoString text("abc");
    text.SetNullValue();
    EXPECT_TRUE(text.CodeSet() == 0 && text.Language() == 254);
    EXPECT_TRUE(text.IsEmpty() && text.ByteSize() == 0);
    EXPECT_TRUE(KoString(text).IsNullValue());
    EXPECT_TRUE(((text << "").Cut(0, 1)).IsNullValue());
    text << Wide("abc");
    EXPECT_FALSE(text.IsNullValue());
    EXPECT_TRUE(text.CodeSet() == KoCS_LATIN1 && text == KoString("abc"));
}

TEST(String, SplitListYieldsTrimmedItems)
{
    data::ForEachRow("strings/lists.txt", 4, [](const auto&, const data::Row& row) {
        const KoString narrow = data::ParseText(row[0]);
        const KoString separator = data::ParseText(row[1]);
        for (KoString list : {narrow, Wide(narrow.StrGet())}) {
            unsigned short pos = 0;
            KoString item("kept");
            KoString items;
            while (KoSplitList(list, item, separator, pos) == 0)
                items += "[" + item + "]";
            EXPECT_STREQ(items.StrGet(), row[2].c_str());
            const KoString last = item;
            EXPECT_EQ(KoSplitList(list, item, separator, pos), KoRC_END_OF_LIST);
            EXPECT_TRUE(item == last);
        }
    });
}

TEST(String, AnEditAllocatesOnceAndSurvivesWithoutMemory)
{
    const struct {
        const char* what;
        Edit edit;
    } edits[] = {
        {"append", [](KoString& s) { s << "xyz"; }},
        {"append a number", [](KoString& s) { s << 12345678; }},
        {"assign", [](KoString& s) { s = "xyz"; }},
        {"insert", [](KoString& s) { s.Insert(s, 1); }},
        {"fill", [](KoString& s) { s.Fill(100, '*'); }},
        {"widen", [](KoString& s) { s.SetCodeSet(KoCS_UNICODE); }},
        {"map", [](KoString& s) { s.MapToCodeSet(KoCS_KOI8_R); }},
    };
    for (const auto& row : edits) {
        SCOPED_TRACE(row.what);
        KoString text("abc");
        {
            const FailingHeap none(0);
            row.edit(text);
            EXPECT_EQ(none.HandlerCalls(), 1);
        }
        EXPECT_STREQ(text.StrGet(), "abc");
        EXPECT_TRUE(text.CodeSet() == KoCS_LATIN1 && text.ByteSize() == 4);
        const FailingHeap one(1);
        row.edit(text);
        EXPECT_FALSE(one.HasFailed());
        EXPECT_FALSE(text == KoString::EmptyString());
    }
}

} // namespace
