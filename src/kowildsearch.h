#ifndef KOWILDSEARCH_H
#define KOWILDSEARCH_H

#include <kobase.h>

#include <cstring>

/// Matching long texts with wildcards in a time that does not grow with the product of the lengths.
/// Text and pattern stand in memory as keys. None of a text is 0.

/// In a pattern, what stands for a run and for any one key; no key of a character is that large.
inline constexpr o_u4b kKeyOfRun = 0xFFFFFFFEU;
inline constexpr o_u4b kKeyOfOne = 0xFFFFFFFFU;

/// Values of a plain type on the heap. No handler hears of missing memory: whoever searches can do
/// without.
template <class T>
class KoPlainList
{
public:
    KoPlainList() = default;
    KoPlainList(const KoPlainList&) = delete;
    KoPlainList& operator=(const KoPlainList&) = delete;
    ~KoPlainList() { KoFree(m_values); }

    /// Makes it a list of `count` zeros. False when memory runs out.
    bool Fill(std::size_t count)
    {
        if (!Reserve(count))
            return false;
        if (count != 0)
            std::memset(m_values, 0, count * sizeof(T));
        m_count = static_cast<unsigned>(count);
        return true;
    }
    /// False when memory runs out.
    bool Append(T value)
    {
        if (m_count == m_room && !Reserve(m_room == 0 ? 256 : std::size_t{m_room} * 4))
            return false;
        m_values[m_count++] = value;
        return true;
    }
    unsigned Count() const { return m_count; }
    T* Get() { return m_values; }
    const T* Get() const { return m_values; }
    T operator[](unsigned index) const { return m_values[index]; }

private:
    bool Reserve(std::size_t room)
    {
        if (room <= m_room)
            return true;
        auto* const values = static_cast<T*>(KoAlloc(room * sizeof(T)));
        if (values == nullptr)
            return false;
        if (m_count != 0)
            std::memcpy(values, m_values, m_count * sizeof(T));
        KoFree(m_values);
        m_values = values;
        m_room = static_cast<unsigned>(room);
        return true;
    }

    T* m_values = nullptr;
    unsigned m_count = 0;
    unsigned m_room = 0;
};

using KoKeyList = KoPlainList<o_u4b>;

/// A set of places in a text, from the first to the one after the last character.
class KoPlaces
{
public:
    /// The places that a step looks at together, and the words that they take.
    static constexpr unsigned kStep = 512;
    static constexpr unsigned kStepWords = kStep / 64;
    /// Words of a set for a text of `count` keys. A step may begin at its end.
    static constexpr unsigned Words(unsigned count) { return count / 64 + kStepWords + 2; }

    bool Make(unsigned count) { return m_words.Fill(Words(count)); }
    void Add(unsigned place) { m_words.Get()[place / 64] |= o_u8b{1} << place % 64; }
    bool Has(unsigned place) const { return (m_words[place / 64] >> place % 64 & 1U) != 0; }
    const o_u8b* Words() const { return m_words.Get(); }

private:
    KoPlainList<o_u8b> m_words;
};

/// Finds a pattern in a text piece by piece, a piece being what stands between two runs. Each piece
/// is taken where it comes first, which leaves the most of the text for the others; so no piece is
/// looked for twice. A piece without any-one keys takes time in proportion to the text that it
/// passes, by the borders of what has matched. For others 512 places are looked at together: by a
/// row for each key that tells where the text has it. Rows are too large for keys that come
/// seldom; the few places that those allow are looked at one by one.
class KoWildSearch
{
public:
    struct Found {
        bool matched;
        unsigned first;    ///< where the first piece begins in the text
        unsigned failedAt; ///< the pattern's key for which no text was left
    };

    /// The pattern is one that begins after a run. Both have to outlive the search.
    KoWildSearch(const KoKeyList& text, const KoKeyList& pattern) : m_text(text), m_pattern(pattern)
    {
    }

    /// To be called first. False when memory runs out.
    bool Prepare();
    /// The first piece may begin in one of `starts` only, if they are given. `failedAt` is where
    /// the pattern stands in the first place from which it has the rest of the text; where more
    /// than 256 different keys occur, it may be the beginning of its piece.
    Found Match(const KoPlaces* starts = nullptr) const;

private:
    struct Piece {
        unsigned begin;
        unsigned length;
        bool hasOnes;
    };
    static constexpr unsigned kShort = 16;    ///< pieces that are compared place by place
    static constexpr unsigned kSeldom = 128;  ///< keys that come less often may have no row
    static constexpr unsigned kFewKeys = 256; ///< with so few different ones, each has a row
    static constexpr o_u4b kNone = 0xFFFFFFFFU;

    Piece PieceAt(unsigned begin) const;
    bool PrepareRows();
    o_u4b& SlotOf(o_u4b key);
    bool NumberKeys();

    // The first place from `from` on where the piece matches, or as much of it as there is text.
    unsigned FindLiteral(const Piece& piece, unsigned from, const KoPlaces* starts) const;
    unsigned FindShort(const Piece& piece, unsigned from, const KoPlaces* starts) const;
    unsigned FindByRows(const Piece& piece, unsigned from, const KoPlaces* starts) const;
    unsigned FindBySeldom(const Piece& piece, unsigned seldom, unsigned from,
                          const KoPlaces* starts) const;
    bool IsAt(const Piece& piece, unsigned place) const;

    const KoKeyList& m_text;
    const KoKeyList& m_pattern;
    mutable KoKeyList m_borders;
    // The lists below number the different keys of the pattern.
    KoKeyList m_slots;   ///< a hash table of positions in the pattern, one added
    KoKeyList m_numbers; ///< for each of the pattern, then of the text
    KoKeyList m_rowOf;   ///< for each number
    KoPlainList<o_u8b> m_rows;
};

#endif
