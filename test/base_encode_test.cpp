#include <koencode.h>
#include <koswap.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace
{

using Bytes = std::vector<unsigned char>;
using Coder = unsigned (*)(void*, const void*, unsigned char, unsigned);
using ElementCoder = unsigned (*)(void*, const void*, unsigned char);

struct CoderCase {
    Coder store;
    Coder load;
    ElementCoder storeOne; // null where there is none
    unsigned (*size)(const void*, unsigned char, unsigned char, unsigned);
    unsigned (*nullSize)(unsigned);
    unsigned width;
};

const CoderCase kCoders[] = {
    {CharStore, CharStore, CharStoreOne, CharSizeGet, CharNullSizeGet, 1},
    {ShortStore, ShortStore, ShortStoreOne, ShortSizeGet, ShortNullSizeGet, 2},
    {LongStore, LongStore, LongStoreOne, LongSizeGet, LongNullSizeGet, 4},
    {O_8BStore, O_8BStore, O_8BStoreOne, O_8BSizeGet, O_8BNullSizeGet, 8},
    {FloatStore, FloatStore, FloatStoreOne, FloatSizeGet, FloatNullSizeGet, 4},
    {DoubleStore, DoubleStore, DoubleStoreOne, DoubleSizeGet, DoubleNullSizeGet, 8},
    {IntStore, IntLoad, nullptr, IntSizeGet, IntNullSizeGet, 4},
    {UnsignedStore, UnsignedLoad, nullptr, IntSizeGet, IntNullSizeGet, 4},
};

TEST(BaseEncode, EveryFormatThereAndBack)
{
    for (const CoderCase& coder : kCoders)
        for (unsigned byte = 0; byte < 256; ++byte) {
            const auto format = static_cast<unsigned char>(byte);
            SCOPED_TRACE(testing::Message() << &coder - kCoders << ", format " << byte);
            const bool hostBig = std::endian::native == std::endian::big;
            const bool swaps = (byte & 8) == 0 && ((byte & 15) == 2) != hostBig;
            for (const unsigned count : {0u, 1u, 100u}) {
                const unsigned size = count * coder.width;
                Bytes memory(size), expected(size), stored(size), loaded(size);
                for (unsigned at = 0; at < size; ++at) {
                    memory[at] = static_cast<unsigned char>(at * 37);
                    expected[swaps ? at ^ (coder.width - 1) : at] = memory[at];
                }
                EXPECT_EQ(coder.size(nullptr, KoFMT_MEMORY, format, count), size);
                EXPECT_EQ(coder.nullSize(count), size);
                EXPECT_EQ(coder.store(stored.data(), memory.data(), format, count), size);
                EXPECT_EQ(stored, expected);
                EXPECT_EQ(coder.load(loaded.data(), stored.data(), format, count), size);
                EXPECT_EQ(loaded, memory);
                if (coder.storeOne && count == 1) {
                    EXPECT_EQ(coder.storeOne(stored.data(), memory.data(), format), size);
                    EXPECT_EQ(stored, expected);
                }
                coder.store(memory.data(), memory.data(), format, count);
                EXPECT_EQ(memory, expected) << "in place";
            }
        }
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
