#include "checker.h"

#include "failure.h"
#include "pagecheck.h"
#include "store.h"
#include "visible.h"

#include <algorithm>
#include <ostream>

namespace kotm
{

namespace
{

constexpr std::uint64_t kShownFaults = 100;

class Checker
{
public:
    Checker(Store& store, std::ostream& out)
        : m_store(store), m_schema(store.GetSchema()), m_out(out), m_record(m_schema)
    {
        for (const Attribute& attribute : m_schema.attributes)
            m_values.emplace_back(attribute.type);
    }

    std::uint64_t Run()
    {
        CheckNames();
        std::uint64_t objects = 0;
        Walk(m_store.Objects(), [&](std::string_view key, std::string_view value) {
            ++objects;
            CheckObject(key, value);
            CheckDescent(key, value);
        });
        Expect(objects, m_store.Counts().objects, "objects", "the description");
        for (std::size_t i = 0; i < m_schema.attributes.size(); ++i) {
            if (!m_schema.attributes[i].index)
                continue;
            std::uint64_t entries = 0;
            m_previous.clear();
            Walk(m_store.Index(i), [&](std::string_view key, std::string_view) {
                ++entries;
                CheckEntry(i, key);
            });
            Expect(entries, objects, "entries of the index on " + m_schema.attributes[i].name,
                   "the objects");
        }
        if (m_faults > kShownFaults)
            m_out << m_faults - kShownFaults << " further faults are not shown\n";
        return m_faults;
    }

private:
    void Fault(const std::string& what)
    {
        if (++m_faults <= kShownFaults)
            m_out << "fault: " << Visible(what) << '\n';
    }

    void Expect(std::uint64_t found, std::uint64_t expected, const std::string& what,
                const std::string& by)
    {
        if (found != expected)
            Fault(std::to_string(found) + ' ' + what + " where " + by + " ask for " +
                  std::to_string(expected));
    }

    template <class Take>
    void Walk(MDB_dbi dbi, Take take)
    {
        const Store::Cursor cursor = m_store.OpenCursor(dbi);
        MDB_val key{};
        MDB_val value{};
        int code;
        while ((code = mdb_cursor_get(cursor.get(), &key, &value, MDB_NEXT)) == MDB_SUCCESS)
            take(View(key), View(value));
        if (code != MDB_NOTFOUND)
            CheckLmdb(code, m_store.Path());
    }

    /// An index that the schema does not know of would not be kept.
    void CheckNames()
    {
        MDB_dbi names = 0;
        CheckLmdb(mdb_dbi_open(m_store.Transaction(), nullptr, 0, &names), m_store.Path());
        const auto& attributes = m_schema.attributes;
        const auto indexes = std::count_if(attributes.begin(), attributes.end(),
                                           [](const Attribute& a) { return a.index; });
        Expect(m_store.CountEntries(names), static_cast<std::uint64_t>(indexes) + 2, "databases",
               "the schema");
    }

    void CheckObject(std::string_view key, std::string_view record)
    {
        if (key.size() != kObjectIdBytes || ObjectTag(key.data()) != 0) {
            Fault("an object under a key that is no object id");
            return;
        }
        const std::uint64_t number = ObjectNumber(key.data());
        const std::string object = "object " + std::to_string(number);
        if (number < m_nextNumber)
            Fault(object + ": out of order");
        m_nextNumber = number + 1;
        if (number == 0 || number >= m_store.Counts().nextNumber)
            Fault(object + ": a number that was never given out");
        if (!m_record.ReadAll(record)) {
            Fault(object + ": its record does not hold its attributes");
            return;
        }
        for (std::size_t i = 0; i < m_values.size(); ++i)
            CheckValue(i, m_record.Form(i), number, object);
    }

    /// Looks the object up as a query for its number does: from the root, by the keys of the
    /// branches. Index entries are looked up like that in CheckValue.
    void CheckDescent(std::string_view key, std::string_view record)
    {
        MDB_val id = Val(key);
        MDB_val found{};
        const int code = mdb_get(m_store.Transaction(), m_store.Objects(), &id, &found);
        if (code != MDB_NOTFOUND)
            CheckLmdb(code, m_store.Path());
        if (key.size() == kObjectIdBytes && (code != MDB_SUCCESS || found.mv_data != record.data()))
            Fault("object " + std::to_string(ObjectNumber(key.data())) +
                  ": is not found by its number");
    }

    void CheckValue(std::size_t attribute, std::string_view form, std::uint64_t number,
                    const std::string& object)
    {
        const Attribute& description = m_schema.attributes[attribute];
        if (!form.empty() && !IsSound(m_values[attribute], form))
            Fault(object + ": the value of " + description.name + " is none that its type writes");
        if (!description.index)
            return;
        MakeEntry(m_scratch, description.type.Id(), form, number);
        MDB_val key{m_scratch.size(), m_scratch.data()};
        MDB_val value{};
        const int code = mdb_get(m_store.Transaction(), m_store.Index(attribute), &key, &value);
        if (code == MDB_NOTFOUND)
            Fault(object + ": missing in the index on " + description.name);
        else
            CheckLmdb(code, m_store.Path());
    }

    bool IsSound(Value& value, std::string_view form)
    {
        m_scratch.clear();
        if (!value.LoadUntrusted(form, kStoreFormat))
            return false;
        value.Store(m_scratch);
        return m_scratch == form;
    }

    void CheckEntry(std::size_t attribute, std::string_view entry)
    {
        const Attribute& description = m_schema.attributes[attribute];
        const std::string index = "index on " + description.name;
        const EntryView view(entry);
        if (view.id == nullptr || view.type != description.type.Id() ||
            view.cmpOp != kPlainOperator) {
            Fault(index + ": an entry that is none of its own");
            return;
        }
        if (!m_previous.empty() && CompareEntries(attribute, m_previous, entry) >= 0)
            Fault(index + ": object " + std::to_string(ObjectNumber(view.id)) + " is out of order");
        m_previous = entry;
        std::string_view record;
        const std::string object = " of object " + std::to_string(ObjectNumber(view.id));
        if (!m_store.Find(view.id, record))
            Fault(index + ": an entry" + object + ", which does not exist");
        else if (m_record.ReadAll(record) && EntryForm(m_record.Form(attribute)) != view.form)
            Fault(index + ": an entry" + object + " with another value than the object's");
    }

    Store& m_store;
    const Schema& m_schema;
    std::ostream& m_out;
    RecordReader m_record;
    std::vector<Value> m_values;
    std::string m_scratch;
    std::string m_previous;
    std::uint64_t m_nextNumber = 0;
    std::uint64_t m_faults = 0;
};

} // namespace

std::uint64_t CheckStore(const std::string& path, std::ostream& out)
{
    CheckPages(path);
    const std::unique_ptr<Store> store = Store::Open(path);
    const std::uint64_t faults = Checker(*store, out).Run();
    if (faults == 0)
        out << path << ": " << store->Counts().objects << " objects, no faults\n";
    return faults;
}

} // namespace kotm
