#ifndef KO_CHARACTER_CHARACTER_TEXT_H
#define KO_CHARACTER_CHARACTER_TEXT_H

#include "collation/orders.h"

#include <kochar.h>

namespace ko
{

/// What an identifier passed to a constructor means: 255 stands for the default.
inline unsigned char OrDefault(unsigned char given, unsigned char (*standard)())
{
    return given == 255 ? standard() : given;
}

/// The code of the character at `place`.
inline o_u2b CodeAt(const void* place, unsigned char codeSet, unsigned char format)
{
    const KoText text{static_cast<const char*>(place), 1, codeSet, 0, TextFormat(format)};
    return static_cast<o_u2b>(text.At(0));
}

/// A character as a text of its own, in the machine's byte order.
class CharacterUnit
{
public:
    explicit CharacterUnit(const KoChar& c)
        : m_code(c.Code()), m_byte(static_cast<char>(m_code)), m_codeSet(c.CodeSet()),
          m_language(c.Language())
    {
    }
    KoText Text() const
    {
        const void* place =
            KoCodeSetWidth(m_codeSet) == 1 ? &m_byte : static_cast<const void*>(&m_code);
        return {static_cast<const char*>(place), 1, m_codeSet, m_language};
    }

private:
    o_u2b m_code;
    char m_byte;
    unsigned char m_codeSet;
    unsigned char m_language;
};

} // namespace ko

#endif
