#include "fixtures.h"

#include <cmath>
#include <map>
#include <random>

/// Hashes spread: every bit of a value turns every bit of its hash in half of all cases, and values
/// that lie in a row share buckets no more often than drawn ones, whatever power of two the number
/// of buckets is and from whichever end of the hash it is taken.

namespace
{

using Kind = const char*;

unsigned HashOf(Kind type, Bytes& bytes, unsigned count)
{
    static const KoTypeMgr manager;
    static std::map<Kind, int> ids;
    const auto id = static_cast<o_char>(ids.try_emplace(type, FindType(type)).first->second);
    int status = 77;
    const unsigned hash = manager.Hash(id, 0, bytes.data(), count, KoFMT_LITTLE, status);
    EXPECT_EQ(status, 0);
    return hash;
}

TEST(Hash, EveryBitTurnsHalfOfTheHash)
{
    constexpr unsigned kValues = 1000;
    constexpr double kFurthest = 6.0; // standard deviations, of some 10^4 counts
    const struct {
        Kind type;
        unsigned count;
        unsigned bytes;
        const char* reason;
    } rows[] = {{"o_2b", 3, 6, "words that are sign-extended"},
                {"o_4b", 4, 16, "every place"},
                {"o_double", 2, 16, "bits of floating numbers"},
                {"KoDateTimeN", 2, 22, "fields and nanoseconds"},
                {"d_Timestamp", 1, 10, "date and time"},
                {"KoClassId", 2, 8, "class and version"}};
    std::mt19937 random(1);
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ": " << row.reason);
        Bytes value(row.bytes);
        std::vector<unsigned> turned(std::size_t{32} * 8 * row.bytes);
        for (unsigned i = 0; i < kValues; ++i) {
            for (unsigned char& byte : value)
                byte = static_cast<unsigned char>(random());
            const unsigned hash = HashOf(row.type, value, row.count);
            for (std::size_t bit = 0; bit < turned.size() / 32; ++bit) {
                value[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
                const unsigned changed = hash ^ HashOf(row.type, value, row.count);
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

/// Appends a number, least significant byte first.
template <class T>
void Put(Bytes& bytes, T number)
{
    unsigned char raw[sizeof(T)];
    std::memcpy(raw, &number, sizeof raw);
    if (std::endian::native == std::endian::big)
        std::reverse(std::begin(raw), std::end(raw));
    bytes.insert(bytes.end(), std::begin(raw), std::end(raw));
}
void PutFields(Bytes& bytes, std::initializer_list<unsigned> fields)
{
    for (const unsigned field : fields)
        bytes.push_back(static_cast<unsigned char>(field));
}
/// Two numbers below 100, of which the key is made.
template <class T>
void PutPair(Bytes& bytes, unsigned i)
{
    Put(bytes, static_cast<T>(i % 100));
    Put(bytes, static_cast<T>(i / 100));
}
/// A text of a case-insensitive string.
void PutText(Bytes& bytes, const std::string& text)
{
    Put(bytes, static_cast<o_u2b>(text.size() + 2));
    bytes.push_back(0);
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
}
void PutBlob(Bytes& bytes, const std::string& contents)
{
    Put(bytes, static_cast<o_u4b>(contents.size() + 4));
    Put(bytes, static_cast<o_u4b>(contents.size()));
    bytes.insert(bytes.end(), contents.begin(), contents.end());
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
        Kind type;
        unsigned count;
        const char* reason;
        void (*put)(Bytes& bytes, unsigned i);
    } rows[] = {
        {"o_double", 1, "whole numbers", [](Bytes& b, unsigned i) { Put(b, double(i)); }},
        {"o_double", 2, "a plane", PutPair<double>},
        {"o_2b", 1, "16 bits", [](Bytes& b, unsigned i) { Put(b, o_u2b(i)); }},
        {"o_4b", 1, "multiples of 65536", [](Bytes& b, unsigned i) { Put(b, i << 16U); }},
        {"o_8b", 1, "equal halves", [](Bytes& b, unsigned i) { Put(b, o_u8b{i} << 32U | i); }},
        {"KoNull_char", 14, "null or not",
         [](Bytes& b, unsigned i) {
             for (unsigned bit = 0; bit < 14; ++bit)
                 PutFields(b, {i >> bit & 1U, 0});
         }},
        {"KoDate", 1, "dates of 27 years",
         [](Bytes& b, unsigned i) {
             Put(b, o_u2b(1990 + i / 372));
             PutFields(b, {1 + i / 31 % 12, 1 + i % 31});
         }},
        {"KoDateTimeN", 1, "milliseconds",
         [](Bytes& b, unsigned i) {
             PutFields(b, {0xE8, 7, 2, 29, 23, 59, i / 1000});
             Put(b, i % 1000 * 1000000);
         }},
        {"KoBlob", 1, "digits", [](Bytes& b, unsigned i) { PutBlob(b, std::to_string(i)); }},
        {"KoIString", 1, "digits", [](Bytes& b, unsigned i) { PutText(b, std::to_string(i)); }},
        {"KoCaseIString", 2, "pairs of numbers",
         [](Bytes& b, unsigned i) {
             PutText(b, std::to_string(i % 100)), PutText(b, std::to_string(i / 100));
         }},
        {"KoString", 2, "pairs of characters, whose own hashes differ",
         [](Bytes& b, unsigned i) {
             for (const unsigned part : {i % 100, i / 100})
                 PutFields(b, {5, 0, KoCS_NONE, 0, 1 + part, 0, 0xFF});
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.type << ", " << row.count << ": " << row.reason);
        std::vector<unsigned> hashes;
        for (unsigned i = 0; i < kKeys; ++i) {
            Bytes bytes;
            row.put(bytes, i);
            hashes.push_back(HashOf(row.type, bytes, row.count));
        }
        ExpectSpread(hashes);
        for (unsigned& hash : hashes)
            hash = Reversed(hash);
        ExpectSpread(hashes);
    }
}

} // namespace
