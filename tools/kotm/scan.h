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
    /// Before or after all entries with that form. The empty form is the null value's.
    struct Edge {
        std::string form;
        bool behind = false;
        std::string shown = {}; ///< for people, where nobody would write the form so
    };

    std::size_t attribute = 0;
    Edge low;
    std::optional<Edge> high; ///< absent: the end of the index
    bool exact = false;       ///< the entries in it are the answer, nothing is left to test

    /// The whole index, null values included.
    static IndexRange All(std::size_t attribute);
    /// No entry at all.
    static IndexRange None(std::size_t attribute);
    bool IsNone() const
    {
        return low.form.empty() && high && high->form.empty() && high->behind == low.behind;
    }
};

enum class ScanOrder {
    Forwards,  ///< the order of the index
    Backwards, ///< its reverse
    Numbers    ///< that in which the objects lie: they are read in the least time
};

/// Walks the objects of a store: all of them, or those of an index range.
class Scan
{
public:
    /// A null range: all objects.
    Scan(Store& store, const IndexRange* range, ScanOrder order);

    /// Moves to the next object; false at the end. This and Record throw Failure (Exit::Damaged)
    /// for an entry whose object does not exist.
    bool Next();
    const char* Id() const { return m_id; }
    /// The object's record.
    std::string_view Record();
    /// The form that the index has of the object's value; empty where it has none or a cut one.
    std::string_view IndexedForm() const;

private:
    /// The entry that lies at an edge of the range.
    struct EdgeEntry {
        std::size_t size = 0; ///< 0: the end of the index
        char bytes[kMaxEntry];

        MDB_val Key() { return {size, bytes}; }
    };

    bool NextEntry();
    bool NextNumber();
    void FindRecord();
    bool Start(MDB_val& key);
    bool Step(MDB_val& key, MDB_cursor_op op);
    bool Inside(const MDB_val& key);
    int CompareKeys(std::string_view a, std::string_view b) const;
    void FindEnd();

    Store& m_store;
    std::optional<std::size_t> m_attribute; ///< of the index; none for the objects themselves
    bool m_backwards;
    bool m_byNumber;
    Store::Cursor m_cursor;
    EdgeEntry m_low;
    EdgeEntry m_high;
    unsigned m_steps = 0;
    const void* m_end = nullptr; ///< the first entry after the range, once FindEnd has looked
    const char* m_id = nullptr;
    std::string_view m_entry;
    std::string_view m_record;
    std::vector<std::uint64_t> m_numbers; ///< of all objects of the range, in order
    std::size_t m_nextNumber = 0;
    char m_numberId[kObjectIdBytes];
};

} // namespace kotm

#endif
