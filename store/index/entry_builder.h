#ifndef KO_STORE_INDEX_ENTRY_BUILDER_H
#define KO_STORE_INDEX_ENTRY_BUILDER_H

#include "index/number_row.h"
#include "schema/schema.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// Sorts the entries of one index in bounded memory and makes rows of them: runs are sorted in
/// memory, spilled to a temporary file and merged at the end. Nothing but bytes is compared, and
/// every value that a run knows already by its key or its hint is sorted once, however many objects
/// share it.
class EntryBuilder
{
public:
    /// `memory` bytes are about what a run takes; `path` names the place of the temporary file,
    /// which has no name while it is in use.
    EntryBuilder(std::size_t attribute, const ValueType& type, std::size_t memory,
                 const std::string& path);
    ~EntryBuilder();
    EntryBuilder(EntryBuilder&&) noexcept;

    /// Object numbers come in ascending order. An empty form stands for an absent value.
    /// `hint` is 0 or what was left there when the same form was added before, which saves making
    /// its key. Throws Error (ErrorCode::Io) where the temporary file cannot be written.
    void Add(std::string_view form, std::uint64_t number, std::uint64_t& hint);

    /// Hands over every row in the order of keys. The builder is empty afterwards.
    void Finish(const RowPacker::Take& take);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ko::store::inner

#endif
