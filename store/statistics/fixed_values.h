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
    static constexpr std::size_t kMemory = 2 * sizeof(std::uint64_t) + 8 * sizeof(std::uint32_t);

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
        Slot& slot = m_table[PlaceOf(word, form)];
        if (slot.value == kNone && !IsFull()) {
            slot = {TagOf(word), Size()};
            m_values.push_back({word, 0});
            m_bytes += form;
        }
        if (slot.value != kNone)
            m_values[slot.value].count += objects;
        return slot.value;
    }

private:
    struct Value {
        std::uint64_t word; ///< the form where it has up to 8 bytes, else its hash
        std::uint64_t count;
    };
    /// The tag tells most forms apart, and all of up to 4 bytes, without a look at the value: that
    /// look would wait for memory.
    struct Slot {
        std::uint32_t tag;
        std::uint32_t value;
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
    static std::uint32_t TagOf(std::uint64_t word)
    {
        return static_cast<std::uint32_t>(word ^ word >> 32);
    }
    bool IsOther(const Slot& slot, std::uint64_t word, std::string_view form) const
    {
        return slot.tag != TagOf(word) ||
               (m_size > sizeof slot.tag &&
                (m_values[slot.value].word != word || (!IsShort() && Form(slot.value) != form)));
    }
    std::size_t PlaceOf(std::uint64_t word, std::string_view form) const
    {
        const std::size_t mask = m_table.size() - 1;
        std::size_t at = (word * 0x9E3779B97F4A7C15 >> 32) & mask;
        while (m_table[at].value != kNone && IsOther(m_table[at], word, form))
            at = (at + 1) & mask;
        return at;
    }
    void Grow()
    {
        m_table.assign(m_table.empty() ? 64 : m_table.size() * 2, {0, kNone});
        for (std::uint32_t value = 0; value < Size(); ++value) {
            const std::uint64_t word = m_values[value].word;
            m_table[PlaceOf(word, Form(value))] = {TagOf(word), value};
        }
    }

    std::size_t m_size;
    std::size_t m_most;
    std::vector<Value> m_values;
    std::string m_bytes;
    std::vector<Slot> m_table; ///< open addressing, over a power of two of slots
};

} // namespace ko::store::inner

#endif
