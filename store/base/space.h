#ifndef KO_STORE_BASE_SPACE_H
#define KO_STORE_BASE_SPACE_H

#include <cstddef>
#include <cstdint>

namespace ko::store::inner
{

/// The ordered maps of a store. The numbers are part of every checksum.
enum class Space : std::uint8_t {
    Description = 0,
    Blocks = 1,     ///< objects, many in a row
    Texts = 2,      ///< dictionaries: forms that repeat, by attribute
    Large = 3,      ///< forms that are too long for a block, each by itself
    Entries = 4,    ///< indexes
    Statistics = 5, ///< of the values of an attribute
};

inline constexpr std::size_t kSpaces = 6;

/// What a sentence calls the rows of a space.
inline const char* RowName(Space space)
{
    static constexpr const char* kNames[kSpaces] = {"description",    "block of objects",
                                                    "dictionary row", "large value",
                                                    "index row",      "row of statistics"};
    return kNames[static_cast<unsigned>(space)];
}

} // namespace ko::store::inner

#endif
