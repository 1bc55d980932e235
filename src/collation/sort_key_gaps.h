#ifndef KO_COLLATION_SORT_KEY_GAPS_H
#define KO_COLLATION_SORT_KEY_GAPS_H

#include "collation/sort_key_code.h"

#include <bit>
#include <cstring>

namespace ko
{

/// Where the bytes of a key go, and writing its gaps.
namespace sortkey
{

/// Memory that has room for all bytes, and for three more.
class Unbounded
{
public:
    explicit Unbounded(unsigned char* bytes) : m_begin(bytes), m_at(bytes) {}
    void PutByte(unsigned byte) { *m_at++ = static_cast<unsigned char>(byte); }
    void Put(Code code)
    {
        if constexpr (std::endian::native == std::endian::little) {
            const Code bytes = code >> 8U;
            std::memcpy(m_at, &bytes, sizeof bytes);
        } else {
            for (unsigned i = 0; i < 3; ++i)
                m_at[i] = static_cast<unsigned char>(code >> (8 * i + 8));
        }
        m_at += BytesOf(code);
    }
    void Increment(unsigned at) { ++m_begin[at]; }
    unsigned Length() const { return static_cast<unsigned>(m_at - m_begin); }

private:
    unsigned char* m_begin;
    unsigned char* m_at;
};

/// Memory for the first `room` bytes; the others are counted.
class Bounded
{
public:
    Bounded(void* bytes, unsigned room) : m_bytes(static_cast<unsigned char*>(bytes)), m_room(room)
    {
    }
    void PutByte(unsigned byte)
    {
        if (m_length < m_room)
            m_bytes[m_length] = static_cast<unsigned char>(byte);
        ++m_length;
    }
    void Put(Code code)
    {
        for (unsigned i = 1; i <= BytesOf(code); ++i)
            PutByte((code >> 8 * i) & 0xFFU);
    }
    void Increment(unsigned at)
    {
        if (at < m_room)
            ++m_bytes[at];
    }
    unsigned Length() const { return m_length; }

private:
    unsigned char* m_bytes;
    unsigned m_room;
    unsigned m_length = 0;
};

/// Writes the gaps of a text as its skipped orders come.
template <class Out>
class Gaps
{
public:
    explicit Gaps(Out& out) : m_out(out) {}

    /// An order that is skipped, after `index` ones that are not.
    void Skip(o_u2b order, unsigned index)
    {
        if (m_size != 0 && index == m_index) {
            if (m_size == 1)
                Open();
            m_out.Put(CodeOfElement(order));
        } else {
            Finish();
            m_empty = index - m_next;
            m_index = index;
            m_next = index + 1;
            m_first = order;
        }
        ++m_size;
    }
    void Finish()
    {
        if (m_size == 0)
            return;
        if (m_size == 1 && IsShortAlone(m_first) && m_empty <= kMostEmpty) {
            GoOn();
            m_end = m_out.Length();
            m_out.PutByte(LeadOf(m_empty, KindOfSingle(m_first)));
        } else {
            if (m_size == 1)
                Open();
            m_end = m_out.Length();
            m_out.PutByte(kLast);
        }
        m_size = 0;
    }

private:
    /// The gap before was not the last one.
    void GoOn()
    {
        if (m_any)
            m_out.Increment(m_end);
        m_any = true;
    }
    void Open()
    {
        GoOn();
        if (m_empty <= kMostEmpty) {
            m_out.PutByte(LeadOf(m_empty, KindOf(m_first)));
        } else {
            const unsigned rank = kManyEmpty - m_empty;
            m_out.PutByte(kAfterMany);
            m_out.Put(CodeOfWord(rank >> 16U, rank & 0xFFFFU));
        }
        m_out.Put(CodeOfElement(m_first));
    }

    Out& m_out;
    unsigned m_index = 0; ///< which gap this is
    unsigned m_next = 0;  ///< the number of gaps up to the last one that was not empty
    unsigned m_empty = 0; ///< empty ones between that and the one before
    unsigned m_size = 0;  ///< orders of the gap, of which the first waits to be written
    o_u2b m_first = 0;
    bool m_any = false;
    unsigned m_end = 0; ///< the byte that says that no more gaps follow
};

} // namespace sortkey

} // namespace ko

#endif
