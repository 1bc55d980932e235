#include "file/object_finder.h"

#include "block/entry.h"

#include <algorithm>

namespace ko::store
{

namespace
{

/// Objects that are no further from each other lie on one page as a rule.
constexpr std::uint64_t kNear = 16;
/// The places of more objects are not remembered: these take 32 MiB.
constexpr std::uint64_t kMostPlaces = 1U << 21;

} // namespace

ObjectFinder::ObjectFinder(MDB_txn* txn, MDB_dbi objects, bool remembers)
    : m_txn(txn), m_objects(objects)
{
    MDB_stat stat{};
    if (!remembers || mdb_stat(txn, objects, &stat) != MDB_SUCCESS)
        return;
    m_entries = stat.ms_entries;
    if (m_entries <= kMostPlaces)
        m_untilWalk = std::max<std::uint64_t>(m_entries / 8, 64);
}

ObjectFinder::~ObjectFinder()
{
    mdb_cursor_close(m_cursor);
}

int ObjectFinder::Find(const char* id, std::string_view& record)
{
    const std::uint64_t number = ObjectNumber(id);
    if (number < m_places.size() && ObjectTag(id) == 0 && m_places[number].record != nullptr) {
        record = {m_places[number].record, m_places[number].size};
        return MDB_SUCCESS;
    }
    const int code = Search(id, record);
    if (code == MDB_SUCCESS) {
        m_ahead.Found(number, record.data());
        if (--m_untilWalk == 0)
            Remember();
    }
    return code;
}

void ObjectFinder::Fetch(std::uint64_t number) const
{
    if (number < m_places.size())
        __builtin_prefetch(m_places[number].record);
    else
        m_ahead.Fetch(number);
}

int ObjectFinder::Search(const char* id, std::string_view& record)
{
    const std::uint64_t number = ObjectNumber(id);
    // A cursor looks at its own page first, which is lost time where the object lies elsewhere.
    const bool near = number - m_last < kNear;
    m_last = number;
    if (near && m_cursor == nullptr) {
        const int code = mdb_cursor_open(m_txn, m_objects, &m_cursor);
        if (code != MDB_SUCCESS)
            return code;
    }
    MDB_val key{kObjectIdBytes, const_cast<char*>(id)};
    MDB_val value{};
    const int code = near ? mdb_cursor_get(m_cursor, &key, &value, MDB_SET)
                          : mdb_get(m_txn, m_objects, &key, &value);
    if (code == MDB_SUCCESS)
        record = View(value);
    return code;
}

/// What a damaged store has beside sound objects is left to Search.
void ObjectFinder::Remember()
{
    MDB_cursor* cursor = nullptr;
    if (mdb_cursor_open(m_txn, m_objects, &cursor) != MDB_SUCCESS)
        return;
    const std::uint64_t highest = 2 * m_entries + 64; // further apart they are not worth the room
    m_places.reserve(m_entries + 1);
    MDB_val key{};
    MDB_val value{};
    while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
        const auto* id = static_cast<const char*>(key.mv_data);
        if (key.mv_size != kObjectIdBytes || ObjectTag(id) != 0 || ObjectNumber(id) > highest)
            continue;
        const std::uint64_t number = ObjectNumber(id);
        if (number >= m_places.size())
            m_places.resize(number + 1);
        m_places[number] = {static_cast<const char*>(value.mv_data), value.mv_size};
    }
    mdb_cursor_close(cursor);
}

} // namespace ko::store
