#ifndef KO_BENCH_COLLATION_KEY_GROUPS_H
#define KO_BENCH_COLLATION_KEY_GROUPS_H

#include "collation/key_list.h"

#include <bit>

/// Which keys are equal, as a user finds out who sorts columns with many equal values: only one key
/// of each group is sorted then.
class KeyGroups
{
public:
    /// Finds the groups. False, which a small part of the keys tells, where most keys are different
    /// and grouping them is of no use.
    bool Find(const KeyList& keys)
    {
        const auto count = static_cast<std::uint32_t>(keys.ends.size());
        m_slots.assign(std::bit_ceil(count | 1U), 0);
        m_groups.clear();
        m_groupOf.resize(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            m_groupOf[i] = GroupOf(keys, i);
            if (m_groups.size() > kSample && m_groups.size() > i / 4)
                return false;
        }
        return true;
    }

    std::uint32_t Count() const { return static_cast<std::uint32_t>(m_groups.size()); }
    /// One key of a group.
    std::uint32_t KeyOf(std::uint32_t group) const { return m_groups[group].index; }

    /// The keys in order; `sorted(i)` is the key of the group at place i.
    template <class Sorted>
    void List(std::vector<std::uint32_t>& order, Sorted sorted)
    {
        std::uint32_t start = 0;
        for (std::uint32_t i = 0; i < Count(); ++i) {
            Group& group = m_groups[m_groupOf[sorted(i)]];
            start += std::exchange(group.members, start);
        }
        for (std::uint32_t i = 0; i < m_groupOf.size(); ++i)
            order[m_groups[m_groupOf[i]].members++] = i;
    }

private:
    static constexpr std::size_t kSample = 256;

    /// The bytes of a key from 0 to 32, some of them twice: what makes keys with as many bytes
    /// equal that have no more.
    struct Head {
        std::uint64_t words[4];
        std::uint32_t length;

        Head(const unsigned char* key, std::uint32_t keyLength) : length(keyLength)
        {
            if (length < 8) { // zeros behind it
                words[0] = Word(key) & ((std::uint64_t{1} << 8 * length) - 1);
                words[1] = words[2] = words[3] = 0;
                return;
            }
            const std::uint32_t last = std::min(length, 32U) - 8;
            words[0] = Word(key);
            words[1] = Word(key + std::min(8U, last));
            words[2] = Word(key + std::min(16U, last));
            words[3] = Word(key + last);
        }
        std::uint64_t Hash() const
        {
            const std::uint64_t low = (words[0] ^ kOdd) * (std::rotl(words[1], 32) | 1);
            const std::uint64_t high = (words[2] + kOdd) * (std::rotl(words[3], 32) | 1);
            const std::uint64_t all = (low ^ std::rotl(high, 23) ^ length) * kOdd;
            return all ^ all >> 32;
        }
        bool operator==(const Head&) const = default;

    private:
        static constexpr std::uint64_t kOdd = 0x9E3779B97F4A7C15;
        static std::uint64_t Word(const unsigned char* at)
        {
            std::uint64_t word;
            std::memcpy(&word, at, sizeof word);
            if constexpr (std::endian::native == std::endian::big)
                word = __builtin_bswap64(word);
            return word;
        }
    };
    struct Group {
        Head head;
        std::uint32_t index;
        std::uint32_t members; ///< how many; then where the next one goes
    };

    std::uint32_t GroupOf(const KeyList& keys, std::uint32_t index)
    {
        const unsigned char* const key = keys.bytes.data() + keys.Begin(index);
        const Head head(key, keys.Length(index));
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t slot = head.Hash() & mask;; slot = (slot + 1) & mask) {
            if (m_slots[slot] == 0) {
                m_groups.push_back({head, index, 1});
                m_slots[slot] = Count();
                return Count() - 1;
            }
            Group& group = m_groups[m_slots[slot] - 1];
            if (group.head == head &&
                (head.length <= 32 ||
                 std::memcmp(keys.bytes.data() + keys.Begin(group.index), key, head.length) == 0)) {
                ++group.members;
                return m_slots[slot] - 1;
            }
        }
    }

    std::vector<std::uint32_t> m_slots; ///< a group and 1; 0 where there is none
    std::vector<Group> m_groups;
    std::vector<std::uint32_t> m_groupOf;
};

#endif
