#ifndef KO_ENGINE_LMDB_STORE_H
#define KO_ENGINE_LMDB_STORE_H

#include "engine/engine.h"

#include <memory>
#include <string>
#include <vector>

namespace ko::store::inner::lmdb
{

// The functions of engine.h for a path: a file of LMDB, with one named database for each space,
// whose keys and values are the plain bytes.
//
// A new store is built in the file PATH.new, which takes its name when it is whole, so that PATH
// never names a half-written store. PATH-lock is LMDB's. Files of other programs in these names are
// left alone: a store is then not made, or not opened, and a sentence names the file.

/// Blocks take eight whole pages: what is longer than half a page has pages of its own.
inline constexpr Traits kTraits{"LMDB", 8 * 4096 - 16, true, true, true, Reach::Mapped};

std::unique_ptr<Engine> OpenEngine(const std::string& path, Mode mode);
std::unique_ptr<Loader> StartLoad(const std::string& path);
bool StoreExists(const std::string& path);
std::vector<std::string> FilesOfStore(const std::string& path);
/// Takes away the file PATH.new of a loader that was killed, under its lock. Throws Error
/// (ErrorCode::Io) where it is somebody's own.
std::size_t Clean(const std::string& path);

} // namespace ko::store::inner::lmdb

#endif
