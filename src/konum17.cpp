#include "konumdigits.h"
#include "konumformat.h"

#include <bit>
#include <limits>

// A double to 17 significant digits by one multiplication: the mantissa, 64 bits, with the power of
// ten, 128 bits, that makes it a number of 17 digits before the point. The product decides the
// digits and, by its fraction, the rounding. Where the fraction lies so near to one half that the
// cut-off power could matter, and for exact ties, the caller takes the long way.

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53);

namespace
{

__extension__ typedef unsigned __int128 Wide;

constexpr int kDigits = 17;
constexpr int kFirstPower = -292;
constexpr int kLastPower = 340;

/// 2^127 to 2^128: the 128 leading bits of a power of ten, at most 1 too small.
struct Power {
    o_u8b high;
    o_u8b low;
};

/// A number of 1 to 2 with 319 bits after the point; the power of two is left out.
class Mantissa
{
public:
    constexpr Mantissa() : m_words{0x80000000U} {}

    constexpr Power Leading() const { return {Pair(0), Pair(2)}; }

    /// Multiplies by 10, which is 5/4 where the power of two is left out.
    constexpr void Multiply()
    {
        o_u4b sum[kWords] = {};
        o_u8b carry = 0;
        for (int i = kWords - 1; i >= 0; --i) {
            const o_u4b above = i > 0 ? m_words[i - 1] : 0;
            carry += o_u8b{m_words[i]} + ((above << 30) | (m_words[i] >> 2));
            sum[i] = static_cast<o_u4b>(carry);
            carry >>= 32;
        }
        for (int i = 0; i < kWords; ++i)
            m_words[i] = sum[i];
        for (int i = kWords - 1; carry != 0 && i >= 0; --i)
            m_words[i] = (m_words[i] >> 1) | ((i > 0 ? m_words[i - 1] : 1U) << 31);
    }

    /// Divides by 10, which is to multiply by 8/5 below 5/4 and by 4/5 from there on.
    constexpr void Divide()
    {
        const unsigned shift = m_words[0] < 0xA0000000U ? 3 : 2;
        o_u8b rest = m_words[0] >> (32 - shift);
        for (int i = 0; i < kWords; ++i) {
            const o_u4b below = i + 1 < kWords ? m_words[i + 1] : 0;
            rest = (rest << 32) | ((m_words[i] << shift) | (below >> (32 - shift)));
            m_words[i] = static_cast<o_u4b>(rest / 5);
            rest %= 5;
        }
    }

private:
    static constexpr int kWords = 10;

    constexpr o_u8b Pair(int i) const { return (o_u8b{m_words[i]} << 32) | m_words[i + 1]; }

    o_u4b m_words[kWords]; ///< the most significant first
};

struct PowerTable {
    Power power[kLastPower - kFirstPower + 1];
};

constexpr PowerTable kPowers = [] {
    PowerTable table{};
    Mantissa up;
    for (int k = 0; k <= kLastPower; ++k, up.Multiply())
        table.power[k - kFirstPower] = up.Leading();
    Mantissa down;
    for (int k = 0; k >= kFirstPower; --k, down.Divide())
        table.power[k - kFirstPower] = down.Leading();
    return table;
}();

/// floor(b * log10(2)) for |b| up to 1650, and floor(k * log2(10)) for |k| up to 1233.
constexpr int FloorLog10Pow2(int b)
{
    return (b * 78913) >> 18;
}
constexpr int FloorLog2Pow10(int k)
{
    return (k * 1741647) >> 19;
}

struct Scaled {
    o_u8b whole;
    o_u8b fraction; ///< its 64 leading bits
};

/// mantissa * 2^exponent * 10^k, which is from 10^16 to 2 * 10^17; mantissa has bit 63 set.
Scaled Scale(o_u8b mantissa, int exponent, int k)
{
    const Power power = kPowers.power[k - kFirstPower];
    const Wide low = Wide{mantissa} * power.low;
    const Wide high = Wide{mantissa} * power.high + static_cast<o_u8b>(low >> 64);
    // Of the 192 bits of the product, those from bit 128 + shift on are whole. 10^16 has 54 bits
    // and 2 * 10^17 has 58, so the shift is from 5 to 11.
    const int shift = -(exponent + FloorLog2Pow10(k) - 127) - 128;
    const auto top = static_cast<o_u8b>(high >> 64);
    const auto middle = static_cast<o_u8b>(high);
    return {top >> shift, (top << (64 - shift)) | (middle >> shift)};
}

/// Writes `count` digits, the first of which stands for 10 to the power of `decimal`, in the
/// notation that "%.17g" chooses for it.
char* PutNotation(char* out, const char* digits, int count, int decimal)
{
    const auto copy = [&out, digits](int from, int to) {
        for (int i = from; i < to; ++i)
            *out++ = digits[i];
    };
    if (decimal >= 0 && decimal < kDigits) {
        copy(0, decimal + 1);
        if (count > decimal + 1) {
            *out++ = '.';
            copy(decimal + 1, count);
        }
        return out;
    }
    if (decimal >= -4 && decimal < 0) {
        *out++ = '0';
        *out++ = '.';
        for (int i = decimal + 1; i < 0; ++i)
            *out++ = '0';
        copy(0, count);
        return out;
    }
    *out++ = digits[0];
    if (count > 1) {
        *out++ = '.';
        copy(1, count);
    }
    *out++ = 'e';
    *out++ = decimal < 0 ? '-' : '+';
    const auto power = static_cast<o_u4b>(decimal < 0 ? -decimal : decimal);
    if (power >= 100)
        return KoPutShort(out, power);
    KoPutPair(out, power);
    return out + 2;
}

} // namespace

char* KoPut17Digits(char* out, double magnitude)
{
    constexpr o_u8b k10To16 = 10000000000000000;
    constexpr o_u8b kHalf = 1ULL << 63;

    const auto bits = std::bit_cast<o_u8b>(magnitude);
    const auto biased = static_cast<int>(bits >> 52);
    o_u8b mantissa = bits & ((1ULL << 52) - 1);
    if (biased == 0x7FF)
        return nullptr;
    if (bits == 0) {
        *out = '0';
        return out + 1;
    }
    if (biased != 0)
        mantissa |= 1ULL << 52;
    const int zeros = std::countl_zero(mantissa);
    mantissa <<= zeros;
    const int exponent = (biased != 0 ? biased : 1) - 1075 - zeros;

    // The estimate of the decimal exponent is right or one too small.
    int decimal = FloorLog10Pow2(exponent + 63);
    Scaled scaled = Scale(mantissa, exponent, kDigits - 1 - decimal);
    if (scaled.whole >= 10 * k10To16) {
        ++decimal;
        scaled = Scale(mantissa, exponent, kDigits - 1 - decimal);
    }
    if (scaled.fraction - (kHalf - 1) <= 1)
        return nullptr;
    o_u8b number = scaled.whole + (scaled.fraction >> 63);
    if (number == 10 * k10To16) {
        number = k10To16;
        ++decimal;
    }

    char digits[kDigits];
    const o_u8b rest = number % k10To16;
    digits[0] = static_cast<char>('0' + number / k10To16);
    KoPutEight(digits + 1, static_cast<o_u4b>(rest / 100000000));
    KoPutEight(digits + 9, static_cast<o_u4b>(rest % 100000000));
    int count = kDigits;
    while (count > 1 && digits[count - 1] == '0')
        --count;

    return PutNotation(out, digits, count, decimal);
}
