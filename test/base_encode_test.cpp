#include <koencode.h>
#include <koswap.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;
using Coder = unsigned (*)(void*, const void*, unsigned char, unsigned);
using ElementCoder = unsigned (*)(void*, const void*, unsigned char);

// An element whose bytes tell their place: the most significant is 1, the next 2 and so on.
template <unsigned Width>
Bytes InMemory()
{
    Bytes bytes;
    for (unsigned at = 1; at <= Width; ++at)
        bytes.push_back(static_cast<unsigned char>(at));
    if (std::endian::native == std::endian::little)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

struct CoderCase {
    const char* name;
    Coder store;
    Coder load;
    ElementCoder storeOne; // null where there is none
    unsigned (*size)(const void*, unsigned char, unsigned char, unsigned);
    unsigned (*nullSize)(unsigned);
    Bytes memory;
};

const CoderCase kCoders[] = {
    {"char", CharStore, CharStore, CharStoreOne, CharSizeGet, CharNullSizeGet, InMemory<1>()},
    {"short", ShortStore, ShortStore, ShortStoreOne, ShortSizeGet, ShortNullSizeGet, InMemory<2>()},
    {"long", LongStore, LongStore, LongStoreOne, LongSizeGet, LongNullSizeGet, InMemory<4>()},
    {"o_8b", O_8BStore, O_8BStore, O_8BStoreOne, O_8BSizeGet, O_8BNullSizeGet, InMemory<8>()},
    {"float", FloatStore, FloatStore, FloatStoreOne, FloatSizeGet, FloatNullSizeGet, InMemory<4>()},
    {"double", DoubleStore, DoubleStore, DoubleStoreOne, DoubleSizeGet, DoubleNullSizeGet,
     InMemory<8>()},
    {"int", IntStore, IntLoad, nullptr, IntSizeGet, IntNullSizeGet, InMemory<4>()},
    {"unsigned", UnsignedStore, UnsignedLoad, nullptr, IntSizeGet, IntNullSizeGet, InMemory<4>()},
};

Bytes Expected(const Bytes& memory, unsigned format)
{
    Bytes bytes = memory; // ascends where the most significant byte stands first
    if ((format & 8) == 0)
        std::sort(bytes.begin(), bytes.end());
    if ((format & 15) != 2 && (format & 8) == 0)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

Bytes Repeated(const Bytes& element, unsigned count)
{
    Bytes bytes;
    for (; count > 0; --count)
        bytes.insert(bytes.end(), element.begin(), element.end());
    return bytes;
}

TEST(BaseEncode, EveryFormatThereAndBack)
{
    for (const CoderCase& coder : kCoders)
        for (unsigned byte = 0; byte < 256; ++byte) {
            const auto format = static_cast<unsigned char>(byte);
            SCOPED_TRACE(testing::Message() << coder.name << ", format " << byte);
            for (const unsigned count : {1u, 3u, 100u}) {
                const Bytes memory = Repeated(coder.memory, count);
                const Bytes expected = Repeated(Expected(coder.memory, byte), count);
                const auto size = static_cast<unsigned>(memory.size());
                EXPECT_EQ(coder.size(nullptr, KoFMT_MEMORY, format, count), size);
                EXPECT_EQ(coder.nullSize(count), size);

                Bytes stored(size);
                EXPECT_EQ(coder.store(stored.data(), memory.data(), format, count), size);
                EXPECT_EQ(stored, expected);
                Bytes loaded(size);
                EXPECT_EQ(coder.load(loaded.data(), stored.data(), format, count), size);
                EXPECT_EQ(loaded, memory);

                Bytes inPlace = memory;
                coder.store(inPlace.data(), inPlace.data(), format, count);
                EXPECT_EQ(inPlace, expected);
            }
            if (coder.storeOne) {
                Bytes one(coder.memory.size());
                EXPECT_EQ(coder.storeOne(one.data(), coder.memory.data(), format), one.size());
                EXPECT_EQ(one, Expected(coder.memory, byte));
            }
            EXPECT_EQ(coder.store(nullptr, nullptr, format, 0), 0u);
        }
}

// The bits of a number that arithmetic would quieten or normalise.
TEST(BaseEncode, FloatingBitsAreKept)
{
    const std::uint32_t signalling = 0x7FA12345;
    unsigned char stored[4];
    std::uint32_t back;
    FloatStore(stored, &signalling, KoFMT_BIG, 1);
    EXPECT_EQ(std::memcmp(stored, "\x7F\xA1\x23\x45", 4), 0);
    FloatStore(&back, stored, KoFMT_BIG, 1);
    EXPECT_EQ(back, signalling);
}

// Every length around the vector steps, at every alignment of both sides, with the bytes around the
// target watched; then onto itself.
void CheckForm(KoSwapForm form, unsigned width)
{
    constexpr std::size_t kMargin = 64;
    constexpr unsigned char kWatched = 0xA5;
    const std::size_t longest = 330 / width;
    Bytes source(kMargin + 330);
    for (std::size_t at = 0; at < source.size(); ++at)
        source[at] = static_cast<unsigned char>(at * 37 + at / 256 + 1);

    for (std::size_t count = 0; count <= longest; ++count)
        for (std::size_t shift = 0; shift < 33; ++shift) {
            const std::size_t from = shift * 7 % 33;
            const std::size_t bytes = count * width;
            Bytes expected(2 * kMargin + 330, kWatched);
            for (std::size_t at = 0; at < bytes; ++at)
                expected[kMargin + shift + at] = source[from + (at ^ (width - 1))];

            Bytes target(expected.size(), kWatched);
            ASSERT_TRUE(KoSwapCopyAs(form, target.data() + kMargin + shift, source.data() + from,
                                     width, count));
            ASSERT_EQ(target, expected) << width << " bytes, " << count << " elements, " << shift;

            std::copy_n(source.data() + from, bytes, target.data() + kMargin + shift);
            ASSERT_TRUE(KoSwapCopyAs(form, target.data() + kMargin + shift,
                                     target.data() + kMargin + shift, width, count));
            ASSERT_EQ(target, expected)
                << "in place, " << width << " bytes, " << count << ", " << shift;
        }
}

TEST(BaseEncode, FormsSwap)
{
    for (const unsigned width : {2u, 4u, 8u}) {
        CheckForm(KoSwapForm::Plain, width);
        if (KoSwapCopyAs(KoSwapForm::Vector, nullptr, nullptr, 2, 0)) // built, and the processor's
            CheckForm(KoSwapForm::Vector, width);
    }
    unsigned char untouched = 9;
    KoSwapCopy(&untouched, "abc", 3, 1);
    EXPECT_FALSE(KoSwapCopyAs(KoSwapForm::Plain, &untouched, "abc", 3, 1));
    EXPECT_EQ(untouched, 9) << "a width that has no swap";
}

} // namespace
