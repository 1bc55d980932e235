#ifndef KO_ENGINE_POSTGRES_CURSOR_H
#define KO_ENGINE_POSTGRES_CURSOR_H

#include "engine/postgres_connection.h"

#include <memory>
#include <string>

namespace ko::store::inner::postgres
{

/// Where a cursor gets its pages.
class PageSource
{
public:
    virtual ~PageSource() = default;
    /// Key and value of the first `limit` rows of a range. Throws what calls of a reader throw.
    virtual Answer Page(Space space, const Range& range, Direction direction,
                        std::size_t limit) = 0;
    /// Another number after each change that pages from before do not show.
    virtual std::uint64_t Changes() const = 0;
    [[noreturn]] virtual void FailDamaged() const = 0;
};

/// A walk by pages: no transaction is needed for it, and it asks one server of several at a time.
std::unique_ptr<Cursor> MakeCursor(PageSource& source, Space space, const Range& range,
                                   Direction direction);

} // namespace ko::store::inner::postgres

#endif
