#ifndef KOCOLLATIONTABLES_H
#define KOCOLLATIONTABLES_H

#include <array>
#include <cstddef>
#include <iterator>
#include <kocollate.h>

// The generated tables and what follows from them while compiling.
namespace kocollation
{

/// The characters first, first + step ... last map to themselves plus `difference`.
struct CaseRun {
    o_u2b first, last, step;
    int difference;
};

#include "../tables/collation.inc"

// Records of all characters that have one: those below 512; the ones moved out of the way of
// their orders; the private-use characters whose orders those took; the lead's own character.
constexpr std::size_t kBelow = std::size(kRecords);
constexpr std::size_t kMovedCount = std::size(kMoved);
constexpr std::size_t kRecordCount = kBelow + 2 * kMovedCount + 1;

struct Record {
    o_u2b character;
    KoUnicodeProps props;
};

constexpr Record RecordAt(std::size_t i)
{
    if (i < kBelow)
        return {static_cast<o_u2b>(i), kRecords[i]};
    i -= kBelow;
    if (i == 2 * kMovedCount)
        return {kLead, {{kLead, kLead}, 2, kLead, kLead}};
    const auto order = static_cast<o_u2b>(kMovedTo + i % kMovedCount);
    if (i >= kMovedCount)
        return {order, {{kLead, order}, 2, order, order}};
    return {kMoved[i], {{order}, 1, kMoved[i], kMoved[i]}};
}

inline constexpr std::array<KoUnicodeProps, kRecordCount> kProps = [] {
    std::array<KoUnicodeProps, kRecordCount> props{};
    for (std::size_t i = 0; i < kRecordCount; ++i)
        props[i] = RecordAt(i).props;
    return props;
}();

// Positions that an 8-bit code set leaves undefined. Each keeps an order of its own, 256 and the
// byte, which no character has: text under the wrong code set must not become equal to other text.
constexpr o_u2b UndefinedOrder(unsigned byte)
{
    return static_cast<o_u2b>(256 + byte);
}

// Records by page, which is the high byte of a character. Page number 0 has no records.
inline constexpr std::array<o_u1b, 256> kPageOf = [] {
    std::array<o_u1b, 256> pageOf{};
    o_u1b pages = 0;
    for (std::size_t i = 0; i < kRecordCount; ++i)
        if (o_u1b& page = pageOf[RecordAt(i).character >> 8]; page == 0)
            page = ++pages;
    return pageOf;
}();

constexpr std::size_t kPages = [] {
    std::size_t pages = 1;
    for (const o_u1b page : kPageOf)
        pages += page != 0;
    return pages;
}();

template <class T>
using Pages = std::array<std::array<T, 256>, kPages>;

// Index of a character's record, plus 1.
inline constexpr Pages<o_u2b> kIndex = [] {
    Pages<o_u2b> index{};
    for (std::size_t i = 0; i < kRecordCount; ++i) {
        const o_u2b character = RecordAt(i).character;
        index[kPageOf[character >> 8]][character & 0xFF] = static_cast<o_u2b>(i + 1);
    }
    return index;
}();

/// The record of a Unicode value counted from 1, 0 where its order is the value itself. What is
/// computed while compiling goes by this number: with sanitizers GCC takes no comparison of a
/// record's address with null for a constant.
constexpr unsigned RecordOf(o_u2b unicode)
{
    return kIndex[kPageOf[unicode >> 8]][unicode & 0xFF];
}

/// The record of a Unicode value, null where its order is the value itself.
constexpr const KoUnicodeProps* PropsOf(o_u2b unicode)
{
    const unsigned record = RecordOf(unicode);
    return record == 0 ? nullptr : &kProps[record - 1];
}

constexpr o_u2b OrderOf(o_u2b unicode)
{
    const unsigned record = RecordOf(unicode);
    return record == 0 ? unicode : kProps[record - 1].orders[0];
}

// First orders and fast keys of the pages with records. Filled once, then looked up: the tables of
// the code sets are made of them, and compilers bound the steps of one constant's initializer.
inline constexpr Pages<o_u2b> kOrderPages = [] {
    Pages<o_u2b> pages{};
    for (unsigned high = 0; high < 256; ++high)
        for (unsigned low = 0; kPageOf[high] != 0 && low < 256; ++low)
            pages[kPageOf[high]][low] = OrderOf(static_cast<o_u2b>(high << 8 | low));
    return pages;
}();

inline constexpr Pages<o_u4b> kKeyPages = [] {
    Pages<o_u4b> pages{};
    for (std::size_t page = 1; page < kPages; ++page)
        for (unsigned low = 0; low < 256; ++low)
            pages[page][low] = KoFastKey(kOrderPages[page][low]);
    for (std::size_t i = 0; i < kRecordCount; ++i)
        if (kProps[i].count > 1)
            pages[kPageOf[RecordAt(i).character >> 8]][RecordAt(i).character & 0xFF] |=
                KoKEY_EXPANDS;
    return pages;
}();

constexpr o_u4b FastKeyOf(o_u2b unicode)
{
    const o_u1b page = kPageOf[unicode >> 8];
    return page == 0 ? KoFastKey(unicode) : kKeyPages[page][unicode & 0xFF];
}

} // namespace kocollation

#endif
