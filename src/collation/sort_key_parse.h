#ifndef KO_COLLATION_SORT_KEY_PARSE_H
#define KO_COLLATION_SORT_KEY_PARSE_H

#include "collation/sort_key_code.h"

#include <initializer_list>

namespace ko
{

/// The form of sort keys of texts with a code set. What is read is what would be written: every
/// code is made again from its order and compared, and of every choice that the form leaves only
/// the writer's is taken.
namespace sortkey
{

/// Bytes that may end anywhere.
struct Bytes {
    const unsigned char* at;
    unsigned left;

    /// The next byte, 256 at the end.
    unsigned Peek(unsigned offset = 0) const { return offset < left ? at[offset] : 256; }
    void Skip(unsigned count)
    {
        at += count;
        left -= count;
    }
    /// The number in the two bytes from `offset` on.
    unsigned Word(unsigned offset) const { return Peek(offset) << 8U | Peek(offset + 1); }
    bool BeginsWith(Code code) const
    {
        for (unsigned i = 0; i < sortkey::BytesOf(code); ++i)
            if (Peek(i) != (code >> (8 * i + 8) & 0xFFU))
                return false;
        return true;
    }
};

/// Takes the code of an order that is not skipped from the beginning of the bytes; 0 where there is
/// none.
o_u2b TakeOrder(Bytes& bytes, unsigned form);

/// Takes an element of a gap; 0 where there is none that the word `cmpOp` leaves.
o_u2b TakeElement(Bytes& bytes, o_u2b cmpOp);

/// Reads gaps, one after another.
class GapReader
{
public:
    GapReader(const Bytes& bytes, o_u2b cmpOp) : m_bytes(bytes), m_cmpOp(cmpOp) {}

    /// Reads the lead of a gap; `alone`: the text has the ideographic variant and no codes. False
    /// where there is none.
    bool ReadLead(bool alone)
    {
        const unsigned lead = m_bytes.Peek();
        if (alone || lead == kAfterMany) {
            const unsigned taken = alone ? 1 : 4;
            if (m_bytes.left < taken || (alone && lead != kAlone))
                return false;
            m_empty = alone ? 0 : kManyEmpty - (m_bytes.Peek(1) << 16U | m_bytes.Word(2));
            m_kind = kAny;
            m_bytes.Skip(taken);
            return alone || m_empty > kMostEmpty;
        }
        if (lead > LeadOf(0, kKinds - 1))
            return false;
        m_empty = kMostEmpty - (lead - 1) / kKinds;
        m_kind = (lead - 1) % kKinds;
        m_bytes.Skip(1);
        return true;
    }
    /// The empty gaps before the one whose lead was read.
    unsigned Empty() const { return m_empty; }

    /// Calls `visit(order)` for what stands in the gap, as long as that gives true.
    template <class Visit>
    bool ReadGap(Visit visit)
    {
        for (const o_u2b single : {kBlank, kHyphen}) {
            const unsigned kind = KindOfSingle(single);
            if (m_kind != kind && m_kind != kind + 1)
                continue;
            m_more = m_kind != kind;
            const bool space = single < KoORDER_SYMBOL;
            return (m_cmpOp & (space ? KoCMP_SKIP_SPACES : KoCMP_SKIP_SYMBOLS)) == 0 &&
                   visit(single);
        }
        unsigned size = 0;
        o_u2b first = 0;
        for (; m_bytes.Peek() > kMore; ++size) {
            const o_u2b order = TakeElement(m_bytes, m_cmpOp);
            if (order == 0 || !visit(order))
                return false;
            if (size == 0)
                first = order;
        }
        if (size == 0 || m_bytes.left == 0)
            return false;
        m_more = m_bytes.Peek() == kMore;
        m_bytes.Skip(1);
        const bool shortened = size == 1 && IsShortAlone(first);
        return m_kind == kAny || (KindOf(first) == m_kind && !shortened);
    }
    bool HasMore() const { return m_more; }
    const Bytes& Rest() const { return m_bytes; }

private:
    static constexpr unsigned kAny = kKinds;

    Bytes m_bytes;
    o_u2b m_cmpOp;
    unsigned m_empty = 0;
    unsigned m_kind = 0;
    bool m_more = false;
};

/// Calls `visit(order)`, as long as that gives true, for the orders of a text whose key stands at
/// the beginning of the bytes. The bytes of the key; 0 where none stands there.
template <class Visit>
unsigned VisitOrders(const Bytes& key, o_u2b cmpOp, Visit visit)
{
    const bool ideographic = key.Peek() == kIdeographic;
    const unsigned form = FormOf(cmpOp, ideographic ? KoVARIANT_IDEOGRAPHIC : 0);
    Bytes codes = key;
    codes.Skip(ideographic ? 1 : 0);
    Bytes rest = codes;
    unsigned count = 0;
    for (; rest.Peek() > kGaps && rest.left != 0; ++count)
        if (TakeOrder(rest, form) == 0)
            return 0;
    if (rest.left == 0 || (count == 0 && (ideographic || rest.Peek() != kGaps)))
        return 0;
    const bool anyGap = rest.Peek() == kGaps;
    rest.Skip(1);
    if (count == 0 && rest.Peek() == kLast)
        return 2; // the empty text
    const bool alone = count == 0 && rest.Peek() == kAlone;
    GapReader gaps(rest, cmpOp);
    if (anyGap && !gaps.ReadLead(alone))
        return 0;
    bool more = anyGap;
    unsigned before = gaps.Empty(); // gaps up to the next one that is not empty
    for (unsigned i = 0;; ++i) {
        if (more && before == 0) {
            if (!gaps.ReadGap(visit))
                return 0;
            more = gaps.HasMore();
            if (more && !gaps.ReadLead(false))
                return 0;
            before = gaps.Empty() + 1;
        }
        if (i == count)
            break;
        --before;
        if (!visit(TakeOrder(codes, form)))
            return 0;
    }
    return more ? 0 : key.left - gaps.Rest().left;
}

} // namespace sortkey

} // namespace ko

#endif
