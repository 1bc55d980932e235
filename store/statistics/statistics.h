#ifndef KO_STORE_STATISTICS_STATISTICS_H
#define KO_STORE_STATISTICS_STATISTICS_H

#include "schema/schema.h"
#include "statistics/kept_statistics.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// The statistics of a store. Rows are read when they are asked for first. One thread at a time.
class Statistics
{
public:
    /// Finds the sealed row of a key; none where it is not there. Views last until the next call.
    using Get = std::function<std::optional<std::string_view>(const std::string& key)>;

    /// Null where the store has none. `kept`, which may be null, outlives it. Throws Error
    /// (ErrorCode::Damaged), as all functions do for a row that is damaged or missing.
    static std::unique_ptr<Statistics> Open(const Schema& schema, Get get,
                                            KeptStatistics* kept = nullptr);
    /// Those that are kept, as they are, which must not be none. Others are got.
    static std::unique_ptr<Statistics> Unseen(const Schema& schema, Get get, KeptStatistics& kept);

    std::uint64_t Objects() const { return m_objects->objects; }
    std::uint64_t NextNumber() const { return m_objects->nextNumber; }
    const std::vector<std::uint64_t>& SampleNumbers() const { return m_objects->numbers; }
    std::size_t Sample() const { return m_objects->numbers.size(); }
    /// The sample has all objects of the store.
    bool IsWhole() const { return Sample() == Objects(); }

    o_char Type(std::size_t attribute) const { return m_attributes[attribute].type; }
    const Summary& Of(std::size_t attribute) { return Load(attribute).Of(); }
    const SampleColumn& Column(std::size_t attribute) { return Load(attribute).Column(); }
    /// Of an attribute's column: by code, the objects with lesser codes that have no common value.
    const std::vector<std::uint32_t>& RestBefore(std::size_t attribute)
    {
        return Load(attribute).RestBefore();
    }

    /// How much a store has changed since: of objects and numbers that it has now.
    struct Age {
        std::uint64_t added;
        std::uint64_t erased;
    };
    Age AgeAt(std::uint64_t objects, std::uint64_t nextNumber) const;

private:
    struct OneAttribute {
        o_char type;
        std::shared_ptr<const KnownAttribute> known;
    };

    Statistics(const Schema& schema, Get get, KeptStatistics* kept,
               std::shared_ptr<const SampleObjects> objects, bool unseen);
    const KnownAttribute& Load(std::size_t attribute);
    std::string_view Sealed(const std::string& key) const;

    Get m_get;
    KeptStatistics* m_kept;
    std::shared_ptr<const SampleObjects> m_objects;
    bool m_unseen; ///< what is kept is taken without a look at its rows
    std::vector<OneAttribute> m_attributes;
};

} // namespace ko::store::inner

#endif
