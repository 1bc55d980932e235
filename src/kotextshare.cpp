#include "kotextshare.h"

#include <kobase.h>
#include <kotypevl.h>

#include <algorithm>
#include <cmath>

namespace
{

constexpr int kAssertLine = 412;
constexpr unsigned kDigits = 9; ///< as many as a double tells apart
constexpr unsigned kPlainDigits = 2;

// Before and behind all positions, whatever the variant.
constexpr double kBefore = -1.0;
constexpr double kBehind = 512.0;

void AssertEval(bool holds, const char* text)
{
    if (!holds)
        KORA_assert(text, "src\\kotypevl", kAssertLine);
}

/// The leading digits that both texts have.
unsigned CommonDigits(const KoTextDigits& a, const KoTextDigits& b)
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

/// What all keys have in common.
struct Keys {
    const KoTextDigits* first; ///< null: any texts
    unsigned shared;           ///< leading digits
    bool sameLength;
    bool numerals;
};

bool AreCodes(const KoTextDigits& text, const Keys& keys)
{
    return keys.sameLength && text.count == keys.first->count &&
           (keys.shared != 0 || (keys.numerals && text.HasNumeral()));
}

Interval IntervalOf(const KoTextAsked& asked, const Keys& keys)
{
    const KoTextDigits& text = asked.digits;
    if (text.isNull)
        return {kBefore, kBefore};
    const unsigned common = keys.first == nullptr ? 0 : CommonDigits(text, *keys.first);
    if (common >= keys.shared || text.variant != keys.first->variant) {
        const double from = text.Position(keys.shared);
        const unsigned kept = asked.isPattern || AreCodes(text, keys) ? kDigits : kPlainDigits;
        return {from, from + text.Room(keys.shared, kept)};
    }
    if (common == text.count)
        return asked.isPattern ? Interval{kBefore, kBehind} : Interval{kBefore, kBefore};
    const bool below = text.digits[common] < keys.first->digits[common];
    return below ? Interval{kBefore, kBefore} : Interval{kBehind, kBehind};
}

} // namespace

double KoTextDigits::Position(unsigned skipped) const
{
    double position = 0.0;
    double unit = 1.0;
    for (unsigned i = skipped; i < std::min(count, skipped + kDigits); ++i) {
        unit /= base;
        position += digits[i] * unit;
    }
    return variant + position;
}

double KoTextDigits::Room(unsigned skipped, unsigned kept) const
{
    const unsigned behind = count > skipped ? std::min({count - skipped, kept, kDigits}) : 0;
    return std::pow(base, -static_cast<double>(behind));
}

bool KoTextDigits::HasNumeral() const
{
    return base == kLetterBase && std::any_of(digits, digits + count, [](double digit) {
               return digit >= kFirstNumeral && digit < kFirstLetter;
           });
}

double KoTextShare(unsigned bits, const KoTextAsked& asked, const KoTextDigits* low,
                   const KoTextDigits* high)
{
    Keys keys{low, 0, false, false};
    if (low != nullptr && high != nullptr)
        keys = {low, CommonDigits(*low, *high), low->count == high->count,
                low->HasNumeral() && high->HasNumeral()};

    const double start = low == nullptr || low->isNull ? 0.0 : low->Position(keys.shared);
    const double end = high != nullptr
                           ? high->Position(keys.shared) + high->Room(keys.shared, kDigits)
                           : 1.0 + std::max(asked.digits.variant,
                                            low != nullptr ? low->variant : asked.digits.variant);
    const double valueTotalArea = end - start;
    if (!(valueTotalArea > 0.0))
        return 0.0;
    Interval texts{start, end};
    const unsigned charWildPos = asked.isPattern ? asked.charWildPos : 0xFFFF;
    if (charWildPos != 0) {
        const Interval found = IntervalOf(asked, keys);
        texts = {std::clamp(found.from, start, end), std::clamp(found.to, start, end)};
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
