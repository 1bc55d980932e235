#include "koswap.h"

#include "swapcopy.h"

// Which vector form this build has. 64-bit Windows aligns its stack to 16 bytes only and GCC there
// spills 32-byte registers with aligned stores: code with such registers may fault, so that build
// keeps to 16-byte ones. KO_SWAP_NARROW lets other builds try the same code.
#if (defined(__x86_64__) || defined(_M_X64)) && defined(__GNUC__)
#include <immintrin.h>
#if (defined(_WIN32) && !defined(__clang__)) || defined(KO_SWAP_NARROW)
#define KO_VECTOR_FORM "ssse3"
#else
#define KO_VECTOR_FORM "avx2"
#define KO_VECTOR_WIDE
#endif
#define KO_VECTOR_CODE __attribute__((target(KO_VECTOR_FORM)))
#endif

namespace
{

using Byte = unsigned char;

template <class Word>
void PlainCopy(Byte* to, const Byte* from, std::size_t bytes)
{
    for (std::size_t at = 0; at < bytes; at += sizeof(Word))
        SwapOne<Word>(to + at, from + at);
}

#if defined(KO_VECTOR_FORM)

#if defined(KO_VECTOR_WIDE)
using Vector = __m256i;

KO_VECTOR_CODE inline Vector Shuffle(Vector value, Vector order)
{
    return _mm256_shuffle_epi8(value, order);
}
#else
using Vector = __m128i;

KO_VECTOR_CODE inline Vector Shuffle(Vector value, Vector order)
{
    return _mm_shuffle_epi8(value, order);
}
#endif

// Unaligned moves.
KO_VECTOR_CODE inline Vector Load(const Byte* from)
{
    Vector value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

KO_VECTOR_CODE inline void Store(Byte* to, Vector value)
{
    std::memcpy(to, &value, sizeof value);
}

constexpr std::size_t kVector = sizeof(Vector);

bool HasVectors()
{
    return __builtin_cpu_supports(KO_VECTOR_FORM) != 0;
}

// The shuffle that turns the bytes of every element round; it works on halves of 16 bytes.
template <std::size_t Width>
struct Order {
    Byte index[kVector];
    constexpr Order() : index()
    {
        for (std::size_t at = 0; at < kVector; ++at)
            index[at] = static_cast<Byte>((at ^ (Width - 1)) % 16);
    }
};

// At least kVector bytes. The first and the last vector are read before anything is written and
// written after all else: they overlap the steps between, and the operands may be the same array.
template <std::size_t Width>
KO_VECTOR_CODE void VectorCopy(Byte* to, const Byte* from, std::size_t bytes)
{
    static constexpr Order<Width> kOrder;
    const Vector order = Load(kOrder.index);
    const Vector first = Load(from);
    const Vector last = Load(from + bytes - kVector);
    if (bytes <= 2 * kVector) {
        Store(to, Shuffle(first, order));
        Store(to + bytes - kVector, Shuffle(last, order));
        return;
    }

    // Stores that cross no line: start where the destination is aligned, if an element does too.
    std::size_t at = -reinterpret_cast<std::uintptr_t>(to) % kVector;
    if (at % Width != 0)
        at = 0;
    for (; bytes - at >= 4 * kVector; at += 4 * kVector) {
        const Vector a = Load(from + at);
        const Vector b = Load(from + at + kVector);
        const Vector c = Load(from + at + 2 * kVector);
        const Vector d = Load(from + at + 3 * kVector);
        Store(to + at, Shuffle(a, order));
        Store(to + at + kVector, Shuffle(b, order));
        Store(to + at + 2 * kVector, Shuffle(c, order));
        Store(to + at + 3 * kVector, Shuffle(d, order));
    }
    for (; bytes - at >= kVector; at += kVector)
        Store(to + at, Shuffle(Load(from + at), order));
    Store(to, Shuffle(first, order));
    Store(to + bytes - kVector, Shuffle(last, order));
}

#else

constexpr std::size_t kVector = 0;

constexpr bool HasVectors()
{
    return false;
}

template <std::size_t Width>
void VectorCopy(Byte*, const Byte*, std::size_t)
{
}

#endif

template <class Word>
bool Copy(bool vectors, void* destination, const void* source, std::size_t count)
{
    auto* to = static_cast<Byte*>(destination);
    const auto* from = static_cast<const Byte*>(source);
    const std::size_t bytes = count * sizeof(Word);
    if (vectors && bytes >= kVector)
        VectorCopy<sizeof(Word)>(to, from, bytes);
    else
        PlainCopy<Word>(to, from, bytes);
    return true;
}

bool Dispatch(bool vectors, void* destination, const void* source, unsigned width,
              std::size_t count)
{
    switch (width) {
    case 2:
        return Copy<std::uint16_t>(vectors, destination, source, count);
    case 4:
        return Copy<std::uint32_t>(vectors, destination, source, count);
    case 8:
        return Copy<std::uint64_t>(vectors, destination, source, count);
    default:
        return false;
    }
}

} // namespace

template <class Word>
void SwapArray(void* destination, const void* source, std::size_t count)
{
    Copy<Word>(HasVectors(), destination, source, count);
}

template void SwapArray<std::uint16_t>(void*, const void*, std::size_t);
template void SwapArray<std::uint32_t>(void*, const void*, std::size_t);
template void SwapArray<std::uint64_t>(void*, const void*, std::size_t);

void KoSwapCopy(void* destination, const void* source, unsigned width, std::size_t count)
{
    Dispatch(HasVectors(), destination, source, width, count);
}

bool KoSwapCopyAs(KoSwapForm form, void* destination, const void* source, unsigned width,
                  std::size_t count)
{
    const bool vectors = form == KoSwapForm::Vector;
    return (!vectors || HasVectors()) && Dispatch(vectors, destination, source, width, count);
}
