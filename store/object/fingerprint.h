#ifndef KO_STORE_OBJECT_FINGERPRINT_H
#define KO_STORE_OBJECT_FINGERPRINT_H

#include <cstdint>

namespace ko::store
{

/// A hash over the sort keys of a fixed list of values of every type under every operator word that
/// orders them differently: that of another program differs where its order does. Made at the first
/// call.
std::uint64_t FingerprintOfOrder();

} // namespace ko::store

#endif
