#ifndef KO_STORE_INTERFACE_MOMENT_H
#define KO_STORE_INTERFACE_MOMENT_H

#include "base/hidden.h"
#include "interface/schema_values.h"
#include "object/snapshot.h"

#include <memory>
#include <string>
#include <utility>

namespace ko::store::inner
{

/// What a Snapshot and its cursors have together.
struct Moment {
    std::unique_ptr<Snapshot> snapshot;
    std::shared_ptr<const ko::store::Schema> schema;

    explicit Moment(std::unique_ptr<Snapshot> now)
        : snapshot(std::move(now)),
          schema(std::make_shared<ko::store::Schema>(ToOuter(snapshot->GetSchema())))
    {
    }
};

/// Runs something that reads. No engine's own exception goes out of the library.
template <class Step>
auto Reading(const std::string& store, const Step& step)
{
    try {
        return step();
    } catch (const Conflict& conflict) {
        throw Error(ErrorCode::Conflict,
                    store + ": " +
                        (conflict.IsLoss() ? conflict.what() : "the moment that was read is gone") +
                        ": try again");
    }
}

} // namespace ko::store::inner

namespace ko::store
{

struct KOSTORE_HIDDEN Snapshot::State : inner::Moment {
    using Moment::Moment;
};

} // namespace ko::store

#endif
