#ifndef KO_CORE_MEMORY_WATCH_H
#define KO_CORE_MEMORY_WATCH_H

#include <komemory.h>

#include <cstddef>
#include <optional>

namespace ko
{

/// Tells whether memory ran out since it was made, so that a call can give back nothing rather than
/// what was cut short. Whoever is to be told of it, the handler of the process or of a scope around
/// this one, is told once, at the end.
class MemoryWatch
{
public:
    MemoryWatch() : m_scope(std::in_place, Note, &m_missing) {}
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;
    ~MemoryWatch()
    {
        const bool hasRunOut = HasRunOut();
        m_scope.reset();
        if (hasRunOut)
            KoCallMemoryHandler(m_missing);
    }

    bool HasRunOut() const { return m_scope->HasRunOut(); }

private:
    static void Note(void* missing, std::size_t bytes)
    {
        *static_cast<std::size_t*>(missing) = bytes;
    }

    std::size_t m_missing = 0;
    std::optional<KoMemoryScope> m_scope;
};

} // namespace ko

#endif
