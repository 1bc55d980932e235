#include "support/fixtures.h"

#include <kotms.h>
#include <kotypconv.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace
{

TEST(Scalars, Translate)
{
    const struct {
        const char* reason;
        o_char id;
        unsigned char toFormat;
        unsigned toLength;
        unsigned char fromFormat;
        unsigned fromLength;
        unsigned count;
        unsigned result;
        Bytes bytes; ///< the destination, 0xEE where nothing was written
    } rows[] = {
        {"shorter source, the rest zero", Ko2B_T, 1, 6, 1, 3, 3, 3, {1, 2, 3, 0, 0, 0, 0xEE}},
        {"shorter destination", Ko2B_T, 1, 4, 1, 6, 3, 4, {1, 2, 3, 4, 0xEE, 0xEE}},
        {"orders are not converted", Ko4B_T, 1, 4, 2, 4, 1, 4, {1, 2, 3, 4, 0xEE}},
        {"nothing at the source", Ko4B_T, 1, 4, 2, 0, 1, 0, {0, 0, 0, 0, 0xEE}},
        {"null-capable bytes are copied too", KoNULL_2B_T, 1, 4, 2, 3, 1, 3, {1, 2, 3, 0, 0xEE}},
        {"memory to memory takes no lengths", Ko2B_T, 8, 0, 8, 0, 2, 4, {1, 2, 3, 4, 0xEE}},
        {"no elements", Ko2B_T, 8, 4, 8, 4, 0, 0, {0xEE}},
        {"bytes to memory", KoU1B_T, 8, 0, 2, 0, 3, 3, {1, 2, 3, 0xEE}},
    };
    const KoTypeMgr manager;
    for (const auto& row : rows) {
        alignas(8) unsigned char from[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        alignas(8) unsigned char to[8];
        std::memset(to, 0xEE, sizeof to);
        EXPECT_EQ(manager.Translate(row.id, to, row.toFormat, row.toLength, from, row.fromFormat,
                                    row.fromLength, row.count),
                  row.result)
            << row.reason;
        EXPECT_EQ(Bytes(to, to + row.bytes.size()), row.bytes) << row.reason;
    }
}

/// Smallest and largest value, and every kind of step, of a type that is a sequence.
template <class T, class Number = T>
void CheckSequence(KoTypeMgr& manager, o_char id)
{
    SCOPED_TRACE(manager.NameGet(id));
    using Limits = std::numeric_limits<Number>;
    const KoGetValueFunc getValue = koCurrentTypeTable.entry[id]->getValue;
    const struct {
        const char* reason;
        Number before;
        unsigned char format, kind;
        int result;
        Number after;
    } rows[] = {
        {"next", 41, 8, 'N', 0, 42},
        {"the same by its other name", 41, 8, 'M', 0, 42},
        {"up to the largest", Limits::max() - 1, 8, 'N', 0, Limits::max()},
        {"not beyond", Limits::max(), 8, 'N', KoRC_OVERFLOW, Limits::max()},
        {"as it is", 41, 8, 'O', 0, 41},
        {"the smallest", 41, 8, 2, 0, Limits::min()},
        {"unknown kind", 41, 8, 'P', KoRC_NOT_SUPPORTED, 41},
        {"persistent form", 41, 1, 'N', KoRC_NOT_SUPPORTED, 41},
        {"more than the memory bit", 41, 9, 'N', KoRC_NOT_SUPPORTED, 41},
    };
    for (const auto& row : rows) {
        T value = row.before;
        EXPECT_EQ(getValue(&value, 0, row.format, row.kind), row.result) << row.reason;
        EXPECT_TRUE(value == T(row.after)) << row.reason;
    }
    unsigned char stored[sizeof(T)];
    T value = 41;
    manager.Store(id, stored, &value, KoFMT_LITTLE, 1);
    EXPECT_EQ(manager.GetValue(id, stored, 0, KoFMT_LITTLE, 'N'), 0);
    manager.Load(id, &value, stored, KoFMT_LITTLE, 1);
    EXPECT_TRUE(value == T(42));
}

template <class... T>
void CheckSequences(KoTypeMgr& manager, const KoTypeId (&ids)[sizeof...(T)])
{
    const KoTypeId* id = ids;
    (CheckSequence<T>(manager, *id++), ...);
}

TEST(Scalars, Sequences)
{
    KoTypeMgr manager;
    CheckSequences<o_char, o_u1b, o_2b, o_u2b, o_4b, o_u4b, int, unsigned, o_8b, o_u8b>(
        manager, {Ko1B_T, KoU1B_T, Ko2B_T, KoU2B_T, Ko4B_T, KoU4B_T, KoINT_T, KoUNSIGNED_T, Ko8B_T,
                  KoU8B_T});
    CheckSequence<KoInt64, o_8b>(manager, KoINT64_T);
    for (const o_char id : {KoENUM_T, KoBLOCKID_T, KoFLOAT_T, KoDOUBLE_T, KoNULL_4B_T}) {
        alignas(8) unsigned char value[16] = {};
        EXPECT_EQ(manager.GetValue(id, value, 0, 8, 'N'), KoRC_NOT_SUPPORTED) << int{id};
    }
}

} // namespace
