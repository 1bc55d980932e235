#ifndef KO_STORE_STATISTICS_STATISTICS_BUILDER_H
#define KO_STORE_STATISTICS_STATISTICS_BUILDER_H

#include "block/layout.h"
#include "statistics/fixed_values.h"
#include "statistics/hyper_log_log.h"
#include "statistics/sample_rows.h"
#include "statistics/statistics.h"
#include "statistics/value_list.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ko::store::inner
{

/// Gathers the statistics of a store while its objects pass by once, in memory that does not depend
/// on how many they are.
///
/// Values that are known by a number are counted one by one: entries of dictionaries, and forms of
/// one size for as long as there is room. So what repeats is counted exactly, but for the objects
/// that came before a form was an entry, of which there is one unless a dictionary forgot it. The
/// other values are counted all together, and divided as those of the sample are. A store of no
/// more objects than a sample has is its own sample, and everything about it is exact.
class StatisticsBuilder
{
public:
    /// `memory` bytes are about what known values of one size may take all together.
    StatisticsBuilder(const Schema& schema, std::size_t memory);

    /// Goes on from the statistics of the objects that are there, which are not added again:
    /// before the first Begin. `entries` of each attribute are the dictionary's so far.
    void Resume(Statistics& before, std::span<const std::uint32_t> entries);

    /// The next object; numbers ascend, and are greater than those of objects that are there.
    void Begin(std::uint64_t number)
    {
        m_next = number + 1;
        ++m_objects;
        m_takes = m_sample.Takes(number);
    }
    /// Its value of an attribute; attributes come in their order, all of them. `form` is looked at
    /// where the cell is no entry. `hint` is 0 or what was left there when the same form of a type
    /// of one size was added before.
    void Add(std::size_t attribute, const Cell& cell, std::string_view form, std::uint32_t& hint)
    {
        Counts& counts = m_counts[attribute];
        std::uint32_t known = FixedValues::kNone;
        if (cell.kind == Cell::Kind::Absent)
            ++counts.nulls;
        else if (cell.kind == Cell::Kind::Entry)
            known = cell.entry;
        else
            known = hint != 0 ? hint - 1 : Place(counts, form, hint);
        if (known != FixedValues::kNone) {
            if (known >= counts.known.size())
                counts.known.resize(std::size_t{known} * 2 + 16);
            ++counts.known[known];
        }
        if (m_takes)
            Take(attribute, cell, known, form);
    }

    /// Hands over every row, ascending by key and sealed. `text` tells an entry of the dictionary
    /// of an attribute; its views stay for as long as this call.
    using Text = std::function<std::string_view(std::size_t attribute, std::uint32_t entry)>;
    using Put = std::function<void(std::string_view key, std::string_view sealed)>;
    void Finish(const Text& text, const Put& put);

private:
    struct Counts {
        Counts(o_char type_, FixedValues fixed_) : type(type_), fixed(std::move(fixed_)) {}

        o_char type;
        FixedValues fixed; ///< no room for any where forms vary
        std::uint64_t nulls = 0;
        std::uint64_t others = 0;         ///< objects whose value is not known by a number
        std::vector<std::uint64_t> known; ///< objects of each known value
        std::uint32_t oldEntries = 0;
        HyperLogLog distinct;
        Summary before;
        SampleColumn columnBefore;
    };

    std::uint32_t Place(Counts& counts, std::string_view form, std::uint32_t& hint);
    void Take(std::size_t attribute, const Cell& cell, std::uint32_t known, std::string_view form);
    void AddBefore(const Counts& counts, ValueList& values) const;
    void Weigh(Counts& counts, ValueList& values, double others) const;
    void FinishAttribute(std::size_t attribute, const Text& text, const Put& put);

    std::vector<Counts> m_counts;
    SampleRows m_sample;
    bool m_takes = false;
    std::uint64_t m_objects = 0;
    std::uint64_t m_objectsBefore = 0;
    std::uint64_t m_firstNew = 1;
    std::uint64_t m_next = 1;
};

} // namespace ko::store::inner

#endif
