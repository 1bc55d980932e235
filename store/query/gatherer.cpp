#include "query/gatherer.h"

#include "base/object_id.h"
#include "query/range_walk.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kFirstRoom = 1U << 18;
/// A column is unpacked where at least one in so many of its slots is wanted.
constexpr std::size_t kFew = 8;

} // namespace

Gatherer::Gatherer(Snapshot& snapshot, const std::vector<std::size_t>& attributes)
    : m_snapshot(snapshot), m_first(kFirstRoom), m_room(m_first.data(), m_first.size())
{
    for (const std::size_t attribute : attributes)
        m_columns.push_back({attribute, {}, {}, false, {}});
}

void Gatherer::Gather(std::span<const std::uint64_t> numbers)
{
    m_room.release();
    m_wanted.clear();
    for (const std::uint64_t number : numbers)
        m_wanted.push_back({number, static_cast<std::uint32_t>(m_wanted.size())});
    if (!std::is_sorted(numbers.begin(), numbers.end()))
        std::sort(m_wanted.begin(), m_wanted.end(),
                  [](const Wanted& a, const Wanted& b) { return a.number < b.number; });
    for (GatheredColumn& column : m_columns) {
        column.forms.resize(numbers.size());
        column.codes.clear();
        column.codes.resize(numbers.size());
        column.hasCodes = false;
    }
    for (std::size_t begin = 0; begin < m_wanted.size();) {
        const std::uint64_t number = m_snapshot.BlockOf(m_wanted[begin].number);
        const BlockAt block{m_snapshot.Block(number), number * m_snapshot.SlotsOfBlock()};
        std::size_t end = begin;
        for (; end < m_wanted.size() && m_snapshot.BlockOf(m_wanted[end].number) == number; ++end) {
            if (block.view == nullptr || !block.view->Has(m_snapshot.SlotOf(m_wanted[end].number)))
                FailNoObject(m_snapshot, m_wanted[end].number);
        }
        const std::span<const Wanted> rows(m_wanted.data() + begin, end - begin);
        for (GatheredColumn& column : m_columns) {
            if (column.attribute == kObjectIdIndex)
                TakeIds(column, rows);
            else
                Take(column, block, rows);
        }
        begin = end;
    }
}

void Gatherer::TakeIds(GatheredColumn& to, std::span<const Wanted> wanted)
{
    for (const Wanted& one : wanted) {
        char* const id = Room(kObjectIdBytes);
        PutObjectId(id, one.number);
        to.forms[one.row] = {id, kObjectIdBytes};
    }
}

void Gatherer::Take(GatheredColumn& to, const BlockAt& block, std::span<const Wanted> wanted)
{
    const Column& column = ColumnOf(m_snapshot, block, to.attribute);
    const auto slotOf = [&](const Wanted& one) {
        return static_cast<unsigned>(one.number - block.firstObject);
    };
    if (column.IsAbsent()) {
        for (const Wanted& one : wanted)
            to.forms[one.row] = {};
    } else if (wanted.size() * kFew < block.view->Slots()) {
        for (const Wanted& one : wanted)
            TakeCell(to, column, slotOf(one), one);
    } else if (column.IsFixed()) {
        const std::size_t size = m_snapshot.Layout()[to.attribute];
        char* const forms = Room(block.view->Slots() * size + Column::kScanSlack);
        SlotBits present;
        column.Forms(forms, present);
        for (const Wanted& one : wanted) {
            const unsigned slot = slotOf(one);
            to.forms[one.row] = TestBit(present, slot) ? std::string_view(forms + slot * size, size)
                                                       : std::string_view();
        }
    } else {
        std::array<std::uint16_t, kMostSlots> codes;
        column.Codes(codes.data());
        for (const Wanted& one : wanted) {
            const std::uint16_t code = codes[slotOf(one)];
            if (code >= kFirstCode)
                TakeEntry(to, one.row, static_cast<std::uint16_t>(code - kFirstCode));
            else if (code == kAbsentCode)
                to.forms[one.row] = {};
            else
                TakeCell(to, column, slotOf(one), one);
        }
    }
}

void Gatherer::TakeCell(GatheredColumn& to, const Column& column, unsigned slot,
                        const Wanted& wanted)
{
    const Cell cell = column.At(slot, m_composed);
    if (cell.kind == Cell::Kind::Entry)
        TakeEntry(to, wanted.row, cell.entry);
    else
        to.forms[wanted.row] = Keep(m_snapshot.Form(to.attribute, cell, wanted.number, m_large));
}

void Gatherer::TakeEntry(GatheredColumn& to, std::uint32_t row, std::uint16_t entry)
{
    if (entry >= to.entries.size())
        to.entries.resize(std::size_t{entry} + 1);
    std::string_view& form = to.entries[entry];
    if (form.empty())
        form = m_snapshot.Text(to.attribute, entry);
    to.forms[row] = form;
    to.codes[row] = entry + 1U;
    to.hasCodes = true;
}

char* Gatherer::Room(std::size_t bytes)
{
    return static_cast<char*>(m_room.allocate(bytes, 1));
}

/// Blocks and what is read beside them may go before the views do.
std::string_view Gatherer::Keep(std::string_view form)
{
    if (form.empty())
        return {};
    char* const kept = Room(form.size());
    std::memcpy(kept, form.data(), form.size());
    return {kept, form.size()};
}

} // namespace ko::store::inner
