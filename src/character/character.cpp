#include "character/character_text.h"

#include <koencode.h>

// One character: its place, its code set, its class.

using namespace ko;

KoChar::KoChar(NoDefaults, unsigned short code, unsigned char codeSet, unsigned char language)
    : m_reference(nullptr), m_value(0), m_codeSet(codeSet), m_language(language),
      m_format(KoFMT_LITTLE)
{
    Put(code);
}

KoChar::KoChar(unsigned short c, unsigned char codeSet, unsigned char language)
    : KoChar(NoDefaults{}, c, OrDefault(codeSet, KoString::GetDefault16CodeSet),
             OrDefault(language, KoString::GetDefaultLanguage))
{
}

KoChar::KoChar(char c, unsigned char codeSet, unsigned char language)
    : KoChar(NoDefaults{}, static_cast<unsigned char>(c),
             OrDefault(codeSet, KoString::GetDefault8CodeSet),
             OrDefault(language, KoString::GetDefaultLanguage))
{
}

KoChar::KoChar(const char* p, unsigned char codeSet, unsigned char language, unsigned char format)
    : KoChar(NoDefaults{}, 0, OrDefault(codeSet, KoString::GetDefault8CodeSet),
             OrDefault(language, KoString::GetDefaultLanguage))
{
    m_reference = const_cast<char*>(p); // where the caller wants to write
    m_format = format == 255 ? static_cast<unsigned char>(KoFMT_LITTLE) : format;
}

KoChar::KoChar(KoString& s, int byteOffset) : KoChar(NoDefaults{}, 0, s.CodeSet(), s.Language())
{
    const unsigned bytes = s.Len() * Width();
    const auto offset = static_cast<unsigned>(byteOffset);
    // An offset inside the last character is not one of a character.
    if (byteOffset >= 0 && offset + Width() <= bytes)
        m_reference = const_cast<char*>(s.StrGet()) + offset;
    else if (offset != bytes) {
        m_codeSet = KoCS_DEFAULT;
        m_language = KoLANG_DEFAULT;
    }
}

KoChar::KoChar(const KoString& s, int byteOffset)
    : KoChar(static_cast<const KoChar&>(KoChar(const_cast<KoString&>(s), byteOffset)))
{
}

KoChar::KoChar(const KoChar& other)
    : KoChar(NoDefaults{}, other.Code(), other.m_codeSet,
             OrDefault(other.m_language, KoString::GetDefaultLanguage))
{
}

KoChar KoChar::Invalid()
{
    return {NoDefaults{}, 0, KoCS_DEFAULT, KoLANG_DEFAULT};
}

const void* KoChar::Place() const
{
    return m_reference != nullptr ? static_cast<const void*>(m_reference) : &m_value;
}

unsigned short KoChar::Code() const
{
    return CodeAt(Place(), m_codeSet, m_format);
}

/// The code in the character's own width and byte order.
void KoChar::Put(unsigned short code)
{
    void* place = m_reference != nullptr ? static_cast<void*>(m_reference) : &m_value;
    if (Width() == 1) {
        const auto byte = static_cast<unsigned char>(code);
        std::memcpy(place, &byte, 1);
    } else {
        ShortStoreOne(place, &code, TextFormat(m_format));
    }
}

KoChar& KoChar::operator=(char c)
{
    Put(static_cast<unsigned char>(c));
    return *this;
}

KoChar& KoChar::operator=(unsigned short c)
{
    Put(c);
    return *this;
}

KoChar& KoChar::operator=(const KoChar& other)
{
    if (this == &other)
        return *this;
    if (m_reference != nullptr) {
        Put(other.m_codeSet == m_codeSet ? other.Code() : other.MapTo(m_codeSet).Code());
        return *this;
    }
    const unsigned short code = other.Code();
    m_codeSet = other.m_codeSet;
    m_language = other.m_language;
    m_format = KoFMT_LITTLE;
    m_value = 0;
    Put(code);
    return *this;
}

int KoChar::Compare(const KoChar& other, unsigned short cmpOp) const
{
    const CharacterUnit left(*this);
    const CharacterUnit right(other);
    return CompareText(left.Text(), right.Text(), ResolvedCmpOp(cmpOp), 1).order;
}

unsigned short KoChar::Order() const
{
    return CodeSetOf(m_codeSet).GetOrder(Code());
}

KoChar KoChar::MapTo(unsigned char codeSet) const
{
    KoChar mapped(NoDefaults{}, 0, OrDefault(codeSet, KoString::GetDefaultCodeSet), m_language);
    const CharacterUnit unit(*this);
    KoConvertText(&mapped.m_value, mapped.m_codeSet, unit.Text().bytes, m_codeSet, 1);
    return mapped;
}

KoChar KoChar::ToLower(KoStringIterator*) const
{
    return {NoDefaults{}, CodeSetOf(m_codeSet).ToLower(Code(), m_language), m_codeSet, m_language};
}

KoChar KoChar::ToUpper(KoStringIterator*) const
{
    return {NoDefaults{}, CodeSetOf(m_codeSet).ToUpper(Code(), m_language), m_codeSet, m_language};
}
