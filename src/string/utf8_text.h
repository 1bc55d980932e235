#ifndef KO_STRING_UTF8_TEXT_H
#define KO_STRING_UTF8_TEXT_H

#include "collation/text.h"

#include <kombs.h>
#include <kostring.h>

#include <cstddef>

/// Texts of callers, which should be UTF-8 and may be anything, to the library's texts and back.
/// What is read is strict: half a surrogate pair, a zero character and what a code set lacks are
/// faults.

namespace ko
{

/// What a text in UTF-8 is made of, as far as it is one.
struct Utf8Survey {
    std::size_t at = 0; ///< the bytes of it; fewer than there are where one does not belong
    std::size_t characters = 0;
    std::size_t units = 0; ///< characters of 16 bits
    bool isAscii = true;

    Utf8Survey(const char* utf8, std::size_t length);
};

/// Writes the characters of a text that was surveyed, without a terminator, in a code set. Returns
/// the bytes that were read: fewer than `length` where the code set lacks the next character.
std::size_t WriteCharacters(char* out, unsigned char codeSet, const char* utf8, std::size_t length);

/// A text of a caller as a string that lives on the stack while it is short.
class Utf8Text
{
public:
    Utf8Text() : m_text(KoCS_LATIN1, KoString::GetDefaultLanguage()) {}
    ~Utf8Text()
    {
        if (m_isLent)
            StringAccess::TakeBack(m_text);
    }
    Utf8Text(const Utf8Text&) = delete;
    Utf8Text& operator=(const Utf8Text&) = delete;

    /// Takes the characters of `utf8`, once, in the code set; 0: in the default one, or in that of
    /// 16 bits where it lacks one of them. Returns 0 or a KoMbsResult, of which KoMBS_REPLACED
    /// stands for a character that the code set lacks. `errorAt` is then the byte at which the
    /// first character that does not belong begins.
    int Read(const char* utf8, std::size_t length, unsigned char codeSet, std::size_t& errorAt);

    const KoString& Get() const { return m_text; }
    /// The byte at which character `position` of the text begins.
    std::size_t ByteOf(unsigned position) const;

private:
    static constexpr std::size_t kShort = 256;

    bool ReadShort(unsigned char codeSet);
    int ReadAs(unsigned char codeSet, std::size_t units, std::size_t& errorAt);

    const char* m_utf8 = nullptr;
    std::size_t m_length = 0;
    KoString m_text;
    bool m_isLent = false;
    alignas(16) char m_short[kShort];
};

/// Writes text as UTF-8 into the room of a caller; what does not fit is counted.
class Utf8Writer
{
public:
    Utf8Writer(char* out, std::size_t room) : m_out(out), m_room(room) {}

    /// Pairs are joined; what is no character becomes U+FFFD.
    void Write(const KoString& text);
    /// The bytes of it all. A terminator stands after them where there is room for it.
    std::size_t Finish();

private:
    void Put(o_u4b character);

    char* m_out;
    std::size_t m_room;
    std::size_t m_size = 0;
};

} // namespace ko

#endif
