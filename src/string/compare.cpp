#include "collation/keyed_text.h"
#include "collation/lanes.h"

#include <algorithm>

// Comparing two strings in memory. Their buffers end with a terminator and zeros up to a whole
// block, so the walk needs no lengths: it ends at the first difference or terminator, and most
// pairs have one in their first block.

namespace ko
{

namespace
{

/// What decides where two texts differ first: keys, or the bytes themselves.
class ByKeys
{
public:
    /// The tables of both must be known.
    static ByKeys Of(const KoText& left, const KoText& right, o_u2b cmpOp)
    {
        return {KnownCodeSets::KeysOrNull(left.codeSet), KnownCodeSets::KeysOrNull(right.codeSet),
                cmpOp};
    }
    ByKeys(const o_u4b* left, const o_u4b* right, o_u2b cmpOp)
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
        return Decide(a > 0xFF ? WideFastKey(a) : m_left[a],
                      b > 0xFF ? WideFastKey(b) : m_right[b]);
    }
    /// The texts have one code set, so that the same character means the same in both.
    bool IsOneCodeSet() const { return m_left == m_right; }
    bool IgnoresCase() const { return (m_mask & 0x60U) == 0; }

private:
    // The masks of CompareMode, without the flag bits of a key.
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
struct ByBytes {
    static ByBytes Of(const KoText&, const KoText&, o_u2b) { return {}; }
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
class PaddedWalk
{
    using Unit = std::conditional_t<sizeof(LeftUnit) < sizeof(RightUnit), RightUnit, LeftUnit>;
    using Block = UnitBlock<Unit>;

public:
    static constexpr bool kIsWide = sizeof(Unit) == 2;
    /// Where another way is quicker to skip what is equal, if there is one.
    static constexpr unsigned kLong = sizeof(LeftUnit) + sizeof(RightUnit) == 2 && !kWild ? 64 : 0;
    /// What Run returns there.
    static constexpr int kGoesOn = kUndecided + 1;

    PaddedWalk(const char* left, const char* right) : m_left(left), m_right(right) {}

    /// -1, 0 or 1, or kUndecided where the rules have to take over. A block stops it that has a
    /// difference, a terminator, or a wildcard in `right`; and with all but ASCII where only that
    /// means the same in both.
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
        return ReadValue<From>(text + m_at * sizeof(From));
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

/// By the rules in full, from the character `from` on up to which two strings are known to be
/// equal; see CompareText.
[[gnu::noinline]] int CompareFrom(const KoString& left, const KoString& right, o_u2b cmpOp,
                                  unsigned limit, unsigned from)
{
    return CompareText(StringAccess::Get(left), StringAccess::Get(right), cmpOp, limit, from).order;
}

// Each function below calls the next one last of all and what it may need to ask is asked at the
// very end: then the common ways keep no register and take no stack.

/// 16-bit characters that differ, of which at least one is not in the tables of 8-bit ones.
[[gnu::noinline]] int CompareWideFrom(const KoString& left, const KoString& right, o_u2b cmpOp,
                                      unsigned from)
{
    const KoText x = StringAccess::Get(left);
    const KoText y = StringAccess::Get(right);
    const ByKeys keys(KnownCodeSets::Keys(x.codeSet), KnownCodeSets::Keys(y.codeSet), cmpOp);
    const int order = keys.DecideWide(x.At(from), y.At(from));
    return order != kUndecided ? order : CompareFrom(left, right, cmpOp, kNoLimit, from);
}

template <class Walk>
[[gnu::always_inline]] inline int Decided(int order, const Walk& walk, const KoString& left,
                                          const KoString& right, o_u2b cmpOp)
{
    return order != kUndecided ? order
           : Walk::kIsWide     ? CompareWideFrom(left, right, cmpOp, walk.At())
                               : CompareFrom(left, right, cmpOp, kNoLimit, walk.At());
}

/// Compares long texts that begin alike: the equal beginning is skipped first.
template <class Walk, class Decision>
[[gnu::noinline]] int CompareLong(const KoString& left, const KoString& right, o_u2b cmpOp)
{
    const KoText x = StringAccess::Get(left);
    const KoText y = StringAccess::Get(right);
    Walk walk(x.bytes, y.bytes);
    walk.Start(SkipEqual(x.bytes, y.bytes, std::min(x.units, y.units)));
    return Decided(walk.Run(Decision::Of(x, y, cmpOp)), walk, left, right, cmpOp);
}

template <class LeftUnit, class RightUnit, bool kWild, class Decision>
[[gnu::always_inline]] inline int ComparePadded(const KoString& left, const KoString& right,
                                                o_u2b cmpOp, const Decision& decision)
{
    using Walk = PaddedWalk<LeftUnit, RightUnit, kWild>;
    Walk walk(StringAccess::Get(left).bytes, StringAccess::Get(right).bytes);
    const int order = walk.template Run<Walk::kLong>(decision);
    if constexpr (Walk::kLong != 0)
        if (order == Walk::kGoesOn)
            return CompareLong<Walk, Decision>(left, right, cmpOp);
    return Decided(order, walk, left, right, cmpOp);
}

/// What no short way takes, or not before the tables are known.
[[gnu::noinline]] int CompareOther(const KoString& left, const KoString& right, short len,
                                   o_u2b cmpOp)
{
    if (cmpOp == KoCMP_DEFAULT)
        return left.Compare(right, len, KoLanguageContext::GetDefaultCmpOp());
    bool learnt = false;
    for (const KoString* string : {&left, &right}) {
        const KoText text = StringAccess::Get(*string);
        learnt = KnownCodeSets::Learn(text.codeSet, text.language) || learnt;
    }
    return learnt ? left.Compare(right, len, cmpOp)
                  : CompareFrom(left, right, cmpOp, LimitOf(len), 0);
}

template <class LeftUnit, class RightUnit, bool kWild>
[[gnu::noinline]] int CompareByKeys(const KoString& left, const KoString& right, o_u2b cmpOp,
                                    const o_u4b* leftKeys, const o_u4b* rightKeys)
{
    return ComparePadded<LeftUnit, RightUnit, kWild>(left, right, cmpOp,
                                                     ByKeys(leftKeys, rightKeys, cmpOp));
}

template <bool kWild>
int CompareByWidth(const KoString& left, const KoString& right, o_u2b cmpOp, const o_u4b* leftKeys,
                   const o_u4b* rightKeys)
{
    const bool rightIsWide = StringAccess::Get(right).Width() == 2;
    const auto compare =
        StringAccess::Get(left).Width() == 2
            ? rightIsWide ? CompareByKeys<o_u2b, o_u2b, kWild> : CompareByKeys<o_u2b, o_u1b, kWild>
        : rightIsWide ? CompareByKeys<o_u1b, o_u2b, kWild>
                      : CompareByKeys<o_u1b, o_u1b, kWild>;
    return compare(left, right, cmpOp, leftKeys, rightKeys);
}

[[gnu::noinline]] int CompareAny(const KoString& left, const KoString& right, short len,
                                 o_u2b cmpOp)
{
    const KoText x = StringAccess::Get(left);
    const KoText y = StringAccess::Get(right);
    const o_u4b* const leftKeys = KnownCodeSets::KeysOrNull(x.codeSet);
    const o_u4b* const rightKeys = KnownCodeSets::KeysOrNull(y.codeSet);
    const bool wild = (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) == 0;
    if (len >= 0 || cmpOp == KoCMP_DEFAULT || leftKeys == nullptr || rightKeys == nullptr ||
        x.bytes == nullptr || y.bytes == nullptr || !KnownCodeSets::IsKnownPlain(x.language) ||
        !KnownCodeSets::IsKnownPlain(y.language) || (wild && !WildcardSet::AreDefault()))
        return CompareOther(left, right, len, cmpOp);
    return wild ? CompareByWidth<true>(left, right, cmpOp, leftKeys, rightKeys)
                : CompareByWidth<false>(left, right, cmpOp, leftKeys, rightKeys);
}

} // namespace

} // namespace ko

using namespace ko;

int KoString::Compare(const KoString& other, short len, unsigned short cmpOp) const
{
    // Nearly all pairs: two texts of one code set without a language. All other tests wait.
    if (len < 0 && (cmpOp & (KoCMP_PLAIN | KoCMP_NO_WILDCARDS)) != 0 && cmpOp != KoCMP_DEFAULT &&
        m_codeSet == other.m_codeSet && (m_language | other.m_language) == KoLANG_NONE &&
        m_buffer != nullptr && other.m_buffer != nullptr) {
        if (m_codeSet == KoCS_NONE)
            return ComparePadded<o_u1b, o_u1b, false>(*this, other, cmpOp, ByBytes{});
        const o_u4b* const keys = KnownCodeSets::KeysOrNull(m_codeSet);
        if (keys == nullptr)
            return CompareAny(*this, other, len, cmpOp);
        if (Width() == 2)
            return CompareByKeys<o_u2b, o_u2b, false>(*this, other, cmpOp, keys, keys);
        using Walk = PaddedWalk<o_u1b, o_u1b, false>;
        const int order = Walk(m_buffer, other.m_buffer).RunFirst(ByKeys(keys, keys, cmpOp));
        return order != Walk::kGoesOn
                   ? order
                   : CompareByKeys<o_u1b, o_u1b, false>(*this, other, cmpOp, keys, keys);
    }
    return CompareAny(*this, other, len, cmpOp);
}

int KoString::operator!=(const KoString& other) const
{
    return Compare(other);
}

bool KoString::operator==(const KoString& other) const
{
    return this == &other || Compare(other) == 0;
}

bool KoString::EqualsIgnoreLanguage(const KoString& other) const
{
    KoText left = StringAccess::Get(*this);
    KoText right = StringAccess::Get(other);
    if (left.language != right.language)
        left.language = right.language = KoLANG_NONE;
    return CompareText(left, right, KoCMP_NO_WILDCARDS).order == 0;
}
