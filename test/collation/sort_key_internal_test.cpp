#include "support/data_file.h"
#include "support/intl.h"

#include "collation/sort_key.h"

#include <cstdlib>
#include <memory>

using namespace ko;

// Sort keys of texts against the comparison itself.

namespace
{

using Key = std::vector<unsigned char>;

constexpr unsigned kRoom = 4096;

Key KeyOf(const KoString& text, o_u2b word)
{
    unsigned char bytes[kRoom];
    const unsigned length =
        ko::WriteSortKey(StringAccess::Get(text), word, bytes, kRoom, ko::TextMemory::kPadded);
    EXPECT_LE(length, kRoom);
    return Key(bytes, bytes + std::min(length, kRoom));
}

/// The text as it is stored in either byte order, with nothing behind it.
struct Stored {
    std::unique_ptr<char[]> bytes;
    KoText text;

    Stored(const KoString& string, unsigned char format) : text(StringAccess::Get(string))
    {
        const unsigned size = text.units * text.Width();
        bytes = std::make_unique<char[]>(size);
        std::copy_n(string.StrGet(), size, bytes.get());
        text.bytes = bytes.get();
        text.format = format;
        if (text.IsSwapped())
            for (unsigned i = 0; i < size; i += 2)
                std::swap(bytes[i], bytes[i + 1]);
    }
};

/// Whatever way it is written, in whatever room: the same key, and nothing else.
void ExpectKey(const KoString& text, o_u2b word, const Key& key)
{
    const auto length = static_cast<unsigned>(key.size());
    for (const unsigned char format : {KoFMT_MEMORY, KoFMT_LITTLE, KoFMT_BIG}) {
        const Stored stored(text, format);
        EXPECT_EQ(ko::SortKeyLength(stored.text, word), length);
        for (unsigned room = 0; room <= length + 2; ++room) {
            Key expected(key.begin(), key.begin() + std::min(room, length));
            expected.resize(length + 2);
            for (const auto way :
                 {ko::SortKeyWay::kPlain, ko::SortKeyWay::kBlocks, ko::SortKeyWay::kAtOnce}) {
                if (way > ko::BestSortKeyWay())
                    continue;
                const auto bytes = std::make_unique<unsigned char[]>(length + 2);
                EXPECT_EQ(ko::WriteSortKeyBy(way, stored.text, word, bytes.get(), room), length);
                const Key written(bytes.get(), bytes.get() + length + 2);
                if (written != expected)
                    ADD_FAILURE() << data::FormatBytes(written) << " in " << room;
            }
        }
    }
    EXPECT_EQ(ko::SortKeyExtent(key.data(), length, word), length);
}

bool Begins(const Key& a, const Key& b)
{
    return a.size() < b.size() && std::equal(a.begin(), a.end(), b.begin());
}

/// The laws of two texts.
void ExpectOrder(const KoString& a, const Key& x, const KoString& b, const Key& y, o_u2b word)
{
    const int order = Sign(a.Compare(b, -1, word));
    const auto compared = x <=> y;
    if (Sign(compared < 0 ? -1 : compared > 0) != order || Begins(x, y) || Begins(y, x))
        ADD_FAILURE() << data::FormatText(a) << " and " << data::FormatText(b) << " under "
                      << std::hex << word << " compare as " << order << ": " << data::FormatBytes(x)
                      << " and " << data::FormatBytes(y);
}

/// The text comes back from its key.
void ExpectBack(const KoString& text, const Key& key, o_u2b word)
{
    KoString back = "before";
    unsigned taken = 0;
    ASSERT_EQ(ko::ReadSortKey(back, key.data(), static_cast<unsigned>(key.size()), word, taken), 0)
        << data::FormatText(text);
    EXPECT_EQ(taken, key.size());
    EXPECT_EQ(back.IsNullValue(), text.IsNullValue());
    EXPECT_EQ(text.Compare(back, -1, KoCMP_PLAIN), 0)
        << data::FormatText(text) << " and " << data::FormatText(back);
}

/// Texts of every kind that keys treat differently.
class AwkwardTexts : public Random
{
public:
    using Random::Random;

    KoString Next(bool plain)
    {
        if (Below(50) == 0)
            return NullText();
        constexpr unsigned char kSets[] = {1, 2, 15, 20, 32, 33, 40, 253, 253, 253, 230};
        const unsigned char codeSet =
            plain ? static_cast<unsigned char>(KoCS_NONE) : kSets[Below(std::size(kSets))];
        constexpr unsigned char kLanguages[] = {0, 0, KoLANG_GERMAN, KoLANG_CHINESE,
                                                KoLANG_JAPANESE};
        const unsigned char language = kLanguages[Below(std::size(kLanguages))];
        // Much of another text now and then, so that something late decides.
        std::u16string units;
        if (Below(3) != 0)
            units = m_last.substr(0, Below(static_cast<unsigned>(m_last.size()) + 1));
        const unsigned most = Below(30) == 0 ? 90 : Below(4) == 0 ? 20 : 4;
        const unsigned kind = Below(4);
        for (unsigned more = Below(most + 1); more > 0; --more)
            units += Unit(codeSet, kind);
        m_last = units;
        return ::Text(units, codeSet, language);
    }

private:
    char16_t Unit(unsigned char codeSet, unsigned kind)
    {
        static constexpr char16_t kAscii[] = u"aaabABzZ019  --_.(\t\r\x7F";
        static constexpr char16_t kBytes[] = u"\x80\x81\xA0\xAA\xBC\xBD\xBE\xB2\xC0\xC6\xC9\xDF\xE6"
                                             u"\xE9\xF0\xFE\xFF\x8C\x9C\x9F";
        static constexpr char16_t kWide[] =
            u"\u00BD\u00BC\u00BE\u013F\u0140\u00DF\u0153\u0152\u01C4\u01C6\u01FC\u01E3\u0180"
            u"\u01FF\u0200\u03B1\u3042\u3EFF\u3F00\u3F0A\u3F5A\u3F5B\u3FFF\u4000\u400B\u400C"
            u"\u4070\u4071\u4DFF\u4E00\u4E2D\u4FFF\u5000\u500B\u500C\u500D\u5070\u5071\u50FF\u516C"
            u"\u5100\u6F18\u7FFF\u8000\u9FFF\uA000\uABFF\uAC00\uD7FF\xD800\xDFFF\uE000\uF600"
            u"\uF601\uF784\uF785\uFEFF\uFF00\uFFFE\uFFFF";
        if (kind == 0 || Below(2) == 0)
            return kAscii[Below(std::size(kAscii) - 1)];
        if (KoCodeSetWidth(codeSet) == 1)
            return Below(3) == 0 ? static_cast<char16_t>(1 + Below(255))
                                 : kBytes[Below(std::size(kBytes) - 1)];
        return Below(6) == 0 ? static_cast<char16_t>(1 + Below(0xFFFF))
                             : kWide[Below(std::size(kWide) - 1)];
    }

    std::u16string m_last;
};

struct Keyed {
    KoString text;
    Key key;
};

void ExpectOrders(const std::vector<Keyed>& all, o_u2b word)
{
    for (const Keyed& a : all)
        for (const Keyed& b : all)
            if (&a <= &b)
                ExpectOrder(a.text, a.key, b.text, b.key, word);
}

TEST(SortKey, GoldenKeys)
{
    data::ForEachRow("collation/sortkeys.txt", 4, [](const auto&, const data::Row& row) {
        const KoString text = data::ParseText(row[0]);
        const auto word = static_cast<o_u2b>(data::Hex(row[1]));
        const Key key = data::ParseBytes(row[2]);
        EXPECT_EQ(data::FormatBytes(KeyOf(text, word)), data::FormatBytes(key));
        ExpectKey(text, word, key);
        if (ko::HasWholeSortKeys(word))
            ExpectBack(text, key, word);
        if (text.CodeSet() == 1 && !text.IsNullValue()) {
            KoString wide(text);
            wide.MapToCodeSet(KoCS_UNICODE);
            EXPECT_EQ(data::FormatBytes(KeyOf(wide, word)), data::FormatBytes(key));
        }
    });
}

// 10^6 pairs in an ordinary run; KO_SORT_KEY_PAIRS asks for another number of them.
TEST(SortKey, OrdersAsTheComparisonDoes)
{
    const char* const asked = std::getenv("KO_SORT_KEY_PAIRS");
    const double pairs = asked != nullptr ? std::strtod(asked, nullptr) : 1e6;
    constexpr unsigned kPool = 100;
    const std::vector<o_u2b> words = PlainWords();
    AwkwardTexts texts(1);
    const auto pools = static_cast<unsigned>(pairs / (kPool * (kPool + 1) / 2.0)) + 1;
    for (unsigned pool = 0; pool < pools && !testing::Test::HasFailure(); ++pool) {
        const o_u2b word = words[pool % words.size()];
        std::vector<Keyed> all(kPool);
        for (Keyed& one : all) {
            one.text = texts.Next(pool % 20 == 0);
            one.key = KeyOf(one.text, word);
            if (ko::HasWholeSortKeys(word))
                ExpectBack(one.text, one.key, word);
            if (pool < 200 && &one - all.data() < 4)
                ExpectKey(one.text, word, one.key);
        }
        ExpectOrders(all, word);
    }
}

/// All texts of at most `longest` characters of an alphabet.
void AddAll(std::vector<Keyed>& all, const std::u16string& alphabet, std::size_t longest,
            unsigned char language, o_u2b word, const std::u16string& text = {})
{
    const KoString string = Text(text, KoCS_UNICODE, language);
    all.push_back({string, KeyOf(string, word)});
    if (text.size() < longest)
        for (const char16_t unit : alphabet)
            AddAll(all, alphabet, longest, language, word, text + unit);
}

TEST(SortKey, OrdersAllShortTexts)
{
    const struct {
        const char16_t* alphabet;
        std::size_t longest;
        const char* reason;
    } rows[] = {
        {u"a -", 5, "gaps of one and more, the short ones too"},
        {u"aA\u00E4 .", 3, "what the strengths ignore"},
        {u"1\u00BD/\u00B2 ", 3, "a gap inside a character and beside it"},
        {u"s\u00DF\u013F\u00B7-", 3, "expansions"},
    };
    for (const auto& row : rows)
        for (const o_u2b word : {o_u2b{0x10}, o_u2b{0x70}, o_u2b{0x90}}) {
            SCOPED_TRACE(row.reason);
            std::vector<Keyed> all;
            for (const unsigned char language : {KoLANG_NONE, KoLANG_CHINESE})
                AddAll(all, row.alphabet, row.longest, language, word);
            ExpectOrders(all, word);
        }
}

TEST(SortKey, TextsOfAnyLengthComeBack)
{
    data::ForEachRow("collation/longkeys.txt", 5, [](const auto&, const data::Row& row) {
        std::u16string units(std::stoul(row[2]), data::ParseUnits(row[3])[0]);
        units[0] = u' ';
        units[40] = u'-';
        const KoString text = Text(units, static_cast<unsigned char>(std::stoi(row[0])),
                                   static_cast<unsigned char>(std::stoi(row[1])));
        ASSERT_EQ(text.Len(), units.size());
        const KoText parts = StringAccess::Get(text);
        Key key(ko::SortKeyLength(parts, KoCMP_PLAIN));
        EXPECT_EQ(
            ko::WriteSortKey(parts, KoCMP_PLAIN, key.data(), static_cast<unsigned>(key.size())),
            key.size());
        ExpectBack(text, key, KoCMP_PLAIN);
        KoString back = "before";
        unsigned taken = 1;
        const auto cut = static_cast<unsigned>(key.size()) - 1;
        EXPECT_EQ(ko::ReadSortKey(back, key.data(), cut, KoCMP_PLAIN, taken), -1);
        EXPECT_TRUE(back == KoString("before") && taken == 1);
    });
}

TEST(SortKey, WordsWithoutKeys)
{
    const KoString text = "a";
    const KoText parts = StringAccess::Get(text);
    const Key key = KeyOf(text, KoCMP_PLAIN);
    KoString back = "before";
    unsigned taken = 1;
    for (const unsigned word : {0x0U, 0x20U, 0x80U, 0xFFFFU}) { // the default word has wildcards
        const auto cmpOp = static_cast<o_u2b>(word);
        EXPECT_FALSE(ko::HasSortKeys(cmpOp));
        EXPECT_EQ(ko::SortKeyLength(parts, cmpOp), 0U);
        EXPECT_EQ(ko::SortKeyExtent(key.data(), 2, cmpOp), 0U);
    }
    for (const unsigned word : {0x0U, 0x30U, 0x50U, 0x90U, 0x310U}) {
        EXPECT_EQ(ko::ReadSortKey(back, key.data(), 2, static_cast<o_u2b>(word), taken),
                  KoRC_NOT_SUPPORTED);
        EXPECT_TRUE(back == KoString("before") && taken == 1);
    }
    KoLanguageContext::SetDefaultCmpOp(KoCMP_PLAIN | KoCMP_IGNORE_CASE);
    EXPECT_EQ(data::FormatBytes(KeyOf(text, KoCMP_DEFAULT)), "16 00");
    KoLanguageContext::Reset();
}

} // namespace
