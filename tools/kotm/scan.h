#ifndef KOTM_SCAN_H
#define KOTM_SCAN_H

#include "store.h"

#include <optional>
#include <string>
#include <vector>

namespace kotm
{

/// The part of an index that a condition leaves: all entries from one edge to another. The objects
/// by their ids are an index too, that of kObjectIdIndex.
struct IndexRange {
    /// Before or behind all entries with that form. The empty form is the null value's.
    struct Edge {
        std::string form;
        bool behind = false;
    };

    std::size_t attribute = 0;
    Edge low;
    std::optional<Edge> high; ///< absent: the end of the index
    bool exact = false;       ///< the entries in it are the answer, nothing is left to test

    /// The whole index, null values included.
    static IndexRange All(std::size_t attribute);
};

/// Walks the objects of a store: all of them by number, or those of an index range in its order.
class Scan
{
public:
    Scan(Store& store, const std::optional<IndexRange>& range, bool backwards);
    ~Scan();
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    /// Moves to the next object; false at the end.
    bool Next();
    const char* Id() const { return m_id; }
    /// The object's record. Throws Failure (Exit::Damaged) where there is none.
    std::string_view Record();

private:
    bool Start(MDB_val& key);
    bool Step(MDB_val& key, MDB_cursor_op op);
    bool Inside(const MDB_val& key);
    int CompareKeys(std::string_view a, std::string_view b) const;
    void FindEnd();

    Store& m_store;
    std::optional<std::size_t> m_attribute; ///< of the index; none for the objects themselves
    bool m_backwards;
    MDB_cursor* m_cursor = nullptr;
    std::string m_low;  ///< entries at the edges of the range
    std::string m_high; ///< empty: the end of the index
    unsigned m_steps = 0;
    const void* m_end = nullptr; ///< the first entry behind the range, once FindEnd has looked
    const char* m_id = nullptr;
    std::string_view m_record;
};

} // namespace kotm

#endif
