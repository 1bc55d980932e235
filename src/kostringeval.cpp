#include "kostringeval.h"

#include "koboundeval.h"
#include "kotextshare.h"

#include <algorithm>

namespace
{

constexpr double kValueBase = 65536.0;

/// The digit of an order; ideographs share the last one by their values.
double DigitOf(o_u2b order, unsigned char variant)
{
    constexpr int kNumerals = 10;
    constexpr int kLetters = 26;
    if (variant == KoVARIANT_IDEOGRAPHIC)
        return 1.0 + kAfterLetters * order / 65536.0;
    switch (KoClassOfOrder(order)) {
    case KoORDER_DIGIT:
        return kFirstNumeral + std::min((order - KoORDER_DIGIT) / 10, kNumerals - 1);
    case KoORDER_LETTER:
        return kFirstLetter + std::clamp(((order >> 2) & 0x1F) - 3, 0, kLetters - 1);
    default:
        return kAfterLetters + (static_cast<int>(order) - 0x8000) / 32768.0;
    }
}

/// How the characters of an index become digits. What does not count at the first level is left
/// out: case, accents, spaces and symbols.
enum class Scale {
    kLetters,
    kSymbols,    ///< no key has a character at the first level, such as in Greek
    kIdeographs, ///< all keys are texts of an ideographic language
};

KoTextDigits DigitsOf(const KoConditionText& text, Scale scale)
{
    KoTextDigits digits(scale == Scale::kLetters ? kLetterBase : kValueBase);
    digits.variant = text.variant;
    digits.isNull = text.isNull;
    for (unsigned i = 0; i < text.count; ++i) {
        const o_u2b order = text.orders[i];
        if (scale == Scale::kSymbols)
            digits.Append(order, order);
        else if (KoConditionText::IsPrimary(order))
            digits.Append(scale == Scale::kLetters ? DigitOf(order, text.variant) : order, order);
    }
    return digits;
}

bool HasPrimary(const KoConditionText& text)
{
    return std::any_of(text.orders, text.orders + text.count, KoConditionText::IsPrimary);
}

Scale ScaleOf(const KoConditionText& lowest, const KoConditionText& highest, bool open)
{
    if (!open && !HasPrimary(lowest) && !HasPrimary(highest))
        return Scale::kSymbols;
    const bool ideographs =
        lowest.variant == KoVARIANT_IDEOGRAPHIC && lowest.variant == highest.variant;
    return ideographs ? Scale::kIdeographs : Scale::kLetters;
}

KoText TextAt(const void* at, unsigned char format, bool cutIsOlder)
{
    KoText text;
    KoTextWalk(format, 0, at, cutIsOlder).Next(text);
    return text;
}

double Share(const KoIdxBounds& bounds, unsigned bits, const KoConditionText& condition,
             unsigned char format, bool cutIsOlder)
{
    // Keys are no patterns. An open end has no orders.
    const auto key = [=](const void* at) {
        return KoConditionText(at != nullptr ? TextAt(at, format, cutIsOlder) : KoText{},
                               KoCMP_PLAIN);
    };
    const KoConditionText lowest = key(bounds.low);
    const KoConditionText highest = key(bounds.high);
    const bool open = bounds.low == nullptr || bounds.high == nullptr;
    const Scale scale = ScaleOf(lowest, highest, open);
    const KoTextDigits low = DigitsOf(lowest, scale);
    const KoTextDigits high = DigitsOf(highest, scale);
    return KoTextShare(bits, {DigitsOf(condition, scale), condition.isPattern, condition.count},
                       bounds.low != nullptr ? &low : nullptr,
                       bounds.high != nullptr ? &high : nullptr);
}

} // namespace

o_u2b KoTextOptions(o_u2b op)
{
    constexpr unsigned kOptions = KoCMP_PLAIN | KoCMP_IGNORE_CASE | KoCMP_IGNORE_ACCENTS |
                                  KoCMP_SKIP_SPACES | KoCMP_NO_WILDCARDS | KoCMP_SKIP_SYMBOLS;
    const auto options = static_cast<o_u2b>(op & kOptions);
    return options != 0 ? options : KoLanguageContext::GetDefaultCmpOp();
}

KoConditionText::KoConditionText(const KoText& text, o_u2b options)
    : isNull(text.IsNull()), language(text.language)
{
    if (isNull)
        return;
    const KoCompareMode mode(options);
    const KoWildcards wildcards = mode.wildcards ? KoWildcards::Current() : KoWildcards{};
    KoOrderReader reader(text);
    variant = reader.Variant();
    for (o_u2b order = reader.Next(); order != 0; order = reader.Next()) {
        if (order == wildcards.escape) {
            isPlain = false;
            if (const o_u2b escaped = reader.Next(); escaped != 0)
                order = escaped;
        } else if (order == wildcards.asterisk || order == wildcards.question) {
            isPattern = true;
            return;
        }
        const KoOrderClass orderClass = KoClassOfOrder(order);
        if ((orderClass == KoORDER_SPACE && mode.skipsSpaces) ||
            (orderClass == KoORDER_SYMBOL && mode.skipsSymbols))
            continue;
        if (count == kMaxOrders) {
            isWhole = false;
            return;
        }
        orders[count++] = order;
    }
}

float KoEvaluateTexts(const KoIdxBounds* bounds, unsigned short op, const void* value,
                      unsigned char format, unsigned count, KoIdxBounds* newBounds, bool cutIsOlder)
{
    if (count == 0)
        return 0.0F;
    const unsigned bits = op & kQueryMask;
    const o_u2b options = KoTextOptions(op);
    const KoText text = TextAt(value, format, cutIsOlder);
    const KoConditionText condition(text, options);
    const double share =
        bounds != nullptr ? Share(*bounds, bits, condition, format, cutIsOlder) : 0.0;
    // The order of arrays is decided by elements that are not looked at.
    if (count == 1)
        KoNarrowTexts(newBounds, bounds, bits, options, text, condition, value, format, cutIsOlder);
    return static_cast<float>(share);
}
