#ifndef KO_STORE_STATISTICS_FIXED_VALUES_H
#define KO_STORE_STATISTICS_FIXED_VALUES_H

#include "base/short_bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Forms of one size, numbered from 0 on in the order in which they were added; as many as fit.
class FixedValues
{
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;

    /// `size` bytes each, at most `most` of them.
    FixedValues(std::size_t size, std::size_t most) : m_size(size), m_most(most) {}

    std::uint32_t Count() const { return m_count; }
    bool IsFull() const { return m_count >= m_most; }
    std::string_view Form(std::uint32_t value) const
    {
        return std::string_view(m_bytes).substr(value * m_size, m_size);
    }

    /// kNone for a form that was not added.
    std::uint32_t Find(std::string_view form) const
    {
        return m_table.empty() ? kNone : m_table[SlotOf(form)];
    }
    /// The number of a form, which is added where it is not there; kNone where there is no room.
    std::uint32_t Add(std::string_view form)
    {
        if (std::size_t{m_count} * 2 >= m_table.size() && !IsFull())
            Grow();
        std::uint32_t& value = m_table[SlotOf(form)];
        if (value != kNone || IsFull())
            return value;
        value = m_count++;
        m_bytes += form;
        return value;
    }

private:
    std::size_t SlotOf(std::string_view form) const
    {
        const std::size_t mask = m_table.size() - 1;
        std::size_t at = HashBytes(form) & mask;
        while (m_table[at] != kNone && !SameBytes(Form(m_table[at]), form))
            at = (at + 1) & mask;
        return at;
    }
    void Grow()
    {
        m_table.assign(m_table.empty() ? 64 : m_table.size() * 2, kNone);
        for (std::uint32_t value = 0; value < m_count; ++value)
            m_table[SlotOf(Form(value))] = value;
    }

    std::size_t m_size;
    std::size_t m_most;
    std::uint32_t m_count = 0;
    std::string m_bytes;
    std::vector<std::uint32_t> m_table; ///< open addressing, over a power of two of slots
};

} // namespace ko::store::inner

#endif
