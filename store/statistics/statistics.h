#ifndef KO_STORE_STATISTICS_STATISTICS_H
#define KO_STORE_STATISTICS_STATISTICS_H

#include "schema/schema.h"
#include "statistics/sample_column.h"
#include "statistics/summary.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The objects of the sample, and of when they were taken.
struct SampleObjects {
    std::uint64_t objects = 0;          ///< that the store had
    std::uint64_t nextNumber = 1;       ///< that the next one would have had
    std::vector<std::uint64_t> numbers; ///< in the sample's order

    std::string Write() const;
    /// Throws Error (ErrorCode::Damaged) with the row's key for bytes that are no such row.
    static SampleObjects Read(std::string_view bytes);
};

/// The statistics of a store. Rows are read when they are asked for first. One thread at a time.
class Statistics
{
public:
    /// Finds the sealed row of a key; none where it is not there. Views last until the next call.
    using Get = std::function<std::optional<std::string_view>(const std::string& key)>;

    /// Null where the store has none. Throws Error (ErrorCode::Damaged), as all functions do for a
    /// row that is damaged or missing.
    static std::unique_ptr<Statistics> Open(const Schema& schema, Get get);

    std::uint64_t Objects() const { return m_objects.objects; }
    std::uint64_t NextNumber() const { return m_objects.nextNumber; }
    const std::vector<std::uint64_t>& SampleNumbers() const { return m_objects.numbers; }
    std::size_t Sample() const { return m_objects.numbers.size(); }
    /// The sample has all objects of the store.
    bool IsWhole() const { return Sample() == Objects(); }

    o_char Type(std::size_t attribute) const { return m_attributes[attribute].type; }
    const Summary& Of(std::size_t attribute);
    const SampleColumn& Column(std::size_t attribute);
    /// Of an attribute's column: by code, the objects with lesser codes that have no common value.
    const std::vector<std::uint32_t>& RestBefore(std::size_t attribute);

    /// How much a store has changed since: of objects and numbers that it has now.
    struct Age {
        std::uint64_t added;
        std::uint64_t erased;
    };
    Age AgeAt(std::uint64_t objects, std::uint64_t nextNumber) const;

private:
    struct OneAttribute {
        o_char type;
        std::optional<Summary> summary;
        std::optional<SampleColumn> column;
        std::vector<std::uint32_t> restBefore;
    };

    Statistics(const Schema& schema, Get get, SampleObjects objects);
    std::string_view Row(std::size_t attribute, char part);

    Get m_get;
    SampleObjects m_objects;
    std::vector<OneAttribute> m_attributes;
};

} // namespace ko::store::inner

#endif
