#ifndef KO_STORE_QUERY_BLOCK_FILTER_H
#define KO_STORE_QUERY_BLOCK_FILTER_H

#include "query/block_at.h"
#include "query/condition.h"

#include <memory>

namespace ko::store::inner
{

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
    /// the block's slots need; the bits of others are 0. Throws Error (ErrorCode::Damaged).
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

} // namespace ko::store::inner

#endif
