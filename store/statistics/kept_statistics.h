#ifndef KO_STORE_STATISTICS_KEPT_STATISTICS_H
#define KO_STORE_STATISTICS_KEPT_STATISTICS_H

#include "schema/value_type.h"
#include "statistics/sample_column.h"
#include "statistics/summary.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// What is known of the values of one attribute. It does not change, and serves several threads.
class KnownAttribute
{
public:
    /// Of the rows' bytes without their checksums; `objects` are those of the sample. Throws Error
    /// (ErrorCode::Damaged) for bytes that are no such rows, or do not belong to each other.
    KnownAttribute(std::size_t attribute, o_char type, std::string_view summary,
                   std::string_view column, std::size_t objects);

    const Summary& Of() const { return m_summary; }
    const SampleColumn& Column() const { return m_column; }
    /// By code, the objects with lesser codes that have no common value.
    const std::vector<std::uint32_t>& RestBefore() const { return m_restBefore; }

private:
    Summary m_summary;
    SampleColumn m_column;
    std::vector<std::uint32_t> m_restBefore;
};

/// The objects of the sample, and of when they were taken.
struct SampleObjects {
    std::uint64_t objects = 0;          ///< that the store had
    std::uint64_t nextNumber = 1;       ///< that the next one would have had
    std::vector<std::uint64_t> numbers; ///< in the sample's order

    std::string Write() const;
    /// Throws Error (ErrorCode::Damaged) with the row's key for bytes that are no such row.
    static SampleObjects Read(std::string_view bytes);
};

/// Statistics that were read, for all snapshots of an open store: each as long as its rows have the
/// same checksums. Serves several threads.
class KeptStatistics
{
public:
    template <class Known>
    using Kept = std::shared_ptr<const Known>;

    /// Null where rows with other checksums were read last, or none. An empty `seals`: whatever was
    /// read last.
    Kept<SampleObjects> Objects(std::string_view seals) const;
    Kept<KnownAttribute> Attribute(std::size_t attribute, std::string_view seals) const;
    void Keep(std::string_view seals, Kept<SampleObjects> objects);
    void Keep(std::size_t attribute, std::string_view seals, Kept<KnownAttribute> known);

    /// Rows were looked at a moment ago, so that what is kept, or that there is nothing, may be
    /// taken unseen where looking costs much.
    bool IsRecent() const;
    void MarkRecent();

private:
    template <class Known>
    struct Sealed {
        std::string seals;
        Kept<Known> known;

        Kept<Known> Find(std::string_view wanted) const
        {
            return wanted.empty() || wanted == seals ? known : nullptr;
        }
    };

    mutable std::mutex m_mutex;
    Sealed<SampleObjects> m_objects;
    std::map<std::size_t, Sealed<KnownAttribute>> m_attributes;
    std::chrono::steady_clock::time_point m_looked{};
};

} // namespace ko::store::inner

#endif
