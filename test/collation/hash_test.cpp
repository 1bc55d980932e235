#include "support/fixtures.h"
#include "support/intl.h"

#include <gtest/gtest.h>

namespace
{

unsigned Hash(const KoString& text, short len = -1)
{
    return HashString(text.CodeSet(), text.Language(), const_cast<char*>(text.StrGet()), len, 1);
}

/// The rule itself, character by character. What is asked for after the end counts as zeros.
unsigned SimpleHash(const KoString& text, unsigned limit)
{
    if (text.IsNullValue())
        return 0xFEFE7575U;
    CollationKeys keys = KeysOf(text, limit);
    if (limit != ~0U)
        keys.resize(limit);
    unsigned hash = 0;
    for (const o_u4b key : keys)
        hash = 9 * hash + key;
    return hash;
}

TEST(StrHash, FollowsTheRule)
{
    Random random(4);
    for (unsigned i = 0; i < 20000; ++i) {
        KoString text = random.AnyText();
        if (i % 4 == 0 && text.Width() == 1 && !text.IsNullValue())
            text.SetCodeSetCode(KoCS_NONE);
        const auto len = static_cast<short>(i % 3 == 0 ? random.Below(9) : -1U);
        ASSERT_EQ(Hash(text, len), SimpleHash(text, len < 0 ? ~0U : static_cast<unsigned>(len)))
            << data::FormatText(text) << " " << len;
    }
    EXPECT_EQ(Hash(NullText(), 0), 0xFEFE7575U);
    EXPECT_EQ(Hash(KoString(KoCS_NULL, 0)), 0xFEFE7575U);
    EXPECT_EQ(Hash("abc", 0), 0U);
    EXPECT_EQ(Hash("abc", -2), 0U);
    EXPECT_EQ(Hash("ab", 4), 81 * Hash("ab"));
    char big[] = "\0a\0\xE9\0";
    EXPECT_EQ(HashString(253, 0, big, -1, KoFMT_BIG), Hash("a\xE9"));
}

TEST(StrHash, OfCharactersAsTheyStand)
{
    // Every length, so that every way of dividing a text into words is taken.
    std::string bytes;
    unsigned asSigned = 0;
    unsigned lowSeven = 0;
    for (unsigned i = 0; i < 100; ++i) {
        const KoString text(bytes.c_str());
        EXPECT_EQ(HashKoString(text), asSigned) << i;
        EXPECT_EQ(HashKoString7(text), lowSeven) << i;
        const auto byte = static_cast<signed char>(i * 37 % 255 + 1);
        bytes += static_cast<char>(byte);
        asSigned = 9 * asSigned + static_cast<unsigned>(byte);
        lowSeven = 9 * lowSeven + (static_cast<unsigned>(byte) & 0x7FU);
    }
    EXPECT_EQ(HashKoString("ab"), 971U);
    EXPECT_EQ(HashKoString("\xE9"), 0xFFFFFFE9U);
    EXPECT_EQ(HashKoString7("\xE9"), 105U);
    KoString wide(KoCS_UNICODE, 0);
    wide << static_cast<unsigned short>(0x4E2D) << static_cast<unsigned short>(0xE9);
    EXPECT_EQ(HashKoString(wide), 9U * 0x4E2D + 0xE9);
    EXPECT_EQ(HashKoString7(wide), 9U * 0x2D + 0x69);
    // The bytes of another 16-bit code set, low one first, up to a zero one.
    wide.SetCodeSetCode(230);
    EXPECT_EQ(HashKoString(wide), (0x2DU * 9 + 0x4E) * 9 + 0xE9 - 0x100);
    EXPECT_EQ(HashKoString7(wide), (0x2DU * 9 + 0x4E) * 9 + 0x69);
    EXPECT_EQ(HashKoString(NullText()), 0U);
}

// ---- stored records

const KoTypeMgr manager;

int Compare(Bytes& left, std::size_t leftSize, Bytes& right, std::size_t rightSize, o_u2b cmpOp,
            unsigned char format, int& status)
{
    return StringCompare(format, static_cast<unsigned>(leftSize), left.data(),
                         static_cast<unsigned>(rightSize), right.data(), cmpOp, 1, status);
}

// Whatever is cut off: a result that comes without a status is the one of the whole texts.
TEST(StrRecords, CutKeysDecideAsWholeTextsOrSayThatTheyDoNot)
{
    Random random(7);
    constexpr char16_t kPatterns[] = u"abAB-? *\\e\u00E9";
    constexpr unsigned char kSets[] = {0, 1, 2, 253};
    unsigned decided = 0;
    for (unsigned i = 0; i < 60000; ++i) {
        const bool patterns = i % 2 == 0;
        const KoString left = patterns ? random.Text(kPatterns, 6, kSets) : random.AnyText();
        const KoString right = patterns ? random.Text(kPatterns, 6, kSets) : random.Like(left);
        const auto cmpOp = static_cast<o_u2b>((patterns ? 0U : 0x10U) | (random.Below(8) << 5U) |
                                              (random.Below(2) << 9U));
        const unsigned char format = random.Below(2) == 0 ? KoFMT_LITTLE : KoFMT_BIG;
        Bytes a = Stored(manager, KoSTRING_T, &left, format, 1);
        Bytes b = Stored(manager, KoSTRING_T, &right, format, 1);
        const auto cut = [&random](const Bytes& bytes) {
            return 4 + random.Below(static_cast<unsigned>(bytes.size()) - 3);
        };
        int status = 0;
        const int whole = Compare(a, 0, b, 0, cmpOp, format, status);
        ASSERT_EQ(Sign(whole), Sign(left.Compare(right, -1, cmpOp)))
            << data::FormatText(left) << " and " << data::FormatText(right) << " under " << cmpOp;
        a.resize(cut(a));
        if (random.Below(2) == 0)
            b.resize(cut(b));
        const int order = Compare(a, a.size(), b, b.size(), cmpOp, format, status);
        if (status != KoRC_OK) {
            ASSERT_EQ(status, KoRC_TRUNCATED);
            continue;
        }
        ++decided;
        ASSERT_EQ(Sign(order), Sign(whole))
            << data::FormatText(left) << " and " << data::FormatText(right) << " under " << cmpOp
            << ", " << a.size();
    }
    EXPECT_GT(decided, 20000U);
}

} // namespace
