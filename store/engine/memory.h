#ifndef KO_ENGINE_MEMORY_H
#define KO_ENGINE_MEMORY_H

#include "engine/engine.h"

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace ko::store::inner
{

/// A store in memory, as simple as the interface lets it be: the model that other engines are held
/// against, and a store for tests. A reader has the maps as they stood when it began; a writer
/// copies those that it changes. Of two writers that began with the same maps, the second to commit
/// throws Conflict. What its calls hand out is a copy that goes when they say so.
class MemoryStore
{
public:
    using Map = std::map<std::string, std::string, std::less<>>;
    using Maps = std::array<std::shared_ptr<const Map>, kSpaces>;

    /// Throws Error (ErrorCode::Missing) where nothing was published.
    std::unique_ptr<Engine> Open(Mode mode);
    /// Throws Error (ErrorCode::Exists) where something was.
    std::unique_ptr<Loader> StartLoad();
    bool Exists() const { return Now() != nullptr; }

private:
    struct Shared {
        std::mutex mutex;
        std::shared_ptr<const Maps> maps; ///< null before something was published
    };
    class MemoryEngine;
    class MemoryWriter;
    class MemoryLoader;

    std::shared_ptr<const Maps> Now() const
    {
        const std::lock_guard guard(m_shared->mutex);
        return m_shared->maps;
    }

    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};

} // namespace ko::store::inner

#endif
