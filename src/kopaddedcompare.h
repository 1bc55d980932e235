#ifndef KOPADDEDCOMPARE_H
#define KOPADDEDCOMPARE_H

#include "kofasttext.h"
#include "kolanes.h"

/// Comparing two strings in memory. Their buffers end with a terminator and zeros up to a whole
/// block, so the walk needs no lengths: it ends at the first difference or terminator, and most
/// pairs have one in their first block.

/// By the rules in full, from the character `from` on up to which two strings are known to be
/// equal; see KoCompareText.
int KoCompareFrom(const KoString& left, const KoString& right, o_u2b cmpOp, unsigned limit,
                  unsigned from);

/// The number of equal bytes at the start of two texts, none of them 0, rounded down to a multiple
/// of a block. No byte from `end` on is read.
std::size_t KoSkipEqual(const char* left, const char* right, std::size_t end);
/// KoSkipEqual without the instructions that only some processors have.
std::size_t KoSkipEqualPlain(const char* left, const char* right, std::size_t end);

/// What decides where two texts differ first: keys, or the bytes themselves.
class KoByKeys
{
public:
    /// The tables of both must be known.
    static KoByKeys Of(const KoText& left, const KoText& right, o_u2b cmpOp)
    {
        return {KoKnown::KeysOrNull(left.codeSet), KoKnown::KeysOrNull(right.codeSet), cmpOp};
    }
    KoByKeys(const o_u4b* left, const o_u4b* right, o_u2b cmpOp)
        : m_left(left), m_right(right), m_mask(kMasks[cmpOp >> 5U & 3U])
    {
    }

    template <class Unit>
    [[gnu::always_inline]] int Decide(unsigned a, unsigned b) const
    {
        if (sizeof(Unit) == 2 && (a | b) > 0xFF)
            return kUndecided;
        return Decide(m_left[a], m_right[b]);
    }
    int DecideWide(unsigned a, unsigned b) const
    {
        return Decide(a > 0xFF ? KoWideFastKey(a) : m_left[a],
                      b > 0xFF ? KoWideFastKey(b) : m_right[b]);
    }
    /// The texts have one code set, so that the same character means the same in both.
    bool IsOneCodeSet() const { return m_left == m_right; }
    bool IgnoresCase() const { return (m_mask & 0x60U) == 0; }

private:
    // The masks of KoCompareMode, without the flag bits of a key.
    static constexpr o_u4b kMasks[] = {0x1FFFFFFFU, 0x1FFFFF9FU, 0x1FFFFFE0U, 0x1FFFFF80U};

    [[gnu::always_inline]] int Decide(o_u4b x, o_u4b y) const
    {
        if (((x | y) & (KoKEY_SYMBOL | KoKEY_SPACE)) != 0 || ((x ^ y) & m_mask) == 0)
            return kUndecided;
        // There is no branch here, because nothing would predict it well.
        return static_cast<int>((o_8b{x & m_mask} - o_8b{y & m_mask}) >> 63U) | 1;
    }

    const o_u4b *m_left, *m_right;
    o_u4b m_mask;
};
struct KoByBytes {
    static KoByBytes Of(const KoText&, const KoText&, o_u2b) { return {}; }
    template <class Unit>
    static int Decide(unsigned a, unsigned b)
    {
        return static_cast<int>(a) - static_cast<int>(b);
    }
    static constexpr bool IsOneCodeSet() { return true; }
    static constexpr bool IgnoresCase() { return false; }
};

/// The walk along two strings to where they are decided.
template <class LeftUnit, class RightUnit, bool kWild>
class KoPaddedWalk
{
    using Unit = std::conditional_t<sizeof(LeftUnit) < sizeof(RightUnit), RightUnit, LeftUnit>;
    using Block = KoBlock<Unit>;

public:
    static constexpr bool kIsWide = sizeof(Unit) == 2;
    /// Where another way is quicker to skip what is equal, if there is one.
    static constexpr unsigned kLong = sizeof(LeftUnit) + sizeof(RightUnit) == 2 && !kWild ? 64 : 0;
    /// What Run returns there.
    static constexpr int kGoesOn = kUndecided + 1;

    KoPaddedWalk(const char* left, const char* right) : m_left(left), m_right(right) {}

    /// As KoCompareFast. A block stops it that has a difference, a terminator, or a wildcard in
    /// `right`; and with all but ASCII where only that means the same in both.
    template <std::size_t kEnd = 0, class Decision>
    [[gnu::always_inline]] int Run(const Decision& decision)
    {
        for (std::size_t i = m_at;; i += Block::kCount) {
            if (kEnd != 0 && i == kEnd)
                return kGoesOn;
            const Block x = At<LeftUnit>(m_left, i);
            const Block y = At<RightUnit>(m_right, i);
            Block others = y.Is(0);
            if (!decision.IsOneCodeSet())
                others = others | y.IsNotAscii();
            if constexpr (kWild)
                others = others | y.Is('*') | y.Is('?') | y.Is('\\');
            auto stops = (others | x.Differs(y)).Bits();
            if (stops == 0)
                continue;
            m_at = i + Block::First(stops);
            const int order = Decide(decision);
            if (order != kUndecided || !decision.IgnoresCase())
                return order;
            stops = (others | x.DiffersBeyondCase(y)).Bits();
            if (stops == 0)
                continue;
            m_at = i + Block::First(stops);
            return Decide(decision);
        }
    }
    /// Where the first block decides without more: most pairs. Else kGoesOn.
    template <class Decision>
    [[gnu::always_inline]] int RunFirst(const Decision& decision)
    {
        const Block x = At<LeftUnit>(m_left, 0);
        const Block y = At<RightUnit>(m_right, 0);
        const auto stops = (y.Is(0) | x.Differs(y)).Bits();
        if (stops == 0)
            return kGoesOn;
        m_at = Block::First(stops);
        const int order = Decide(decision);
        return order != kUndecided ? order : kGoesOn;
    }
    void Start(std::size_t at) { m_at = at; }
    /// The character where it has stopped.
    unsigned At() const { return static_cast<unsigned>(m_at); }

private:
    template <class From>
    static Block At(const char* text, std::size_t index)
    {
        if constexpr (sizeof(From) == sizeof(Unit))
            return Block::At(text + index * sizeof(From));
        else
            return Block::WidenedAt(text + index);
    }
    template <class From>
    unsigned CharacterAt(const char* text) const
    {
        return ko::ReadValue<From>(text + m_at * sizeof(From));
    }

    template <class Decision>
    [[gnu::always_inline]] int Decide(const Decision& decision) const
    {
        const unsigned a = CharacterAt<LeftUnit>(m_left);
        const unsigned b = CharacterAt<RightUnit>(m_right);
        if (a == b && (kWild || a == 0 || decision.IsOneCodeSet()))
            return a == 0 ? 0 : kUndecided;
        return decision.template Decide<Unit>(a, b);
    }

    const char *m_left, *m_right;
    std::size_t m_at = 0;
};

#endif
