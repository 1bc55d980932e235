#ifndef KO_STORE_QUERY_WAY_H
#define KO_STORE_QUERY_WAY_H

#include "query/index_range.h"

#include <memory>
#include <vector>

namespace ko::store::inner
{

/// Where the objects of an answer are looked for: in a range of an index, or in several ranges,
/// whose objects are put together by their numbers.
struct Way {
    enum class Kind {
        Range,
        Both,  ///< objects that are in every part
        Either ///< objects that are in one of the parts
    };

    Kind kind = Kind::Range;
    IndexRange range{};       ///< of Range
    std::vector<Way> parts{}; ///< of the others, two or more
    bool exact = false;       ///< what is found is the answer, nothing is left to test
    double share = 1.0;       ///< of all objects, estimated

    static Way Of(IndexRange range)
    {
        const bool exact = range.exact;
        return {Kind::Range, std::move(range), {}, exact, 1.0};
    }
};

} // namespace ko::store::inner

#endif
