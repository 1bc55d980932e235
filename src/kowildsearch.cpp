#include "kowildsearch.h"

#include <algorithm>
#include <array>
#include <bit>

KoWildSearch::Piece KoWildSearch::PieceAt(unsigned begin) const
{
    Piece piece{begin, 0, false};
    for (unsigned at = begin; at < m_pattern.Count() && m_pattern[at] != kKeyOfRun; ++at) {
        piece.hasOnes = piece.hasOnes || m_pattern[at] == kKeyOfOne;
        ++piece.length;
    }
    return piece;
}

bool KoWildSearch::Prepare()
{
    unsigned longestLiteral = 0;
    bool needsRows = false;
    for (unsigned at = 0; at < m_pattern.Count(); ++at) {
        const Piece piece = PieceAt(at);
        if (!piece.hasOnes)
            longestLiteral = std::max(longestLiteral, piece.length);
        needsRows = needsRows || (piece.hasOnes && piece.length > kShort);
        at += piece.length;
    }
    return m_borders.Fill(std::size_t{longestLiteral} + 1) && (!needsRows || PrepareRows());
}

KoWildSearch::Found KoWildSearch::Match(const KoPlaces* starts) const
{
    const unsigned textEnd = m_text.Count();
    const unsigned patternEnd = m_pattern.Count();
    unsigned place = 0;
    unsigned first = 0;
    for (unsigned at = 0; at < patternEnd;) {
        if (m_pattern[at] == kKeyOfRun) {
            ++at;
            continue;
        }
        const Piece piece = PieceAt(at);
        const bool last = at + piece.length == patternEnd;
        // The last one stands at the end of the text.
        if (last && textEnd - place >= piece.length)
            place = textEnd - piece.length;
        const KoPlaces* const allowed = at == 0 ? starts : nullptr;
        place = !piece.hasOnes           ? FindLiteral(piece, place, allowed)
                : piece.length <= kShort ? FindShort(piece, place, allowed)
                                         : FindByRows(piece, place, allowed);
        if (piece.length > textEnd - place)
            return {false, 0, at + (textEnd - place)};
        if (at == 0)
            first = place;
        place += piece.length;
        at += piece.length;
    }
    return {true, first, 0};
}

/// A border of a text is what it both begins and ends with, and is not the whole: of what has
/// matched so far, the longest border is what may still match when the next key does not fit.
unsigned KoWildSearch::FindLiteral(const Piece& piece, unsigned from, const KoPlaces* starts) const
{
    const o_u4b* const keys = m_pattern.Get() + piece.begin;
    o_u4b* const borders = m_borders.Get(); // of the first keys, by their number
    unsigned matched = 0;
    for (unsigned i = 1; i < piece.length; ++i) {
        while (matched != 0 && keys[i] != keys[matched])
            matched = borders[matched];
        matched += keys[i] == keys[matched] ? 1U : 0U;
        borders[i + 1] = matched;
    }
    if (piece.length != 0)
        borders[1] = 0;
    matched = 0;
    for (unsigned at = from; at < m_text.Count(); ++at) {
        const o_u4b key = m_text[at];
        while (matched != 0 && key != keys[matched])
            matched = borders[matched];
        if (key != keys[matched] || ++matched < piece.length)
            continue;
        const unsigned place = at + 1 - piece.length;
        if (starts == nullptr || starts->Has(place))
            return place;
        matched = borders[matched];
    }
    return m_text.Count() - matched;
}

bool KoWildSearch::IsAt(const Piece& piece, unsigned place) const
{
    const o_u4b* const keys = m_pattern.Get() + piece.begin;
    const o_u4b* const text = m_text.Get() + place;
    const unsigned length = std::min(piece.length, m_text.Count() - place);
    for (unsigned i = 0; i < length; ++i)
        if (keys[i] != text[i] && keys[i] != kKeyOfOne)
            return false;
    return true;
}

unsigned KoWildSearch::FindShort(const Piece& piece, unsigned from, const KoPlaces* starts) const
{
    const unsigned end = m_text.Count();
    for (unsigned place = from; place < end; ++place)
        if ((starts == nullptr || starts->Has(place)) && IsAt(piece, place))
            return place;
    return end;
}

// ---- rows

namespace
{

using Step = std::array<o_u8b, KoPlaces::kStepWords>;

/// Keeps of `step` the places that `words` has from `place` on.
inline void Keep(Step& step, const o_u8b* words, unsigned place)
{
    words += place / 64;
    const unsigned shift = place % 64;
    for (unsigned i = 0; i < KoPlaces::kStepWords; ++i)
        step[i] &= words[i] >> shift | words[i + 1] << 1U << (63U - shift);
}

inline bool IsEmpty(const Step& step)
{
    o_u8b all = 0;
    for (const o_u8b word : step)
        all |= word;
    return all == 0;
}

} // namespace

/// The slot of a key in the hash table, or the free one where it belongs.
o_u4b& KoWildSearch::SlotOf(o_u4b key)
{
    const unsigned mask = m_slots.Count() - 1;
    unsigned at = (key * 0x9E3779B1U) >> 8U & mask;
    while (m_slots[at] != 0 && m_pattern[m_slots[at] - 1] != key)
        at = (at + 1) & mask;
    return m_slots.Get()[at];
}

/// The number of a key is the position in the pattern where it comes first.
bool KoWildSearch::NumberKeys()
{
    const unsigned patternEnd = m_pattern.Count();
    if (!m_slots.Fill(std::bit_ceil(2 * patternEnd + 2)) ||
        !m_numbers.Fill(std::size_t{patternEnd} + m_text.Count()) || !m_rowOf.Fill(patternEnd))
        return false;
    o_u4b* const numbers = m_numbers.Get();
    for (unsigned i = 0; i < patternEnd; ++i) {
        o_u4b& slot = SlotOf(m_pattern[i]);
        if (slot == 0)
            slot = i + 1;
        numbers[i] = slot - 1;
    }
    for (unsigned i = 0; i < m_text.Count(); ++i)
        numbers[patternEnd + i] = SlotOf(m_text[i]) - 1; // kNone, which is 0 less 1
    return true;
}

/// After the text all rows have all places, so that there everything matches.
bool KoWildSearch::PrepareRows()
{
    if (!NumberKeys())
        return false;
    const unsigned textEnd = m_text.Count();
    const o_u4b* const numbers = m_numbers.Get();
    const o_u4b* const textNumbers = numbers + m_pattern.Count();
    o_u4b* const rowOf = m_rowOf.Get();
    for (unsigned i = 0; i < textEnd; ++i)
        if (textNumbers[i] != kNone)
            ++rowOf[textNumbers[i]];
    const auto isFirst = [this, numbers](unsigned i) {
        return numbers[i] == i && m_pattern[i] < kKeyOfRun;
    };
    unsigned different = 0;
    for (unsigned i = 0; i < m_pattern.Count(); ++i)
        different += isFirst(i) ? 1U : 0U;
    const unsigned least = different <= kFewKeys ? 0 : kSeldom;
    unsigned rows = 0;
    for (unsigned i = 0; i < m_pattern.Count(); ++i)
        rowOf[i] = isFirst(i) && rowOf[i] >= least ? rows++ : kNone;
    const unsigned words = KoPlaces::Words(textEnd);
    if (!m_rows.Fill(std::size_t{rows} * words))
        return false;
    o_u8b* const all = m_rows.Get();
    for (unsigned i = 0; i < textEnd; ++i)
        if (textNumbers[i] != kNone && rowOf[textNumbers[i]] != kNone)
            all[std::size_t{rowOf[textNumbers[i]]} * words + i / 64] |= o_u8b{1} << i % 64;
    for (unsigned row = 0; row < rows; ++row) {
        o_u8b* const end = all + std::size_t{row} * words + textEnd / 64;
        *end |= ~o_u8b{0} << textEnd % 64;
        std::fill(end + 1, all + (std::size_t{row} + 1) * words, ~o_u8b{0});
    }
    return true;
}

unsigned KoWildSearch::FindByRows(const Piece& piece, unsigned from, const KoPlaces* starts) const
{
    constexpr unsigned kBetweenLooks = 8;
    const unsigned textEnd = m_text.Count();
    const unsigned words = KoPlaces::Words(textEnd);
    const auto rowAt = [this, &piece](unsigned i) { return m_rowOf[m_numbers[piece.begin + i]]; };
    const auto isOne = [this, &piece](unsigned i) {
        return m_pattern[piece.begin + i] == kKeyOfOne;
    };
    for (unsigned i = 0; i < piece.length; ++i)
        if (!isOne(i) && rowAt(i) == kNone)
            return FindBySeldom(piece, i, from, starts);
    for (unsigned place = from; place <= textEnd; place += KoPlaces::kStep) {
        Step step;
        step.fill(~o_u8b{0});
        if (starts != nullptr)
            Keep(step, starts->Words(), place);
        const unsigned length = std::min(piece.length, textEnd - place);
        for (unsigned i = 0; i < length; ++i) {
            if (!isOne(i))
                Keep(step, m_rows.Get() + std::size_t{rowAt(i)} * words, place + i);
            if (i % kBetweenLooks == 0 && IsEmpty(step))
                break;
        }
        for (unsigned i = 0; i < KoPlaces::kStepWords; ++i)
            if (step[i] != 0)
                return std::min(textEnd,
                                place + 64 * i + static_cast<unsigned>(std::countr_zero(step[i])));
    }
    return textEnd;
}

/// `seldom` is the number in the piece of a key that comes in few places.
unsigned KoWildSearch::FindBySeldom(const Piece& piece, unsigned seldom, unsigned from,
                                    const KoPlaces* starts) const
{
    const unsigned textEnd = m_text.Count();
    const o_u4b key = m_pattern[piece.begin + seldom];
    for (unsigned at = from + seldom; at < textEnd; ++at) {
        const unsigned place = at - seldom;
        if (m_text[at] == key && piece.length <= textEnd - place &&
            (starts == nullptr || starts->Has(place)) && IsAt(piece, place))
            return place;
    }
    return textEnd;
}
