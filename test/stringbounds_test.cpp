#include "bounds.h"
#include "fixtures.h"
#include "kotext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;

const KoTypeMgr current;
const KoTypeMgr compat(0);

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
    const std::string shown = Show(text); // the characters stand behind code set and language
    return text.IsNullValue() ? shown : shown.substr(shown.rfind(':') + 1);
}

// Characters in Latin-1.
TEST(StringBounds, TableOfEnds)
{
    const struct {
        const char* reason;
        const char* value;
        unsigned op;
        const char *low, *high;
    } rows[] = {
        {"plain text", "hawk", kEqual | KoCMP_PLAIN, "hawk", "hawk"},
        {"no wildcard in it", "hawk", kEqual, "hawk", "hawk"},
        {"below", "hawk", kLess, "-", "hawk"},
        {"above or equal", "hawk", kGreater | kEqual, "hawk", "-"},
        {"unequal", "hawk", kGreater | kLess, "-", "-"},
        {"prefix", "hawk*", kEqual, "hawk", "haw<137>"},
        {"prefix and more", "ha?k*s", kEqual, "ha", "h<508C>"},
        {"prefix, case ignored", "hawk*", kEqual | KoCMP_IGNORE_CASE, "HAWK",
         "<7028><700C><7064><70B4>"},
        {"leading wildcard", "*hawk", kEqual, "-", "-"},
        {"a wildcard that is none", "a*", kEqual | KoCMP_PLAIN, "a*", "a*"},
        {"an escaped wildcard", "a\\*b", kEqual, "a*b", "a*b"},
        {"behind a pattern nothing is", "hawk*", kGreater, "-", "-"},
        {"below it neither", "hawk*", kLess | kEqual, "-", "-"},
        {"prefix of symbols alone", "-+*", kEqual, "-+", "-"},
        {"symbols in a prefix", "a-b*", kEqual, "a-b", "a-<5090>"},
        {"the same, symbols left out", "a-b*", kEqual | KoCMP_SKIP_SYMBOLS, "ab", "a<5090>"},
        {"spaces left out", "a b", kEqual | KoCMP_SKIP_SPACES, "ab", "ab0"},
        {"only spaces, left out", "  ", kEqual | KoCMP_SKIP_SPACES | KoCMP_NO_WILDCARDS, "-", "0"},
        {"empty", "", kEqual | KoCMP_PLAIN, "", ""},
        {"empty: null is matched like it", "", kEqual, "-", ""},
    };
    for (const auto& row : rows) {
        for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG, KoFMT_MEMORY}) {
            KoString text(row.value);
            Bytes stored = Stored(current, text, format == KoFMT_MEMORY ? 1 : format);
            auto op = static_cast<unsigned short>(row.op);
            Narrowed narrowed;
            current.EvalAndBound(KoSTRING_T, nullptr, op,
                                 format == KoFMT_MEMORY ? static_cast<void*>(&text) : stored.data(),
                                 format, 1, &narrowed, nullptr);
            // In memory form too the ends are stored values.
            const unsigned char formOfEnds = format == KoFMT_BIG ? KoFMT_BIG : KoFMT_LITTLE;
            EXPECT_EQ(TextOf(narrowed.low, formOfEnds), row.low) << row.reason;
            EXPECT_EQ(TextOf(narrowed.high, formOfEnds), row.high) << row.reason;
        }
    }
}

/// An end as its weights, letters of KoCaseIString printed as capitals; "-" where it is open.
std::string WeightsOf(const void* end)
{
    if (end == nullptr)
        return "-";
    KoCaseIString text;
    current.Load(KoCASEISTRING_T, &text, end, KoFMT_LITTLE, 1);
    if ((text.Flag() & KoIStringText::kRaw) == 0)
        return text.StrGet();
    std::string result = "weights";
    for (const char* at = text.StrGet(); *at != 0; ++at)
        result += " " + std::to_string(static_cast<unsigned char>(*at));
    return result;
}

TEST(StringBounds, TableOfCaselessEnds)
{
    const char* const kNoKey = nullptr;
    const struct {
        const char* reason;
        const char* key; ///< both ends of the index
        bool keyAccents;
        const char* value;
        bool accents;
        unsigned op;
        std::string low, high;
    } rows[] = {
        {"plain text", kNoKey, false, "hawk", false, kEqual, "hawk", "hawk"},
        {"below", kNoKey, false, "hawk", false, kLess, "-", "hawk"},
        {"unequal", kNoKey, false, "hawk", false, kLess | kGreater, "-", "-"},
        {"a prefix", kNoKey, false, "ab*", false, kEqual, "weights 84 91", "weights 84 92"},
        {"and up", kNoKey, false, "ab?c", false, kEqual | kGreater, "weights 84 91", "-"},
        {"no pattern is below", kNoKey, false, "ab*", false, kLess, "-", "ab*"},
        {"nor a plain text", kNoKey, false, "ab*", false, kEqual | KoCMP_PLAIN, "ab*", "ab*"},
        {"a leading wildcard", kNoKey, false, "*ab", false, kEqual, "-", "-"},
        {"an escape", kNoKey, false, "a\\*", false, kEqual, "weights 84", "weights 85"},
        {"two letters of one", "a", false, "a\xDF*", false, kEqual, "weights 84 157 157",
         "weights 84 157 158"},
        {"one letter of its own", "a", true, "a\xDF*", true, kEqual, "weights 84 156",
         "weights 84 157"},
        {"which, nobody knows", kNoKey, false, "a\xDF*", false, kEqual, "weights 84", "weights 85"},
        {"accents of the keys", "a", true, "\xE9*", false, kEqual, "weights 107", "weights 108"},
        {"keys without", "a", false, "\xE9", true, kEqual, "weights 105", "weights 105"},
        {"and another order", "a", false, "\xE9", true, kEqual | kLess, "-", "-"},
        {"perhaps without", kNoKey, false, "\xE9", true, kEqual, "-", "-"},
        {"empty", kNoKey, false, "", false, kEqual, "", ""},
    };
    for (const auto& row : rows) {
        const auto text = [](const char* characters, bool accents) {
            KoCaseIString made(characters);
            made.SetFlag(accents ? +KoIStringText::kAccents : 0);
            return made;
        };
        KoCaseIString value = text(row.value, row.accents);
        KoCaseIString key = text(row.key, row.keyAccents);
        KoIdxBounds keys{&key, &key, 0, 0};
        auto op = static_cast<unsigned short>(row.op);
        Narrowed narrowed;
        current.EvalAndBound(KoCASEISTRING_T, row.key == nullptr ? nullptr : &keys, op, &value,
                             KoFMT_MEMORY, 1, &narrowed, nullptr);
        EXPECT_EQ(WeightsOf(narrowed.low), row.low) << row.reason;
        EXPECT_EQ(WeightsOf(narrowed.high), row.high) << row.reason;
    }
}

TEST(StringBounds, Estimates)
{
    const struct {
        const char* reason;
        const char *low, *high;
        unsigned op;
        const char* value;
        double least, most;
    } rows[] = {
        {"a quarter of the letters", "A", "Zz", kLess, "G", 0.22, 0.25},
        {"every text", "A", "Zz", kLess | kGreater | kEqual, "G", 1.0, 1.0},
        {"one letter of 26", "A", "Zz", kEqual, "G*", 0.037, 0.040},
        {"behind a common beginning", "page-10", "page-99", kLess, "page-50", 0.40, 0.50},
        {"outside of it", "page-10", "page-99", kLess, "book", 0.0, 0.0},
        {"outside of it, above", "page-10", "page-99", kLess, "zoo", 1.0, 1.0},
        {"the common beginning itself", "page-10", "page-99", kEqual, "pa*", 1.0, 1.0},
        {"case does not matter", "alpha", "Zulu", kLess, "N", 0.45, 0.55},
        {"a plain text", "A", "Zz", kEqual, "Gloucester", 0.0005, 0.002},
        {"open ends", nullptr, nullptr, kLess, "N", 0.5, 0.7},
        {"a code", "key-aaa", "key-zzz", kEqual, "key-mno", 2e-5, 1e-4},
        {"a code of numerals", "0001000", "0010000", kEqual, "0005000", 0.0, 1e-4},
        {"one key, another text", "hawk", "hawk", kEqual, "kite", 0.0, 0.0},
        {"high end below the low one", "hawk", "crow", kEqual, "dove", 0.0, 0.0},
        {"symbols only", "+", "~", kLess | kEqual, "+*", 0.08, 0.095},
    };
    for (const auto& row : rows) {
        const auto stored = [](const char* text) {
            return text == nullptr ? Bytes() : Stored(current, KoString(text), KoFMT_BIG);
        };
        Bytes low = stored(row.low);
        Bytes high = stored(row.high);
        Bytes value = stored(row.value);
        KoIdxBounds bounds{low.empty() ? nullptr : low.data(), high.empty() ? nullptr : high.data(),
                           0, 0};
        auto op = static_cast<unsigned short>(row.op);
        const float share = current.EvalAndBound(KoSTRING_T, &bounds, op, value.data(), KoFMT_BIG,
                                                 1, nullptr, nullptr);
        EXPECT_GE(share, static_cast<float>(row.least)) << row.reason;
        EXPECT_LE(share, static_cast<float>(row.most)) << row.reason;
        for (const o_char type : {KoISTRING_T, KoCASEISTRING_T}) {
            KoIString ends[] = {row.low, row.high};
            KoIString asked(row.value);
            KoIdxBounds keys{row.low != nullptr ? ends : nullptr,
                             row.high != nullptr ? ends + 1 : nullptr, 0, 0};
            const float caseless =
                current.EvalAndBound(type, &keys, op, &asked, KoFMT_MEMORY, 1, nullptr, nullptr);
            EXPECT_GE(caseless, static_cast<float>(row.least)) << row.reason;
            EXPECT_LE(caseless, static_cast<float>(row.most)) << row.reason;
        }
        EXPECT_EQ(current.EvalAndBound(KoSTRING_T, nullptr, op, value.data(), KoFMT_BIG, 1, nullptr,
                                       nullptr),
                  0.0F);
    }
}

/// Texts of few characters, so that many share beginnings and differ in one thing alone.
class TextMaker
{
public:
    explicit TextMaker(unsigned seed) : m_random(seed) { Turn(); }

    unsigned Below(std::size_t end) { return static_cast<unsigned>(m_random() % end); }

    /// Takes other characters, from everywhere in the scheme of orders.
    void Turn()
    {
        static const std::u16string kNarrow =
            u"aAbBkK01 -+\u00E1\u00C1\u00E4\u00DF\u00C6\u00E6\u00D8\u00FE\u00AA\u00BD\u00FF";
        static const std::u16string kWide =
            u"aA -\u0137\u0149\u01C6\u01C5\u01C4\u01CB\u0131\u017F\u03B1\u0391\u1E9E\u3F01\u4E00"
            u"\u516C\u6B20\u5004\u7FFF\u8000\uF601\uFFFD\uFFFF";
        m_narrow.clear();
        m_wide = {char16_t{0xD800}};
        for (int i = 0; i < 5; ++i) {
            m_narrow += kNarrow[Below(kNarrow.size())];
            m_wide += kWide[Below(kWide.size())];
        }
        m_wide += m_narrow;
    }

    std::u16string Characters(bool narrow, bool pattern)
    {
        const std::u16string& from = narrow ? m_narrow : m_wide;
        std::u16string text;
        if (Below(20) == 0)
            text.assign(Below(300), from[Below(from.size())]); // longer than an end can be
        for (unsigned n = Below(5); n > 0; --n) {
            text += from[Below(from.size())];
            if (pattern && Below(3) == 0)
                text += u"*?\\"[Below(3)];
        }
        return text;
    }

    KoString Make(bool bytes, bool pattern)
    {
        if (Below(30) == 0)
            return NullText();
        if (bytes)
            return Text(Characters(true, pattern), KoCS_NONE);
        const bool latin = Below(2) == 0;
        return Text(Characters(latin, pattern), latin ? KoCS_LATIN1 : KoCS_UNICODE,
                    Below(8) == 0 ? KoLANG_CHINESE : KoLANG_NONE);
    }

private:
    std::mt19937_64 m_random;
    std::u16string m_narrow, m_wide;
};

constexpr unsigned kKeys = 60;

/// An index of texts of a type, and what makes more of them.
struct Keys {
    const KoTypeMgr& manager;
    o_char type;
    unsigned char format;
    std::function<Bytes(bool pattern, bool other)> make; ///< `other`: unlike the keys
    std::vector<Bytes> sorted{};
    KoIdxBounds bounds{};

    int PlainOrder(void* a, void* b) const
    {
        return manager.Cmp(type, a, b, KoCMP_PLAIN, 1, format);
    }
    void Fill()
    {
        for (unsigned i = 0; i < kKeys; ++i)
            sorted.push_back(make(false, false));
        std::sort(sorted.begin(), sorted.end(), [this](const Bytes& a, const Bytes& b) {
            return PlainOrder(const_cast<unsigned char*>(a.data()),
                              const_cast<unsigned char*>(b.data())) < 0;
        });
        bounds = {sorted.front().data(), sorted.back().data(), 0, 0};
    }
};

std::string Print(const Keys& keys, const void* end)
{
    if (keys.type == KoSTRING_T || end == nullptr)
        return TextOf(end, keys.format);
    KoIString text; // of either class
    keys.manager.Load(KoISTRING_T, &text, end, keys.format, 1);
    return std::to_string(text.Flag()) + ":" + text.StrGet();
}

void CheckConditions(Keys keys, TextMaker& maker, int conditions)
{
    keys.Fill();
    // Plain, case, accents, spaces, no wildcards, symbols.
    static const unsigned kOptions[] = {0, 0x10, 0x20, 0x40, 0x60, 0x80, 0x50, 0x100, 0x220, 0x2B0};
    const KoTypeMgr& manager = keys.manager;
    const unsigned char format = keys.format;
    for (int i = 0; i < conditions; ++i) {
        const unsigned options = kOptions[maker.Below(std::size(kOptions))];
        const unsigned bits = maker.Below(2) == 0 ? kEqual : 1 + maker.Below(7);
        // A condition without a code set on keys with one, or the other way round.
        const bool other = maker.Below(8) == 0;
        Bytes value = keys.make(maker.Below(2) == 0, other);
        if (maker.Below(4) == 0)
            value = keys.sorted[maker.Below(kKeys)];
        auto op = static_cast<unsigned short>(bits | options);
        const bool known = (other && keys.type == KoSTRING_T) || maker.Below(4) != 0;
        Narrowed ends;
        const float share = manager.EvalAndBound(keys.type, known ? &keys.bounds : nullptr, op,
                                                 value.data(), format, 1, &ends, nullptr);
        ASSERT_TRUE(share >= 0.0F && share <= 1.0F);
        // What a scan of the index finds between the ends.
        const auto before = [&](Bytes& key, void* end) {
            return keys.PlainOrder(key.data(), end) < 0;
        };
        const auto notBehind = [&](void* end, Bytes& key) {
            return keys.PlainOrder(end, key.data()) < 0;
        };
        auto& sorted = keys.sorted;
        const auto first = ends.low == nullptr
                               ? sorted.begin()
                               : std::lower_bound(sorted.begin(), sorted.end(), ends.low, before);
        const auto last = ends.high == nullptr ? sorted.end()
                                               : std::upper_bound(sorted.begin(), sorted.end(),
                                                                  ends.high, notBehind);
        for (auto key = sorted.begin(); key != sorted.end(); ++key) {
            const int order = manager.Cmp(keys.type, key->data(), value.data(),
                                          static_cast<unsigned short>(options), 1, format);
            const unsigned met = order < 0 ? kLess : order > 0 ? kGreater : kEqual;
            ASSERT_TRUE((bits & met) == 0 || (key >= first && key < last))
                << "type " << int{keys.type} << " bits " << bits << " options " << options
                << " value " << Print(keys, value.data()) << " key " << Print(keys, key->data())
                << " low " << Print(keys, ends.low) << " high " << Print(keys, ends.high);
        }
    }
}

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
        CheckConditions({current, KoSTRING_T, format, collated}, maker, 40);
        const auto older = [&](bool pattern, bool other) {
            return Stored(compat, maker.Make(!other, pattern), format);
        };
        CheckConditions({compat, KoSTRING_T, format, older}, maker, 10);

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
                        20);
        CheckConditions(
            {current, KoCASEISTRING_T, format, caseless(KoCaseIString(), KoCASEISTRING_T)}, maker,
            20);
    }
}

} // namespace
