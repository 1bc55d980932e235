#include "support/operand.h"

#include <gtest/gtest.h>

#include <cmath>

// The laws of sort keys, of validation and of the hashes over keys, for every type by its row:
// pools of random values in arrays of 0 to 3 elements, under every operator word that orders them.
// All pairs of a pool are compared, so that a pair costs a comparison and not the making of two
// values. KO_LAW_PAIRS sets the number of pairs for all types together.

namespace
{

/// Few enough that a type meets dozens of words, and more where more pairs are asked for.
unsigned PoolSize(unsigned long long pairs)
{
    const auto size = static_cast<unsigned>(std::sqrt(static_cast<double>(pairs) / 16));
    return std::clamp(size, 32U, 1000U);
}

class KeyLaws
{
public:
    KeyLaws(o_char id, unsigned size) : m_id(id), m_random(static_cast<unsigned>(id))
    {
        for (unsigned i = 0; i < size; ++i)
            m_members.push_back({std::make_unique<Operand>(m_manager, id), {}, 0});
    }

    /// Draws values and a word and checks each value and all pairs.
    void Pool()
    {
        m_count = m_random.Below(4) == 0 ? m_random.Below(4) : 1;
        m_word = static_cast<o_u2b>(m_random.Below(2) == 0 ? 0x10 : 0x100);
        if (m_random.Below(4) == 0)
            m_word = static_cast<o_u2b>(m_random.Below(2) == 0 ? 0x110 : 0);
        for (const unsigned option : {0x20U, 0x40U, 0x80U, 0x200U})
            m_word = static_cast<o_u2b>(m_word | (m_random.Below(2) == 0 ? option : 0));
        SCOPED_TRACE("word " + std::to_string(m_word));
        for (unsigned i = 0; i < m_members.size(); ++i) {
            Operand* const like = i == 0 ? nullptr : m_members[m_random.Below(i)].value.get();
            m_members[i].value->Fill(m_random, m_count, like);
            CheckValue(m_members[i], i % static_cast<unsigned>(std::size(kForms)));
        }
        for (unsigned i = 0; i < m_members.size() && !testing::Test::HasFailure(); ++i)
            CheckWithThoseBefore(i);
    }
    /// Pairs whose word gave an order.
    unsigned long long Ordered() const { return m_ordered; }

private:
    struct Member {
        std::unique_ptr<Operand> value;
        Bytes key;
        o_u8b hash; ///< over the key of the value in one of the forms
    };

    void CheckValue(Member& member, unsigned hashed)
    {
        const Operand& value = *member.value;
        member.key = KeyIn(value.In(0), kForms[0]);
        for (unsigned form = 1; form < std::size(kForms); ++form) {
            ASSERT_EQ(Hex(KeyIn(value.In(form), kForms[form])), Hex(member.key)) << "form " << form;
            CheckStored(value.StoredIn(form), kForms[form]);
        }
        member.hash = m_manager.HashUnder(m_id, value.In(hashed), kForms[hashed], m_count, m_word);
        if (member.key.empty())
            return;
        CheckCut(member);
        CheckBack(member);
    }
    Bytes KeyIn(const void* value, unsigned char format) const
    {
        return Key(m_manager, m_id, value, format, m_count, m_word);
    }

    /// The laws of one value and all before it and itself, on either side and in the forms by
    /// turns.
    void CheckWithThoseBefore(unsigned i)
    {
        const Member& one = m_members[i];
        if (one.key.empty())
            return;
        // Identities are ordered as the numbers that their little-endian form compares by.
        const unsigned form = i % static_cast<unsigned>(std::size(kForms));
        const bool ordered = !IsIdentity(m_id) || kForms[form] == KoFMT_LITTLE;
        for (unsigned j = 0; j <= i; ++j) {
            const Member& other = m_members[j];
            const bool swapped = j % 2 != 0;
            void* const left = const_cast<void*>((swapped ? other : one).value->In(form));
            void* const right = const_cast<void*>((swapped ? one : other).value->In(form));
            const int found = Sign(m_manager.Cmp(m_id, left, right, m_word, m_count, kForms[form]));
            const int order = swapped ? -found : found;
            const auto shorter = std::min(one.key.size(), other.key.size());
            const int byKeys = Sign(std::memcmp(one.key.data(), other.key.data(), shorter));
            const bool begins = byKeys == 0 && one.key.size() != other.key.size();
            const bool agree = ordered ? byKeys == order : (byKeys == 0) == (order == 0);
            if (!agree || begins || (one.hash == other.hash) != (order == 0)) {
                ADD_FAILURE() << "form " << form << ", compared " << order << ", keys " << byKeys
                              << "\n"
                              << Shown(one) << "\n"
                              << Shown(other);
                return;
            }
        }
        m_ordered += i + 1;
    }
    static std::string Shown(const Member& member)
    {
        return Hex(member.value->StoredIn(2)) + " key " + Hex(member.key) + " hash " +
               std::to_string(member.hash);
    }

    /// A smaller room takes the beginning of the key, and the length is told.
    void CheckCut(const Member& member)
    {
        const Bytes& key = member.key;
        const unsigned room = m_random.Below(static_cast<unsigned>(key.size()) + 3);
        Bytes cut(room + 1, 0xA5);
        ASSERT_EQ(m_manager.SortKey(m_id, cut.data(), room, member.value->In(0), KoFMT_MEMORY,
                                    m_count, m_word),
                  key.size());
        const std::size_t held = std::min<std::size_t>(room, key.size());
        ASSERT_TRUE(
            std::equal(cut.begin(), cut.begin() + static_cast<std::ptrdiff_t>(held), key.begin()));
        ASSERT_EQ(cut.back(), 0xA5);
    }

    /// What comes back compares equal; keys that are not exact are refused and change nothing.
    void CheckBack(const Member& member)
    {
        Bytes key = member.key;
        const Array back{m_manager, m_id, m_manager.Create(m_id, 3), 3};
        const auto length = static_cast<unsigned>(key.size());
        const int result =
            m_manager.FromSortKey(m_id, back.data, key.data(), length, m_count, m_word);
        if (result == KoRC_NOT_SUPPORTED)
            return;
        ASSERT_EQ(result, KoRC_OK) << Hex(key);
        ASSERT_EQ(Hex(KeyIn(back.data, KoFMT_MEMORY)), Hex(key));
        Bytes again = Stored(m_manager, m_id, back.data, KoFMT_LITTLE, m_count);
        void* const given = const_cast<void*>(member.value->In(1));
        ASSERT_EQ(m_manager.Cmp(m_id, again.data(), given, m_word, m_count, KoFMT_LITTLE), 0);
        const Bytes before = Stored(m_manager, m_id, back.data, KoFMT_BIG, m_count);
        key.push_back(0);
        for (const unsigned wrong : {length - 1, length + 1})
            ASSERT_EQ(m_manager.FromSortKey(m_id, back.data, key.data(), wrong, m_count, m_word),
                      KoRC_DAMAGED);
        ASSERT_EQ(Stored(m_manager, m_id, back.data, KoFMT_BIG, m_count), before);
        // A key with another byte is none, or that of other elements.
        key.pop_back();
        key[m_random.Below(length)] = static_cast<unsigned char>(m_random.Below(256));
        const auto other = Exactly(key);
        if (m_manager.FromSortKey(m_id, back.data, other.get(), length, m_count, m_word) ==
            KoRC_OK) {
            ASSERT_EQ(Hex(KeyIn(back.data, KoFMT_MEMORY)), Hex(key));
        }
    }

    /// What Store writes is valid to its last byte and not with one byte less.
    void CheckStored(const Bytes& stored, unsigned char format)
    {
        const std::size_t size = stored.size();
        std::size_t at = 99;
        const auto exact = Exactly(stored);
        ASSERT_EQ(m_manager.Validate(m_id, exact.get(), size, format, m_count, at), KoRC_OK)
            << Hex(stored) << " at " << at;
        ASSERT_EQ(at, size);
        int status = 99;
        ASSERT_EQ(m_manager.DiskLenGet(m_id, exact.get(), size, format, m_count, status), size);
        ASSERT_EQ(status, KoRC_OK);
        if (size == 0)
            return;
        ASSERT_EQ(m_manager.Validate(m_id, exact.get(), size - 1, format, m_count, at),
                  KoRC_TRUNCATED);
        ASSERT_EQ(at, size - 1);
        ASSERT_EQ(m_manager.DiskLenGet(m_id, exact.get(), size - 1, format, m_count, status), 0U);
        ASSERT_EQ(status, KoRC_TRUNCATED);
    }

    KoTypeMgr m_manager;
    o_char m_id;
    Random m_random;
    std::vector<Member> m_members;
    unsigned m_count = 0;
    o_u2b m_word = 0;
    unsigned long long m_ordered = 0;
};

TEST(KeyLaws, EveryTypeUnderEveryWord)
{
    const unsigned long long each = Asked("KO_LAW_PAIRS", 1'000'000) / KoTYPE_COUNT + 1;
    const unsigned size = PoolSize(each);
    ForEachType([&](const KoTypeMgr&, o_char id) {
        KeyLaws laws(id, size);
        // A third of the words and more give an order for any type.
        for (auto left = 16 + 6 * each / (size * size / 2);
             left > 0 && laws.Ordered() < each && !HasFailure(); --left)
            laws.Pool();
        EXPECT_TRUE(laws.Ordered() >= each) << "a check of nothing";
    });
}

} // namespace
