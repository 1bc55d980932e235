#include "collation/sort_key_ascii.h"
#include "collation/sort_key_ascii_gaps.h"

// Sort keys of short texts in ASCII: codes by arithmetic, sixteen characters at a time; what is
// skipped is a bit in a set, and its codes are left out by shuffling. The gaps are the runs of
// bits.

#if defined(__x86_64__)
#include <array>
#include <bit>
#include <immintrin.h>
#include <iterator>

#define KO_SHUFFLES __attribute__((target("ssse3,popcnt")))
// 64-bit Windows aligns its stack to 16 bytes only, and GCC there spills wide registers with
// aligned stores.
#if !defined(_WIN32) || defined(__clang__)
#define KO_COMPRESSES                                                                              \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi,avx512vbmi2,bmi,bmi2,popcnt")))
#endif
#endif

namespace ko
{

#if defined(__x86_64__)

namespace sortkey
{

namespace
{

constexpr unsigned kBlock = 16;

/// For each set of eight bytes, which of them come first when the others are left out.
constexpr std::array<std::array<unsigned char, 8>, 256> kLeavingOut = [] {
    std::array<std::array<unsigned char, 8>, 256> all{};
    for (unsigned set = 0; set < 256; ++set) {
        unsigned count = 0;
        for (unsigned char i = 0; i < 8; ++i)
            if ((set >> i & 1U) != 0)
                all[set][count++] = i;
        while (count < 8)
            all[set][count++] = 0x80;
    }
    return all;
}();

/// The shuffle that starts at byte i gives sixteen bytes without the first i, and zeros after them.
constexpr std::size_t kTwoBlocks = std::size_t{2} * kBlock;
constexpr std::array<unsigned char, kTwoBlocks> kMovingDown = [] {
    std::array<unsigned char, kTwoBlocks> all{};
    for (unsigned i = 0; i < kTwoBlocks; ++i)
        all[i] = static_cast<unsigned char>(i < kBlock ? i : 0x80);
    return all;
}();

/// Sixteen times the same byte.
using Bytes = std::array<unsigned char, kBlock>;
constexpr Bytes Sixteen(unsigned byte)
{
    Bytes all{};
    for (unsigned char& one : all)
        one = static_cast<unsigned char>(byte);
    return all;
}

constexpr unsigned char FirstByteOf(o_u2b order, unsigned form)
{
    return static_cast<unsigned char>(CodeOf(order, form) >> 8U);
}

/// The code of a letter x, in small, is `letter` + 2x, once more 2x where `four` is not 0, and
/// `small` for a small letter.
struct alignas(kBlock) AsciiForm {
    Bytes letter, four, small;
};
constexpr std::array<AsciiForm, kForms> kAsciiForms = [] {
    std::array<AsciiForm, kForms> all{};
    for (unsigned form = 0; form < kForms; ++form) {
        const unsigned char a = FirstByteOf(kCapitals, form);
        const unsigned step = FirstByteOf(kCapitals + 4, form) - a;
        const unsigned small = FirstByteOf(kSmalls, form) - a;
        all[form] = {Sixteen(a - step * 'a'), Sixteen(step == 4 ? 0xFF : 0), Sixteen(small)};
    }
    return all;
}();
constexpr unsigned char kDigitCode = FirstByteOf(kDigits, 0);

o_u8b Word(const char* bytes)
{
    o_u8b word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Loads fewer than sixteen bytes, and zeros after them.
__m128i LoadFew(const char* bytes, unsigned size)
{
    if (size > 8)
        return _mm_set_epi64x(static_cast<long long>(Word(bytes + size - 8) >> 8 * (16 - size)),
                              static_cast<long long>(Word(bytes)));
    if (size >= 4) {
        o_u4b low;
        o_u4b high;
        std::memcpy(&low, bytes, sizeof low);
        std::memcpy(&high, bytes + size - 4, sizeof high);
        return _mm_set_epi64x(0, static_cast<long long>(low | o_u8b{high} << 8 * (size - 4)));
    }
    o_u8b all = 0;
    for (unsigned i = 0; i < size; ++i)
        all |= o_u8b{static_cast<unsigned char>(bytes[i])} << 8 * i;
    return _mm_set_epi64x(0, static_cast<long long>(all));
}

/// The sixteen bytes from `at` on of `size`, zeros behind these.
KO_SHUFFLES inline __m128i Load(const char* bytes, unsigned at, unsigned size)
{
    if (at + kBlock <= size)
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
    if (at >= size)
        return _mm_setzero_si128();
    if (size < kBlock)
        return LoadFew(bytes, size);
    const __m128i last = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + size - kBlock));
    const unsigned char* const moving = kMovingDown.data() + (at + kBlock - size);
    return _mm_shuffle_epi8(last, _mm_loadu_si128(reinterpret_cast<const __m128i*>(moving)));
}

KO_SHUFFLES inline __m128i SwapUnits(__m128i units)
{
    return _mm_or_si128(_mm_slli_epi16(units, 8), _mm_srli_epi16(units, 8));
}

/// The characters of a text, in registers: the bytes of the key might be anything.
struct Source {
    const char* bytes;
    unsigned units;
    unsigned size; ///< bytes that are there
    bool swapped;

    const unsigned char* Bytes() const { return reinterpret_cast<const unsigned char*>(bytes); }
};

/// Sixteen characters as bytes; false where one is not ASCII.
template <unsigned kWidth>
KO_SHUFFLES inline bool LoadAscii(const Source& source, unsigned at, __m128i& characters)
{
    if constexpr (kWidth == 1) {
        characters = Load(source.bytes, at, source.size);
        return _mm_movemask_epi8(characters) == 0;
    } else {
        __m128i low = Load(source.bytes, 2 * at, source.size);
        __m128i high = Load(source.bytes, 2 * at + kBlock, source.size);
        if (source.swapped) {
            low = SwapUnits(low);
            high = SwapUnits(high);
        }
        const __m128i beyond =
            _mm_and_si128(_mm_or_si128(low, high), _mm_set1_epi16(static_cast<short>(0xFF80)));
        characters = _mm_packus_epi16(low, high);
        return _mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) == 0xFFFF;
    }
}

inline __m128i Vector(const Bytes& bytes)
{
    return _mm_load_si128(reinterpret_cast<const __m128i*>(bytes.data()));
}

inline __m128i Every(unsigned byte)
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

/// Appends the codes of those of eight characters that are in the set.
KO_SHUFFLES inline unsigned char* PutCodes(unsigned char* at, __m128i codes, unsigned set)
{
    const __m128i order =
        _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kLeavingOut[set].data()));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(at), _mm_shuffle_epi8(codes, order));
    return at + _mm_popcnt_u32(set);
}

template <unsigned kWidth>
KO_SHUFFLES unsigned Write(const Source source, const AsciiForm& form, bool ideographic, bool gaps,
                           unsigned char* key)
{
    unsigned char narrowed[kMostAscii]; // characters of 16 bits
    o_u8b skipped = 0;
    unsigned char* at = key + (ideographic ? 1 : 0);
    for (unsigned i = 0; i < source.units; i += kBlock) {
        __m128i x;
        if (!LoadAscii<kWidth>(source, i, x))
            return 0;
        if constexpr (kWidth == 2)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(narrowed + i), x);
        const __m128i lower = _mm_or_si128(x, Every(0x20));
        const __m128i letter = _mm_and_si128(_mm_cmpgt_epi8(lower, Every('a' - 1)),
                                             _mm_cmpgt_epi8(Every('z' + 1), lower));
        const __m128i digit =
            _mm_and_si128(_mm_cmpgt_epi8(x, Every('0' - 1)), _mm_cmpgt_epi8(Every('9' + 1), x));
        const __m128i twice = _mm_add_epi8(lower, lower);
        const __m128i isSmall = _mm_cmpeq_epi8(x, lower);
        const __m128i ofLetter = _mm_add_epi8(
            _mm_add_epi8(twice, _mm_and_si128(twice, Vector(form.four))),
            _mm_add_epi8(Vector(form.letter), _mm_and_si128(isSmall, Vector(form.small))));
        const __m128i ofDigit = _mm_add_epi8(_mm_add_epi8(x, x), Every(kDigitCode - 2U * '0'));
        const __m128i codes =
            _mm_or_si128(_mm_and_si128(letter, ofLetter), _mm_and_si128(digit, ofDigit));
        const auto zeros =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_setzero_si128())));
        const unsigned before = ((zeros & (0U - zeros)) - 1U) & 0xFFFFU; // all, where there is none
        const auto set =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(letter, digit))) & before;
        skipped |= o_u8b{set ^ before} << i;
        at = PutCodes(at, codes, set & 0xFFU);
        at = PutCodes(at, _mm_srli_si128(codes, 8), set >> 8U);
        if (zeros != 0)
            break;
    }
    return Finish(key, at, ideographic, kWidth == 1 ? source.Bytes() : narrowed,
                  gaps ? skipped : 0);
}

#if defined(KO_COMPRESSES)

/// The codes of all ASCII characters, 0 for those that are skipped.
struct alignas(64) AsciiCodes {
    unsigned char bytes[128];
};
constexpr std::array<AsciiCodes, kForms> kAsciiCodes = [] {
    std::array<AsciiCodes, kForms> all{};
    for (unsigned form = 0; form < kForms; ++form) {
        const auto put = [&](unsigned character, unsigned order) {
            all[form].bytes[character] = FirstByteOf(static_cast<o_u2b>(order), form);
        };
        for (unsigned digit = 0; digit < 10; ++digit)
            put('0' + digit, kDigits + 10 * digit);
        for (unsigned letter = 0; letter < 26; ++letter) {
            put('A' + letter, kCapitals + 4 * letter);
            put('a' + letter, kSmalls + 4 * letter);
        }
    }
    return all;
}();

/// The numbers 0 to 31.
constexpr unsigned kPlaces = 32;
struct alignas(kPlaces) Places {
    unsigned char bytes[kPlaces];
};
constexpr Places kEveryPlace = [] {
    Places all{};
    for (unsigned char i = 0; i < kPlaces; ++i)
        all.bytes[i] = i;
    return all;
}();

/// The gaps can be written by PutSingles: they lie among the first 32 characters, so that none
/// comes after too many empty ones, and each is one blank or one hyphen (`shortAlone`).
[[gnu::always_inline]] inline bool AreSingles(o_u8b skipped, o_u8b shortAlone)
{
    static_assert(kPlaces <= kMostEmpty);
    return ((skipped & ~shortAlone) | (skipped & skipped << 1U) | skipped >> kPlaces) == 0;
}

/// Writes gaps that are one byte each, at most sixteen since others lie between: where a gap
/// begins, and where the one before, tell its lead.
KO_COMPRESSES inline unsigned char* PutSingles(unsigned char* at, o_u8b skipped, o_u8b hyphens)
{
    const __m256i places = _mm256_load_si256(reinterpret_cast<const __m256i*>(kEveryPlace.bytes));
    const __m128i begins =
        _mm256_castsi256_si128(_mm256_maskz_compress_epi8(static_cast<__mmask32>(skipped), places));
    const auto count = static_cast<unsigned>(_mm_popcnt_u64(skipped));
    // The first begins as if one stood two places before the text.
    const __m128i before = _mm_or_si128(_mm_slli_si128(begins, 1), _mm_cvtsi32_si128(0xFE));
    const __m128i away = _mm_sub_epi8(begins, before); // empty ones and 2
    const __m128i twice = _mm_add_epi8(away, away);
    const __m128i fourfold = _mm_add_epi8(twice, twice);
    static_assert(kKinds == 7);
    const __m128i ranks = _mm_sub_epi8(_mm_add_epi8(fourfold, fourfold), away);
    __m128i leads = _mm_sub_epi8(Every(LeadOf(0, KindOfSingle(kBlank)) + 2 * kKinds), ranks);
    const auto areHyphens = static_cast<__mmask16>(_pext_u64(hyphens, skipped));
    leads = _mm_mask_add_epi8(leads, areHyphens, leads,
                              Every(KindOfSingle(kHyphen) - KindOfSingle(kBlank)));
    const auto go = static_cast<__mmask16>(_bzhi_u32(0xFFFF, count - 1)); // another one follows
    leads = _mm_mask_add_epi8(leads, go, leads, Every(kMore));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), leads);
    return at + count;
}

/// All characters at once, and nothing beyond them. Of eight bits each.
KO_COMPRESSES unsigned WriteAtOnce(const Source source, const AsciiCodes& form, bool ideographic,
                                   bool gaps, unsigned char* key)
{
    const o_u8b given = _bzhi_u64(~o_u8b{0}, source.units);
    const __m512i x = _mm512_maskz_loadu_epi8(given, source.bytes);
    if (_mm512_movepi8_mask(x) != 0)
        return 0;
    const o_u8b zeros = _mm512_testn_epi8_mask(x, x); // behind the text, and where it ends before
    const o_u8b there = given & ((zeros & (0 - zeros)) - 1);
    const __m512i codes = _mm512_permutex2var_epi8(_mm512_load_si512(form.bytes), x,
                                                   _mm512_load_si512(form.bytes + kMostAscii));
    const o_u8b set = _mm512_mask_test_epi8_mask(there, codes, codes);
    const auto count = static_cast<unsigned>(_mm_popcnt_u64(set));
    unsigned char* const at = key + (ideographic ? 1 : 0);
    _mm512_mask_storeu_epi8(at, _bzhi_u64(~o_u8b{0}, count),
                            _mm512_maskz_compress_epi8(set, codes));
    const o_u8b skipped = gaps ? there & ~set : 0;
    const o_u8b hyphens = _mm512_cmpeq_epi8_mask(x, _mm512_set1_epi8('-'));
    const o_u8b blanks = _mm512_cmpeq_epi8_mask(x, _mm512_set1_epi8(' '));
    if (!AreSingles(skipped, hyphens | blanks))
        return Finish(key, at + count, ideographic, source.Bytes(), skipped);
    unsigned char* end = EndCodes(key, at + count, ideographic, skipped);
    if (end == nullptr)
        return 0;
    end = skipped != 0 ? PutSingles(end, skipped, hyphens) : end;
    return static_cast<unsigned>(end - key);
}

#endif

} // namespace

SortKeyWay BestWay()
{
#if defined(KO_COMPRESSES)
    if (__builtin_cpu_supports("avx512vbmi2") != 0 && __builtin_cpu_supports("avx512vbmi") != 0 &&
        __builtin_cpu_supports("avx512bw") != 0 && __builtin_cpu_supports("avx512vl") != 0 &&
        __builtin_cpu_supports("bmi2") != 0)
        return SortKeyWay::kAtOnce;
#endif
    return __builtin_cpu_supports("ssse3") != 0 && __builtin_cpu_supports("popcnt") != 0
               ? SortKeyWay::kBlocks
               : SortKeyWay::kPlain;
}

unsigned WriteAscii(const KoText& text, unsigned form, bool gaps, TextMemory memory,
                    unsigned char* key, SortKeyWay way)
{
    const bool ideographic = form == kIdeographicForm;
    const unsigned width = text.Width();
    const unsigned size = text.units * width;
    // Of a string, the block with its terminator is there as a whole.
    const Source source{text.bytes, text.units,
                        memory == TextMemory::kExact ? size : size / kBlock * kBlock + kBlock,
                        text.IsSwapped()};
#if defined(KO_COMPRESSES)
    if (way == SortKeyWay::kAtOnce && width == 1)
        return WriteAtOnce(source, kAsciiCodes[form], ideographic, gaps, key);
#endif
    if (way == SortKeyWay::kPlain)
        return 0;
    return width == 1 ? Write<1>(source, kAsciiForms[form], ideographic, gaps, key)
                      : Write<2>(source, kAsciiForms[form], ideographic, gaps, key);
}

} // namespace sortkey

#else

SortKeyWay sortkey::BestWay()
{
    return SortKeyWay::kPlain;
}

unsigned sortkey::WriteAscii(const KoText&, unsigned, bool, TextMemory, unsigned char*, SortKeyWay)
{
    return 0;
}

#endif

} // namespace ko
