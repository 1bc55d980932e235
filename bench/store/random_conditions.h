#ifndef KO_BENCH_STORE_RANDOM_CONDITIONS_H
#define KO_BENCH_STORE_RANDOM_CONDITIONS_H

#include "store/generated_table.h"
#include "store/random_predicate.h"

#include "query/condition.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ko::store::inner
{

/// Random conditions and the number of rows that meet them.
class RandomConditions
{
public:
    RandomConditions(const Table& table, unsigned seed) : m_table(table), m_random(seed) {}

    std::size_t Below(std::size_t end) { return m_random() % end; }

    std::string Single()
    {
        const std::size_t at = Below(m_table.columns.size());
        const Attribute& attribute = m_table.schema.attributes[at];
        const Table::Column& column = m_table.columns[at];
        // Half of the literals are as frequent as their values, half are any of these.
        const std::size_t value =
            Below(2) == 0 ? column.rows[Below(column.rows.size())] : Below(column.forms.size());
        const std::string& text = column.texts[value];
        if (column.forms[value].empty() || Below(20) == 0)
            return attribute.name + (Below(2) == 0 ? " is null" : " is not null");
        static const char* const kOperators[] = {" = ",  " = ", " != ", " < ",
                                                 " <= ", " > ", " >= "};
        if (attribute.type.HasPatterns() && Below(4) == 0)
            return attribute.name + " = " + Pattern(text);
        return attribute.name + kOperators[Below(7)] + RandomPredicates::Quoted(text);
    }

    /// Two or three conditions, "and" twice as often as "or", some with "not".
    std::string Several()
    {
        static const char* const kBetween[] = {" and ", " and ", " or "};
        const auto one = [&] { return (Below(10) == 0 ? "not " : "") + Single(); };
        if (Below(2) == 0)
            return one() + kBetween[Below(3)] + one();
        const std::string two = "(" + one() + kBetween[Below(3)] + one() + ")";
        return two + kBetween[Below(3)] + one();
    }

    std::size_t Count(const Condition& condition)
    {
        const std::vector<Kept> truths = OfRows(condition);
        return static_cast<std::size_t>(std::count(truths.begin(), truths.end(), kTrue));
    }

private:
    enum Kept : std::uint8_t { kFalse, kUnknown, kTrue };

    std::string Pattern(const std::string& text)
    {
        const auto part = [&](std::size_t from, std::size_t size) {
            const std::size_t begin = RandomPredicates::Cut(text, from);
            const std::size_t end = RandomPredicates::Cut(text, from + size);
            std::string quoted = RandomPredicates::Quoted(text.substr(begin, end - begin));
            return quoted.substr(1, quoted.size() - 2);
        };
        switch (Below(3)) {
        case 0:
            return "\"" + part(0, 1 + Below(6)) + "*\"";
        case 1:
            return "\"*" + part(Below(text.size() + 1), 2 + Below(4)) + "*\"";
        default:
            return RandomPredicates::Quoted(text) + "i";
        }
    }

    std::vector<Kept> OfRows(const Condition& condition)
    {
        std::vector<Kept> truths(m_table.Rows());
        if (condition.parts.empty()) {
            const Table::Column& column = m_table.columns[condition.attribute];
            std::vector<Kept> ofValue;
            for (const std::string& form : column.forms) {
                const Truth truth = condition.Test(form);
                ofValue.push_back(truth == Truth::True      ? kTrue
                                  : truth == Truth::Unknown ? kUnknown
                                                            : kFalse);
            }
            for (std::size_t row = 0; row < truths.size(); ++row)
                truths[row] = ofValue[column.rows[row]];
            return truths;
        }
        truths = OfRows(condition.parts[0]);
        if (condition.kind == Predicate::Kind::Not) {
            for (Kept& truth : truths)
                truth = static_cast<Kept>(kTrue - truth);
        }
        for (std::size_t part = 1; part < condition.parts.size(); ++part) {
            const std::vector<Kept> others = OfRows(condition.parts[part]);
            for (std::size_t row = 0; row < truths.size(); ++row)
                truths[row] = condition.kind == Predicate::Kind::And
                                  ? std::min(truths[row], others[row])
                                  : std::max(truths[row], others[row]);
        }
        return truths;
    }

    const Table& m_table;
    std::mt19937_64 m_random;
};

} // namespace ko::store::inner

#endif
