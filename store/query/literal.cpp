#include "query/literal.h"

#include "base/object_id.h"
#include "base/object_number.h"
#include "base/visible.h"
#include "schema/field_reader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace ko::store::inner
{

namespace
{

constexpr std::string_view kDigits = "0123456789";

/// The end of the digits at `at`.
std::size_t SkipDigits(std::string_view text, std::size_t at)
{
    return std::min(text.find_first_not_of(kDigits, at), text.size());
}

/// What a decimal number is, as text: [+-] digits [. digits] [e [+-] digits].
ValueType::Number NumberIn(std::string_view text)
{
    const auto skipSign = [&](std::size_t at) {
        return at < text.size() && (text[at] == '+' || text[at] == '-') ? at + 1 : at;
    };
    const std::size_t start = skipSign(0);
    std::size_t at = SkipDigits(text, start);
    if (at == start)
        return ValueType::Number::None;
    if (at == text.size())
        return ValueType::Number::Integer;
    if (text[at] == '.')
        at = SkipDigits(text, at + 1);
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        const std::size_t exponent = skipSign(at + 1);
        at = SkipDigits(text, exponent);
        if (at == exponent)
            return ValueType::Number::None;
    }
    return at == text.size() ? ValueType::Number::Floating : ValueType::Number::None;
}

/// Reads a text under another format than the attribute's, which a null one stands for its type's.
bool ReadUnder(const Attribute& attribute, std::optional<std::string> format,
               std::string_view literal, std::string& form)
{
    Attribute other = attribute;
    other.format = std::move(format);
    TextFault fault;
    return FieldReader(other).Read(literal, form, fault) == FieldReader::Result::Present;
}

Outside SideOf(std::string_view number)
{
    return number.front() == '-' ? Outside::Below : Outside::Above;
}

/// Integers: beyond the numbers of the type, whatever the format makes of them. A format for
/// unsigned numbers, or bits, reads -1 as the largest.
bool IsOutsideOfIntegers(const Attribute& attribute, const Literal& literal, bool readable)
{
    const ValueType::Number kind = NumberIn(literal.text);
    if (attribute.type.NumberKind() != ValueType::Number::Integer || literal.quoted ||
        kind == ValueType::Number::None || (readable && literal.text.front() != '-'))
        return false;
    std::string integer = literal.text;
    if (kind == ValueType::Number::Floating) {
        const double number = std::strtod(literal.text.c_str(), nullptr);
        char outwards[400];
        std::snprintf(outwards, sizeof outwards, "%.0f",
                      number < 0 ? std::floor(number) : std::ceil(number));
        integer = outwards;
    }
    std::string form;
    return !ReadUnder(attribute, "%S", integer, form);
}

/// Floating numbers: between the largest finite one and infinity. Takes that finite one in place of
/// the literal, and the operator that then means the same; but = and != have nothing to look at.
bool TakeLargest(Condition& condition, const Attribute& attribute, const Literal& literal)
{
    std::string form;
    if (attribute.type.NumberKind() != ValueType::Number::Floating || literal.quoted ||
        NumberIn(literal.text) == ValueType::Number::None ||
        ReadUnder(attribute, std::nullopt, literal.text, form))
        return false;
    const Outside side = SideOf(literal.text);
    if (condition.op == Operator::Equal || condition.op == Operator::NotEqual) {
        condition.outside = side;
        return true;
    }
    const bool above = side == Outside::Above;
    for (const char* largest : {"1.7976931348623157e308", "3.4028234663852886e38"}) {
        if (!ReadUnder(attribute, std::nullopt, (above ? "" : "-") + std::string(largest),
                       condition.form))
            continue;
        const bool wantsLess =
            condition.op == Operator::Less || condition.op == Operator::LessEqual;
        if (wantsLess)
            condition.op = above ? Operator::LessEqual : Operator::Less;
        else
            condition.op = above ? Operator::Greater : Operator::GreaterEqual;
        return true;
    }
    return false;
}

bool IsOneOf(std::string_view letters, char c)
{
    return letters.find(c) != std::string_view::npos;
}

/// The directives of a format, optional parts passed over.
struct Directives {
    bool year = false;
    bool time = false;
    std::size_t firstTime = 0; ///< where the first directive of a time of day stands

    explicit Directives(std::string_view format)
    {
        for (std::size_t i = 0; i + 1 < format.size(); ++i) {
            if (format[i] != '%')
                continue;
            const std::size_t start = i++;
            year = year || IsOneOf("YyDOX", format[i]);
            if (!time && IsOneOf("HIMSfNpPTOX", format[i])) {
                time = true;
                firstTime = start;
            }
        }
    }
};

/// A date alone where the attribute's format has a time of day as well.
bool ReadDateAlone(const Attribute& attribute, std::string_view literal, std::string& form)
{
    const char* format = attribute.Format() != nullptr
                             ? attribute.Format()
                             : Manager().ExchangeFormat(attribute.type.Id(), nullptr);
    const std::string_view whole = format != nullptr ? format : "";
    const Directives directives(whole);
    if (!directives.year || !directives.time)
        return false;
    std::string_view date = whole.substr(0, directives.firstTime);
    // After the last directive stands what parts the date from the time.
    const std::size_t last = date.rfind('%');
    date = last == std::string_view::npos ? "" : date.substr(0, last + 2);
    const bool hasDate = Directives(date).year && whole.find("%?") == std::string_view::npos;
    return (hasDate && ReadUnder(attribute, std::string(date), literal, form)) ||
           ReadUnder(attribute, "%Y-%m-%d", literal, form);
}

/// The operator word of a literal, after a look at what its type allows.
unsigned short OperatorWord(const Predicate& predicate, std::string_view text,
                            const Attribute& attribute)
{
    const Literal& literal = predicate.literal;
    if (!literal.pattern && !literal.ignoreCase && !literal.ignoreAccents)
        return kPlainOperator;
    const std::size_t start = literal.at.front();
    if (!attribute.type.HasPatterns())
        FailAt(text, start,
               "wildcards and suffixes go with texts, " + attribute.name + " is of type " +
                   attribute.type.Name());
    if (literal.pattern && predicate.op != Operator::Equal && predicate.op != Operator::NotEqual)
        FailAt(text, start,
               "wildcards go with = and !=; suffix x or \\ makes * and ? plain characters");
    return static_cast<unsigned short>((literal.pattern ? 0 : kPlainOperator) |
                                       (literal.ignoreCase ? kIgnoreCase : 0) |
                                       (literal.ignoreAccents ? kIgnoreAccents : 0));
}

} // namespace

void ReadLiteral(Condition& condition, const Predicate& predicate, std::string_view text,
                 const Attribute& attribute)
{
    const Literal& literal = predicate.literal;
    const std::size_t start = literal.at.front();
    if (attribute.type.IsText() && !literal.quoted)
        FailAt(text, start, "a value of " + attribute.name + " stands in double quotes");
    condition.cmpOp = OperatorWord(predicate, text, attribute);
    condition.written = literal.text;
    Attribute anyCodeSet = attribute;
    anyCodeSet.codeSet = 0;
    TextFault fault;
    const auto result = FieldReader(anyCodeSet).Read(literal.text, condition.form, fault);
    if (result == FieldReader::Result::Absent)
        FailAt(text, start, "the null value; ask for it with \"is null\"");
    const bool readable = result == FieldReader::Result::Present;
    if (IsOutsideOfIntegers(anyCodeSet, literal, readable)) {
        condition.outside = SideOf(literal.text);
        condition.form.clear();
        return;
    }
    if (!readable && !TakeLargest(condition, anyCodeSet, literal) &&
        !ReadDateAlone(anyCodeSet, literal.text, condition.form))
        FailAt(text, literal.at[std::min(fault.offset, literal.at.size() - 1)], fault.reason);
}

void ReadObjectIdLiteral(Condition& condition, const Predicate& predicate, std::string_view text)
{
    condition.type = KoOBJID_T;
    const Literal& literal = predicate.literal;
    if (literal.quoted) {
        const Attribute id{kObjectIdName, {}, ValueType(KoOBJID_T), std::nullopt, false, 0};
        ReadLiteral(condition, predicate, text, id);
        return;
    }
    condition.cmpOp = kPlainOperator;
    condition.written = literal.text;
    o_u8b number = 0;
    unsigned errorAt = 0;
    const bool fits = Manager().ParseFromKoString(KoU8B_T, &number, KoString(literal.text.c_str()),
                                                  nullptr, errorAt) == 0;
    if (!fits && NumberIn(literal.text) != ValueType::Number::Integer)
        FailAt(text, literal.at[std::min<std::size_t>(errorAt, literal.at.size() - 1)],
               "an object id is a number or a text such as \"(0-17#0)\"");
    if (!fits || number > kMaxObjectNumber) {
        condition.outside = SideOf(literal.text);
        return;
    }
    condition.form.resize(kObjectIdBytes);
    PutObjectId(condition.form.data(), number);
}

} // namespace ko::store::inner
