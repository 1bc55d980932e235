#include <kotms.h>
#include <kotypcmp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace
{

using Byte = unsigned char;

/// The number at `at` in the form that `format` names.
template <class T>
T ReadPlainly(const Byte* at, Byte format)
{
    const bool hostBig = std::endian::native == std::endian::big;
    const bool big = (format & 8) != 0 ? hostBig : (format & 15) == 2;
    Byte bytes[sizeof(T)];
    std::memcpy(bytes, at, sizeof(T));
    if (big != hostBig)
        std::reverse(bytes, bytes + sizeof(T));
    return std::bit_cast<T>(bytes);
}

template <class T>
int OrderPlainly(const Byte* a, const Byte* b, Byte format)
{
    const T x = ReadPlainly<T>(a, format);
    const T y = ReadPlainly<T>(b, format);
    if constexpr (std::is_floating_point_v<T>) {
        const auto kind = [](T n) {
            return std::isnan(n) ? -2 : std::isinf(n) ? (n < 0 ? -1 : 1) : 0;
        };
        if (const int difference = kind(x) - kind(y); difference != 0 || kind(x) != 0)
            return (difference > 0) - (difference < 0);
    }
    return y > x ? -1 : x > y ? 1 : 0;
}

template <class T>
int NullOrderPlainly(const Byte* a, const Byte* b, Byte format)
{
    const bool memory = (format & 8) != 0;
    const bool null1 = memory ? a[sizeof(T)] != 0 : a[0] == 1;
    const bool null2 = memory ? b[sizeof(T)] != 0 : b[0] == 1;
    if (null1 || null2)
        return null2 - null1;
    return OrderPlainly<T>(a + (memory ? 0 : 1), b + (memory ? 0 : 1), format);
}

struct Member {
    const char* name;
    o_char id;
    KoTypeCmpFunc function; ///< null: the type has no exported one
    unsigned memorySize;
    unsigned storedSize;
    int (*order)(const Byte* a, const Byte* b, Byte format);
};

const Member members[] = {
    {"o_char", Ko1B_T, CharCompare, 1, 1, OrderPlainly<o_char>},
    {"o_u1b", KoU1B_T, ByteCompare, 1, 1, OrderPlainly<o_u1b>},
    {"o_2b", Ko2B_T, ShortCompare, 2, 2, OrderPlainly<o_2b>},
    {"o_u2b", KoU2B_T, WordCompare, 2, 2, OrderPlainly<o_u2b>},
    {"int", KoINT_T, IntCompare, 4, 4, OrderPlainly<o_4b>},
    {"enum", KoENUM_T, IntCompare, 4, 4, OrderPlainly<o_4b>},
    {"unsigned", KoUNSIGNED_T, UnsignedCompare, 4, 4, OrderPlainly<o_u4b>},
    {"o_4b", Ko4B_T, LongCompare, 4, 4, OrderPlainly<o_4b>},
    {"o_u4b", KoU4B_T, DwordCompare, 4, 4, OrderPlainly<o_u4b>},
    {"BlockId", KoBLOCKID_T, DwordCompare, 4, 4, OrderPlainly<o_u4b>},
    {"o_8b", Ko8B_T, O_8BCompare, 8, 8, OrderPlainly<o_8b>},
    {"o_u8b", KoU8B_T, O_U8BCompare, 8, 8, OrderPlainly<o_u8b>},
    {"o_float", KoFLOAT_T, FloatCompare, 4, 4, OrderPlainly<o_float>},
    {"o_double", KoDOUBLE_T, DoubleCompare, 8, 8, OrderPlainly<o_double>},
    {"KoNull_char", KoNULL_1B_T, nullptr, 2, 2, NullOrderPlainly<o_char>},
    {"KoNull_ushort", KoNULL_U2B_T, nullptr, 4, 3, NullOrderPlainly<o_u2b>},
    {"KoNull_long", KoNULL_4B_T, nullptr, 8, 5, NullOrderPlainly<o_4b>},
    {"KoNull_float", KoNULL_FLOAT_T, nullptr, 8, 5, NullOrderPlainly<o_float>},
    {"KoNull_u8b", KoNULL_U8B_T, nullptr, 16, 9, NullOrderPlainly<o_u8b>},
};

struct Outcome {
    int result;
    int status;
    std::size_t bytesRead;
};

/// The walk as it is defined: step by step, with the step after the element that decides, and to
/// whole elements alone.
Outcome WalkPlainly(const Member& member, Byte format, unsigned length1, const Byte* value1,
                    unsigned length2, const Byte* value2, unsigned count)
{
    const unsigned size = (format & 8) != 0 ? member.memorySize : member.storedSize;
    const std::size_t end1 = length1 != 0 ? length1 : std::size_t{count} * size;
    const std::size_t end2 = length2 != 0 ? length2 : std::size_t{count} * size;
    Outcome outcome = {0, 0, 0};
    std::size_t at = 0;
    unsigned left = count;
    if (left > 0 && (size > end1 || size > end2)) {
        outcome.status = KoRC_TRUNCATED;
        left = 0;
    }
    while (left > 0) {
        --left;
        if (outcome.result != 0 || outcome.status != 0)
            break;
        outcome.result = member.order(value1 + at, value2 + at, format);
        outcome.bytesRead = at + size;
        if (left == 0)
            break;
        if (at + 2 * size <= end1 && at + 2 * size <= end2)
            at += size;
        else
            outcome.status = KoRC_TRUNCATED;
    }
    return outcome;
}

/// Every member gives what the plain walk gives, under random formats, bounds and contents; the
/// operands lie at odd addresses and end where the plain walk may end.
TEST(Compare, AgreesWithThePlainWalk)
{
    const KoTypeMgr manager;
    std::mt19937 random(20260101);
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    const Byte formats[] = {0, 1, 2, 3, 8, 9, 0x0A, 0x21, 0x42, 0x82};
    const Byte contents[] = {0, 0, 1, 0x7F, 0x80, 0xFF};
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
#if !defined(_WIN32) // there the address seen from outside is that of the import's jump
        if (member.function != nullptr) {
            EXPECT_EQ(manager.CmpFuncPtrGet(member.id), member.function);
        }
#endif
        for (int round = 0; round < 3000; ++round) {
            const Byte format = formats[below(std::size(formats))];
            const unsigned size = (format & 8) != 0 ? member.memorySize : member.storedSize;
            const unsigned count = below(20) == 0 ? below(900) : below(8);
            const auto bound = [&] {
                return below(2) == 0 ? 0 : below(count * size + 2 * size + 1);
            };
            const unsigned length1 = bound();
            const unsigned length2 = bound();

            std::vector<Byte> a(std::size_t{count} * size + 1);
            for (Byte& byte : a)
                byte = contents[below(std::size(contents))];
            std::vector<Byte> b = a;
            for (unsigned changes = below(3); changes > 0 && count > 0; --changes)
                b[1 + below(count * size)] = contents[below(std::size(contents))];
            const Outcome expected =
                WalkPlainly(member, format, length1, a.data() + 1, length2, b.data() + 1, count);

            // A read beyond what the bounds and the elements allow is seen by the sanitizer.
            const std::size_t longest = std::max<std::size_t>(
                expected.bytesRead,
                std::min({std::size_t{count} * size,
                          length1 != 0 ? std::size_t{length1} : std::size_t{count} * size,
                          length2 != 0 ? std::size_t{length2} : std::size_t{count} * size}));
            a.resize(longest + 1);
            b.resize(longest + 1);
            a.shrink_to_fit();
            b.shrink_to_fit();
            int status = 77;
            const int result = manager.Cmp(member.id, length1, a.data() + 1, length2, b.data() + 1,
                                           0xFFFF, count, format, status);
            ASSERT_EQ(std::pair(result, status), std::pair(expected.result, expected.status))
                << "format " << int{format} << ", count " << count << ", lengths " << length1
                << " and " << length2;

            // A hash visits what a comparison of the value with itself visits.
            const unsigned visited = length1 == 0 ? count : std::min(count, length1 / size);
            a.resize(std::size_t{visited} * size + 1);
            const unsigned hash =
                manager.Hash(member.id, length1, a.data() + 1, count, format, status);
            EXPECT_EQ(status, visited < count ? KoRC_TRUNCATED : 0);
            EXPECT_EQ(manager.Hash(member.id, 0, a.data() + 1, visited, format, status), hash);
            if (expected.result == 0 && expected.status == 0 &&
                length1 == 0) { // equal: all of both
                EXPECT_EQ(manager.Hash(member.id, 0, b.data() + 1, count, format, status), hash);
            }
        }
    }
}

} // namespace
