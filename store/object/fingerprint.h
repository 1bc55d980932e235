#ifndef KO_STORE_OBJECT_FINGERPRINT_H
#define KO_STORE_OBJECT_FINGERPRINT_H

#include "schema/schema.h"

#include <cstdint>

namespace ko::store::inner
{

/// A hash over the sort keys of a fixed list of values of the types of a schema, under every
/// operator word that orders them differently: that of another program differs where its order of
/// these types does.
std::uint64_t FingerprintOfOrder(const Schema& schema);

} // namespace ko::store::inner

#endif
