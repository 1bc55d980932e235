#ifndef KO_STORE_BASE_VERSION_H
#define KO_STORE_BASE_VERSION_H

#include <string>

namespace ko::store::inner
{

inline constexpr const char* kStoreMagic = "kotm store";
/// Raised whenever the bytes of a store change.
inline constexpr int kStoreFormatVersion = 3;

/// The version of the type manager library, as "major.minor.patch.build".
std::string LibraryVersion();

} // namespace ko::store::inner

#endif
