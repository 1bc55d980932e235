#include "support/operand.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <type_traits>

// The laws of sort keys, of validation and of the hashes over keys, for every type by its row:
// random values in arrays of 0 to 3 elements under every operator word that orders them.
// KO_LAW_PAIRS sets the number of pairs for all types together.

namespace
{

unsigned long long Pairs()
{
    const char* asked = std::getenv("KO_LAW_PAIRS");
    return asked != nullptr ? std::strtoull(asked, nullptr, 10) : 1'000'000;
}

Bytes Key(const KoTypeMgr& manager, o_char id, const void* value, unsigned char format,
          unsigned count, o_u2b word)
{
    const unsigned length = manager.SortKeyLen(id, value, format, count, word);
    Bytes key(length + 1, 0xA5);
    EXPECT_EQ(manager.SortKey(id, key.data(), length, value, format, count, word), length);
    EXPECT_EQ(key.back(), 0xA5) << "written beyond the room";
    key.pop_back();
    return key;
}

int KeyOrder(const Bytes& a, const Bytes& b)
{
    const int order = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return order != 0 ? Sign(order) : Sign(static_cast<int>(a.size()) - static_cast<int>(b.size()));
}

class KeyLaws
{
public:
    KeyLaws(o_char id, unsigned seed)
        : m_id(id), m_random(seed), m_a(m_manager, id), m_b(m_manager, id)
    {
    }

    void Pair()
    {
        const unsigned count = m_random.Below(8) == 0 ? m_random.Below(4) : 1;
        m_a.Fill(m_random, count, nullptr);
        m_b.Fill(m_random, count, &m_a);
        const o_u2b options[] = {0x20, 0x40, 0x80, 0x200};
        auto word = static_cast<o_u2b>(m_random.Below(2) == 0 ? 0x10 : 0x100);
        if (m_random.Below(4) == 0)
            word = static_cast<o_u2b>(m_random.Below(2) == 0 ? 0x110 : 0);
        for (const o_u2b option : options)
            word = static_cast<o_u2b>(word | (m_random.Below(2) == 0 ? option : 0));
        Check(count, word);
    }
    /// Pairs whose word gave an order.
    unsigned long long Ordered() const { return m_ordered; }

private:
    void Check(unsigned count, o_u2b word)
    {
        Bytes keys[2];
        const Operand* const operands[] = {&m_a, &m_b};
        for (unsigned side = 0; side < 2; ++side) {
            keys[side] = Key(m_manager, m_id, operands[side]->In(0), kForms[0], count, word);
            for (unsigned form = 1; form < std::size(kForms); ++form) {
                const Bytes stored =
                    Key(m_manager, m_id, operands[side]->In(form), kForms[form], count, word);
                ASSERT_EQ(Hex(stored), Hex(keys[side])) << "form " << form << ", word " << word;
                CheckStored(operands[side]->StoredIn(form), kForms[form], count);
            }
        }
        if (keys[0].empty())
            return;
        ++m_ordered;
        CheckOrder(keys[0], keys[1], count, word);
        CheckCut(keys[0], count, word);
        CheckBack(keys[0], count, word);
    }

    void CheckOrder(const Bytes& a, const Bytes& b, unsigned count, o_u2b word)
    {
        // Identities are ordered as the numbers that their little-endian form compares by.
        void* const left = const_cast<void*>(m_a.In(1));
        void* const right = const_cast<void*>(m_b.In(1));
        const int order = Sign(m_manager.Cmp(m_id, left, right, word, count, KoFMT_LITTLE));
        ASSERT_EQ(KeyOrder(a, b), order) << "word " << word << "\n"
                                         << Hex(m_a.StoredIn(2)) << " key " << Hex(a) << "\n"
                                         << Hex(m_b.StoredIn(2)) << " key " << Hex(b);
        const bool begins = a.size() < b.size() && std::equal(a.begin(), a.end(), b.begin());
        ASSERT_FALSE(begins) << Hex(a) << " begins " << Hex(b) << ", word " << word;
        const bool sameHash = m_manager.HashUnder(m_id, left, KoFMT_LITTLE, count, word) ==
                              m_manager.HashUnder(m_id, m_b.In(0), KoFMT_MEMORY, count, word);
        ASSERT_EQ(sameHash, order == 0) << Hex(a) << ", " << Hex(b) << ": " << word;
    }

    void CheckCut(const Bytes& key, unsigned count, o_u2b word)
    {
        const unsigned room = m_random.Below(static_cast<unsigned>(key.size()) + 3);
        Bytes cut(room + 1, 0xA5);
        ASSERT_EQ(m_manager.SortKey(m_id, cut.data(), room, m_a.In(0), KoFMT_MEMORY, count, word),
                  key.size());
        const std::size_t held = std::min<std::size_t>(room, key.size());
        ASSERT_TRUE(
            std::equal(cut.begin(), cut.begin() + static_cast<std::ptrdiff_t>(held), key.begin()));
        ASSERT_EQ(cut.back(), 0xA5);
    }

    /// What comes back compares equal; keys that are not exact are refused and change nothing.
    void CheckBack(Bytes key, unsigned count, o_u2b word)
    {
        const Array back{m_manager, m_id, m_manager.Create(m_id, 3), 3};
        const auto length = static_cast<unsigned>(key.size());
        const int result = m_manager.FromSortKey(m_id, back.data, key.data(), length, count, word);
        if (result == KoRC_NOT_SUPPORTED)
            return;
        ASSERT_EQ(result, KoRC_OK) << Hex(key) << ", word " << word;
        ASSERT_EQ(Hex(Key(m_manager, m_id, back.data, KoFMT_MEMORY, count, word)), Hex(key));
        const Bytes before = Stored(m_manager, m_id, back.data, KoFMT_BIG, count);
        key.push_back(0);
        for (const unsigned wrong : {length - 1, length + 1})
            ASSERT_EQ(m_manager.FromSortKey(m_id, back.data, key.data(), wrong, count, word),
                      KoRC_DAMAGED);
        ASSERT_EQ(Stored(m_manager, m_id, back.data, KoFMT_BIG, count), before);
        // A key with another byte is none, or that of other elements.
        key.pop_back();
        key[m_random.Below(length)] = static_cast<unsigned char>(m_random.Below(256));
        const auto other = Exactly(key);
        if (m_manager.FromSortKey(m_id, back.data, other.get(), length, count, word) == KoRC_OK) {
            ASSERT_EQ(Hex(Key(m_manager, m_id, back.data, KoFMT_MEMORY, count, word)), Hex(key));
        }
    }

    /// What Store writes is valid to its last byte and not with one byte less.
    void CheckStored(const Bytes& stored, unsigned char format, unsigned count)
    {
        const std::size_t size = stored.size();
        std::size_t at = 99;
        const auto exact = Exactly(stored);
        ASSERT_EQ(m_manager.Validate(m_id, exact.get(), size, format, count, at), KoRC_OK)
            << Hex(stored) << " at " << at;
        ASSERT_EQ(at, size);
        int status = 99;
        ASSERT_EQ(m_manager.DiskLenGet(m_id, exact.get(), size, format, count, status), size);
        ASSERT_EQ(status, KoRC_OK);
        if (size == 0)
            return;
        ASSERT_EQ(m_manager.Validate(m_id, exact.get(), size - 1, format, count, at),
                  KoRC_TRUNCATED);
        ASSERT_EQ(at, size - 1);
        ASSERT_EQ(m_manager.DiskLenGet(m_id, exact.get(), size - 1, format, count, status), 0U);
        ASSERT_EQ(status, KoRC_TRUNCATED);
    }

    KoTypeMgr m_manager;
    o_char m_id;
    Random m_random;
    Operand m_a;
    Operand m_b;
    unsigned long long m_ordered = 0;
};

TEST(KeyLaws, EveryTypeUnderEveryWord)
{
    const unsigned long long each = Pairs() / KoTYPE_COUNT + 1;
    for (int id = 0; id < KoTYPE_COUNT; ++id) {
        if (id == KoRES_T)
            continue;
        SCOPED_TRACE(koCurrentTypeTable.entry[id]->name);
        KeyLaws laws(static_cast<o_char>(id), static_cast<unsigned>(id));
        for (unsigned long long i = 0; i < each && !testing::Test::HasFailure(); ++i)
            laws.Pair();
        EXPECT_TRUE(laws.Ordered() > each / 4) << "a check of nothing";
    }
}

// The keys that doc/formats.md gives the golden corpus; test/manager/documented_keys.py made them
// from the document alone.
TEST(KeyLaws, GoldenKeys)
{
    const KoTypeMgr manager;
    data::ForEachRow("corpuskeys.txt", 3, [&](const auto& head, const data::Row& row) {
        const auto id = static_cast<o_char>(FindType(head[0]));
        const Bytes stored = data::ParseBytes(row[0]);
        const auto exact = Exactly(stored);
        const Bytes expected = data::ParseBytes(row[1]);
        const Bytes made = Key(manager, id, exact.get(), KoFMT_LITTLE, 1, KoCMP_PLAIN);
        EXPECT_TRUE(made == expected) << data::FormatBytes(made).substr(0, 300);
    });
}

// Many numbers take another way than few.
TEST(KeyLaws, KeysOfManyAreThoseOfEach)
{
    const KoTypeMgr manager;
    Random random(7);
    static constexpr unsigned char kBytes[] = {0, 0, 0, 1, 0x7F, 0x80, 0xC0, 0xF0, 0xFF, 0xFF};
    for (const o_char id : {Ko1B_T, KoU2B_T, Ko2B_T, Ko4B_T, KoFLOAT_T, KoDOUBLE_T, KoU8B_T, Ko8B_T,
                            KoINT64_T, D_INTERVAL_T})
        for (unsigned count = 7; count < 50; ++count) {
            const unsigned size = manager.DiskLenGet(id, nullptr, KoFMT_BIG, 1, KoFMT_MEMORY);
            Bytes stored(1 + std::size_t{count} * size); // at an odd address
            for (unsigned char& byte : stored)
                byte = kBytes[random.Below(std::size(kBytes))];
            for (const unsigned char form : {KoFMT_LITTLE, KoFMT_BIG}) {
                Bytes each;
                for (unsigned i = 0; i < count; ++i)
                    for (const unsigned char byte :
                         Key(manager, id, stored.data() + 1 + i * size, form, 1, KoCMP_PLAIN))
                        each.push_back(byte);
                const unsigned char* const elements = stored.data() + 1;
                EXPECT_EQ(Hex(Key(manager, id, elements, form, count, KoCMP_PLAIN)), Hex(each));
                Bytes cut(each.size(), 0xA5);
                const unsigned room = random.Below(static_cast<unsigned>(each.size()));
                manager.SortKey(id, cut.data(), room, elements, form, count, KoCMP_PLAIN);
                std::fill(each.begin() + static_cast<std::ptrdiff_t>(room), each.end(), 0xA5);
                EXPECT_EQ(Hex(cut), Hex(each)) << "room " << room;
            }
        }
}

/// The members of a class that make and read the keys of its type.
struct ClassKeys {
    KoTypeId id;
    unsigned (*write)(const void* value, void* key, unsigned room, o_u2b word);
    int (*read)(void* value, const void* key, unsigned length, o_u2b word);
};
template <class T>
constexpr ClassKeys KeysOf(KoTypeId id)
{
    return {id,
            [](const void* value, void* key, unsigned room, o_u2b word) {
                return static_cast<const T*>(value)->SortKey(key, room, word);
            },
            [](void* value, const void* key, unsigned length, o_u2b word) {
                return static_cast<T*>(value)->FromSortKey(key, length, word);
            }};
}
const ClassKeys kClassKeys[] = {
    KeysOf<KoString>(KoSTRING_T),       KeysOf<KoDate>(KoDATE_T),
    KeysOf<KoTime>(KoTIME_T),           KeysOf<KoObjId>(KoOBJID_T),
    KeysOf<KoClassId>(KoCLID_T),        KeysOf<KoRef>(KoREF_T),
    KeysOf<KoBlob>(KoBLOB_T),           KeysOf<KoDateTime>(KoDATIME_T),
    KeysOf<KoIString>(KoISTRING_T),     KeysOf<KoCaseIString>(KoCASEISTRING_T),
    KeysOf<d_Date>(D_DATE_T),           KeysOf<d_Time>(D_TIME_T),
    KeysOf<d_Timestamp>(D_TIMESTAMP_T), KeysOf<d_Interval>(D_INTERVAL_T),
    KeysOf<KoInt64>(KoINT64_T),         KeysOf<KoBoolean>(KoBOOLEAN_T),
    KeysOf<KoSeal>(KoSEAL_T),           KeysOf<KoDateTimeN>(KoDATIME_N_T),
    KeysOf<KoTimeSpan>(KoTIMESPAN_T),
};
static_assert(std::is_aggregate_v<KoObjId> && std::is_trivially_copyable_v<KoClassId>);

void ExpectClassKeys(const ClassKeys& type, const void* value, const Bytes& key, o_u2b word)
{
    const KoTypeMgr manager;
    const auto length = static_cast<unsigned>(key.size());
    Bytes made(length + 1, 0xA5);
    EXPECT_EQ(type.write(value, made.data(), length, word), length);
    EXPECT_EQ(made.back(), 0xA5);
    made.pop_back();
    EXPECT_TRUE(made == key) << data::FormatBytes(made).substr(0, 300);
    const Array backs{manager, type.id, manager.Create(type.id, 2), 2};
    void* const first = backs.data;
    void* const second = manager.GetArrayElement(type.id, backs.data, 1, 0);
    for (const unsigned given : {length, length - 1}) {
        EXPECT_EQ(type.read(first, key.data(), given, word),
                  manager.FromSortKey(type.id, second, key.data(), given, 1, word));
        EXPECT_EQ(Stored(manager, type.id, first, KoFMT_BIG, 1),
                  Stored(manager, type.id, second, KoFMT_BIG, 1));
    }
}

TEST(KeyLaws, ClassesGiveTheKeysOfTheirTypes)
{
    const KoTypeMgr manager;
    std::set<int> met;
    data::ForEachRow("corpuskeys.txt", 3, [&](const auto& head, const data::Row& row) {
        const auto* const type =
            std::find_if(std::begin(kClassKeys), std::end(kClassKeys),
                         [&](const ClassKeys& one) { return one.id == FindType(head[0]); });
        if (type == std::end(kClassKeys))
            return;
        met.insert(type->id);
        const Bytes stored = data::ParseBytes(row[0]);
        const Array value{manager, type->id, manager.Create(type->id, 1), 1};
        manager.Load(type->id, value.data, stored.data(), KoFMT_LITTLE, 1);
        ExpectClassKeys(*type, value.data, data::ParseBytes(row[1]), KoCMP_PLAIN);
    });
    EXPECT_EQ(met.size(), std::size(kClassKeys)) << "a class without a golden key";
}

} // namespace
