#include "scan.h"

#include "failure.h"

#include <algorithm>

namespace kotm
{

namespace
{

/// A look-up of so many entries compares each with the edge; a longer walk looks for its end once.
constexpr unsigned kFewSteps = 16;

/// The key that lies before or behind an object's.
std::string ObjectEdge(const IndexRange::Edge& edge)
{
    if (edge.form.empty()) // the lowest: no object has number 0
        return std::string(kObjectIdBytes, '\0');
    // Objects have tag 0, and the tag decides between equal numbers.
    const std::uint64_t number = ObjectNumber(edge.form.data());
    std::string key(kObjectIdBytes, '\0');
    if (edge.behind || number != 0)
        PutObjectId(key.data(), edge.behind ? number : number - 1, 0xFFFFFFFF);
    return key;
}

std::string_view View(const MDB_val& value)
{
    return {static_cast<const char*>(value.mv_data), value.mv_size};
}

} // namespace

IndexRange IndexRange::All(std::size_t attribute)
{
    return {attribute, {"", false}, std::nullopt, true};
}

Scan::Scan(Store& store, const std::optional<IndexRange>& range, bool backwards)
    : m_store(store), m_backwards(backwards)
{
    MDB_dbi dbi = store.Objects();
    if (range && range->attribute == kObjectIdIndex) {
        m_low = ObjectEdge(range->low);
        if (range->high)
            m_high = ObjectEdge(*range->high);
    } else if (range) {
        m_attribute = range->attribute;
        dbi = store.Index(range->attribute);
        const o_char type = store.GetSchema().attributes[range->attribute].type.Id();
        const auto makeEdge = [&](std::string& entry, const IndexRange::Edge& edge,
                                  std::uint32_t tag) {
            if (IsCut(edge.form))
                store.SetBound(tag, edge.form);
            MakeEntry(entry, type, edge.form, edge.behind ? kMaxObjectNumber + 1 : 0, tag);
        };
        makeEdge(m_low, range->low, 1);
        if (range->high)
            makeEdge(m_high, *range->high, 2);
    }
    CheckLmdb(mdb_cursor_open(store.Transaction(), dbi, &m_cursor), store.Path());
}

Scan::~Scan()
{
    mdb_cursor_close(m_cursor);
}

bool Scan::Step(MDB_val& key, MDB_cursor_op op)
{
    MDB_val value{};
    const int code = mdb_cursor_get(m_cursor, &key, &value, op);
    if (code == MDB_NOTFOUND)
        return false;
    CheckLmdb(code, m_store.Path());
    m_record = View(value);
    return true;
}

bool Scan::Start(MDB_val& key)
{
    if (m_low.empty())
        return Step(key, m_backwards ? MDB_LAST : MDB_FIRST);
    if (!m_backwards) {
        key = {m_low.size(), m_low.data()};
        return Step(key, MDB_SET_RANGE);
    }
    if (m_high.empty())
        return Step(key, MDB_LAST);
    key = {m_high.size(), m_high.data()};
    // No entry equals an edge: the one before it is the last inside.
    return Step(key, MDB_SET_RANGE) ? Step(key, MDB_PREV) : Step(key, MDB_LAST);
}

/// Looks up where a forward scan ends. Entries lie still in the map while the transaction lasts.
void Scan::FindEnd()
{
    MDB_cursor* cursor = nullptr;
    CheckLmdb(mdb_cursor_open(m_store.Transaction(), mdb_cursor_dbi(m_cursor), &cursor),
              m_store.Path());
    MDB_val key{m_high.size(), m_high.data()};
    const int code = mdb_cursor_get(cursor, &key, nullptr, MDB_SET_RANGE);
    mdb_cursor_close(cursor);
    m_end = code == MDB_NOTFOUND ? &m_high : key.mv_data;
    if (code != MDB_NOTFOUND)
        CheckLmdb(code, m_store.Path());
}

int Scan::CompareKeys(std::string_view a, std::string_view b) const
{
    return m_attribute ? CompareEntries(*m_attribute, a, b) : CompareObjectIds(a.data(), b.data());
}

bool Scan::Inside(const MDB_val& key)
{
    const std::string& edge = m_backwards ? m_low : m_high;
    if (edge.empty())
        return true;
    if (m_steps > kFewSteps && !m_backwards) {
        if (m_end == nullptr)
            FindEnd();
        return key.mv_data != m_end;
    }
    const int order = CompareKeys(View(key), edge);
    return m_backwards ? order > 0 : order < 0;
}

bool Scan::Next()
{
    MDB_val key{};
    const bool found = m_steps != 0 ? Step(key, m_backwards ? MDB_PREV : MDB_NEXT) : Start(key);
    m_steps += m_steps <= kFewSteps ? 1 : 0;
    if (!found || !Inside(key))
        return false;
    m_id = static_cast<const char*>(key.mv_data) + key.mv_size - kObjectIdBytes;
    return true;
}

std::string_view Scan::Record()
{
    if (m_attribute && !m_store.Find(m_id, m_record))
        throw Failure(Exit::Damaged, m_store.Path() + ": is damaged: an index names object " +
                                         std::to_string(ObjectNumber(m_id)) +
                                         ", which does not exist");
    return m_record;
}

} // namespace kotm
