#ifndef KO_STORE_INTERFACE_TRANSACTION_H
#define KO_STORE_INTERFACE_TRANSACTION_H

#include "base/hidden.h"
#include "object/object_change.h"
#include <kostore.h>

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ko::store
{

struct KOSTORE_HIDDEN Transaction::State {
    explicit State(inner::ObjectChange& given);

    /// Ends the change where something went wrong that the caller's function passed over.
    void Finish() const;
    /// Runs a part of the change. What is no fault of the caller's ends it. The engine's own
    /// exception is kept for the whole to be run again; the caller's function gets an Error.
    template <class Step>
    auto Run(const Step& step)
    {
        try {
            Finish();
            return step();
        } catch (const inner::Conflict& conflict) {
            isConflict = true;
            lost = std::current_exception();
            throw Error(ErrorCode::Conflict,
                        std::string(conflict.what()) + ": this one is run again");
        } catch (const Error& error) {
            if (error.Code() != ErrorCode::Usage)
                lost = std::current_exception();
            throw;
        } catch (...) {
            lost = std::current_exception();
            throw;
        }
    }
    /// The form of each attribute that is named, sound or empty.
    std::vector<std::optional<std::string>> FormsOf(const std::vector<Field>& fields);

    inner::ObjectChange& change;
    std::shared_ptr<const Schema> schema;
    std::vector<std::optional<Codec>> codecs; ///< of attributes that texts were read for
    std::exception_ptr lost;
    bool isConflict = false; ///< and the change is run again, whatever the caller's function does
};

} // namespace ko::store

#endif
