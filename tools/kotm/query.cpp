#include "query.h"

#include "condition.h"
#include "failure.h"
#include "planner.h"

#include <algorithm>
#include <ostream>

namespace kotm
{

namespace
{

std::size_t AttributeNamed(const Schema& schema, const std::string& name, const char* where)
{
    if (name == kObjectIdName)
        return kObjectIdIndex;
    const Attribute* attribute = schema.Find(name);
    if (attribute == nullptr)
        throw Failure(Exit::Usage, std::string(where) + ": " + schema.NoAttribute(name));
    return static_cast<std::size_t>(attribute - schema.attributes.data());
}

/// Prints the chosen attributes of a record.
class RowPrinter
{
public:
    RowPrinter(const QueryRequest& request, const Schema& schema, std::ostream& out)
    {
        std::vector<std::string> names = request.columns;
        if (names.empty()) {
            for (const Attribute& attribute : schema.attributes)
                names.push_back(attribute.name);
        }
        if (request.ids && std::find(names.begin(), names.end(), kObjectIdName) == names.end())
            names.insert(names.begin(), kObjectIdName);
        for (const std::string& name : names) {
            const std::size_t index = AttributeNamed(schema, name, "--columns");
            const auto print = request.prints.find(name);
            const std::string* format = print != request.prints.end() ? &print->second : nullptr;
            if (index == kObjectIdIndex) {
                m_columns.push_back({index, Value(ValueType(KoOBJID_T)), format});
                continue;
            }
            const Attribute& attribute = schema.attributes[index];
            if (format == nullptr && attribute.format)
                format = &*attribute.format;
            m_columns.push_back({index, Value(attribute.type), format});
        }
        m_writer = RowWriter::Make(request.output, names, out, request.toTerminal);
    }

    /// Tells `record` what Print looks at.
    void Need(RecordReader& record) const
    {
        for (const Column& column : m_columns)
            record.Need(column.attribute);
    }

    void Print(const RecordReader& record)
    {
        m_cells.resize(m_columns.size());
        for (std::size_t i = 0; i < m_columns.size(); ++i) {
            Column& column = m_columns[i];
            Cell& cell = m_cells[i];
            const std::string_view form = record.Form(column.attribute);
            cell.null = form.empty();
            cell.number = !column.value.Type().IsText();
            cell.text.clear();
            if (cell.null)
                continue;
            column.value.Load(form);
            column.value.Print(cell.text,
                               column.format != nullptr ? column.format->c_str() : nullptr);
        }
        m_writer->Row(m_cells);
    }

    void Finish() { m_writer->Finish(); }

private:
    struct Column {
        std::size_t attribute;
        Value value;
        const std::string* format; ///< null: the type's own
    };

    std::vector<Column> m_columns;
    std::vector<Cell> m_cells;
    std::unique_ptr<RowWriter> m_writer;
};

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

    void Add(std::string_view form, const char* id)
    {
        m_rows.push_back({std::string(form), ObjectNumber(id)});
        if (m_limit < m_rows.size() / 2 && m_rows.size() >= 4096)
            Cut();
    }

    const auto& Sort()
    {
        std::sort(m_rows.begin(), m_rows.end(), Order());
        if (m_rows.size() > m_limit)
            m_rows.resize(static_cast<std::size_t>(m_limit));
        return m_rows;
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
    Runner(const QueryRequest& request, Store& store)
        : m_request(request), m_store(store), m_schema(store.GetSchema()), m_record(m_schema)
    {
        for (const std::string& name : request.columns)
            AttributeNamed(m_schema, name, "--columns");
        for (const auto& [name, format] : request.prints)
            AttributeNamed(m_schema, name, "--print");
        if (!request.predicate.empty()) {
            m_condition =
                Condition::Make(ParsePredicate(request.predicate), request.predicate, m_schema);
            m_plan = MakePlan(store, *m_condition, request.count);
            m_range = m_plan.range;
            m_condition->Need(m_record);
        }
        if (request.order.empty())
            return;
        m_order = AttributeNamed(m_schema, request.order, "--order");
        // Counted in any order; and without one the objects come in the order of their ids.
        if (request.count || (*m_order == kObjectIdIndex && !request.descending)) {
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
        if (m_mustSort)
            m_record.Need(*m_order);
    }

    void Count(std::ostream& out)
    {
        const bool test = m_condition && !(m_range && m_range->exact);
        std::uint64_t count = 0;
        if (!m_condition) {
            count = std::min(m_store.Counts().objects, m_request.limit);
        } else {
            Scan scan(m_store, Range(), test ? ScanOrder::Numbers : ScanOrder::Forwards);
            while (count < m_request.limit && scan.Next()) {
                if (!test || Matches(scan))
                    ++count;
            }
        }
        out << count << '\n';
    }

    void Print(std::ostream& out)
    {
        RowPrinter printer(m_request, m_schema, out);
        if (!m_mustSort)
            printer.Need(m_record);
        const bool byIndex = m_order && !m_mustSort;
        Scan scan(m_store, Range(),
                  !byIndex               ? ScanOrder::Numbers
                  : m_request.descending ? ScanOrder::Backwards
                                         : ScanOrder::Forwards);
        if (m_mustSort && m_order)
            PrintSorted(scan, printer);
        else
            PrintAsFound(scan, printer);
        printer.Finish();
    }

private:
    const IndexRange* Range() const { return m_range ? &*m_range : nullptr; }

    void Read(RecordReader& reader, std::string_view record, const char* id) const
    {
        if (!reader.Read(record))
            throw Failure(Exit::Damaged, m_store.Path() + ": is damaged: object " +
                                             std::to_string(ObjectNumber(id)) +
                                             " has an unsound record");
        reader.SetId(id);
    }

    bool Matches(Scan& scan)
    {
        Read(m_record, scan.Record(), scan.Id());
        return !m_condition || m_condition->Evaluate(m_record) == Truth::True;
    }

    void PrintAsFound(Scan& scan, RowPrinter& printer)
    {
        for (std::uint64_t rows = 0; rows < m_request.limit && scan.Next();) {
            if (Matches(scan)) {
                printer.Print(m_record);
                ++rows;
            }
        }
    }

    void PrintSorted(Scan& scan, RowPrinter& printer)
    {
        Sorter sorter(*m_order == kObjectIdIndex ? static_cast<o_char>(KoOBJID_T)
                                                 : m_schema.attributes[*m_order].type.Id(),
                      m_request.descending, m_request.limit);
        while (scan.Next()) {
            if (Matches(scan))
                sorter.Add(m_record.Form(*m_order), scan.Id());
        }
        RecordReader found(m_schema);
        printer.Need(found);
        for (const auto& row : sorter.Sort()) {
            char id[kObjectIdBytes];
            PutObjectId(id, row.number);
            std::string_view record;
            m_store.Find(id, record);
            Read(found, record, id);
            printer.Print(found);
        }
    }

    const QueryRequest& m_request;
    Store& m_store;
    const Schema& m_schema;
    RecordReader m_record;
    std::optional<Condition> m_condition;
    Plan m_plan;
    std::optional<IndexRange> m_range;
    std::optional<std::size_t> m_order;
    bool m_mustSort = false;
};

} // namespace

void Query(const QueryRequest& request, std::ostream& out)
{
    const std::unique_ptr<Store> store = Store::Open(request.store);
    Runner runner(request, *store);
    if (request.count)
        runner.Count(out);
    else
        runner.Print(out);
}

} // namespace kotm
