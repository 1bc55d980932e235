#include "core/bounds.h"
#include "caseless/record.h"
#include "string/estimate.h"
#include "string/share.h"

#include <algorithm>

// Bound evaluation of case-insensitive texts, which their weights order. Everything here works on
// weights, so that texts and keys are the same.

namespace ko
{

namespace
{

constexpr unsigned kAccentFlag = KoIStringText::kAccents;
constexpr unsigned kRawFlag = KoIStringText::kRaw;
constexpr unsigned kMaxWeights = kMaxBound - kIRecordHead - 1;

CaselessText TextAt(const void* at, unsigned char format)
{
    CaselessText text;
    CaselessWalk(format, 0, at).Next(text);
    return text;
}

/// The weights of a text, accents among them or not whatever its flag, as many as an end has room
/// for.
struct Weights {
    Weights(CaselessText text, bool accents, const CaselessWeights& of)
    {
        text.flag = static_cast<o_u1b>((text.flag & ~kAccentFlag) | (accents ? kAccentFlag : 0U));
        unsigned char more[kMaxWeights + 1];
        const unsigned all = PutWeights(more, kMaxWeights + 1, text, of);
        count = std::min(all, kMaxWeights);
        isWhole = all == count;
        std::copy_n(more, count, weights);
    }

    /// Leaves the weights before the first wildcard. An escape ends them as well: what it stands
    /// for depends on who compares.
    void CutPattern(const CaselessWeights& of)
    {
        const unsigned char* const begin = weights;
        const unsigned char* end = begin + count;
        const auto* found = std::find_if(begin, end, [&of](unsigned char weight) {
            return weight == of.first[+'*'] || weight == of.first[+'?'] ||
                   weight == of.first[+'\\'];
        });
        if (found == end)
            return;
        count = static_cast<unsigned>(found - begin);
        isPattern = true;
    }

    /// Keeps only the beginning that both texts share.
    void CutCommon(const Weights& other)
    {
        const auto* different =
            std::mismatch(weights, weights + count, other.weights, other.weights + other.count)
                .first;
        isWhole = isWhole && other.isWhole && count == other.count && different == weights + count;
        count = static_cast<unsigned>(different - weights);
    }

    /// Makes them higher than all that begin with them; none where nothing is.
    void Raise()
    {
        while (count != 0 && weights[count - 1] == 0xFF)
            --count;
        if (count != 0)
            ++weights[count - 1];
    }

    unsigned char weights[kMaxWeights];
    unsigned count;
    bool isWhole;
    bool isPattern = false;
};

// ---- the estimate

constexpr double kWeightBase = 256.0;

/// The digit of a weight: numerals and letters have whole ones, symbols lie between them.
double DigitOf(unsigned weight)
{
    // In this class the small letter has the lowest weight of its letter.
    static const o_u1b* const kFirst = CaselessWeights::Of(false).first;
    if (weight < '0')
        return weight / 48.0 * kFirstNumeral;
    if (weight <= '9')
        return kFirstNumeral + (weight - '0');
    if (weight < kFirst[+'a'])
        return kFirstLetter - 1.0 + (weight - '9') / 32.0;
    if (weight > kFirst[+'Z'])
        return kAfterLetters + weight / kWeightBase;
    const auto* next = std::upper_bound(&kFirst[+'a'], &kFirst[+'z'] + 1, weight);
    return kFirstLetter + static_cast<double>(next - &kFirst[+'a'] - 1);
}

bool HasLetterOrNumeral(const Weights& text)
{
    return std::any_of(text.weights, text.weights + text.count,
                       [](unsigned char weight) { return DigitOf(weight) >= kFirstNumeral; });
}

TextDigits DigitsOf(const Weights& text, bool letters)
{
    TextDigits digits(letters ? kLetterBase : kWeightBase);
    for (unsigned i = 0; i < text.count; ++i)
        digits.Append(letters ? DigitOf(text.weights[i]) : text.weights[i], text.weights[i]);
    return digits;
}

double Share(const KoIdxBounds& bounds, unsigned bits, const Weights& asked, unsigned char format,
             const CaselessWeights& of)
{
    const auto key = [&](const void* at) {
        return Weights(at != nullptr ? TextAt(at, format) : CaselessText{}, false, of);
    };
    const Weights lowest = key(bounds.low);
    const Weights highest = key(bounds.high);
    const bool letters = bounds.low == nullptr || bounds.high == nullptr ||
                         HasLetterOrNumeral(lowest) || HasLetterOrNumeral(highest);
    const TextDigits low = DigitsOf(lowest, letters);
    const TextDigits high = DigitsOf(highest, letters);
    return TextShare(bits, {DigitsOf(asked, letters), asked.isPattern, asked.count},
                     bounds.low != nullptr ? &low : nullptr,
                     bounds.high != nullptr ? &high : nullptr);
}

// ---- narrowing

/// Whether accents order the keys of an index, as far as its ends tell.
struct KeysFound {
    bool with = false;
    bool without = false;

    void Look(const void* at, unsigned char format, const CaselessWeights& of)
    {
        if (at != nullptr)
            (of.Accents(TextAt(at, format)) ? with : without) = true;
    }
};

void NarrowToWeights(KoIdxBounds& newBounds, unsigned bits, Weights text, bool accents,
                     unsigned char format)
{
    const auto narrow = [&](TextSide side) {
        if (text.count == 0 && (text.isPattern || !text.isWhole))
            return; // every text begins with nothing
        unsigned char record[kMaxBound];
        PutRecordLength(record, text.count + kIRecordRest, format);
        record[kRecordLengthField] =
            static_cast<unsigned char>(kRawFlag | (accents ? kAccentFlag : 0U));
        std::copy_n(text.weights, text.count, record + kIRecordHead);
        record[kIRecordHead + text.count] = 0;
        NarrowTextEnd(newBounds, bits, side, record, kIRecordHead + text.count + 1);
    };
    narrow(TextSide::kLow);
    if (text.isPattern || !text.isWhole)
        text.Raise();
    narrow(TextSide::kHigh);
}

/// False where the stored value is too long for an end.
bool NarrowToValue(KoIdxBounds& newBounds, unsigned bits, const void* value, unsigned char format,
                   const CaselessWeights& of)
{
    unsigned char record[kMaxBound];
    const unsigned char order = RecordOrder(format);
    const unsigned size = CaselessSizeGet(value, format, order, 1, of);
    if (size > kMaxBound)
        return false;
    if ((format & KoFMT_MEMORY) != 0)
        StoreCaseless(record, value, order, 1, of);
    else
        std::memcpy(record, value, size);
    NarrowBounds(&newBounds, bits, record, size);
    return true;
}

void Narrow(KoIdxBounds& newBounds, const KeysFound& keys, unsigned bits, const void* value,
            unsigned char format, bool wildcards, const CaselessWeights& of)
{
    const CaselessText text = TextAt(value, format);
    const bool asksAccents = of.Accents(text);
    if (keys.with && keys.without)
        return; // they have no common order
    const bool known = keys.with || keys.without;
    if (asksAccents && !keys.with) {
        // The index may not be in the order of the condition. What equals its text with accents
        // does so without them, too; and everything comes before or after it in that order.
        if (bits != KoQOP_EQUAL || text.IsRaw())
            return;
    }
    Weights weights(text, keys.with, of);
    if (wildcards && (bits & KoQOP_EQUAL) != 0)
        weights.CutPattern(of);
    if (!weights.isPattern && asksAccents <= keys.with &&
        NarrowToValue(newBounds, bits, value, format, of))
        return;
    if (!known) {
        const bool isPattern = weights.isPattern;
        weights.CutCommon(Weights(text, true, of));
        weights.isPattern = isPattern;
    }
    NarrowToWeights(newBounds, bits, weights, keys.with, format);
}

} // namespace

float EvaluateCaselessTexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                            unsigned char format, unsigned count, KoIdxBounds* newBounds,
                            const CaselessWeights& weights)
{
    if (count == 0)
        return 0.0F;
    const unsigned bits = op & kQueryMask;
    const bool wildcards = CompareMode(TextOptions(op)).wildcards;
    double share = 0.0;
    KeysFound keys;
    if (bounds != nullptr) {
        Weights asked(TextAt(value, format), false, weights);
        if (wildcards && (bits & KoQOP_EQUAL) != 0)
            asked.CutPattern(weights);
        share = Share(*bounds, bits, asked, format, weights);
        keys.Look(bounds->low, format, weights);
        keys.Look(bounds->high, format, weights);
    }
    // The order of arrays is decided by elements that are not looked at.
    if (newBounds != nullptr && count == 1)
        Narrow(*newBounds, keys, bits, value, format, wildcards, weights);
    return static_cast<float>(share);
}

} // namespace ko
