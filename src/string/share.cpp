#include "string/share.h"

#include <kobase.h>
#include <kotypevl.h>

#include <algorithm>
#include <cmath>

namespace ko
{

namespace
{

constexpr int kAssertLine = 412;
constexpr unsigned kDigits = 9; ///< as many as a double tells apart
constexpr unsigned kPlainDigits = 2;

void AssertEval(bool holds, const char* text)
{
    if (!holds)
        KORA_assert(text, "src\\kotypevl", kAssertLine);
}

/// The leading digits that both texts have.
unsigned CommonDigits(const TextDigits& a, const TextDigits& b)
{
    unsigned common = 0;
    while (a.variant == b.variant && common < std::min(a.count, b.count) &&
           a.digits[common] == b.digits[common])
        ++common;
    return common;
}

/// The leading digits that tell the keys between two ends apart. Where the ends write one digit
/// differently, the keys between them hold any digits after it: Smith is below smart.
unsigned TellingDigits(const TextDigits& low, const TextDigits& high)
{
    const unsigned common = CommonDigits(low, high);
    const auto* different = std::mismatch(low.codes, low.codes + common, high.codes).first;
    return different == low.codes + common ? TextDigits::kMost
                                           : static_cast<unsigned>(different - low.codes) + 1;
}

/// The keys of the index: what all have in common, and the positions from the first to the last.
struct Keys {
    const TextDigits* first = nullptr; ///< null: any texts
    unsigned shared = 0;               ///< leading digits
    bool sameLength = false;
    bool numerals = false;
    double start = 0.0;
    double end = 0.0;

    double Area() const { return end - start; }
    /// What of the room from a position on is theirs.
    double Part(double from, double room) const
    {
        return std::max(std::min(from + room, end) - std::max(from, start), 0.0);
    }
};

/// Where a text stands by the digits that all keys begin with.
enum class Place {
    kBelow,
    kAround, ///< they begin with it
    kAmong,
    kAbove,
};

Place PlaceOf(const TextDigits& text, const Keys& keys)
{
    if (text.isNull)
        return Place::kBelow;
    const unsigned common = keys.first == nullptr ? 0 : CommonDigits(text, *keys.first);
    if (common >= keys.shared || text.variant != keys.first->variant)
        return Place::kAmong;
    if (common == text.count)
        return Place::kAround;
    return text.digits[common] < keys.first->digits[common] ? Place::kBelow : Place::kAbove;
}

bool AreCodes(const TextDigits& text, const Keys& keys)
{
    return keys.sameLength && text.count == keys.first->count &&
           (keys.shared != 0 || (keys.numerals && text.HasNumeral()) || text.count == 0);
}

/// The share of the keys that equal the text. No text gets more than a pattern that it matches, nor
/// a pattern more than a shorter one: each is the least of what all its beginnings have.
double EqualShare(const TextAsked& asked, const Keys& keys)
{
    const TextDigits& text = asked.digits;
    const Place place = PlaceOf(text, keys);
    if (place != Place::kAmong)
        return place == Place::kAround && asked.isPattern ? 1.0 : 0.0;
    double room = keys.Area();
    const unsigned last = std::min(text.count, keys.shared + kDigits);
    for (unsigned kept = keys.shared; kept <= last; ++kept)
        room = std::min(room, keys.Part(text.Position(keys.shared, kept),
                                        text.Room(std::min(kept - keys.shared, kPlainDigits))));
    if (!asked.isPattern) {
        const unsigned digits =
            AreCodes(text, keys) ? std::min(text.count - keys.shared, kDigits) : kPlainDigits;
        room = std::min(room, keys.Part(text.Position(keys.shared, text.count), text.Room(digits)));
    }
    return room / keys.Area();
}

/// The share of the keys before the text.
double LessShare(const TextDigits& text, const Keys& keys)
{
    const Place place = PlaceOf(text, keys);
    if (place != Place::kAmong)
        return place == Place::kAbove ? 1.0 : 0.0;
    const double position = text.Position(keys.shared, text.count);
    return (std::clamp(position, keys.start, keys.end) - keys.start) / keys.Area();
}

Keys KeysBetween(const TextDigits* low, const TextDigits* high, unsigned char variant)
{
    Keys keys;
    keys.first = low;
    const bool closed = low != nullptr && high != nullptr;
    const unsigned telling = closed ? TellingDigits(*low, *high) : TextDigits::kMost;
    const auto count = [telling](const TextDigits& end) { return std::min(end.count, telling); };
    if (closed) {
        keys.shared = std::min(CommonDigits(*low, *high), telling);
        keys.sameLength = low->count == high->count && low->count <= telling;
        keys.numerals = low->HasNumeral() && high->HasNumeral();
    }
    if (low != nullptr && !low->isNull)
        keys.start = low->Position(keys.shared, count(*low));
    if (high != nullptr)
        keys.end = high->Position(keys.shared, count(*high)) +
                   high->Room(std::min(count(*high) - keys.shared, kDigits));
    else
        keys.end = 1.0 + std::max(variant, low != nullptr ? low->variant : variant);
    // Digits that are fractions lie close together, and one after them may outweigh where they
    // differ. Then that place alone counts.
    if (closed && keys.end <= keys.start && !low->isNull && low->variant == high->variant &&
        keys.shared < std::min(low->count, high->count) &&
        low->digits[keys.shared] < high->digits[keys.shared]) {
        keys.start = low->Position(keys.shared, keys.shared + 1);
        keys.end = high->Position(keys.shared, keys.shared + 1) + high->Room(1);
    }
    return keys;
}

} // namespace

double TextDigits::Position(unsigned skipped, unsigned kept) const
{
    double position = 0.0;
    double unit = 1.0;
    for (unsigned i = skipped; i < std::min(kept, skipped + kDigits); ++i) {
        unit /= base;
        position += digits[i] * unit;
    }
    return variant + position;
}

double TextDigits::Room(unsigned certain) const
{
    return std::pow(base, -static_cast<double>(certain));
}

bool TextDigits::HasNumeral() const
{
    return base == kLetterBase && std::any_of(digits, digits + count, [](double digit) {
               return digit >= kFirstNumeral && digit < kFirstLetter;
           });
}

double TextShare(unsigned bits, const TextAsked& asked, const TextDigits* low,
                 const TextDigits* high)
{
    const Keys keys = KeysBetween(low, high, asked.digits.variant);
    const double valueTotalArea = keys.Area();
    if (!(valueTotalArea > 0.0))
        return 0.0;
    const unsigned charWildPos = asked.isPattern ? asked.charWildPos : 0xFFFF;
    double equal = charWildPos == 0 ? 1.0 : EqualShare(asked, keys);
    const double valueRange = equal * valueTotalArea;
    AssertEval(charWildPos != 0 || valueRange >= valueTotalArea,
               "charWildPos != 0 || valueRange >= valueTotalArea");

    // Digits do not tell everything about a text. Where they say that all keys equal it, half of
    // them may still be others.
    constexpr unsigned kUnequal = KoQOP_LESS | KoQOP_GREATER;
    if (equal >= 1.0 && (bits & KoQOP_EQUAL) == 0 &&
        ((bits & kUnequal) == kUnequal || (asked.isPattern && asked.digits.count == 0)))
        equal = 0.5;
    const double less = std::min(LessShare(asked.digits, keys), 1.0 - equal);
    double total = 0.0;
    if ((bits & KoQOP_LESS) != 0)
        total += less;
    if ((bits & KoQOP_GREATER) != 0)
        total += 1.0 - equal - less;
    if ((bits & KoQOP_EQUAL) != 0)
        total += equal;
    return std::clamp(total, 0.0, 1.0);
}

} // namespace ko
