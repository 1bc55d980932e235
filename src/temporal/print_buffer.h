#ifndef KO_TEMPORAL_PRINT_BUFFER_H
#define KO_TEMPORAL_PRINT_BUFFER_H

#include "collation/text.h"

#include <koservices.h>
#include <kostring.h>

#include <cstddef>
#include <cstring>

namespace ko
{

/// Text in the making: on the stack while it is short, from the heap beyond. The end of the text is
/// the writer's; it stands in a register of the printer's loop.
class TemporalBuffer
{
public:
    /// No element of a format prints more: a sign, 10 digits of seconds, a point, 9 of a fraction.
    static constexpr std::size_t kLongestElement = 24;
    /// So much literal text may stand before it.
    static constexpr std::size_t kMostPlain = 24;

    TemporalBuffer() = default;
    TemporalBuffer(const TemporalBuffer&) = delete;
    TemporalBuffer& operator=(const TemporalBuffer&) = delete;
    ~TemporalBuffer()
    {
        if (m_text != m_short) [[unlikely]]
            KoFree(m_text);
    }

    char* Begin() { return m_text; }
    /// True where literal text and one more element might not fit.
    bool IsFull(const char* end) const { return end > m_limit; }
    /// The end of the same text where there is more room, unless it has ended.
    char* Grow(char* end)
    {
        const auto size = static_cast<std::size_t>(end - m_text);
        if (size > KoString::kMaxBytes) {
            m_ended = true;
            return end;
        }
        const std::size_t room = 4 * (size + kSlack);
        auto* text = static_cast<char*>(KoAlloc(room));
        if (text == nullptr) {
            KoCallMemoryHandler(room);
            m_ended = true;
            return m_text;
        }
        std::memcpy(text, m_text, size);
        if (m_text != m_short)
            KoFree(m_text);
        m_text = text;
        m_limit = text + room - kSlack;
        return text + size;
    }
    /// True for a text that is as long as a string can be, or empty because memory has run out.
    bool HasEnded() const { return m_ended; }
    void AppendTo(KoString& string, char* end) const
    {
        std::memset(end, 0, StringAccess::kBlock);
        StringAccess::AppendPadded(string, m_text, static_cast<std::size_t>(end - m_text));
    }

private:
    static constexpr std::size_t kSlack = kMostPlain + kLongestElement + StringAccess::kBlock;

    char m_short[256];
    char* m_text = m_short;
    const char* m_limit = m_short + sizeof m_short - kSlack;
    bool m_ended = false;
};

} // namespace ko

#endif
