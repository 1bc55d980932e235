#ifndef KO_STORE_STATISTICS_SUMMARY_H
#define KO_STORE_STATISTICS_SUMMARY_H

#include "schema/value_type.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

// The rows of Space::Statistics. The key has the attribute (2 bytes, most significant first) and
// one byte that tells the part; that of the objects of the sample has kNoAttribute.

inline constexpr char kSummaryPart = 0;
inline constexpr char kSamplePart = 1;
inline constexpr std::size_t kNoAttribute = 0xFFFF;

std::string StatisticsKey(std::size_t attribute, char part);
/// False for bytes that are no such key.
bool ReadStatisticsKey(std::string_view key, std::size_t& attribute, char& part);

/// How many values are counted one by one, and into how many ranges the rest is divided.
inline constexpr std::size_t kMostCommon = 200;
inline constexpr std::size_t kMostBuckets = 200;

/// What is known of the values of one attribute. Orders are those of the operator word 0x0010.
struct Summary {
    /// A value that many objects have.
    struct Common {
        std::string form;
        std::uint64_t count = 0;
        std::uint16_t sampleCode = 0; ///< of the sample's column; 0: the value is not in the sample
    };
    /// Values that are not common, above the high end of the bucket before (the lowest of all
    /// where there is none), up to the own one with it. Buckets have about as many objects each.
    struct Bucket {
        std::string high;
        std::uint64_t count = 0;     ///< of objects
        std::uint64_t ofHigh = 0;    ///< of those that have the value `high`
        std::uint64_t distinct = 0;  ///< values, `high` among them
        std::uint16_t sampleEnd = 0; ///< the first code of the sample's column beyond the bucket
    };

    std::uint64_t objects = 0; ///< all of the store
    std::uint64_t nulls = 0;
    std::uint64_t distinct = 0;
    bool exact = false; ///< every number here; else `distinct` is off by 1.6 % (one sigma)
    std::string lowest; ///< of all values, common ones too; empty: there are none
    std::string highest;
    std::vector<Common> common;  ///< in ascending order of their values
    std::vector<Bucket> buckets; ///< in ascending order
    std::string registers;       ///< HyperLogLog's, for who adds to it; empty where exact

    std::uint64_t Values() const { return objects - nulls; }

    std::string Write() const;
    /// Throws Error (ErrorCode::Damaged) with the key of the attribute's row for bytes that are no
    /// such summary. Forms are validated, and may be handed to all functions of the type.
    static Summary Read(std::size_t attribute, o_char type, std::string_view bytes);
};

/// True for bytes that are a form of the type and nothing else.
bool IsForm(o_char type, std::string_view bytes);

} // namespace ko::store::inner

#endif
