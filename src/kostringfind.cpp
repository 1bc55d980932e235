#include "kochartext.h"
#include "kostringpiece.h"
#include "kostringsearch.h"

#include <koservices.h>

#include <algorithm>

// Searching and replacing.

namespace
{

/// Looks for one pattern in texts.
class Finder
{
public:
    /// The pattern has to outlive the finder.
    Finder(const KoText& pattern, o_u2b cmpOp)
        : m_pattern(pattern), m_cmpOp(KoResolvedCmpOp(cmpOp)), m_mode(m_cmpOp)
    {
        if (m_pattern.units != 0)
            m_pattern.units = KoUnitsBeforeZero(pattern.bytes, pattern.Width(), pattern.units);
        if (m_pattern.units == 0)
            return;
        KoOrderReader orders(m_pattern);
        const o_u2b order = orders.Next();
        const KoWildcards wildcards = KoWildcards::Current();
        // Where a text begins otherwise than a pattern that begins with a letter, digit or
        // ideograph, it does not match. Spaces and symbols may be left out, and wildcards match
        // anything.
        m_firstDecides = KoClassOfOrder(order) >= KoORDER_DIGIT && order != wildcards.asterisk &&
                         order != wildcards.question && order != wildcards.escape;
        m_firstKey = KoCollationKey(order, orders.Variant()) & m_mode.mask;
    }

    unsigned PatternLength() const { return m_pattern.units; }

    /// The first position in `text`, which has no zero characters, from `start` on; -1 for none.
    int In(const KoText& text, unsigned start) const
    {
        const unsigned length = m_pattern.units;
        if (length == 0 || m_pattern.IsNull() || text.IsNull())
            return -1;
        const KoCodeSet& codeSet = KoCodeSetOf(text);
        const unsigned char variant = KoVariantOf(codeSet, text.language);
        const bool bytes = text.codeSet == KoCS_NONE && m_pattern.codeSet == KoCS_NONE;
        bool leftOut = false;
        unsigned tries = 0;
        // A try takes at most a step for each character of the pattern.
        unsigned most = length <= kShort ? kNoLimit : (4 * text.units + 4096) / length;
        for (unsigned i = start; i + length <= text.units; ++i) {
            if (!bytes) {
                const o_u2b order = codeSet.GetOrder(static_cast<o_u2b>(text.At(i)));
                // What the operator word leaves out before a place changes nothing about that
                // place.
                const bool known = leftOut && m_mode.wildcards;
                leftOut = LeavesOut(KoClassOfOrder(order));
                if (known || !MayBegin(order, variant))
                    continue;
            }
            if (++tries > most) {
                const int at = KoSearchString(text, m_pattern, i, m_mode);
                if (at != kUndecided)
                    return at;
                most = kNoLimit; // without memory it takes its time
            }
            const KoTextOrder found = CompareAt(text, i);
            if (found.order == 0)
                return static_cast<int>(i);
            // The pattern up to its last asterisk fits here and what follows it comes nowhere
            // later: from a later place it does not either.
            if (found.afterRun)
                break;
        }
        return -1;
    }

private:
    /// The length of patterns that are always looked for place by place.
    static constexpr unsigned kShort = 16;

    bool LeavesOut(KoOrderClass orderClass) const
    {
        return (orderClass == KoORDER_SPACE && m_mode.skipsSpaces) ||
               (orderClass == KoORDER_SYMBOL && m_mode.skipsSymbols);
    }

    /// A text that begins with the order may match; most do not.
    bool MayBegin(o_u2b order, unsigned char variant) const
    {
        return !m_firstDecides || LeavesOut(KoClassOfOrder(order)) ||
               (KoCollationKey(order, variant) & m_mode.mask) == m_firstKey;
    }

    KoTextOrder CompareAt(const KoText& text, unsigned position) const
    {
        KoText rest = text;
        rest.bytes += std::size_t{position} * text.Width();
        rest.units -= position;
        if (m_mode.wildcards)
            return KoCompareBeginning(rest, m_pattern, m_mode);
        return KoCompareText(rest, m_pattern, m_cmpOp, m_pattern.units);
    }

    KoText m_pattern;
    o_u2b m_cmpOp;
    KoCompareMode m_mode;
    bool m_firstDecides = false;
    o_u4b m_firstKey = 0;
};

/// The text up to its first zero.
KoText TextOf(const KoString& string)
{
    KoText text = KoStringAccess::Get(string);
    text.units = string.Len();
    return text;
}

} // namespace

int KoString::Find(const KoString& pattern, unsigned short start, unsigned short cmpOp) const
{
    return Finder(KoStringAccess::Get(pattern), cmpOp).In(TextOf(*this), start);
}

int KoString::Find(char c, unsigned short start, unsigned short cmpOp) const
{
    const KoUnit unit{KoChar(c)};
    return Finder(unit.Text(), cmpOp).In(TextOf(*this), start);
}

int KoString::Find(unsigned short c, unsigned short start, unsigned short cmpOp) const
{
    const KoUnit unit{KoChar(c)};
    return Finder(unit.Text(), cmpOp).In(TextOf(*this), start);
}

/// Works as if each find were cut out and `to` inserted in turn, but builds the text once. So what
/// the growing text pushes over the longest length is not looked at any more.
KoString& KoString::ReplaceEvery(const KoText& from, const Piece& to, unsigned start)
{
    const Finder finder(from, KoCMP_DEFAULT);
    KoText text = TextOf(*this);
    int at = finder.In(text, start);
    if (at < 0)
        return *this;
    KoString put(m_codeSet, m_language);
    if (put.Become(to, m_codeSet, m_language) == Outcome::kNoMemory)
        return *this;
    const unsigned width = Width();
    const unsigned cut = finder.PatternLength();
    const unsigned inserted = put.Len();
    const unsigned most = kMaxBytes / width - 1;
    const unsigned grown =
        inserted <= cut ? 0 : std::min((text.units - start) / cut * (inserted - cut), most);
    const unsigned room = std::min(text.units + grown, most);
    // One more, so that the edit notices a text that is too long.
    const std::size_t bytes = (std::size_t{room} + 1) * width;
    auto* const buffer = static_cast<char*>(KoAlloc(bytes));
    if (buffer == nullptr) {
        KoCallMemoryHandler(bytes);
        return *this;
    }
    unsigned length = 0;
    bool overflows = false;
    const auto append = [buffer, width, room, &length, &overflows](const char* source, unsigned n) {
        const unsigned fits = std::min(n, room - length);
        if (fits != 0)
            std::memcpy(buffer + std::size_t{length} * width, source, std::size_t{fits} * width);
        length += fits;
        overflows = overflows || fits < n;
    };
    unsigned done = 0;
    while (at >= 0) {
        const auto place = static_cast<unsigned>(at);
        append(At(done), place - done);
        append(put.StrGet(), inserted);
        done = place + cut;
        if (text.units - done > most - length) {
            text.units = done + (most - length);
            overflows = true;
        }
        at = finder.In(text, done);
    }
    append(At(done), text.units - done);
    if (overflows)
        std::memset(buffer + std::size_t{length} * width, '?', width);
    Become({buffer, length + (overflows ? 1U : 0U), m_codeSet}, m_codeSet, m_language);
    KoFree(buffer);
    return *this;
}

KoString& KoString::ReplaceAll(const KoString& from, const KoString& to, unsigned short start)
{
    return ReplaceEvery(KoStringAccess::Get(from), to.Whole(), start);
}

KoString& KoString::ReplaceAll(char from, char to, unsigned short start)
{
    const KoUnit unit{KoChar(from)};
    return ReplaceEvery(unit.Text(), Piece::Of(to, 1, GetDefault8CodeSet()), start);
}

KoString& KoString::ReplaceAll(unsigned short from, unsigned short to, unsigned short start)
{
    const KoUnit unit{KoChar(from)};
    return ReplaceEvery(unit.Text(), Piece::Of(to, 1, GetDefault16CodeSet()), start);
}

// ---- wildcards of the process

int KoString::SetAsterisk(const KoChar& c)
{
    KoWildcards::Replace(KoWildcards::kAsterisk, c.Order());
    return KoRC_OK;
}

int KoString::SetQuestion(const KoChar& c)
{
    KoWildcards::Replace(KoWildcards::kQuestion, c.Order());
    return KoRC_OK;
}

int KoString::SetEscape(const KoChar& c)
{
    KoWildcards::Replace(KoWildcards::kEscape, c.Order());
    return KoRC_OK;
}
