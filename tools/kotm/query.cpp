#include "query.h"

#include "object/object_store.h"
#include "query/planner.h"
#include "query/scan.h"
#include "row_printer.h"

#include <algorithm>
#include <ostream>

namespace kotm
{

using namespace ko::store;
using namespace ko::store::inner;

namespace
{

/// Holds the rows of an answer that no index brings in order, or the first `limit` of them.
class Sorter
{
    struct Row {
        std::string form;
        std::uint64_t number;
    };

    /// The order of the index: null first, then the values, equal ones by their objects.
    auto Order() const
    {
        return [this](const Row& a, const Row& b) {
            int order = 0;
            int status = 0;
            if (a.form.empty() || b.form.empty())
                order = static_cast<int>(b.form.empty()) - static_cast<int>(a.form.empty());
            else
                order = ComparePersistent(m_type, a.form, b.form, kPlainOperator, status);
            if (order == 0)
                order = a.number < b.number ? -1 : a.number > b.number ? 1 : 0;
            return m_descending ? order > 0 : order < 0;
        };
    }

public:
    Sorter(o_char type, bool descending, std::uint64_t limit)
        : m_type(type), m_descending(descending), m_limit(limit)
    {
    }

    void Add(std::string_view form, std::uint64_t number)
    {
        m_rows.push_back({std::string(form), number});
        if (m_limit < m_rows.size() / 2 && m_rows.size() >= 4096)
            Cut();
    }

    std::vector<std::uint64_t> Sort()
    {
        std::sort(m_rows.begin(), m_rows.end(), Order());
        if (m_rows.size() > m_limit)
            m_rows.resize(static_cast<std::size_t>(m_limit));
        std::vector<std::uint64_t> numbers;
        for (const Row& row : m_rows)
            numbers.push_back(row.number);
        return numbers;
    }

private:
    void Cut()
    {
        const auto end = m_rows.begin() + static_cast<std::ptrdiff_t>(m_limit);
        std::nth_element(m_rows.begin(), end, m_rows.end(), Order());
        m_rows.erase(end, m_rows.end());
    }

    o_char m_type;
    bool m_descending;
    std::uint64_t m_limit;
    std::vector<Row> m_rows;
};

class Runner
{
public:
    Runner(const QueryRequest& request, Snapshot& snapshot)
        : m_request(request), m_snapshot(snapshot), m_schema(snapshot.GetSchema())
    {
        for (const std::string& name : request.columns)
            AttributeNamed(m_schema, name, "--columns");
        for (const auto& [name, format] : request.prints)
            AttributeNamed(m_schema, name, "--print");
        if (!request.predicate.empty()) {
            m_condition =
                Condition::Make(ParsePredicate(request.predicate), request.predicate, m_schema);
            m_plan = MakePlan(snapshot, *m_condition, request.count);
            m_range = m_plan.range;
        }
        if (!request.order.empty())
            ChooseOrder();
    }

    void Count(std::ostream& out)
    {
        if (!m_condition) {
            out << std::min(m_snapshot.GetCounts().objects, m_request.limit) << '\n';
            return;
        }
        out << StartScan(ScanOrder::Numbers).Count(m_request.limit) << '\n';
    }

    void Print(std::ostream& out)
    {
        RowPrinter printer(m_request, m_snapshot, out);
        const bool byIndex = m_order && !m_mustSort;
        Scan scan = StartScan(!byIndex               ? ScanOrder::Numbers
                              : m_request.descending ? ScanOrder::Backwards
                                                     : ScanOrder::Forwards);
        if (m_mustSort)
            PrintSorted(scan, printer);
        else
            PrintAsFound(scan, printer);
        printer.Finish();
    }

private:
    void ChooseOrder()
    {
        m_order = AttributeNamed(m_schema, m_request.order, "--order");
        // Counted in any order; and without one the objects come in the order of their ids.
        if (m_request.count || (*m_order == kObjectIdIndex && !m_request.descending)) {
            m_order.reset();
            return;
        }
        if (*m_order == kObjectIdIndex) {
            // The objects themselves lie in this order.
            m_mustSort = m_range && m_range->attribute != kObjectIdIndex;
            return;
        }
        if (!m_range && m_schema.attributes[*m_order].index) {
            const auto narrowed = m_plan.ranges.find(*m_order);
            m_range =
                narrowed != m_plan.ranges.end() ? narrowed->second : IndexRange::All(*m_order);
        }
        m_mustSort = !m_range || m_range->attribute != *m_order;
    }

    /// What lies in an exact range meets the condition.
    Scan StartScan(ScanOrder order)
    {
        const bool test = m_condition && !(m_range && m_range->exact);
        return {m_snapshot, m_range ? &*m_range : nullptr, order, test ? &*m_condition : nullptr};
    }

    void PrintAsFound(Scan& scan, RowPrinter& printer)
    {
        for (std::uint64_t left = m_request.limit; left != 0;) {
            const auto numbers = scan.Next(std::min<std::uint64_t>(left, kTogether));
            if (numbers.empty())
                return;
            printer.Print(numbers);
            left -= numbers.size();
        }
    }

    void PrintSorted(Scan& scan, RowPrinter& printer)
    {
        const bool byId = *m_order == kObjectIdIndex;
        Sorter sorter(m_schema.TypeId(*m_order), m_request.descending, m_request.limit);
        std::string room;
        for (auto numbers = scan.Next(kTogether); !numbers.empty();
             numbers = scan.Next(kTogether)) {
            for (const std::uint64_t number : numbers) {
                const auto form =
                    byId ? std::string_view() : m_snapshot.Value(number, *m_order, room);
                if (!form)
                    FailNoObject(m_snapshot, number);
                sorter.Add(*form, number);
            }
        }
        printer.Print(sorter.Sort());
    }

    static constexpr std::size_t kTogether = 4096;

    const QueryRequest& m_request;
    Snapshot& m_snapshot;
    const Schema& m_schema;
    std::optional<Condition> m_condition;
    Plan m_plan;
    std::optional<IndexRange> m_range;
    std::optional<std::size_t> m_order;
    bool m_mustSort = false;
};

} // namespace

void Query(const QueryRequest& request, std::ostream& out)
{
    const std::unique_ptr<Snapshot> snapshot = ObjectStore::Open(request.store, Mode::Read)->Read();
    Runner runner(request, *snapshot);
    if (request.count)
        runner.Count(out);
    else
        runner.Print(out);
}

} // namespace kotm
