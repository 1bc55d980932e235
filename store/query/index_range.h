#ifndef KO_STORE_QUERY_INDEX_RANGE_H
#define KO_STORE_QUERY_INDEX_RANGE_H

#include <cstddef>
#include <optional>
#include <string>

namespace ko::store::inner
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
    static IndexRange All(std::size_t attribute)
    {
        return {attribute, {"", false}, std::nullopt, false};
    }
    /// All values but null.
    static IndexRange Values(std::size_t attribute)
    {
        return {attribute, {"", true}, std::nullopt, false};
    }
    static IndexRange Nulls(std::size_t attribute)
    {
        return {attribute, {"", false}, Edge{"", true}, false};
    }
    /// No entry at all.
    static IndexRange None(std::size_t attribute)
    {
        return {attribute, {"", true}, Edge{"", true}, true};
    }
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

} // namespace ko::store::inner

#endif
