#ifndef KO_STORE_STATISTICS_STATISTICS_BUILDER_H
#define KO_STORE_STATISTICS_STATISTICS_BUILDER_H

#include "block/layout.h"
#include "statistics/fixed_values.h"
#include "statistics/hyper_log_log.h"
#include "statistics/sample_rows.h"
#include "statistics/statistics.h"
#include "statistics/value_list.h"

#include <algorithm>
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
/// one size for as long as there is room. The other values are counted all together, and divided as
/// those of the sample are. Null values are counted exactly; and so are known values up to
/// kAllCounted objects, but for the one that came before a form was an entry where a dictionary
/// forgot it. Of the objects after these one in kThinned is counted, for all of them, where
/// Counting says so. A store of no more objects than a sample has is its own sample, and everything
/// about it is exact.
class StatisticsBuilder
{
public:
    enum class Counting { Thinned, All };

    /// `memory` bytes are about what known values of one size may take all together.
    StatisticsBuilder(const Schema& schema, std::size_t memory,
                      Counting counting = Counting::Thinned);

    /// Goes on from the statistics of the objects that are there, which are not added again:
    /// before the first Begin. `entries` of each attribute are the dictionary's so far.
    void Resume(Statistics& before, std::span<const std::uint32_t> entries);

    /// The next object; numbers ascend, and are greater than those of objects that are there.
    /// False where it is neither counted nor of the sample: Pass and PassNull then say as much as
    /// Add, at less cost.
    bool Begin(std::uint64_t number)
    {
        const std::uint64_t order = SampleOrder(number);
        m_next = number + 1;
        ++m_objects;
        m_takes = m_sample.Takes(number, order);
        if (IsThinned())
            m_weight = order % kThinned == 0 ? kThinned : 0;
        return m_weight != 0 || m_takes;
    }
    /// Its value of an attribute; attributes come in their order, all of them. `form` is looked at
    /// where the cell is no entry. `hint` is 0 or what was left there when the same form was added
    /// before.
    void Add(std::size_t attribute, const Cell& cell, std::string_view form, std::uint32_t& hint)
    {
        if (cell.kind == Cell::Kind::Absent)
            PassNull(attribute);
        if (m_weight != 0 || m_takes)
            Count(attribute, cell, form, hint);
        else if (cell.kind > Cell::Kind::Absent && cell.kind != Cell::Kind::Entry)
            Pass(attribute, form, hint);
    }
    /// Add for an entry.
    void AddEntry(std::size_t attribute, std::uint32_t entry)
    {
        std::vector<std::uint64_t>& entries = m_counts[attribute].entries;
        if (entry >= entries.size())
            entries.resize(std::size_t{entry} * 2 + 16);
        entries[entry] += m_weight;
        if (m_takes)
            m_sample.Put(attribute, SampleCode(SampleCode::kKnown, entry));
    }
    /// An absent value.
    void PassNull(std::size_t attribute) { ++m_counts[attribute].nulls; }
    /// A value that is no entry. One of a single size whose hint is not 0 need not be told.
    void Pass(std::size_t attribute, std::string_view form, std::uint32_t& hint)
    {
        if (hint == 0)
            Meet(attribute, form, hint);
        m_counts[attribute].others += m_counts[attribute].varies ? 1 : 0;
    }

    /// Objects of all numbers below have come, or are gone.
    void Passed(std::uint64_t next) { m_next = std::max(m_next, next); }

    /// Hands over every row, ascending by key and sealed. `text` tells an entry of the dictionary
    /// of an attribute; its views stay for as long as this call.
    using Text = std::function<std::string_view(std::size_t attribute, std::uint32_t entry)>;
    using Put = std::function<void(std::string_view key, std::string_view sealed)>;
    void Finish(const Text& text, const Put& put);

private:
    /// What is touched for every value of an attribute, close together.
    struct Counts {
        bool varies;
        std::uint64_t nulls;
        std::uint64_t others;               ///< objects whose value is not known by a number
        std::vector<std::uint64_t> entries; ///< objects with each entry of the dictionary
        FixedValues fixed;                  ///< no room for any where forms vary
    };
    struct Attribute {
        o_char type;
        HyperLogLog distinct{};
        std::uint32_t oldEntries = 0;
        Summary before{};
        SampleColumn columnBefore{};
    };
    /// Which additions to a list of values are whose.
    struct Additions {
        std::vector<std::uint32_t> ofKnown; ///< by number
        std::uint32_t ofForms = 0;          ///< of the first form of the sample
    };

    static constexpr std::uint64_t kAllCounted = 1U << 17;
    static constexpr std::uint64_t kThinned = 16;
    // Hints; others are the number of a known value, and one more.
    static constexpr std::uint32_t kMet = UINT32_MAX;         ///< it is one of the distinct values
    static constexpr std::uint32_t kNoRoom = UINT32_MAX - 1U; ///< and is never known by a number

    /// Objects are so many that some were counted for others.
    bool IsThinned() const { return m_objects - m_objectsBefore > m_allCounted; }
    void Count(std::size_t attribute, const Cell& cell, std::string_view form, std::uint32_t& hint);
    std::uint32_t CountForm(std::size_t attribute, std::string_view form, std::uint32_t& hint);
    /// A form that may never have been here.
    void Meet(std::size_t attribute, std::string_view form, std::uint32_t& hint)
    {
        m_attributes[attribute].distinct.Add(form);
        hint = kMet;
    }
    void Take(std::size_t attribute, const Cell& cell, std::uint32_t known, std::string_view form);
    bool IsWhole(const Attribute& attribute) const;
    double AddKnown(std::size_t attribute, const Text& text, ValueList& values,
                    Additions& additions);
    void AddBefore(const Attribute& attribute, ValueList& values) const;
    ValueList::Value* ValueOf(std::size_t row, std::size_t attribute, ValueList& values,
                              const Additions& additions) const;
    void Weigh(const Attribute& attribute, ValueList& values, double others) const;
    std::string MakeColumn(std::size_t attribute, ValueList& values,
                           const Additions& additions) const;
    void FinishAttribute(std::size_t attribute, const Text& text, const Put& put);

    std::vector<Attribute> m_attributes;
    std::vector<Counts> m_counts;
    SampleRows m_sample;
    std::uint64_t m_allCounted;
    bool m_takes = false;
    std::uint64_t m_weight = 1; ///< how many objects the current one stands for
    std::uint64_t m_objects = 0;
    std::uint64_t m_objectsBefore = 0;
    std::uint64_t m_firstNew = 1;
    std::uint64_t m_next = 1;
};

} // namespace ko::store::inner

#endif
