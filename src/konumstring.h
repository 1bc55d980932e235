#ifndef KONUMSTRING_H
#define KONUMSTRING_H

#include "konumtext.h"

#include <koservices.h>
#include <kostring.h>

#include <cstring>

/// Number text (konumtext.h) to and from a KoString.

/// Room for a text: on the stack while it is short, from the heap beyond. Without memory the
/// memory handler is called and the room stays the short one.
class KoTextRoom
{
public:
    explicit KoTextRoom(std::size_t size)
    {
        if (size <= sizeof m_short)
            return;
        m_long = static_cast<char*>(KoAlloc(size));
        if (m_long == nullptr)
            KoCallMemoryHandler(size);
        else
            m_size = size;
    }
    ~KoTextRoom() { KoFree(m_long); }
    KoTextRoom(const KoTextRoom&) = delete;
    KoTextRoom& operator=(const KoTextRoom&) = delete;

    char* Data() { return m_long != nullptr ? m_long : m_short; }
    std::size_t Size() const { return m_size; }

private:
    char m_short[256];
    char* m_long = nullptr;
    std::size_t m_size = sizeof m_short;
};

/// The text of a KoString as 8-bit characters with a zero after them: itself where it is 8-bit,
/// else a copy in which a character beyond ASCII is one that belongs to no number.
class KoNarrowText
{
public:
    explicit KoNarrowText(const KoString& text)
        : m_length(text.Len()), m_room(text.Width() == 1 ? 0 : m_length + 1)
    {
        m_text = text.StrGet();
        if (text.Width() == 1)
            return;
        char* out = m_room.Data();
        if (m_length >= m_room.Size())
            m_length = 0;
        for (std::size_t i = 0; i < m_length; ++i) {
            o_u2b unit;
            std::memcpy(&unit, m_text + 2 * i, sizeof unit);
            out[i] = unit < 128 ? static_cast<char>(unit) : '\x1A';
        }
        out[m_length] = '\0';
        m_text = out;
    }
    const char* Data() const { return m_text; }
    std::size_t Length() const { return m_length; }

private:
    std::size_t m_length;
    KoTextRoom m_room;
    const char* m_text;
};

/// A text in the code set of single characters, the default 8-bit one: itself where it is there
/// already or has no code set, else a mapped copy. Positions are the same.
class KoByteText
{
public:
    explicit KoByteText(const KoString& text) : m_text(&text)
    {
        const unsigned char codeSet = KoString::GetDefault8CodeSet();
        if (text.IsEmpty() || text.CodeSet() == codeSet || text.CodeSet() == KoCS_NONE)
            return;
        m_isExact = m_copy.CopyMapped(text, codeSet, static_cast<short>(KoString::kToEnd)) == 0;
        m_text = &m_copy;
    }
    KoByteText(const KoByteText&) = delete;
    KoByteText& operator=(const KoByteText&) = delete;

    const KoString& Get() const { return *m_text; }
    /// False when a character was missing in the code set and became "?".
    bool IsExact() const { return m_isExact; }

private:
    KoString m_copy;
    const KoString* m_text;
    bool m_isExact = true;
};

/// Appends the number to what the text holds. What exceeds a string's limit is cut off.
template <class T>
KoString& KoAppendNumber(KoString& text, T value, const char* format)
{
    KoTextRoom shortRoom(0);
    const std::size_t length = KoPrintNumber(shortRoom.Data(), shortRoom.Size() - 1, format, value);
    if (length < shortRoom.Size()) {
        shortRoom.Data()[length] = '\0';
        return text << static_cast<const char*>(shortRoom.Data());
    }
    KoTextRoom room(length + 1);
    const std::size_t kept = length < room.Size() ? length : room.Size() - 1;
    KoPrintNumber(room.Data(), kept, format, value);
    room.Data()[kept] = '\0';
    return text << static_cast<const char*>(room.Data());
}

/// Appends a floating number for which no format was asked; see KoPrintShortest.
template <class T>
KoString& KoAppendShortest(KoString& text, T value)
{
    char digits[kRoomForShortest];
    digits[KoPrintShortest(digits, value)] = '\0'; // never fills its room
    return text << static_cast<const char*>(digits);
}

template <class T>
bool KoScanNumber(T& value, const KoString& text, const char* format)
{
    const KoNarrowText narrow(text);
    return KoScanNumber(value, narrow.Data(), narrow.Length(), format);
}

template <class T>
int KoParseNumber(T& value, const KoString& text, const char* format, unsigned& errorAt)
{
    const KoNarrowText narrow(text);
    return KoParseNumber(value, narrow.Data(), narrow.Length(), format, errorAt);
}

#endif
