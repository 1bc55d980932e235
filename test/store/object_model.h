#ifndef KO_TEST_STORE_OBJECT_MODEL_H
#define KO_TEST_STORE_OBJECT_MODEL_H

#include "base/object_id.h"
#include "object/snapshot.h"
#include "query/condition.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ko::store::inner
{

using Numbers = std::vector<std::uint64_t>;

/// The objects of a store by themselves.
class ObjectModel
{
public:
    explicit ObjectModel(Snapshot& snapshot)
        : m_schema(snapshot.GetSchema()), m_columns(m_schema.attributes.size())
    {
        std::string room;
        for (std::uint64_t number = 1; number < snapshot.GetCounts().nextNumber; ++number) {
            if (snapshot.BlockWith(number) == nullptr)
                continue;
            m_numbers.push_back(number);
            for (std::size_t i = 0; i < m_columns.size(); ++i) {
                const std::string form(*snapshot.Value(number, i, room));
                Column& column = m_columns[i];
                const auto [at, isNew] = column.places.try_emplace(form, column.forms.size());
                if (isNew)
                    column.forms.push_back(form);
                column.rows.push_back(at->second);
            }
        }
        for (std::size_t i = 0; i < m_columns.size(); ++i)
            Rank(m_columns[i], m_schema.TypeId(i));
    }

    Numbers Meeting(const Condition& condition) const
    {
        const std::vector<Truth> truths = Test(condition);
        Numbers numbers;
        for (std::size_t row = 0; row < truths.size(); ++row) {
            if (truths[row] == Truth::True)
                numbers.push_back(m_numbers[row]);
        }
        return numbers;
    }
    /// Of ascending numbers, those that come first in an order.
    Numbers InOrder(const Numbers& numbers, std::size_t attribute, bool descending,
                    std::size_t limit) const
    {
        std::vector<std::pair<std::size_t, std::uint64_t>> order;
        for (std::size_t row = 0, at = 0; row < m_numbers.size() && at < numbers.size(); ++row) {
            if (m_numbers[row] != numbers[at])
                continue;
            ++at;
            const bool byId = attribute == kObjectIdIndex;
            order.emplace_back(byId ? 0
                                    : m_columns[attribute].ranks[m_columns[attribute].rows[row]],
                               m_numbers[row]);
        }
        std::sort(order.begin(), order.end());
        if (descending)
            std::reverse(order.begin(), order.end());
        Numbers first;
        for (std::size_t i = 0; i < std::min(limit, order.size()); ++i)
            first.push_back(order[i].second);
        return first;
    }

private:
    struct Column {
        std::map<std::string, std::size_t> places;
        std::vector<std::string> forms;
        std::vector<std::size_t> ranks; ///< in the order of values; null first
        std::vector<std::size_t> rows;
    };

    static void Rank(Column& column, o_char type)
    {
        const auto less = [&](std::size_t a, std::size_t b) {
            const std::string& left = column.forms[a];
            const std::string& right = column.forms[b];
            int status = 0;
            if (left.empty() || right.empty())
                return left.empty() && !right.empty();
            return ComparePersistent(type, left, right, kPlainOperator, status) < 0;
        };
        std::vector<std::size_t> sorted(column.forms.size());
        for (std::size_t i = 0; i < sorted.size(); ++i)
            sorted[i] = i;
        std::sort(sorted.begin(), sorted.end(), less);
        column.ranks.resize(sorted.size());
        for (std::size_t i = 0, rank = 0; i < sorted.size(); ++i) {
            rank += i > 0 && less(sorted[i - 1], sorted[i]) ? 1 : 0;
            column.ranks[sorted[i]] = rank;
        }
    }

    std::vector<Truth> Test(const Condition& condition) const
    {
        std::vector<Truth> truths(m_numbers.size());
        if (condition.parts.empty()) {
            if (condition.attribute == kObjectIdIndex) {
                for (std::size_t row = 0; row < truths.size(); ++row) {
                    char id[kObjectIdBytes];
                    PutObjectId(id, m_numbers[row]);
                    truths[row] = condition.Test({id, sizeof id});
                }
                return truths;
            }
            const Column& column = m_columns[condition.attribute];
            std::vector<Truth> ofForm;
            for (const std::string& form : column.forms)
                ofForm.push_back(condition.Test(form));
            for (std::size_t row = 0; row < truths.size(); ++row)
                truths[row] = ofForm[column.rows[row]];
            return truths;
        }
        truths = Test(condition.parts[0]);
        if (condition.kind == Predicate::Kind::Not) {
            for (Truth& truth : truths)
                truth = static_cast<Truth>(static_cast<int>(Truth::True) - static_cast<int>(truth));
        }
        for (std::size_t part = 1; part < condition.parts.size(); ++part) {
            const std::vector<Truth> others = Test(condition.parts[part]);
            const bool isAnd = condition.kind == Predicate::Kind::And;
            for (std::size_t row = 0; row < truths.size(); ++row)
                truths[row] =
                    isAnd ? std::min(truths[row], others[row]) : std::max(truths[row], others[row]);
        }
        return truths;
    }

    const Schema& m_schema;
    Numbers m_numbers;
    std::vector<Column> m_columns;
};

} // namespace ko::store::inner

#endif
