#ifndef KO_STORE_QUERY_CONDITION_LEAF_H
#define KO_STORE_QUERY_CONDITION_LEAF_H

#include "query/block_at.h"
#include "query/condition.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// Tests one comparison, or one question for null, on the column of its attribute.
class ConditionLeaf
{
public:
    ConditionLeaf(const Condition& condition, Snapshot& snapshot);

    void Test(const BlockAt& block, const SlotBits& among, TruthBits& truths);

private:
    /// What is known of a code of the column or a form.
    enum Known : std::uint8_t { kFalse = 0, kMet = 1, kUnknown = 2, kToTest = 4 };

    void NeedCodes(std::size_t count);
    void TestFew(const Column& column, const SlotBits& among, TruthBits& truths);
    void TestCodes(const Column& column, const SlotBits& among, TruthBits& truths);
    void TestForms(const Column& column, const SlotBits& among, TruthBits& truths);
    Known TestCell(const Cell& cell, unsigned slot);
    Known TestEntry(std::uint16_t entry);
    Known TestForm(std::string_view form);
    Known TestShort(std::string_view form);

    const Condition& m_condition;
    Snapshot& m_snapshot;
    BlockAt m_block;
    Known m_null;               ///< what is said of null
    Known m_present;            ///< of every value, or kToTest
    std::vector<Known> m_codes; ///< by code
    /// Forms of up to eight bytes with what is said of them; newer ones take the place of older.
    struct ShortForm {
        std::uint64_t word = 0;
        Known known = kToTest;
    };
    std::vector<ShortForm> m_shortForms;
    std::vector<char> m_forms; ///< of a whole column
    std::string m_room;
    std::string m_large;
};

} // namespace ko::store::inner

#endif
