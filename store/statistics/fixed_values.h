#ifndef KO_STORE_STATISTICS_FIXED_VALUES_H
#define KO_STORE_STATISTICS_FIXED_VALUES_H

#include "base/bytes.h"
#include "base/short_bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Counts forms of one size, which are numbered from 0 on in the order in which they came; as many
/// as fit.
class FixedValues
{
public:
    static constexpr std::uint32_t kNone = UINT32_MAX;
    /// What a value takes beside bytes of its own: its count, and its places in the table.
    static constexpr std::size_t kMemory = 2 * sizeof(std::uint64_t) + 4 * sizeof(std::uint32_t);

    /// `size` bytes each, at most `most` of them.
    FixedValues(std::size_t size, std::size_t most) : m_size(size), m_most(most) {}

    std::uint32_t Size() const { return static_cast<std::uint32_t>(m_values.size()); }
    bool IsFull() const { return Size() >= m_most; }
    std::string_view Form(std::uint32_t value) const
    {
        return std::string_view(m_bytes).substr(value * m_size, m_size);
    }
    std::uint64_t Count(std::uint32_t value) const { return m_values[value].count; }

    /// Counts so many objects with a value, by its number.
    void Count(std::uint32_t value, std::uint64_t objects) { m_values[value].count += objects; }
    /// Counts so many objects with a form, and returns its number; kNone, and nothing is counted,
    /// where it has none and there is no room for more.
    std::uint32_t Add(std::string_view form, std::uint64_t objects)
    {
        if (std::size_t{Size()} * 2 >= m_table.size() && !IsFull())
            Grow();
        const std::uint64_t word = WordOf(form);
        std::uint32_t& slot = m_table[SlotOf(word, form)];
        if (slot == kNone && !IsFull()) {
            slot = Size();
            m_values.push_back({word, 0});
            m_bytes += form;
        }
        if (slot != kNone)
            m_values[slot].count += objects;
        return slot;
    }

private:
    /// A count stands beside what tells the form, so that both are one look at memory.
    struct Value {
        std::uint64_t word; ///< the form where it has up to 8 bytes, else its hash
        std::uint64_t count;
    };

    bool IsShort() const { return m_size <= sizeof(std::uint64_t); }
    std::uint64_t WordOf(std::string_view form) const
    {
        std::uint64_t word = 0;
        if (!IsShort())
            return HashBytes(form);
        std::memcpy(&word, form.data(), m_size);
        return word;
    }
    std::size_t SlotOf(std::uint64_t word, std::string_view form) const
    {
        const std::size_t mask = m_table.size() - 1;
        std::size_t at = (word * 0x9E3779B97F4A7C15 >> 32) & mask;
        while (m_table[at] != kNone &&
               (m_values[m_table[at]].word != word || (!IsShort() && Form(m_table[at]) != form)))
            at = (at + 1) & mask;
        return at;
    }
    void Grow()
    {
        m_table.assign(m_table.empty() ? 64 : m_table.size() * 2, kNone);
        for (std::uint32_t value = 0; value < Size(); ++value)
            m_table[SlotOf(m_values[value].word, Form(value))] = value;
    }

    std::size_t m_size;
    std::size_t m_most;
    std::vector<Value> m_values;
    std::string m_bytes;
    std::vector<std::uint32_t> m_table; ///< open addressing, over a power of two of slots
};

} // namespace ko::store::inner

#endif
