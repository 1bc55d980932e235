#ifndef KO_STORE_QUERY_BLOCK_FILTER_H
#define KO_STORE_QUERY_BLOCK_FILTER_H

#include "object/snapshot.h"
#include "query/condition.h"

#include <cstdint>
#include <memory>

namespace ko::store
{

/// A block and where it stands among the objects.
struct BlockAt {
    BlockView* view = nullptr;
    std::uint64_t firstObject = 0; ///< the number of the one in slot 0

    unsigned Words() const { return (view->Slots() + 63) / 64; }
};

/// The values of an attribute in a block. Throws Failure (Exit::Damaged).
const Column& ColumnOf(const Snapshot& snapshot, const BlockAt& block, std::size_t attribute);

/// For each slot of a block what a condition says of its object. It says false where neither bit is
/// set.
struct TruthBits {
    SlotBits met;
    SlotBits unknown;
};

/// Finds the objects of blocks that meet a condition, column by column. An entry of a dictionary is
/// tested once, when an object with it is met first, and so are forms of few bytes as long as they
/// are remembered.
class BlockFilter
{
public:
    /// Both outlive the filter.
    BlockFilter(const Condition& condition, Snapshot& snapshot);
    ~BlockFilter();
    BlockFilter(const BlockFilter&) = delete;
    BlockFilter& operator=(const BlockFilter&) = delete;

    /// What the condition says of the objects in `among`, slots that hold one, in the words that
    /// the block's slots need; the bits of others are 0. Throws Failure (Exit::Damaged).
    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths);
    /// Leaves those in `slots` that meet it.
    void Keep(const BlockAt& block, SlotBits& slots);

private:
    class Node;
    class Leaf;
    class IdLeaf;
    class Connection;
    class Negation;

    static std::unique_ptr<Node> Make(const Condition& condition, Snapshot& snapshot);

    std::unique_ptr<Node> m_root;
    TruthBits m_truths;
};

} // namespace ko::store

#endif
