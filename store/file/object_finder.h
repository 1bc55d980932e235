#ifndef KO_STORE_FILE_OBJECT_FINDER_H
#define KO_STORE_FILE_OBJECT_FINDER_H

#include "file/read_ahead.h"

#include <lmdb.h>

#include <cstdint>
#include <string_view>
#include <vector>

namespace ko::store
{

/// Finds objects of a store by their ids. Once an eighth of all have been looked up, it walks over
/// them and remembers where each lies: who has asked for so many asks for more, such as an answer
/// in the order of an index.
class ObjectFinder
{
public:
    /// Objects lie still while a transaction that only reads lasts: of another, `remembers` is
    /// false.
    ObjectFinder(MDB_txn* txn, MDB_dbi objects, bool remembers);
    ~ObjectFinder();
    ObjectFinder(const ObjectFinder&) = delete;
    ObjectFinder& operator=(const ObjectFinder&) = delete;

    /// MDB_SUCCESS with the record, or what LMDB says, MDB_NOTFOUND where there is none.
    int Find(const char* id, std::string_view& record);
    /// Has the processor fetch what Find will look at for object `number`.
    void Fetch(std::uint64_t number) const;

private:
    struct Place {
        const char* record = nullptr; ///< null: no object has the number
        std::size_t size = 0;
    };

    int Search(const char* id, std::string_view& record);
    void Remember();

    MDB_txn* m_txn;
    MDB_dbi m_objects;
    MDB_cursor* m_cursor = nullptr; ///< for neighbours of the object found last
    std::uint64_t m_last = 0;       ///< its number
    ReadAhead m_ahead;
    std::uint64_t m_entries = 0;
    std::uint64_t m_untilWalk = UINT64_MAX; ///< searches left until the walk
    std::vector<Place> m_places;            ///< by number, after the walk
};

} // namespace ko::store

#endif
