#include "support/operand.h"

#include <gtest/gtest.h>

#include <set>
#include <type_traits>

// Golden keys, keys of many elements, and the keys of classes; key_laws_test has what holds for all
// types.

namespace
{

// The keys that doc/formats.md gives the golden corpus; test/manager/documented_keys.py made them
// from the document alone.
TEST(Keys, GoldenKeys)
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
TEST(Keys, KeysOfManyAreThoseOfEach)
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
                EXPECT_EQ(data::FormatBytes(Key(manager, id, elements, form, count, KoCMP_PLAIN)),
                          data::FormatBytes(each));
                Bytes cut(each.size(), 0xA5);
                const unsigned room = random.Below(static_cast<unsigned>(each.size()));
                manager.SortKey(id, cut.data(), room, elements, form, count, KoCMP_PLAIN);
                std::fill(each.begin() + static_cast<std::ptrdiff_t>(room), each.end(), 0xA5);
                EXPECT_EQ(data::FormatBytes(cut), data::FormatBytes(each)) << "room " << room;
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

TEST(Keys, ClassesGiveTheKeysOfTheirTypes)
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
