#ifndef KO_TEST_STORE_GUARDED_BYTES_H
#define KO_TEST_STORE_GUARDED_BYTES_H

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

/// Bytes whose end is the end of what may be read: a read beyond them ends the program.
class GuardedBytes
{
public:
    explicit GuardedBytes(std::size_t most)
        : m_page(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))),
          m_room((most + m_page - 1) / m_page * m_page)
    {
        void* memory = mmap(nullptr, m_room + m_page, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_memory = static_cast<char*>(memory);
        EXPECT_EQ(mprotect(m_memory + m_room, m_page, PROT_NONE), 0);
    }
    ~GuardedBytes() { munmap(m_memory, m_room + m_page); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    std::string_view Put(std::string_view bytes)
    {
        char* const at = m_memory + m_room - bytes.size();
        bytes.copy(at, bytes.size());
        return {at, bytes.size()};
    }

private:
    std::size_t m_page;
    std::size_t m_room;
    char* m_memory;
};

/// Hands over `bytes` cut off at every place, then `changes` times with some bytes changed, behind
/// which nothing can be read. Returns how often `read` took them for sound.
inline int ReadDamaged(const std::string& bytes, int changes,
                       const std::function<bool(std::string_view)>& read)
{
    static constexpr char kBytes[] = {0, 1, 2, 3, 0x10, 0x7F, '\x80', '\xFF'};
    GuardedBytes guarded(bytes.size());
    std::mt19937 random(1);
    int sound = 0;
    for (std::size_t size = 0; size < bytes.size(); ++size)
        sound += read(guarded.Put(std::string_view(bytes).substr(0, size))) ? 1 : 0;
    for (int i = 0; i < changes; ++i) {
        std::string changed = bytes;
        // Most heads are short: half of the changes go there.
        for (auto k = random() % 3 + 1; k > 0; --k) {
            const std::size_t at =
                random() % (random() % 2 != 0 ? changed.size() : 24) % changed.size();
            changed[at] =
                random() % 2 != 0 ? kBytes[random() % sizeof kBytes] : static_cast<char>(random());
        }
        sound += read(guarded.Put(changed)) ? 1 : 0;
    }
    return sound;
}

#endif
