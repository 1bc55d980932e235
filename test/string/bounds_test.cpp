#include "support/bounds.h"
#include "support/fixtures.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

const KoTypeMgr current;
const KoTypeMgr compat(0);

/// The older layout and the key forms may take less than they ask for.
Bytes Stored(const KoTypeMgr& manager, o_char type, const void* text, unsigned char format)
{
    Bytes bytes(manager.DiskLenGet(type, text, format, 1, KoFMT_MEMORY));
    bytes.resize(manager.Store(type, bytes.data(), text, format, 1));
    return bytes;
}

Bytes Stored(const KoTypeMgr& manager, const KoString& text, unsigned char format)
{
    return Stored(manager, KoSTRING_T, &text, format);
}

/// The text of an end, "-" where it is open.
std::string TextOf(const void* end, unsigned char format)
{
    if (end == nullptr)
        return "-";
    KoString text;
    current.Load(KoSTRING_T, &text, end, format, 1);
    const std::string shown = data::FormatText(text); // behind code set and language
    return text.IsNullValue() ? shown : shown.substr(shown.find('"'));
}

/// The ends as they are shown, `show` of each, for a condition on a value.
std::pair<std::string, std::string> Ends(o_char id, KoIdxBounds* keys, const std::string& op,
                                         void* value, unsigned char format,
                                         std::string (*show)(const void* end, unsigned char format))
{
    unsigned short word = OperatorOf(op);
    Narrowed narrowed;
    current.EvalAndBound(id, keys, word, value, format, 1, &narrowed, nullptr);
    // In memory form too the ends are stored values.
    const unsigned char formOfEnds = format == KoFMT_BIG ? KoFMT_BIG : KoFMT_LITTLE;
    return {show(narrowed.low, formOfEnds), show(narrowed.high, formOfEnds)};
}

// Characters in Latin-1.
TEST(StringBounds, TableOfEnds)
{
    data::ForEachRow("bounds/ends.txt", 5, [](const auto&, const data::Row& row) {
        KoString text = data::ParseText(row[0]);
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG, KoFMT_MEMORY}) {
            Bytes stored = Stored(current, text, format == KoFMT_MEMORY ? 1 : format);
            void* value = format == KoFMT_MEMORY ? static_cast<void*>(&text) : stored.data();
            EXPECT_EQ(Ends(KoSTRING_T, nullptr, row[1], value, format, TextOf),
                      std::pair(row[2], row[3]));
        }
    });
}

/// An end as its weights, letters of KoCaseIString printed as capitals; "-" where it is open.
std::string WeightsOf(const void* end, unsigned char format)
{
    if (end == nullptr)
        return "-";
    KoCaseIString text;
    current.Load(KoCASEISTRING_T, &text, end, format, 1);
    if ((text.Flag() & KoIStringText::kRaw) == 0)
        return text.IsEmpty() ? "\"\"" : text.StrGet();
    std::string result = "weights";
    for (const char* at = text.StrGet(); *at != 0; ++at)
        result += " " + std::to_string(static_cast<unsigned char>(*at));
    return result;
}

TEST(StringBounds, TableOfCaselessEnds)
{
    data::ForEachRow("bounds/caselessends.txt", 6, [](const auto&, const data::Row& row) {
        const auto text = [](const std::string& field) {
            KoCaseIString made(field == "-" ? "" : data::ParseText(field).StrGet());
            if (field.find(" accents") != std::string::npos)
                made.SetFlag(KoIStringText::kAccents);
            return made;
        };
        KoCaseIString key = text(row[0]);
        KoCaseIString value = text(row[1]);
        KoIdxBounds keys{&key, &key, 0, 0};
        EXPECT_EQ(Ends(KoCASEISTRING_T, row[0] == "-" ? nullptr : &keys, row[2], &value,
                       KoFMT_MEMORY, WeightsOf),
                  std::pair(row[3], row[4]));
    });
}

// The estimates of single conditions are among those of core/bounds_test.cpp. What a prefix selects
// holds every text that begins with it, and the operators share the index.
TEST(StringBounds, EstimatesOfPartsFitTogether)
{
    static const char* const kTexts[] = {"",       ".",     "a",       "abc",    "ab.c-d",
                                         "abzz9",  "page1", "page-10", "page99", "\xDF\xFEx",
                                         "zzzzzz", "0x12",  "~",       "+*"};
    const auto check = [](auto text, o_char type, const char* lowest, const char* highest) {
        using Text = decltype(text);
        Text ends[] = {lowest, highest};
        KoIdxBounds keys{ends, ends + 1, 0, 0};
        const auto share = [&](const std::string& of, const std::string& op) {
            Text value(of.c_str());
            unsigned short word = OperatorOf(op);
            return current.EvalAndBound(type, &keys, word, &value, KoFMT_MEMORY, 1, nullptr,
                                        nullptr);
        };
        for (const std::string asked : kTexts) {
            SCOPED_TRACE(std::string(lowest) + " to " + highest + ", " + asked);
            const float equal = share(asked, "=");
            float shorter = 1.0F;
            for (std::size_t n = 0; n <= asked.size(); ++n) {
                const float prefix = share(asked.substr(0, n) + "*", "=");
                ASSERT_LE(prefix, shorter);
                ASSERT_LE(equal, prefix);
                shorter = prefix;
            }
            if (asked == "+*")
                continue;
            const float all = share(asked, "<=>"); // 0 where the highest key is below the lowest
            EXPECT_NEAR(share(asked, "<") + equal + share(asked, ">"), all, 1e-6);
            EXPECT_EQ(share(asked, "<>") > 0.0F, all > 0.0F);
        }
    };
    for (const char* lowest : kTexts) {
        for (const char* highest : kTexts) {
            check(KoString(), KoSTRING_T, lowest, highest);
            check(KoIString(), KoISTRING_T, lowest, highest);
            check(KoCaseIString(), KoCASEISTRING_T, lowest, highest);
        }
    }
}

/// Texts of few characters, so that many share beginnings and differ in one thing alone.
class TextMaker : public Random
{
public:
    using Random::Random;

    /// Takes other characters, from everywhere in the scheme of orders.
    void Turn()
    {
        static const char16_t kNarrow[] =
            u"aAbBkK01 -+\u00E1\u00C1\u00E4\u00DF\u00C6\u00E6\u00D8\u00FE\u00AA\u00BD\u00FF";
        static const char16_t kWide[] =
            u"aA -\u0137\u0149\u01C6\u01C5\u01C4\u01CB\u0131\u017F\u03B1\u0391\u1E9E\u3F01\u4E00"
            u"\u516C\u6B20\u5004\u7FFF\u8000\uF601\uFFFD\uFFFF";
        m_wide = {char16_t{0xD800}};
        for (char16_t& narrow : m_narrow) {
            narrow = kNarrow[Below(std::size(kNarrow) - 1)];
            m_wide += {narrow, kWide[Below(std::size(kWide) - 1)]};
        }
    }

    KoString Make(bool bytes, bool pattern)
    {
        if (Below(30) == 0)
            return NullText();
        const bool narrow = bytes || Below(2) == 0;
        const std::u16string& from = narrow ? m_narrow : m_wide;
        const auto any = [&] { return from[Below(static_cast<unsigned>(from.size()))]; };
        std::u16string text;
        if (Below(20) == 0)
            text.assign(Below(300), any()); // longer than an end can be
        for (unsigned n = Below(5); n > 0; --n) {
            text += any();
            if (pattern && Below(3) == 0)
                text += u"*?\\"[Below(3)];
        }
        if (bytes)
            return ::Text(text, KoCS_NONE);
        return ::Text(text, narrow ? KoCS_LATIN1 : KoCS_UNICODE,
                      Below(8) == 0 ? KoLANG_CHINESE : KoLANG_NONE);
    }

private:
    std::u16string m_narrow = u"     ";
    std::u16string m_wide;
};

// Plain, case, accents, spaces, no wildcards, symbols.
const std::vector<unsigned> kOptions = {0, 0x10, 0x20, 0x40, 0x60, 0x80, 0x50, 0x100, 0x220, 0x2B0};

TEST(StringBounds, ANarrowedRangeLosesNoMatch)
{
    TextMaker maker(31);
    for (int round = 0; round < 200; ++round) {
        maker.Turn();
        const unsigned char format = round % 2 == 0 ? KoFMT_LITTLE : KoFMT_BIG;
        const bool bytes = round % 4 == 3;
        const auto collated = [&](bool pattern, bool other) {
            return Stored(current, maker.Make(bytes != other, pattern), format);
        };
        CheckConditions({current, KoSTRING_T, format, collated}, maker, 40, kOptions);
        const auto older = [&](bool pattern, bool other) {
            return Stored(compat, maker.Make(!other, pattern), format);
        };
        CheckConditions({compat, KoSTRING_T, format, older}, maker, 10, kOptions);

        // Texts with accents and without are not sorted together, texts and keys are.
        const bool accents = round % 4 < 2;
        const auto caseless = [&](auto text, o_char type) {
            return [&, text, type](bool pattern, bool other) mutable {
                const KoString characters = maker.Make(true, pattern);
                text = characters.StrGet();
                text.SetFlag(accents != other ? +KoIStringText::kAccents : 0);
                const bool key = maker.Below(3) == 0;
                return Stored(current, type, &text,
                              static_cast<unsigned char>(format | (key ? KoFMT_KEY : 0)));
            };
        };
        CheckConditions({current, KoISTRING_T, format, caseless(KoIString(), KoISTRING_T)}, maker,
                        20, kOptions);
        CheckConditions(
            {current, KoCASEISTRING_T, format, caseless(KoCaseIString(), KoCASEISTRING_T)}, maker,
            20, kOptions);
    }
}

} // namespace
