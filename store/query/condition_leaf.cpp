#include "query/condition_leaf.h"

#include <algorithm>
#include <bit>

namespace ko::store::inner
{

namespace
{

constexpr unsigned kShortFormBits = 11;
/// A column is unpacked where at least one in so many of its slots is asked for.
constexpr unsigned kFew = 8;

/// Bit `bit` of each of eight bytes, that of the first one lowest.
std::uint64_t Gather(std::uint64_t bytes, unsigned bit)
{
    return ((bytes >> bit & 0x0101010101010101) * 0x0102040810204080) >> 56;
}

template <class Each>
void EachSlot(const SlotBits& slots, unsigned words, const Each& each)
{
    for (unsigned word = 0; word < words; ++word) {
        for (std::uint64_t left = slots[word]; left != 0; left &= left - 1)
            each(word * 64 + static_cast<unsigned>(std::countr_zero(left)));
    }
}

} // namespace

ConditionLeaf::ConditionLeaf(const Condition& condition, Snapshot& snapshot)
    : m_condition(condition), m_snapshot(snapshot)
{
    const auto known = [](Truth truth) {
        return truth == Truth::True ? kMet : truth == Truth::Unknown ? kUnknown : kFalse;
    };
    m_null = known(condition.Test({}));
    m_present = condition.DependsOnValue() ? kToTest : known(condition.Test("value"));
}

void ConditionLeaf::Test(const BlockAt& block, const SlotBits& among, TruthBits& truths)
{
    m_block = block;
    const unsigned words = block.Words();
    std::fill_n(truths.met.begin(), words, 0);
    std::fill_n(truths.unknown.begin(), words, 0);
    const Column& column = ColumnOf(m_snapshot, block, m_condition.attribute);
    if (column.IsAbsent()) {
        for (unsigned word = 0; word < words; ++word) {
            truths.met[word] = m_null == kMet ? among[word] : 0;
            truths.unknown[word] = m_null == kUnknown ? among[word] : 0;
        }
        return;
    }
    if (CountBits(among, block.view->Slots()) * kFew < block.view->Slots())
        TestFew(column, among, truths);
    else if (column.IsFixed())
        TestForms(column, among, truths);
    else
        TestCodes(column, among, truths);
}

void ConditionLeaf::NeedCodes(std::size_t count)
{
    if (m_codes.size() >= count)
        return;
    m_codes.resize(count, m_present);
    m_codes[kAbsentCode] = m_null;
}

void ConditionLeaf::TestFew(const Column& column, const SlotBits& among, TruthBits& truths)
{
    EachSlot(among, m_block.Words(), [&](unsigned slot) {
        const Known known = TestCell(column.At(slot, m_room), slot);
        if (known == kMet)
            SetBit(truths.met, slot);
        else if (known == kUnknown)
            SetBit(truths.unknown, slot);
    });
}

void ConditionLeaf::TestCodes(const Column& column, const SlotBits& among, TruthBits& truths)
{
    NeedCodes(0x10000); // whatever the codes are
    std::array<std::uint16_t, kMostSlots> codes;
    column.Codes(codes.data());
    const unsigned words = m_block.Words();
    std::fill(codes.begin() + m_block.view->Slots(), codes.begin() + std::size_t{words} * 64,
              kAbsentCode);
    for (unsigned word = 0; word < words; ++word) {
        if (among[word] == 0)
            continue;
        std::uint64_t met = 0;
        std::uint64_t unknown = 0;
        std::uint64_t toTest = 0;
        for (unsigned at = 0; at < 64; at += 8) {
            char known[8];
            for (unsigned i = 0; i < 8; ++i)
                known[i] = static_cast<char>(m_codes[codes[word * 64 + at + i]]);
            const auto eight = GetLittle<std::uint64_t>(known);
            met |= Gather(eight, 0) << at;
            unknown |= Gather(eight, 1) << at;
            toTest |= Gather(eight, 2) << at;
        }
        truths.met[word] = met & among[word];
        truths.unknown[word] = unknown & among[word];
        for (toTest &= among[word]; toTest != 0; toTest &= toTest - 1) {
            const auto slot = word * 64 + static_cast<unsigned>(std::countr_zero(toTest));
            const bool isEntry = codes[slot] >= kFirstCode;
            if ((isEntry ? TestEntry(static_cast<std::uint16_t>(codes[slot] - kFirstCode))
                         : TestCell(column.At(slot, m_room), slot)) == kMet)
                SetBit(truths.met, slot);
        }
    }
}

void ConditionLeaf::TestForms(const Column& column, const SlotBits& among, TruthBits& truths)
{
    const unsigned size = m_snapshot.Layout()[m_condition.attribute];
    m_forms.resize(std::size_t{m_block.view->Slots()} * size + Column::kScanSlack);
    SlotBits present;
    column.Forms(m_forms.data(), present);
    for (unsigned word = 0; word < m_block.Words(); ++word) {
        const std::uint64_t absent = among[word] & ~present[word];
        truths.met[word] = m_null == kMet ? absent : 0;
        truths.unknown[word] = m_null == kUnknown ? absent : 0;
        present[word] &= among[word];
        if (m_present != kToTest) {
            truths.met[word] |= m_present == kMet ? present[word] : 0;
            continue;
        }
        std::uint64_t met = 0;
        for (std::uint64_t left = present[word]; left != 0; left &= left - 1) {
            const auto bit = static_cast<unsigned>(std::countr_zero(left));
            const std::string_view form(m_forms.data() + std::size_t{word * 64 + bit} * size, size);
            const Known known = size <= sizeof(std::uint64_t) ? TestShort(form) : TestForm(form);
            met |= std::uint64_t{known == kMet} << bit;
        }
        truths.met[word] |= met;
    }
}

ConditionLeaf::Known ConditionLeaf::TestCell(const Cell& cell, unsigned slot)
{
    switch (cell.kind) {
    case Cell::Kind::Absent:
        return m_null;
    case Cell::Kind::Form:
        return TestForm(cell.form);
    case Cell::Kind::Entry:
        return TestEntry(cell.entry);
    case Cell::Kind::Large:
        break;
    }
    if (m_present != kToTest)
        return m_present;
    return TestForm(
        m_snapshot.Form(m_condition.attribute, cell, m_block.firstObject + slot, m_large));
}

ConditionLeaf::Known ConditionLeaf::TestEntry(std::uint16_t entry)
{
    NeedCodes(std::max<std::size_t>(entry, m_snapshot.Texts(m_condition.attribute)) + kFirstCode +
              1);
    Known& known = m_codes[entry + kFirstCode];
    if (known == kToTest)
        known = TestForm(m_snapshot.Text(m_condition.attribute, entry));
    return known;
}

ConditionLeaf::Known ConditionLeaf::TestForm(std::string_view form)
{
    if (m_present != kToTest)
        return m_present;
    return m_condition.Test(form) == Truth::True ? kMet : kFalse;
}

ConditionLeaf::Known ConditionLeaf::TestShort(std::string_view form)
{
    if (m_shortForms.empty())
        m_shortForms.resize(std::size_t{1} << kShortFormBits);
    std::uint64_t word = 0;
    std::memcpy(&word, form.data(), form.size());
    ShortForm& kept = m_shortForms[word * 0x9E3779B97F4A7C15 >> (64 - kShortFormBits)];
    if (kept.word != word || kept.known == kToTest)
        kept = {word, m_condition.Test(form) == Truth::True ? kMet : kFalse};
    return kept.known;
}

} // namespace ko::store::inner
