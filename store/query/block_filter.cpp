#include "query/block_filter.h"

#include "base/object_id.h"
#include "query/condition_leaf.h"

#include <algorithm>
#include <bit>
#include <vector>

namespace ko::store::inner
{

class BlockFilter::Node
{
public:
    virtual ~Node() = default;
    virtual void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths) = 0;
};

class BlockFilter::Leaf : public Node
{
public:
    Leaf(const Condition& condition, Snapshot& snapshot) : m_leaf(condition, snapshot) {}
    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths) override
    {
        m_leaf.Test(block, among, truths);
    }

private:
    ConditionLeaf m_leaf;
};

/// Asks about the objects' ids, which no column has.
class BlockFilter::IdLeaf : public Node
{
public:
    explicit IdLeaf(const Condition& condition) : m_condition(condition) {}

    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths) override
    {
        const unsigned words = block.Words();
        std::fill_n(truths.unknown.begin(), words, 0);
        // The numbers of a block ascend: where both ends lie on one side of the literal all do.
        const std::uint64_t first = block.firstObject;
        const std::uint64_t last = first + block.view->Slots() - 1;
        if (!m_condition.DependsOnValue() || Side(first) * Side(last) > 0) {
            const bool all = Holds(first);
            for (unsigned word = 0; word < words; ++word)
                truths.met[word] = all ? among[word] : 0;
            return;
        }
        for (unsigned word = 0; word < words; ++word) {
            truths.met[word] = among[word];
            for (std::uint64_t left = among[word]; left != 0; left &= left - 1) {
                const auto slot = word * 64 + static_cast<unsigned>(std::countr_zero(left));
                if (!Holds(first + slot))
                    ClearBit(truths.met, slot);
            }
        }
    }

private:
    int Side(std::uint64_t number) const
    {
        char id[kObjectIdBytes];
        PutObjectId(id, number);
        int status = 0;
        return ComparePersistent(m_condition.type, {id, sizeof id}, m_condition.form,
                                 m_condition.cmpOp, status);
    }
    bool Holds(std::uint64_t number) const
    {
        char id[kObjectIdBytes];
        PutObjectId(id, number);
        return m_condition.Test({id, sizeof id}) == Truth::True;
    }

    const Condition& m_condition;
};

/// What "and" and "or" connect. A part is asked about the objects that those before it leave open.
class BlockFilter::Connection : public Node
{
public:
    Connection(const Condition& condition, Snapshot& snapshot)
        : m_isAnd(condition.kind == Predicate::Kind::And)
    {
        for (const Condition& part : condition.parts)
            m_parts.push_back(Make(part, snapshot));
    }

    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths) override
    {
        const unsigned words = block.Words();
        SlotBits open = among;
        std::fill_n(truths.met.begin(), words, 0);
        std::fill_n(truths.unknown.begin(), words, 0);
        for (const auto& part : m_parts) {
            part->Test(block, open, m_one);
            std::uint64_t any = 0;
            for (unsigned word = 0; word < words; ++word) {
                truths.unknown[word] |= m_one.unknown[word];
                truths.met[word] |= m_isAnd ? 0 : m_one.met[word];
                open[word] &= m_isAnd ? m_one.met[word] | m_one.unknown[word] : ~m_one.met[word];
                any |= open[word];
            }
            if (any == 0)
                break;
        }
        for (unsigned word = 0; word < words; ++word) {
            truths.unknown[word] &= open[word];
            truths.met[word] |= m_isAnd ? open[word] & ~truths.unknown[word] : 0;
        }
    }

private:
    bool m_isAnd;
    std::vector<std::unique_ptr<Node>> m_parts;
    TruthBits m_one;
};

class BlockFilter::Negation : public Node
{
public:
    Negation(const Condition& condition, Snapshot& snapshot)
        : m_part(Make(condition.parts[0], snapshot))
    {
    }

    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths) override
    {
        m_part->Test(block, among, truths);
        for (unsigned word = 0; word < block.Words(); ++word)
            truths.met[word] = among[word] & ~truths.met[word] & ~truths.unknown[word];
    }

private:
    std::unique_ptr<Node> m_part;
};

std::unique_ptr<BlockFilter::Node> BlockFilter::Make(const Condition& condition, Snapshot& snapshot)
{
    switch (condition.kind) {
    case Predicate::Kind::And:
    case Predicate::Kind::Or:
        return std::make_unique<Connection>(condition, snapshot);
    case Predicate::Kind::Not:
        return std::make_unique<Negation>(condition, snapshot);
    default:
        break;
    }
    if (condition.attribute == kObjectIdIndex)
        return std::make_unique<IdLeaf>(condition);
    return std::make_unique<Leaf>(condition, snapshot);
}

BlockFilter::BlockFilter(const Condition& condition, Snapshot& snapshot)
    : m_root(Make(condition, snapshot))
{
}

BlockFilter::~BlockFilter() = default;

void BlockFilter::Test(const BlockAt& block, const SlotBits& among, TruthBits& truths)
{
    m_root->Test(block, among, truths);
}

void BlockFilter::Keep(const BlockAt& block, SlotBits& slots)
{
    m_root->Test(block, slots, m_truths);
    std::copy_n(m_truths.met.begin(), block.Words(), slots.begin());
}

} // namespace ko::store::inner
