#include "kostringeval.h"

#include "koboundeval.h"

#include <kobase.h>

#include <algorithm>

// The share of an index that a condition on a text selects.
//
// A text is a number in [0, 1): its characters at the first level are digits to the base of 38, as
// if they were the ten digits, the twenty-six letters, one for what stands behind them, and the
// end. Case, accents, spaces and symbols do not count. What all keys of the index begin with is
// left out first, so that the digits tell them apart. A pattern is the range of the texts that
// begin with its literal prefix; so is a plain text, by its first letters, since more of it would
// make the share of a text that occurs often far too small.

namespace
{

constexpr int kAssertLine = 412;
constexpr double kBase = 38.0;
constexpr double kValueBase = 65536.0;
constexpr unsigned kDigits = 9; ///< as many as a double tells apart
constexpr unsigned kPlainDigits = 2;

void AssertEval(bool holds, const char* text)
{
    if (!holds)
        KORA_assert(text, "src\\kotypevl", kAssertLine);
}

/// The digit of an order; ideographs share the last one by their values.
double DigitOf(o_u2b order, unsigned char variant)
{
    constexpr int kFirstLetter = 11;
    constexpr int kLastLetter = 36;
    if (variant == KoVARIANT_IDEOGRAPHIC)
        return 1.0 + (kBase - 1.0) * order / 65536.0;
    switch (KoClassOfOrder(order)) {
    case KoORDER_DIGIT:
        return std::min(1 + (order - KoORDER_DIGIT) / 10, 10);
    case KoORDER_LETTER:
        return std::clamp(kFirstLetter - 3 + ((order >> 2) & 0x1F), kFirstLetter, kLastLetter);
    default:
        return kBase - 1.0 + (static_cast<int>(order) - 0x8000) / 32768.0;
    }
}

/// How the characters of an index become digits.
enum class Scale {
    kLetters,
    kSymbols,    ///< no key has a character at the first level, such as in Greek
    kIdeographs, ///< all keys are texts of an ideographic language
};

/// The digits of a text.
struct Digits {
    Digits(const KoConditionText& text, Scale scale)
        : base(scale == Scale::kLetters ? kBase : kValueBase), variant(text.variant)
    {
        for (unsigned i = 0; i < text.count; ++i) {
            const o_u2b order = text.orders[i];
            if (scale == Scale::kSymbols)
                digits[count++] = order;
            else if (KoConditionText::IsPrimary(order))
                digits[count++] = scale == Scale::kLetters ? DigitOf(order, variant) : order;
        }
    }

    /// As a number, its first `skipped` digits left out.
    double Position(unsigned skipped) const
    {
        double position = 0.0;
        double unit = 1.0;
        for (unsigned i = skipped; i < std::min(count, skipped + kDigits); ++i) {
            unit /= base;
            position += digits[i] * unit;
        }
        return variant + position;
    }
    /// The room that texts take which begin with the first `kept` digits behind the skipped.
    double Room(unsigned skipped, unsigned kept) const
    {
        const unsigned behind = count > skipped ? std::min({count - skipped, kept, kDigits}) : 0;
        return std::pow(base, -static_cast<double>(behind));
    }

    double base;
    double digits[KoConditionText::kMaxOrders];
    unsigned count = 0;
    unsigned char variant;
};

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

/// The leading digits that both texts have.
unsigned CommonDigits(const Digits& a, const Digits& b)
{
    unsigned common = 0;
    while (a.variant == b.variant && common < std::min(a.count, b.count) &&
           a.digits[common] == b.digits[common])
        ++common;
    return common;
}

struct Interval {
    double from, to;
};

/// What the condition's text stands for, where all keys share their first `shared` digits.
Interval IntervalOf(const KoConditionText& text, const Digits& digits, const Digits& keys,
                    unsigned shared)
{
    if (text.isNull)
        return {-1.0, -1.0};
    const unsigned common = CommonDigits(digits, keys);
    if (common >= shared || digits.variant != keys.variant) {
        const double from = digits.Position(shared);
        const unsigned kept = text.isPattern ? kDigits : kPlainDigits;
        return {from, from + digits.Room(shared, kept)};
    }
    if (common == digits.count)
        return text.isPattern ? Interval{-1.0, 512.0} : Interval{-1.0, -1.0};
    const bool below = digits.digits[common] < keys.digits[common];
    return below ? Interval{-1.0, -1.0} : Interval{512.0, 512.0};
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
    const Digits low(lowest, scale);
    const Digits high(highest, scale);
    const Digits digits(condition, scale);
    const unsigned shared = open ? 0 : CommonDigits(low, high);

    const double start = lowest.isNull ? 0.0 : low.Position(shared);
    const double end = bounds.high == nullptr ? 1.0 + std::max(digits.variant, low.variant)
                                              : high.Position(shared) + high.Room(shared, kDigits);
    const double valueTotalArea = end - start;
    if (!(valueTotalArea > 0.0))
        return 0.0;
    const unsigned charWildPos = condition.isPattern ? condition.count : KoString::kToEnd;
    Interval texts{start, end};
    if (charWildPos != 0) {
        const Interval asked = IntervalOf(condition, digits, low, shared);
        texts = {std::clamp(asked.from, start, end), std::clamp(asked.to, start, end)};
    }
    const double valueRange = texts.to - texts.from;
    AssertEval(charWildPos != 0 || valueRange >= valueTotalArea,
               "charWildPos != 0 || valueRange >= valueTotalArea");

    double total = 0.0;
    if ((bits & KoQOP_LESS) != 0)
        total += texts.from - start;
    if ((bits & KoQOP_GREATER) != 0)
        total += end - texts.to;
    if ((bits & KoQOP_EQUAL) != 0)
        total += valueRange;
    return std::clamp(total / valueTotalArea, 0.0, 1.0);
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
