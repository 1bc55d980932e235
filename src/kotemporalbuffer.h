#ifndef KOTEMPORALBUFFER_H
#define KOTEMPORALBUFFER_H

#include <koservices.h>
#include <kostring.h>

#include <cstddef>
#include <cstring>

/// Text in the making: on the stack while it is short, from the heap beyond. The end of the text is
/// the writer's; it stands in a register of the printer's loop.
class TemporalBuffer
{
public:
    /// No element of a format prints more: a sign, 10 digits of seconds, a point, 9 of a fraction.
    static constexpr std::size_t kLongestElement = 24;

    TemporalBuffer() = default;
    TemporalBuffer(const TemporalBuffer&) = delete;
    TemporalBuffer& operator=(const TemporalBuffer&) = delete;
    ~TemporalBuffer() { KoFree(m_long); }

    char* Begin() { return m_text; }
    /// True where one more element might not fit.
    bool IsFull(const char* end) const { return end > m_limit; }
    /// The end of the same text where there is more room; null when the text is as long as a string
    /// can be, or memory has run out.
    char* Grow(const char* end)
    {
        const auto size = static_cast<std::size_t>(end - m_text);
        if (size > KoString::kMaxBytes)
            return nullptr;
        const std::size_t room = 4 * (m_room + kLongestElement);
        auto* text = static_cast<char*>(KoAlloc(room));
        if (text == nullptr) {
            KoCallMemoryHandler(room);
            m_failed = true;
            return nullptr;
        }
        std::memcpy(text, m_text, size);
        KoFree(m_long);
        m_text = m_long = text;
        m_room = room - kLongestElement;
        m_limit = text + m_room;
        return text + size;
    }
    bool HasFailed() const { return m_failed; }

private:
    char m_short[256];
    char* m_long = nullptr;
    char* m_text = m_short;
    std::size_t m_room = sizeof m_short - kLongestElement;
    const char* m_limit = m_short + m_room;
    bool m_failed = false;
};

#endif
