#include "support/keys.h"

#include <kostd.h>

#include <gtest/gtest.h>

namespace
{

/// The golden values of a class, and for texts random ones in any code set and none.
template <class T>
std::vector<T> Values()
{
    const KoTypeMgr manager;
    const FixtureArray golden(manager, ko::TypeIdOf<T>);
    std::vector<T> values;
    for (unsigned i = 0; i < golden.Count(); ++i)
        values.push_back(*static_cast<const T*>(golden[i]));
    if constexpr (std::same_as<T, KoString>) {
        std::erase_if(values,
                      [](const T& text) { return text.Len() > 1000; }); // comparing takes long
        Random random(4);
        for (unsigned i = 0; i < 60; ++i) {
            KoString text = random.AnyText();
            if (text.Width() == 1 && i % 4 == 0)
                text.SetCodeSetCode(KoCS_NONE);
            values.push_back(std::move(text));
        }
    } else if constexpr (std::same_as<T, KoCaseIString>) {
        for (std::size_t i = values.size(); i-- > 0;) {
            values.push_back(values[i]);
            values.back().SetFlag(values[i].Flag() ^ KoIStringText::kAccents);
        }
    }
    return values;
}

/// The key of the type, which the members of a class make and read as well.
template <class T>
std::string KeyOf(const T& value, unsigned short word)
{
    const KoTypeMgr types;
    constexpr o_char id = ko::TypeIdOf<T>;
    const Bytes key = Key(types, id, &value, KoFMT_MEMORY, 1, word);
    if constexpr (requires(T back) { back.FromSortKey("", 0U, word); }) {
        const auto length = static_cast<unsigned>(key.size());
        Bytes made(length + 1, 0xA5);
        EXPECT_EQ(value.SortKey(made.data(), length, word), length);
        EXPECT_EQ(made.back(), 0xA5);
        made.pop_back();
        EXPECT_EQ(Hex(made), Hex(key));
        T backs[2];
        for (const unsigned given : {length, length - 1}) {
            EXPECT_EQ(backs[0].FromSortKey(key.data(), given, word),
                      types.FromSortKey(id, &backs[1], key.data(), given, 1, word));
            EXPECT_EQ(Stored(types, id, &backs[0], KoFMT_BIG, 1),
                      Stored(types, id, &backs[1], KoFMT_BIG, 1));
        }
    }
    return {key.begin(), key.end()};
}

/// Texts in which accents count and others have no one order.
bool HaveOneOrder(const auto& a, const auto& b)
{
    if constexpr (requires { a.Flag(); })
        return a.Flag() == b.Flag();
    return true;
}

template <class T>
class Less : public testing::Test
{
};
using Classes =
    testing::Types<KoString, KoIString, KoCaseIString, KoDate, KoTime, KoDateTime, KoDateTimeN,
                   KoTimeSpan, d_Date, d_Time, d_Timestamp, d_Interval, KoInt64, KoBoolean, KoSeal,
                   KoBlob, KoObjId, KoClassId, KoRef, KoNull_char, KoNull_uchar, KoNull_short,
                   KoNull_ushort, KoNull_int, KoNull_unsigned, KoNull_float, KoNull_double,
                   KoNull_KoInt64, KoNull_8b, KoNull_u8b>;
TYPED_TEST_SUITE(Less, Classes);

// Sorted values show a strict weak order: none is less than one before it, and equal ones stand
// together. It is the order of the keys, and equal values have one hash.
TYPED_TEST(Less, IsTheOrderOfKeysAndStrictAndWeak)
{
    for (const o_u2b word : std::initializer_list<o_u2b>{0, 0x20, 0x2E0, 0x100, 0xFFFF}) {
        const ko::Less less(word);
        const ko::Equal equal(word);
        const ko::HashOf hasher(word);
        EXPECT_EQ(less.CmpOp() & KoCMP_PLAIN, KoCMP_PLAIN);
        auto values = Values<TypeParam>();
        ASSERT_GT(values.size(), 2U);
        std::sort(values.begin(), values.end(), less);
        std::vector<std::string> keys;
        std::vector<std::size_t> hashes;
        for (const auto& value : values) {
            keys.push_back(KeyOf(value, less.CmpOp()));
            hashes.push_back(hasher(value));
        }
        for (std::size_t j = 0; j < values.size(); ++j) {
            for (std::size_t i = 0; i <= j; ++i) {
                const bool isLess = less(values[i], values[j]), same = equal(values[i], values[j]);
                const bool ordered = !less(values[j], values[i]) && same == !isLess &&
                                     (!same || equal(values[i], values[i + (j - i) / 2]));
                ASSERT_TRUE(ordered) << values[i] << " and " << values[j] << ", word " << word;
                ASSERT_TRUE(!same || hashes[i] == hashes[j]) << values[i] << " and " << values[j];
                if (HaveOneOrder(values[i], values[j])) {
                    ASSERT_EQ(keys[i] < keys[j], isLess)
                        << values[i] << " and " << values[j] << ", word " << word;
                }
            }
        }
        if (word == 0x100) {
            EXPECT_EQ(std::hash<TypeParam>()(values[1]), ko::HashOf()(values[1]));
        }
    }
}

TEST(Less, LocalReferencesHaveOneToo)
{
    const KoLocalRef a{9, 1, 0, 5, 1}, b{8, 1, 0, 5, 2}, c{0, 1, 0, 6, 0};
    EXPECT_TRUE(ko::Equal()(a, b) && ko::Less()(a, c) && !ko::Less()(c, a));
    EXPECT_EQ(std::hash<KoLocalRef>()(a), std::hash<KoLocalRef>()(b));
}

} // namespace
