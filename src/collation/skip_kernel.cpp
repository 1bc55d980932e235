#include "collation/lanes.h"

// Skipping what is equal in two long texts.

// 64-bit Windows aligns its stack to 16 bytes only and GCC there spills 32-byte registers with
// aligned stores, so that build keeps to the plain form.
#if defined(__x86_64__) && (!defined(_WIN32) || defined(__clang__))
#define KO_SKIP_WIDE
#include <immintrin.h>
#endif

namespace ko
{

std::size_t SkipEqualPlain(const char* left, const char* right, std::size_t end)
{
    using Block = UnitBlock<o_u1b>;
    constexpr auto kStep = std::size_t{4} * Block::kCount;
    std::size_t at = 0;
    for (; at + kStep <= end; at += kStep) {
        const auto stops = [left, right](std::size_t i) {
            const Block x = Block::At(left + i);
            return x.Differs(Block::At(right + i)) | x.Is(0);
        };
        const std::size_t b = at + kStep / 4;
        const std::size_t c = at + kStep / 2;
        if ((stops(at) | stops(b) | stops(c) | stops(b + c - at)).Bits() != 0)
            break;
    }
    return at;
}

#if defined(KO_SKIP_WIDE)

namespace
{

__attribute__((target("avx2"))) std::size_t SkipEqualWide(const char* left, const char* right,
                                                          std::size_t end)
{
    constexpr std::size_t kVector = sizeof(__m256i);
    constexpr std::size_t kStep = 4 * kVector;
    const __m256i zero = _mm256_setzero_si256();
    std::size_t at = 0;
    for (; at + kStep <= end; at += kStep) {
        __m256i difference = zero;
        __m256i least = _mm256_set1_epi8(-1);
        for (std::size_t i = at; i < at + kStep; i += kVector) {
            const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(left + i));
            const __m256i y = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(right + i));
            difference = _mm256_or_si256(difference, _mm256_xor_si256(x, y));
            least = _mm256_min_epu8(least, x);
        }
        const __m256i same = _mm256_andnot_si256(_mm256_cmpeq_epi8(least, zero),
                                                 _mm256_cmpeq_epi8(difference, zero));
        if (_mm256_movemask_epi8(same) != -1)
            break;
    }
    return at;
}

} // namespace

std::size_t SkipEqual(const char* left, const char* right, std::size_t end)
{
    return __builtin_cpu_supports("avx2") != 0 ? SkipEqualWide(left, right, end)
                                               : SkipEqualPlain(left, right, end);
}

#else

std::size_t SkipEqual(const char* left, const char* right, std::size_t end)
{
    return SkipEqualPlain(left, right, end);
}

#endif

} // namespace ko
