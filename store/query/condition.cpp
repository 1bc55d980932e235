#include "query/condition.h"

namespace ko::store::inner
{

Truth Condition::Test(std::string_view value) const
{
    const auto truth = [](bool holds) { return holds ? Truth::True : Truth::False; };
    if (kind == Predicate::Kind::IsNull || kind == Predicate::Kind::IsNotNull)
        return truth(value.empty() == (kind == Predicate::Kind::IsNull));
    if (value.empty())
        return Truth::Unknown;
    int status = 0;
    const int order = outside == Outside::Below ? 1
                      : outside == Outside::Above
                          ? -1
                          : ComparePersistent(type, value, form, cmpOp, status);
    switch (op) {
    case Operator::Equal:
        return truth(order == 0);
    case Operator::NotEqual:
        return truth(order != 0);
    case Operator::Less:
        return truth(order < 0);
    case Operator::LessEqual:
        return truth(order <= 0);
    case Operator::Greater:
        return truth(order > 0);
    case Operator::GreaterEqual:
        return truth(order >= 0);
    }
    return Truth::Unknown;
}

std::string Condition::ShownEnd() const
{
    if ((cmpOp & kPlainOperator) != 0)
        return "\"" + written + "\"" + Suffixes();
    std::string shown = "below ";
    for (std::size_t i = 0; i < written.size() && written[i] != '*' && written[i] != '?'; ++i) {
        i += written[i] == '\\' && i + 1 < written.size() ? 1 : 0;
        shown.push_back(written[i]);
    }
    return shown + "...";
}

std::string Condition::Suffixes() const
{
    return std::string((cmpOp & kIgnoreCase) != 0 ? "i" : "") +
           ((cmpOp & kIgnoreAccents) != 0 ? "a" : "");
}

} // namespace ko::store::inner
