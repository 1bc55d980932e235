#include "query/value_counts.h"

#include <algorithm>
#include <bit>

namespace ko::store::inner
{

ValueCounts::ValueCounts(Snapshot& snapshot, std::size_t attribute)
    : m_snapshot(snapshot), m_attribute(attribute), m_entries(snapshot.Texts(attribute))
{
}

void ValueCounts::Add(const BlockAt& block, const SlotBits& slots)
{
    const Column& column = ColumnOf(m_snapshot, block, m_attribute);
    for (unsigned word = 0; word < block.Words(); ++word) {
        for (std::uint64_t left = slots[word]; left != 0; left &= left - 1) {
            const unsigned slot = word * 64 + static_cast<unsigned>(std::countr_zero(left));
            const Cell cell = column.At(slot, m_room);
            if (cell.kind == Cell::Kind::Absent) {
                ++m_absent;
            } else if (cell.kind == Cell::Kind::Entry && cell.entry < m_entries.size()) {
                ++m_entries[cell.entry];
            } else {
                m_form = m_snapshot.Form(m_attribute, cell, block.firstObject + slot, m_room);
                ++m_forms[m_form];
            }
        }
    }
}

std::vector<Group> ValueCounts::Groups() const
{
    std::vector<Group> groups;
    for (std::uint32_t entry = 0; entry < m_entries.size(); ++entry) {
        if (m_entries[entry] != 0)
            groups.push_back({std::string(m_snapshot.Text(m_attribute, entry)), m_entries[entry]});
    }
    for (const auto& [form, count] : m_forms)
        groups.push_back({form, count});
    const o_char type = m_snapshot.GetSchema().TypeId(m_attribute);
    int status = 0;
    const auto order = [&](const Group& a, const Group& b) {
        return ComparePersistent(type, a.form, b.form, kPlainOperator, status);
    };
    // Equal values may have different bytes: those that come first stand for all.
    std::sort(groups.begin(), groups.end(), [&](const Group& a, const Group& b) {
        const int decided = order(a, b);
        return decided != 0 ? decided < 0 : a.form < b.form;
    });
    std::vector<Group> merged;
    if (m_absent != 0)
        merged.push_back({{}, m_absent});
    for (Group& group : groups) {
        if (!merged.empty() && !merged.back().form.empty() && order(merged.back(), group) == 0)
            merged.back().objects += group.objects;
        else
            merged.push_back(std::move(group));
    }
    return merged;
}

} // namespace ko::store::inner
