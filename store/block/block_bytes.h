#ifndef KO_STORE_BLOCK_BLOCK_BYTES_H
#define KO_STORE_BLOCK_BLOCK_BYTES_H

#include <cstddef>
#include <cstdint>

namespace ko::store::inner::block_bytes
{

/// The first byte of a block: how the rest is laid out.
inline constexpr char kVersion = 1;
/// Its second byte:
inline constexpr unsigned kHasBits = 1;  ///< slots without an object have no bit
inline constexpr unsigned kWideEnds = 2; ///< the ends of columns take four bytes
/// Then the number of slots (2) and of columns (2), the bits, and the ends.
inline constexpr std::size_t kHead = 6;

} // namespace ko::store::inner::block_bytes

#endif
