#ifndef KO_STORE_INDEX_INDEX_BUILDER_H
#define KO_STORE_INDEX_INDEX_BUILDER_H

#include "block/entry.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store
{

/// Sorts the entries of one index in bounded memory: runs of them are sorted in memory, spilled to
/// a temporary file and merged at the end.
///
/// Equal forms are gathered before they are sorted: a run compares its distinct values, however
/// many objects share them.
class IndexBuilder
{
public:
    /// `memory` bytes are about what a run takes; `path` names the place of the temporary file,
    /// which has no name while it is in use.
    IndexBuilder(std::size_t attribute, o_char type, std::size_t memory, const std::string& path);
    ~IndexBuilder();
    IndexBuilder(IndexBuilder&&) noexcept;

    /// Object numbers come in ascending order. An empty form stands for an absent value.
    /// `hint` is 0 or what was left there when the same form was added before, which saves a
    /// search.
    void Add(std::string_view form, std::uint64_t number, std::uint64_t& hint);

    /// Takes entries that differ in their objects only: one of them, and the numbers of all.
    using Take =
        std::function<void(std::string& entry, const std::uint64_t* objects, std::size_t count)>;
    /// Hands over every entry in order. The builder is empty afterwards.
    void Finish(const Take& take);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ko::store

#endif
