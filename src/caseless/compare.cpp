#include "caseless/text.h"
#include "core/compare_walk.h"

#include <algorithm>
#include <iterator>
#include <utility>

// Weights of the Western European characters, and what is made of them.

namespace ko
{

namespace
{

constexpr unsigned kSharpS = 223;
constexpr o_u1b kLargestAccent = 8;

// The weights of the bytes 65 to 90, and of 97 to 122 where case counts.
constexpr o_u1b kCapitals[] = {84,  91,  94,  97,  105, 111, 113, 115, 121, 127, 129, 131, 133,
                               135, 144, 151, 153, 155, 157, 159, 165, 171, 173, 175, 179, 183};
constexpr o_u1b kSmalls[] = {78,  90,  92,  96,  100, 110, 112, 114, 116, 126, 128, 130, 132,
                             134, 138, 150, 152, 154, 156, 158, 160, 170, 172, 174, 176, 182};
constexpr o_u1b kAfterCapitals[] = {66, 67, 68, 69, 70, 65}; // 91 to 96
constexpr o_u1b kAfterSmalls[] = {71, 72, 73, 74, 75};       // 123 to 127

// The weights of the bytes 192 to 222, the same in both classes, and of 223 to 255.
constexpr o_u1b kUpperCapitals[] = {84,  84,  84,  84,  84,  189, 185, 94,  105, 105, 105,
                                    105, 121, 121, 121, 121, 99,  137, 144, 144, 144, 144,
                                    144, 76,  187, 165, 165, 165, 165, 179, 191};
constexpr o_u1b kUpperSmalls[] = {156, 78,  78,  78,  78,  78,  188, 184, 92,  100, 100,
                                  100, 100, 116, 116, 116, 116, 98,  136, 138, 138, 138,
                                  138, 138, 77,  186, 160, 160, 160, 160, 176, 190, 176};
constexpr o_u1b kUpperNoCase[] = {157, 84,  84,  84,  84,  84,  189, 185, 94,  105, 105,
                                  105, 105, 121, 121, 121, 121, 99,  137, 144, 144, 144,
                                  144, 144, 77,  187, 165, 165, 165, 165, 179, 191, 179};

// Diaeresis 1, acute 2, grave 3, circumflex 4, tilde 5; of 192 to 223 and again of 224 to 255.
constexpr o_u1b kAccentsOfCapitals[] = {3, 2, 4, 5, 1, 0, 0, 1, 3, 2, 4, 1, 3, 2, 4, 1,
                                        0, 0, 3, 2, 4, 5, 1, 0, 0, 3, 2, 4, 1, 2, 0, 0};
constexpr o_u1b kAccentsOfSmalls[] = {3, 2, 4, 5, 1, 0, 0, 1, 3, 2, 4, 1, 3, 2, 4, 1,
                                      0, 0, 3, 2, 4, 5, 1, 0, 0, 3, 2, 4, 1, 2, 0, 1};

constexpr CaselessWeights MakeWeights(bool ignoresCase)
{
    CaselessWeights made{};
    made.ignoresCase = ignoresCase;
    for (unsigned c = 0; c < 64; ++c)
        made.first[c] = static_cast<o_u1b>(c);
    made.first[64] = 64;
    for (unsigned c = 128; c < 160; ++c)
        made.first[c] = static_cast<o_u1b>(c + 96);
    for (unsigned c = 160; c < 192; ++c)
        made.first[c] = static_cast<o_u1b>(c + 16);
    const auto put = [](o_u1b(&to)[256], unsigned at, const auto& from) {
        std::copy(std::begin(from), std::end(from), to + at);
    };
    put(made.first, 'A', kCapitals);
    put(made.first, '[', kAfterCapitals);
    ignoresCase ? put(made.first, 'a', kCapitals) : put(made.first, 'a', kSmalls);
    put(made.first, '{', kAfterSmalls);
    put(made.first, 192, kUpperCapitals);
    ignoresCase ? put(made.first, kSharpS, kUpperNoCase) : put(made.first, kSharpS, kUpperSmalls);
    put(made.second, 192, kAccentsOfCapitals);
    put(made.second, 224, kAccentsOfSmalls);
    const auto weightOf = [&made](unsigned c) { return made.first[c]; };
    made.second[kSharpS] = weightOf('s');
    // The ligatures OE and Y with diaeresis, where Windows-1252 has them.
    made.first[140] = weightOf('O');
    made.second[140] = weightOf('E');
    made.first[156] = weightOf('o');
    made.second[156] = weightOf('e');
    made.first[159] = weightOf('Y');
    made.second[159] = 1;
    return made;
}

constexpr CaselessWeights kWithCase = MakeWeights(false);
constexpr CaselessWeights kWithoutCase = MakeWeights(true);

static_assert(kWithCase.first[kSharpS] == 156 && kWithCase.second[kSharpS] == 156);
static_assert(kWithoutCase.first[kSharpS] == 157 && kWithoutCase.second[kSharpS] == 157);
static_assert(kWithCase.first[156] == 138 && kWithCase.second[156] == 100);
static_assert(kWithoutCase.first[156] == 144 && kWithoutCase.second[156] == 105);

/// The weights of a text, one after another; 0 at the end.
class WeightReader
{
public:
    WeightReader(const CaselessText& text, const CaselessWeights& weights, bool accents,
                 unsigned from, unsigned end)
        : m_weights(weights), m_at(text.bytes + from), m_end(text.bytes + end), m_raw(text.IsRaw()),
          m_accents(accents)
    {
    }

    unsigned Next()
    {
        if (m_pending != 0)
            return std::exchange(m_pending, 0U);
        if (m_at == m_end)
            return 0;
        const unsigned c = *m_at++;
        if (m_raw)
            return c;
        const unsigned first = m_weights.first[c];
        const unsigned second = m_weights.second[c];
        if (second > kLargestAccent) {
            if (m_accents)
                return first - 1;
            m_pending = second;
            return first;
        }
        return m_accents ? first + second : first;
    }

private:
    const CaselessWeights& m_weights;
    const unsigned char* m_at;
    const unsigned char* m_end;
    bool m_raw;
    bool m_accents;
    unsigned m_pending = 0; ///< the second letter of the last byte
};

WeightReader Reader(const CaselessText& text, const CaselessWeights& weights)
{
    return {text, weights, weights.Accents(text), 0, text.length};
}

} // namespace

const CaselessWeights& CaselessWeights::Of(bool ignoresCase)
{
    return ignoresCase ? kWithoutCase : kWithCase;
}

CaselessOrder CompareWeights(const CaselessText& a, const CaselessText& b,
                             const CaselessWeights& weights, unsigned limit)
{
    const bool accents = weights.Accents(a) || weights.Accents(b);
    const bool openA = a.cut && (limit == 0 || limit > a.length);
    const bool openB = b.cut && (limit == 0 || limit > b.length);
    const unsigned endA = limit == 0 ? a.length : std::min(a.length, limit);
    const unsigned endB = limit == 0 ? b.length : std::min(b.length, limit);
    // Equal bytes have equal weights where both are of the same kind.
    unsigned from = 0;
    if (a.IsRaw() == b.IsRaw())
        from = static_cast<unsigned>(EqualBytes(a.bytes, b.bytes, std::min(endA, endB)));
    WeightReader readerA(a, weights, accents, from, endA);
    WeightReader readerB(b, weights, accents, from, endB);
    for (;;) {
        const unsigned x = readerA.Next();
        const unsigned y = readerB.Next();
        if ((x == 0 && openA) || (y == 0 && openB))
            return {0, true};
        if (x != y || x == 0)
            return {static_cast<int>(x) - static_cast<int>(y), false};
    }
}

unsigned PutWeights(unsigned char* out, unsigned room, const CaselessText& text,
                    const CaselessWeights& weights)
{
    WeightReader reader = Reader(text, weights);
    unsigned count = 0;
    for (unsigned weight = reader.Next(); weight != 0 && count < room; weight = reader.Next())
        out[count++] = static_cast<unsigned char>(weight);
    return count;
}

void PutWeightsKey(KeySink& sink, const CaselessText& text, const CaselessWeights& weights)
{
    WeightReader reader = Reader(text, weights);
    for (unsigned weight = reader.Next(); weight != 0; weight = reader.Next())
        sink.Put(static_cast<unsigned char>(weight));
    sink.Put(0);
}

unsigned CountWeights(const CaselessText& text, const CaselessWeights& weights)
{
    if (text.IsRaw() || weights.Accents(text))
        return text.length;
    unsigned count = text.length;
    for (unsigned i = 0; i < text.length; ++i)
        count += weights.second[text.bytes[i]] > kLargestAccent;
    return count;
}

void HashWeights(Hasher& hasher, const CaselessText& text, const CaselessWeights& weights)
{
    WeightReader reader = Reader(text, weights);
    o_u8b word = 0;
    unsigned shift = 0;
    for (o_u8b weight = reader.Next(); weight != 0; weight = reader.Next()) {
        word |= weight << shift;
        shift += 8;
        if (shift == 64) {
            hasher.Add(word);
            word = 0;
            shift = 0;
        }
    }
    hasher.Add(word); // at least one byte of it is 0, which no weight is
}

} // namespace ko
