#ifndef KO_STORE_BASE_VERSION_H
#define KO_STORE_BASE_VERSION_H

#include <cstdint>
#include <string>

namespace ko::store
{

inline constexpr const char* kStoreMagic = "kotm store";
/// Raised whenever the layout of records, entries or the store's own description changes.
inline constexpr int kStoreFormatVersion = 2;
/// That of the stores of store/object.
inline constexpr int kObjectStoreFormat = 3;

/// The version of the type manager library, as "major.minor.patch.build".
std::string LibraryVersion();

/// The version of the tables that order and convert text. Stored orders depend on it.
std::uint32_t TextTablesVersion();

} // namespace ko::store

#endif
