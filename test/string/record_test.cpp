#include "support/fixtures.h"
#include "support/reports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

constexpr o_char kId = KoSTRING_T;

const KoTypeMgr current;
const KoTypeMgr older(3); // whose strings are written in the older layout

Bytes Stored(const KoTypeMgr& manager, const std::vector<KoString>& texts, unsigned char format)
{
    return Stored(manager, kId, texts.data(), format, static_cast<unsigned>(texts.size()));
}

unsigned FileSize(const KoTypeMgr& manager, const Bytes& bytes, unsigned char format,
                  unsigned count)
{
    MemFile file(bytes.data(), bytes.size());
    const unsigned size = manager.DiskLenGetFromMemFile(kId, &file, format, count);
    EXPECT_EQ(file.Position(), 0U);
    return size;
}

int Compare(const KoTypeMgr& manager, const Bytes& left, unsigned leftSize, const Bytes& right,
            unsigned rightSize, unsigned char format, unsigned count, int& status)
{
    const auto a = Exactly(left);
    const auto b = Exactly(right);
    return manager.Cmp(kId, leftSize, a.get(), rightSize, b.get(), KoCMP_PLAIN, count, format,
                       status);
}

TEST(StringRecord, TheKeyFormHasRoomForWiderText)
{
    const struct {
        const char* why;
        KoString text;
        unsigned char format;
        unsigned inMemory, stored; // bytes
    } rows[] = {
        {"plain", Text(u"abc", 1, 0), 1, 9, 9},
        {"8-bit counts four times", Text(u"abc", 1, 0), 0x81, 5 * 4 + 4, 7 * 4 + 2},
        {"16-bit twice", Text(u"abc", 253, 0), 0x82, 8 * 2 + 4, 10 * 2 + 2},
        {"no code set", Text(u"abc", 0, 0), 0x81, 9, 9},
        {"ignored before native", Text(u"abc", 1, 0), 0xE1, 9, 9},
        {"none is not ignored", Text(u"abc", 0, 0), 0xE1, 24, 30},
        {"bits without the key form", Text(u"abc", 0, 0), 0x61, 9, 9},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(StringSizeGet(&row.text, KoFMT_MEMORY, row.format, 1), row.inMemory);
        Bytes bytes(64);
        StringStore(bytes.data(), &row.text, row.format, 1);
        EXPECT_EQ(StringSizeGet(bytes.data(), 0, row.format, 1), row.stored);
        EXPECT_EQ(FileSize(current, bytes, row.format, 1), row.stored);
    }
}

TEST(StringRecord, TheOlderLayoutIsWrittenByTheOlderTypeAndReadByBoth)
{
    const std::vector<KoString> texts = {"ab", "", NullText(), "c"};
    for (const unsigned char format : {KoFMT_LITTLE, KoFMT_BIG}) {
        const Bytes bytes = Stored(older, texts, format);
        Bytes expected = {7, 0, 'a', 'b', 0, 0, 0, 'c', 0};
        if (format == KoFMT_BIG)
            std::swap(expected[0], expected[1]);
        EXPECT_EQ(bytes, expected);
        for (const KoTypeMgr* manager : {&current, &older}) {
            EXPECT_EQ(manager->DiskLenGet(kId, bytes.data(), format, 4, format), 9U);
            EXPECT_EQ(FileSize(*manager, bytes, format, 4), 9U);
            std::vector<KoString> read(5, KoString(7, 7));
            EXPECT_EQ(manager->Load(kId, read.data(), Exactly(bytes).get(), format, 5), 9U);
            EXPECT_TRUE(read == (std::vector<KoString>{"ab", "", "", "c", ""}));
            EXPECT_TRUE(read[2].CodeSet() == KoCS_LATIN1 && read[2].Language() == 0);
            EXPECT_EQ(manager->Load(kId, nullptr, bytes.data(), format, 0), 9U);
        }
    }
    // Texts that a 16-bit length cannot cover are refused.
    KoString half;
    half.Fill(40000, 'x');
    const std::vector<KoString> both(2, half);
    const Reports reports;
    Bytes bytes(90000);
    EXPECT_EQ(older.Store(kId, bytes.data(), both.data(), 1, 2), 0U);
    // 16-bit text has no use there, but stays within the size that is given for it.
    const KoString wide = Text(u"\u4E2D\u6587", 253, 0);
    EXPECT_EQ(older.Store(kId, bytes.data(), &wide, 1, 1),
              older.DiskLenGet(kId, &wide, 1, 1, KoFMT_MEMORY));
}

TEST(StringRecord, CutKeysOfSeveralAndTheirHashes)
{
    int status = -1;
    const Bytes two = Stored(current, {"a", "b"}, KoFMT_LITTLE);
    EXPECT_EQ(Compare(current, two, 7, two, 0, 1, 2, status), 0); // ends between two records
    EXPECT_EQ(status, KoRC_TRUNCATED);
    char text[] = "abc";
    const auto cutKey = Exactly({10, 0, 1, 0, 'a', 'b'});
    EXPECT_EQ(current.Hash(kId, 6, cutKey.get(), 1, 1, status), HashString(1, 0, text, 2, 1));
    EXPECT_EQ(status, KoRC_TRUNCATED);
    // What the bound leaves of several hashes as the texts that are left, one as by itself.
    Bytes left = two;
    EXPECT_EQ(current.Hash(kId, 7, left.data(), 2, 1, status), HashString(1, 0, text, 1, 1));
    EXPECT_EQ(status, KoRC_TRUNCATED);
    KoString pair[] = {"a", "b"};
    EXPECT_EQ(current.Hash(kId, 0, left.data(), 2, 1, status),
              current.Hash(kId, 0, pair, 2, KoFMT_MEMORY, status));
}

TEST(StringRecord, NullMarksAreReported)
{
    const Bytes mark = {4, 0, 254, 0x80, 0, 0xFF};
    const Bytes text = {5, 0, 1, 0, 'a', 0, 0xFF};
    const struct {
        const Bytes &left, &right;
        int order, status;
    } rows[] = {
        {mark, text, -1, KoRC_NULL_MARK},
        {text, mark, 1, KoRC_NULL_MARK_RIGHT},
        {mark, mark, 0, KoRC_NULL_MARK},
        {text, text, 0, 0},
    };
    for (const auto& row : rows) {
        int status = -1;
        EXPECT_EQ(Compare(current, row.left, 0, row.right, 0, 1, 1, status), row.order);
        EXPECT_EQ(status, row.status);
    }
}

TEST(StringRecord, TranslateRefusesWhatDoesNotFitOrCannotBe)
{
    const Reports reports;
    KoString text("abc");
    KoString copy;
    Bytes bytes(12, 0xEE);
    Bytes moved(12);
    EXPECT_EQ(current.Translate(kId, bytes.data(), 2, 8, &text, 8, 0, 1), 0U) << "does not fit";
    EXPECT_EQ(bytes[0], 0xEE);
    EXPECT_EQ(current.Translate(kId, &copy, 8, 0, &text, 8, 0, 1), 16U);
    EXPECT_TRUE(copy == text);
    EXPECT_EQ(reports.Texts(), "");
    EXPECT_EQ(current.Translate(kId, moved.data(), 1, 12, bytes.data(), 2, 9, 1), 0U);
    EXPECT_EQ(reports.Texts(), "format combination not supported|src\\kotypes|1745;");
    EXPECT_EQ(older.Translate(kId, moved.data(), 1, 6, &text, 8, 0, 1), 6U);
    EXPECT_EQ(moved[0], 4); // the older layout
}

} // namespace
