#ifndef KO_TEST_SUPPORT_PAGE_END_H
#define KO_TEST_SUPPORT_PAGE_END_H

#include <cstddef>
#include <cstring>
#include <memory>

#if defined(__unix__)
#include <sys/mman.h>
#include <unistd.h>
#endif

/// Bytes that end where a page ends and no page follows, so that reading beyond them ends the
/// process. Where pages cannot be guarded they are an allocation of exactly their size, whose end
/// the sanitizers watch.
class PageEnd
{
public:
    PageEnd(const void* bytes, std::size_t size)
    {
#if defined(__unix__)
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t before = (size + page - 1) / page * page;
        m_mapped = before + page;
        m_map = static_cast<unsigned char*>(
            mmap(nullptr, m_mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(m_map + before, page, PROT_NONE);
        m_bytes = m_map + before - size;
#else
        m_heap = std::make_unique<unsigned char[]>(size);
        m_bytes = m_heap.get();
#endif
        if (size != 0)
            std::memcpy(m_bytes, bytes, size);
    }
    PageEnd(const PageEnd&) = delete;
    PageEnd& operator=(const PageEnd&) = delete;
#if defined(__unix__)
    ~PageEnd()
    {
        munmap(m_map, m_mapped);
    }
#else
    ~PageEnd() = default;
#endif

    unsigned char* Bytes() const
    {
        return m_bytes;
    }

private:
    unsigned char* m_bytes;
#if defined(__unix__)
    unsigned char* m_map;
    std::size_t m_mapped;
#else
    std::unique_ptr<unsigned char[]> m_heap;
#endif
};

#endif
