#include "support/fixtures.h"

#include <cmath>
#include <random>

/// Hashes spread: every bit of a value turns every bit of its hash in half of all cases, and values
/// that lie in a row share buckets no more often than drawn ones, whatever power of two the number
/// of buckets is and from whichever end of the hash it is taken.

namespace
{

/// Of elements in memory, or least significant byte first.
unsigned HashOf(o_char id, const void* values, unsigned count, unsigned char format = KoFMT_MEMORY)
{
    int status = 77;
    const unsigned hash = KoTypeMgr().Hash(id, 0, values, count, format, status);
    EXPECT_EQ(status, 0);
    return hash;
}
template <class T>
unsigned HashOf(o_char id, std::initializer_list<T> values)
{
    return HashOf(id, values.begin(), static_cast<unsigned>(values.size()));
}

TEST(Hash, EveryBitTurnsHalfOfTheHash)
{
    constexpr unsigned kValues = 1000;
    constexpr double kFurthest = 6.0; // standard deviations, of some 10^4 counts
    const struct {
        o_char type;
        unsigned count;
        unsigned bytes;
        const char* reason;
    } rows[] = {{Ko2B_T, 3, 6, "words that are sign-extended"},
                {Ko4B_T, 4, 16, "every place"},
                {KoDOUBLE_T, 2, 16, "bits of floating numbers"},
                {KoDATIME_N_T, 2, 22, "fields and nanoseconds"},
                {D_TIMESTAMP_T, 1, 10, "date and time"},
                {KoCLID_T, 2, 8, "class and version"}};
    std::mt19937 random(1);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        Bytes value(row.bytes);
        std::vector<unsigned> turned(std::size_t{32} * 8 * row.bytes);
        for (unsigned i = 0; i < kValues; ++i) {
            for (unsigned char& byte : value)
                byte = static_cast<unsigned char>(random());
            const unsigned hash = HashOf(row.type, value.data(), row.count, KoFMT_LITTLE);
            for (std::size_t bit = 0; bit < turned.size() / 32; ++bit) {
                value[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
                const unsigned changed =
                    hash ^ HashOf(row.type, value.data(), row.count, KoFMT_LITTLE);
                value[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
                for (unsigned out = 0; out < 32; ++out)
                    turned[32 * bit + out] += changed >> out & 1U;
            }
        }
        for (std::size_t at = 0; at < turned.size(); ++at)
            ASSERT_LE(std::fabs(turned[at] - kValues / 2.0), kFurthest * std::sqrt(kValues) / 2)
                << "bit " << at / 32 << " of the value, " << at % 32 << " of the hash";
    }
}

// ---- buckets

constexpr unsigned kKeys = 10000;

/// A text of digits.
template <class T>
T Digits(unsigned number)
{
    return T(std::to_string(number).c_str());
}

/// Of 10,000 hashes, the pairs that share one of 2^k buckets, taken from the highest bits, are
/// about as many as of drawn numbers, which exceed the bound with a probability of e^-20 (the tail
/// of chi-square by Laurent and Massart, 2000).
void ExpectSpread(std::vector<unsigned> hashes)
{
    std::sort(hashes.begin(), hashes.end());
    for (unsigned k = 1; k <= 32; ++k) {
        const double share = std::ldexp(1.0, -static_cast<int>(k));
        double shared = 0;
        double run = 0;
        for (std::size_t i = 1; i < hashes.size(); ++i) {
            run = (hashes[i] ^ hashes[i - 1]) >> (32 - k) == 0 ? run + 1 : 0;
            shared += run;
        }
        const double expected = kKeys * (kKeys - 1.0) / 2 * share;
        EXPECT_LE(shared, expected + kKeys * (std::sqrt(20 * share) + 20 * share) + 2)
            << "2^" << k << " buckets";
    }
}

unsigned Reversed(unsigned hash)
{
    unsigned reversed = 0;
    for (unsigned i = 0; i < 32; ++i)
        reversed |= (hash >> i & 1U) << (31 - i);
    return reversed;
}

TEST(Hash, KeysInARowSpread)
{
    const struct {
        const char* reason;
        unsigned (*hash)(unsigned i);
    } rows[] = {
        {"whole numbers", [](unsigned i) { return HashOf(KoDOUBLE_T, {double(i)}); }},
        {"a plane of floating numbers",
         [](unsigned i) {
             return HashOf(KoDOUBLE_T, {double(i % 100), double(i / 100)});
         }},
        {"16 bits", [](unsigned i) { return HashOf(Ko2B_T, {o_2b(i)}); }},
        {"multiples of 65536", [](unsigned i) { return HashOf(Ko4B_T, {i << 16U}); }},
        {"equal halves", [](unsigned i) { return HashOf(Ko8B_T, {o_u8b{i} << 32U | i}); }},
        {"null or not",
         [](unsigned i) {
             KoNull_char values[14] = {};
             for (KoNull_char& value : values)
                 value.null = i >> (&value - values) & 1U ? 1 : 0;
             return HashOf(KoNULL_1B_T, values, 14);
         }},
        {"dates of 27 years",
         [](unsigned i) {
             const auto n = static_cast<int>(i);
             return HashOf(KoDATE_T, {KoDate(1990 + n / 372, 1 + n / 31 % 12, 1 + n % 31)});
         }},
        {"milliseconds",
         [](unsigned i) {
             const auto second = static_cast<o_1b>(i / 1000);
             const auto nanoseconds = static_cast<o_4b>(i % 1000 * 1000000);
             return HashOf(KoDATIME_N_T, {KoDateTimeN(2024, 2, 29, 23, 59, second, nanoseconds)});
         }},
        {"blobs of numbers",
         [](unsigned i) {
             return HashOf(KoBLOB_T, {KoBlob(reinterpret_cast<const char*>(&i), sizeof i)});
         }},
        {"digits", [](unsigned i) { return HashOf(KoISTRING_T, {Digits<KoIString>(i)}); }},
        {"pairs of numbers in texts",
         [](unsigned i) {
             return HashOf(KoCASEISTRING_T,
                           {Digits<KoCaseIString>(i % 100), Digits<KoCaseIString>(i / 100)});
         }},
        {"pairs of characters, whose own hashes differ",
         [](unsigned i) {
             const auto one = [](unsigned part) {
                 return Text(std::u16string(1, static_cast<char16_t>(1 + part)), KoCS_NONE);
             };
             return HashOf(KoSTRING_T, {one(i % 100), one(i / 100)});
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        std::vector<unsigned> hashes;
        for (unsigned i = 0; i < kKeys; ++i)
            hashes.push_back(row.hash(i));
        ExpectSpread(hashes);
        for (unsigned& hash : hashes)
            hash = Reversed(hash);
        ExpectSpread(hashes);
    }
}

} // namespace
