#include "base/failure.h"
#include "base/version.h"
#include "file/store.h"

#include <nlohmann/json.hpp>

namespace ko::store
{

using nlohmann::json;

/// A number that was given out already would be one for two objects.
void Store::CheckCounts() const
{
    const Cursor cursor = OpenCursor(m_objects);
    MDB_val key{};
    MDB_val value{};
    const int code = mdb_cursor_get(cursor.get(), &key, &value, MDB_LAST);
    if (code != MDB_NOTFOUND)
        Check(code);
    const std::uint64_t last =
        code == MDB_SUCCESS && key.mv_size == kObjectIdBytes ? ObjectNumber(View(key).data()) : 0;
    if (m_counts.objects != CountEntries(m_objects) || m_counts.nextNumber <= last ||
        m_counts.nextNumber > kMaxObjectNumber + 1)
        throw Failure(Exit::Damaged,
                      m_path + ": is damaged (its counts are not those of its objects)");
}

void Store::ReadDescription()
try {
    const auto read = [&](const char* name) {
        MDB_val key = Val(name);
        MDB_val value{};
        Check(mdb_get(m_txn, m_description, &key, &value));
        json object = json::parse(View(value), nullptr, false);
        if (!object.is_object())
            throw Failure(Exit::Damaged, m_path + ": is damaged (its description is unreadable)");
        return object;
    };
    const auto foreign = [&](const std::string& why) {
        throw Failure(Exit::Damaged, m_path + ": " + why);
    };
    const json store = read("store");
    if (store.value("magic", "") != kStoreMagic)
        foreign("is no store of this program");
    if (store.value("format", 0) != kStoreFormatVersion)
        foreign("has store format " + std::to_string(store.value("format", 0)) +
                ", this program reads " + std::to_string(kStoreFormatVersion));
    if (store.value("library", "") != LibraryVersion())
        foreign("was written with library version " + store.value("library", "?") + ", this is " +
                LibraryVersion());
    if (store.value("textTables", 0U) != TextTablesVersion())
        foreign("was written with text tables " + std::to_string(store.value("textTables", 0U)) +
                ", these are " + std::to_string(TextTablesVersion()) +
                ": its text indexes would be out of order");
    m_schema =
        Schema::FromJson(store.value("schema", ""), m_path + ": is damaged: schema", Exit::Damaged);
    const json counts = read("counts");
    const auto count = [&](const char* name) {
        const auto found = counts.find(name);
        if (found == counts.end() || !found->is_number_unsigned())
            throw Failure(Exit::Damaged, m_path + ": is damaged (its counts are unreadable)");
        return found->get<std::uint64_t>();
    };
    m_counts.objects = count("objects");
    m_counts.nextNumber = count("next");
} catch (const json::exception&) {
    throw Failure(Exit::Damaged, m_path + ": is damaged (its description is unreadable)");
}

void Store::WriteDescription()
{
    const std::string text = json{
        {"magic", kStoreMagic},
        {"format", kStoreFormatVersion},
        {"library", LibraryVersion()},
        {"textTables", TextTablesVersion()},
        {"schema",
         m_schema->ToJson()}}.dump();
    MDB_val key = Val("store");
    MDB_val value = Val(text);
    Check(mdb_put(m_txn, m_description, &key, &value, 0));
}

void Store::WriteCounts()
{
    const std::string text =
        json{{"objects", m_counts.objects}, {"next", m_counts.nextNumber}}.dump();
    MDB_val key = Val("counts");
    MDB_val value = Val(text);
    Check(mdb_put(m_txn, m_description, &key, &value, 0));
}

} // namespace ko::store
