#include "engine/engine.h"

namespace ko::store::inner
{

const char* SpaceName(Space space)
{
    static constexpr const char* kNames[kSpaces] = {"description", "blocks",  "texts",
                                                    "large",       "entries", "statistics"};
    return kNames[static_cast<std::size_t>(space)];
}

} // namespace ko::store::inner
