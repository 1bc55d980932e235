#ifndef KO_STORE_OBJECT_OBJECT_CHANGE_H
#define KO_STORE_OBJECT_OBJECT_CHANGE_H

#include "object/snapshot.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ko::store::inner
{

class Dictionaries;

/// Changes objects in one transaction: blocks are rewritten, dictionaries grow, entries go out of
/// indexes and into them. Forms are those of the attributes' types, empty for absent values. A type
/// without a null value takes no absent ones.
///
/// Every call may throw Conflict, which belongs to ObjectStore::Change, and Error: ErrorCode::Usage
/// for a value that is none of the type, or cannot be absent; ErrorCode::Damaged for what is met in
/// the store, and where its indexes were made under another order. After Error with another status
/// than ErrorCode::Usage the function that changes must end.
class ObjectChange
{
public:
    ObjectChange(std::shared_ptr<Writer> writer, const std::string& store,
                 Dictionaries& dictionaries);
    ~ObjectChange();
    ObjectChange(const ObjectChange&) = delete;
    ObjectChange& operator=(const ObjectChange&) = delete;

    const Schema& GetSchema() const;

    /// Adds an object with these forms, one for each attribute, and returns its number.
    std::uint64_t Insert(std::span<const std::string_view> forms);
    /// Sets the value of an attribute of an object; false where there is no such object.
    bool Update(std::uint64_t number, std::size_t attribute, std::string_view form);
    /// Takes an object away; false where there is none.
    bool Erase(std::uint64_t number);

    bool Has(std::uint64_t number);
    /// The form of a value of an object; empty for an absent one, or where there is no such object.
    std::string Form(std::uint64_t number, std::size_t attribute);

    /// For ObjectStore::Change.
    void Commit();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ko::store::inner

#endif
