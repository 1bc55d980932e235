#include "object/index_feed.h"

#include "block/checksum.h"

#include <utility>

namespace ko::store::inner
{

namespace
{

/// What the sorting of all indexes together may take.
constexpr std::size_t kSortMemory = 16U << 20;

} // namespace

std::vector<std::size_t> IndexedAttributes(const Schema& schema)
{
    std::vector<std::size_t> indexed;
    for (std::size_t i = 0; i < schema.attributes.size(); ++i) {
        if (schema.attributes[i].index)
            indexed.push_back(i);
    }
    return indexed;
}

IndexFeed::IndexFeed(Snapshot& snapshot, std::vector<std::size_t> attributes,
                     const std::string& scratch)
    : m_snapshot(snapshot), m_attributes(std::move(attributes))
{
    for (const std::size_t attribute : m_attributes) {
        m_entries.emplace_back(attribute, snapshot.GetSchema().attributes[attribute].type,
                               kSortMemory / m_attributes.size(), scratch);
        m_hints.emplace_back(snapshot.Texts(attribute));
    }
}

void IndexFeed::Add(std::uint64_t block, BlockView& objects)
{
    const std::uint64_t first = block * m_snapshot.SlotsOfBlock();
    for (unsigned slot = 0; slot < objects.Slots(); ++slot)
        m_objects += objects.Has(slot) ? 1 : 0;
    for (std::size_t i = 0; i < m_attributes.size(); ++i) {
        const std::size_t attribute = m_attributes[i];
        const Column* const column = objects.Values(attribute);
        if (column == nullptr)
            FailDamaged(Space::Blocks, BlockKey(block), "holds no values of its attributes");
        for (unsigned slot = 0; slot < objects.Slots(); ++slot) {
            if (!objects.Has(slot))
                continue;
            const Cell cell = column->At(slot, m_room);
            const std::uint64_t number = first + slot;
            const std::string_view form = m_snapshot.Form(attribute, cell, number, m_room);
            std::uint64_t none = 0;
            m_entries[i].Add(form, number,
                             cell.kind == Cell::Kind::Entry ? m_hints[i][cell.entry] : none);
        }
    }
}

void IndexFeed::AddAll()
{
    for (const auto walk = m_snapshot.Blocks(); walk->Next();)
        Add(walk->Number(), walk->Block());
}

} // namespace ko::store::inner
