#ifndef KO_TEST_SUPPORT_BOUNDS_H
#define KO_TEST_SUPPORT_BOUNDS_H

#include "support/fixtures.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

inline constexpr unsigned kEqual = KoQOP_EQUAL;
inline constexpr unsigned kLess = KoQOP_LESS;
inline constexpr unsigned kGreater = KoQOP_GREATER;

/// The word of an operator such as "<=" with what limits its comparison, such as "= plain".
inline unsigned short OperatorOf(const std::string& text)
{
    static constexpr struct {
        const char* name;
        unsigned bits;
    } kParts[] = {{"<", KoQOP_LESS},
                  {"=", KoQOP_EQUAL},
                  {">", KoQOP_GREATER},
                  {"plain", KoCMP_PLAIN},
                  {"no-case", KoCMP_IGNORE_CASE},
                  {"no-accents", KoCMP_IGNORE_ACCENTS},
                  {"no-spaces", KoCMP_SKIP_SPACES},
                  {"no-symbols", KoCMP_SKIP_SYMBOLS},
                  {"no-wildcards", KoCMP_NO_WILDCARDS}};
    unsigned word = 0;
    for (const auto& part : kParts)
        word |= text.find(part.name) != std::string::npos ? part.bits : 0U;
    return static_cast<unsigned short>(word);
}

/// The ends of a range with the buffers that an evaluator put there.
struct Narrowed : KoIdxBounds {
    Narrowed() : KoIdxBounds{} {}
    Narrowed(const Narrowed&) = delete;
    Narrowed& operator=(const Narrowed&) = delete;
    ~Narrowed()
    {
        KoFree(low);
        KoFree(high);
    }
};

inline constexpr unsigned kKeys = 60;

/// An index of keys of a type, and what makes more of them.
struct Index {
    const KoTypeMgr& manager;
    o_char type;
    unsigned char format;
    std::function<Bytes(bool pattern, bool other)> make; ///< `other`: unlike the keys
    std::vector<Bytes> sorted{};

    int PlainOrder(const void* a, const void* b) const
    {
        return manager.Cmp(type, a, b, KoCMP_PLAIN, 1, format);
    }
    void Fill()
    {
        for (unsigned i = 0; i < kKeys; ++i)
            sorted.push_back(make(false, false));
        std::sort(sorted.begin(), sorted.end(), [this](const Bytes& a, const Bytes& b) {
            return PlainOrder(a.data(), b.data()) < 0;
        });
    }
    /// The keys that a scan finds between the ends, which it looks for by halves: bytes beside
    /// texts are in no one order.
    auto Between(const KoIdxBounds& ends) const
    {
        const auto before = [this](const Bytes& key, const void* end) {
            return PlainOrder(key.data(), end) < 0;
        };
        const auto notBehind = [this](const void* end, const Bytes& key) {
            return PlainOrder(end, key.data()) < 0;
        };
        const auto begin = sorted.begin();
        const auto end = sorted.end();
        return std::pair(
            ends.low == nullptr ? begin : std::lower_bound(begin, end, ends.low, before),
            ends.high == nullptr ? end : std::upper_bound(begin, end, ends.high, notBehind));
    }
};

/// Draws conditions under words of `options`: what narrowing gives holds every key that matches.
inline void CheckConditions(Index index, Random& random, int conditions,
                            const std::vector<unsigned>& options)
{
    index.Fill();
    auto& [manager, type, format, make, sorted] = index;
    SCOPED_TRACE(manager.NameGet(type));
    for (int i = 0; i < conditions; ++i) {
        const unsigned option = options[random.Below(static_cast<unsigned>(options.size()))];
        const unsigned bits = random.Below(2) == 0 ? kEqual : 1 + random.Below(7);
        // A condition without a code set on keys with one, or the other way round.
        const bool other = random.Below(8) == 0;
        Bytes value = make(random.Below(2) == 0, other);
        if (random.Below(4) == 0)
            value = sorted[random.Below(kKeys)];
        auto op = static_cast<unsigned short>(bits | option);
        KoIdxBounds keys{sorted.front().data(), sorted.back().data(), 0, 0};
        if (manager.IsFixed(type) != 0) // even ends that are none
            keys.low = sorted[random.Below(kKeys)].data();
        const bool known = (other && type == KoSTRING_T) || random.Below(4) != 0;
        Narrowed ends;
        const float share = manager.EvalAndBound(type, known ? &keys : nullptr, op, value.data(),
                                                 format, 1, &ends, nullptr);
        ASSERT_TRUE(share >= 0.0F && share <= 1.0F) << share;
        const auto [first, last] = index.Between(ends);
        for (auto key = sorted.cbegin(); key != sorted.cend(); ++key) {
            const int order = manager.Cmp(type, key->data(), value.data(),
                                          static_cast<unsigned short>(option), 1, format);
            const unsigned met = order < 0 ? kLess : order > 0 ? kGreater : kEqual;
            ASSERT_TRUE((bits & met) == 0 || (key >= first && key < last))
                << "bits " << bits << " options " << option << " value " << data::FormatBytes(value)
                << " key " << data::FormatBytes(*key);
        }
    }
}

#endif
