#include "object/statistics_feed.h"

#include "block/checksum.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

std::unique_ptr<Statistics> StatisticsOf(const Schema& schema, Reader& reader)
{
    return Statistics::Open(
        schema, [&reader, row = std::optional<std::string>()](const std::string& key) mutable {
            row = reader.GetOne(Space::Statistics, key);
            return row ? std::optional<std::string_view>(*row) : std::nullopt;
        });
}

void ProveStatistics(const Schema& schema, Reader& reader)
{
    const auto statistics = StatisticsOf(schema, reader);
    for (std::size_t i = 0; statistics && i < schema.attributes.size(); ++i)
        statistics->Column(i);
    const auto cursor = reader.Walk(Space::Statistics, {}, Direction::Forwards);
    for (auto rows = cursor->Next(1); !rows.empty(); rows = cursor->Next(1)) {
        std::size_t attribute = 0;
        char part = 0;
        Unseal(Space::Statistics, rows.front().key, rows.front().value);
        if (!statistics)
            FailDamaged(Space::Statistics, StatisticsKey(kNoAttribute, kSamplePart), "is missing");
        if (!ReadStatisticsKey(rows.front().key, attribute, part) ||
            (attribute >= schema.attributes.size() && attribute != kNoAttribute))
            FailDamaged(Space::Statistics, rows.front().key, "belongs to no attribute");
    }
}

std::uint64_t AddObjects(Snapshot& snapshot, std::uint64_t first, StatisticsBuilder& statistics)
{
    const std::size_t attributes = snapshot.GetSchema().attributes.size();
    std::uint64_t added = 0;
    Cell cell;
    std::string room;
    for (const auto walk = snapshot.Blocks(snapshot.BlockOf(first)); walk->Next();) {
        BlockView& block = walk->Block();
        for (unsigned slot = 0; slot < block.Slots(); ++slot) {
            const std::uint64_t number = walk->FirstObject() + slot;
            if (number < first || !block.Has(slot))
                continue;
            statistics.Begin(number);
            ++added;
            for (std::size_t i = 0; i < attributes; ++i) {
                if (!block.At(i, slot, cell, room))
                    FailDamaged(Space::Blocks, BlockKey(walk->Number()),
                                "holds no values of its attributes");
                const std::string_view form = cell.kind == Cell::Kind::Entry
                                                  ? std::string_view()
                                                  : snapshot.Form(i, cell, number, room);
                std::uint32_t hint = 0;
                statistics.Add(i, cell, form, hint);
            }
        }
    }
    statistics.Passed(snapshot.GetCounts().nextNumber);
    return added;
}

} // namespace ko::store::inner
