#include "scan.h"

#include "failure.h"

#include <algorithm>
#include <array>

namespace kotm
{

namespace
{

/// A look-up of so many entries compares each with the edge; a longer walk looks for its end once.
constexpr unsigned kFewSteps = 16;

/// Writes the key that lies before or after an object's, and returns its size.
std::size_t PutObjectEdge(char* key, const IndexRange::Edge& edge)
{
    // The lowest has no form, and no object has number 0. Objects have tag 0, and the tag decides
    // between equal numbers.
    const std::uint64_t number = edge.form.empty() ? 0 : ObjectNumber(edge.form.data());
    if (edge.form.empty() || (!edge.behind && number == 0))
        PutObjectId(key, 0);
    else
        PutObjectId(key, edge.behind ? number : number - 1, 0xFFFFFFFF);
    return kObjectIdBytes;
}

/// Sorts digit by digit, from the least significant on: in less time than by comparing.
void SortNumbers(std::vector<std::uint64_t>& numbers)
{
    if (numbers.size() < 256) {
        std::sort(numbers.begin(), numbers.end());
        return;
    }
    constexpr unsigned kBits = 11;
    const std::uint64_t highest = *std::max_element(numbers.begin(), numbers.end());
    std::vector<std::uint64_t> sorted(numbers.size());
    for (unsigned shift = 0; highest >> shift != 0; shift += kBits) {
        const auto digit = [&](std::uint64_t number) {
            return number >> shift & ((1U << kBits) - 1);
        };
        std::array<std::size_t, (1U << kBits) + 1> starts{};
        for (const std::uint64_t number : numbers)
            ++starts[digit(number) + 1];
        for (std::size_t i = 1; i < starts.size(); ++i)
            starts[i] += starts[i - 1];
        for (const std::uint64_t number : numbers)
            sorted[starts[digit(number)]++] = number;
        numbers.swap(sorted);
    }
}

} // namespace

IndexRange IndexRange::All(std::size_t attribute)
{
    return {attribute, {"", false}, std::nullopt, false};
}

IndexRange IndexRange::None(std::size_t attribute)
{
    return {attribute, {"", true}, Edge{"", true}, true};
}

Scan::Scan(Store& store, const IndexRange* range, ScanOrder order)
    : m_store(store), m_backwards(order == ScanOrder::Backwards), m_byNumber(false)
{
    MDB_dbi dbi = store.Objects();
    if (range != nullptr && range->attribute == kObjectIdIndex) {
        m_low.size = PutObjectEdge(m_low.bytes, range->low);
        if (range->high)
            m_high.size = PutObjectEdge(m_high.bytes, *range->high);
    } else if (range != nullptr) {
        m_attribute = range->attribute;
        m_byNumber = order == ScanOrder::Numbers;
        dbi = store.Index(range->attribute);
        const o_char type = store.GetSchema().attributes[range->attribute].type.Id();
        const auto put = [&](EdgeEntry& entry, const IndexRange::Edge& edge, std::uint32_t tag) {
            if (LooksCut(edge.form))
                store.SetBound(tag, edge.form);
            entry.size =
                PutEntry(entry.bytes, type, edge.form, edge.behind ? kMaxObjectNumber + 1 : 0, tag);
        };
        put(m_low, range->low, 1);
        if (range->high)
            put(m_high, *range->high, 2);
    }
    m_cursor = store.OpenCursor(dbi);
}

bool Scan::Step(MDB_val& key, MDB_cursor_op op)
{
    MDB_val value{};
    const int code = mdb_cursor_get(m_cursor.get(), &key, &value, op);
    if (code == MDB_NOTFOUND)
        return false;
    CheckLmdb(code, m_store.Path());
    m_record = View(value);
    return true;
}

bool Scan::Start(MDB_val& key)
{
    if (m_low.size == 0)
        return Step(key, m_backwards ? MDB_LAST : MDB_FIRST);
    if (!m_backwards) {
        key = m_low.Key();
        return Step(key, MDB_SET_RANGE);
    }
    if (m_high.size == 0)
        return Step(key, MDB_LAST);
    key = m_high.Key();
    // No entry equals an edge: the one before it is the last inside.
    return Step(key, MDB_SET_RANGE) ? Step(key, MDB_PREV) : Step(key, MDB_LAST);
}

/// Looks up where a forward scan ends. Entries lie still in the map while the transaction lasts.
void Scan::FindEnd()
{
    const Store::Cursor cursor = m_store.OpenCursor(mdb_cursor_dbi(m_cursor.get()));
    MDB_val key = m_high.Key();
    const int code = mdb_cursor_get(cursor.get(), &key, nullptr, MDB_SET_RANGE);
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
    EdgeEntry& edge = m_backwards ? m_low : m_high;
    if (edge.size == 0)
        return true;
    if (m_steps > kFewSteps && !m_backwards) {
        if (m_end == nullptr)
            FindEnd();
        return key.mv_data != m_end;
    }
    const int order = CompareKeys(View(key), {edge.bytes, edge.size});
    return m_backwards ? order > 0 : order < 0;
}

bool Scan::NextEntry()
{
    MDB_val key{};
    const bool found = m_steps != 0 ? Step(key, m_backwards ? MDB_PREV : MDB_NEXT) : Start(key);
    m_steps += m_steps <= kFewSteps ? 1 : 0;
    if (!found)
        return false;
    m_entry = View(key);
    if (m_entry.size() < kObjectIdBytes)
        throw Failure(Exit::Damaged, m_store.Path() + ": is damaged: an entry without an object");
    if (!Inside(key))
        return false;
    m_id = m_entry.data() + m_entry.size() - kObjectIdBytes;
    return true;
}

/// Collects the numbers of all objects first.
bool Scan::NextNumber()
{
    if (m_steps == 0) {
        m_numbers.reserve(32);
        while (NextEntry())
            m_numbers.push_back(ObjectNumber(m_id));
        SortNumbers(m_numbers);
    }
    if (m_nextNumber == m_numbers.size())
        return false;
    PutObjectId(m_numberId, m_numbers[m_nextNumber++]);
    m_id = m_numberId;
    FindRecord();
    if (m_nextNumber != m_numbers.size())
        m_store.Fetch(m_numbers[m_nextNumber]);
    return true;
}

bool Scan::Next()
{
    return m_byNumber ? NextNumber() : NextEntry();
}

std::string_view Scan::IndexedForm() const
{
    const std::string_view form = m_attribute ? EntryView(m_entry).form : std::string_view();
    return LooksCut(form) ? std::string_view() : form;
}

std::string_view Scan::Record()
{
    if (m_attribute && !m_byNumber)
        FindRecord();
    return m_record;
}

void Scan::FindRecord()
{
    if (!m_store.Find(m_id, m_record))
        throw Failure(Exit::Damaged, m_store.Path() + ": is damaged: an index names object " +
                                         std::to_string(ObjectNumber(m_id)) +
                                         ", which does not exist");
}

} // namespace kotm
