#ifndef KO_STORE_OBJECT_DESCRIPTION_H
#define KO_STORE_OBJECT_DESCRIPTION_H

#include "block/layout.h"
#include "schema/schema.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ko::store::inner
{

/// What a store says of itself, in the row "store" of Space::Description.
struct Description {
    static constexpr std::string_view kKey = "store";

    Schema schema;
    unsigned slotsOfBlock = 0; ///< a power of two
    std::uint64_t order = 0;   ///< FingerprintOfOrder of who made the indexes

    /// The sealed value of the row.
    std::string Write() const;
    /// Throws Error (ErrorCode::Damaged), which begins with `store`, for bytes that are no
    /// description of a store of this format.
    static Description Read(std::string_view sealed, const std::string& store);
};

/// What changes with the objects, in the row "counts".
struct Counts {
    static constexpr std::string_view kKey = "counts";

    std::uint64_t objects = 0;
    std::uint64_t nextNumber = 1;     ///< of the next object; numbers are never used again
    std::vector<std::uint32_t> texts; ///< entries of the dictionary of each attribute

    std::string Write() const;
    /// As that of a description with so many attributes.
    static Counts Read(std::string_view sealed, std::size_t attributes, const std::string& store);
};

} // namespace ko::store::inner

#endif
