#include "collation/text.h"
#include "string/piece.h"

#include <kombs.h>
#include <koservices.h>

#include <utility>

// Representation, construction, assignment and appending.

namespace ko
{

namespace
{

template <class Unit>
unsigned UnitsIn(const Unit* s, unsigned limit)
{
    unsigned count = 0;
    while (s != nullptr && count < limit && s[count] != 0)
        ++count;
    return count;
}

} // namespace

void StringAccess::Set(KoString& string, const KoText& text)
{
    string.Become({text.bytes, text.units, text.codeSet, text.format}, text.codeSet, text.language);
}

int StringAccess::Convert(KoString& string, const KoText& text, unsigned char codeSet,
                          unsigned char language)
{
    const KoString::Outcome outcome =
        string.Become({text.bytes, text.units, text.codeSet, text.format}, codeSet, language);
    switch (outcome) {
    case KoString::Outcome::kReplaced:
        return KoMBS_REPLACED;
    case KoString::Outcome::kNoMemory:
        return KoMBS_NO_MEMORY;
    default:
        return KoRC_OK;
    }
}

void StringAccess::AppendToText(KoString& string, const char* text, unsigned count)
{
    string.Append({text, count, KoString::GetDefault8CodeSet()});
}

// ---- construction

} // namespace ko

using namespace ko;

alignas(2) constexpr char KoString::kNoText[2] = {};

// The terminator may come before `limit`, and nothing after it is there to be read.
KoString::Piece KoString::Piece::Of(const char* s, unsigned limit)
{
    const void* end = s == nullptr || limit == 0 ? nullptr : std::memchr(s, 0, limit);
    const auto length =
        end == nullptr ? limit : static_cast<unsigned>(static_cast<const char*>(end) - s);
    return {s, s == nullptr ? 0 : length, GetDefault8CodeSet()};
}

KoString::Piece KoString::Piece::Of(const unsigned short* s, unsigned limit)
{
    return {s, UnitsIn(s, limit), GetDefault16CodeSet()};
}

KoString::Piece KoString::Piece::Of(const char16_t* s, unsigned limit)
{
    return {s, UnitsIn(s, limit), GetDefault16CodeSet()};
}

KoString::KoString(const KoString& other) : m_codeSet(other.m_codeSet), m_language(other.m_language)
{
    Become(other.Whole(), m_codeSet, m_language);
}

KoString::KoString(KoString&& other) noexcept
    : m_buffer(std::exchange(other.m_buffer, nullptr)),
      m_size(std::exchange(other.m_size, o_u2b{})), m_codeSet(other.m_codeSet),
      m_language(other.m_language)
{
}

KoString::KoString(char c) : m_codeSet(GetDefault8CodeSet()), m_language(GetDefaultLanguage())
{
    Become(Piece::Of(c, 1, m_codeSet), m_codeSet, m_language);
}

KoString::KoString(unsigned char c) : KoString(static_cast<char>(c))
{
}

KoString::KoString(unsigned short c)
    : m_codeSet(GetDefault16CodeSet()), m_language(GetDefaultLanguage())
{
    Become(Piece::Of(c, 1, m_codeSet), m_codeSet, m_language);
}

KoString::KoString(const char* s) : KoString(s, kToEnd)
{
}

KoString::KoString(const char* s, unsigned short n)
    : m_codeSet(GetDefault8CodeSet()), m_language(GetDefaultLanguage())
{
    Become(Piece::Of(s, n), m_codeSet, m_language);
}

KoString::KoString(const unsigned short* s) : KoString(s, kToEnd)
{
}

KoString::KoString(const unsigned short* s, unsigned short n)
    : m_codeSet(GetDefault16CodeSet()), m_language(GetDefaultLanguage())
{
    Become(Piece::Of(s, n), m_codeSet, m_language);
}

KoString::KoString(const char16_t* s, unsigned short n)
    : m_codeSet(GetDefault16CodeSet()), m_language(GetDefaultLanguage())
{
    Become(Piece::Of(s, n), m_codeSet, m_language);
}

KoString::KoString(const KoChar& c) : KoString()
{
    if (c.IsInvalid())
        return;
    const unsigned short code = c.Code();
    const char byte = static_cast<char>(code);
    Become(c.Width() == 1 ? Piece::Of(byte, 1, c.CodeSet()) : Piece::Of(code, 1, c.CodeSet()),
           c.CodeSet(), c.Language());
}

void KoString::Init()
{
    Destroy();
    m_codeSet = GetDefaultCodeSet();
    m_language = GetDefaultLanguage();
}

void KoString::Destroy()
{
    KoFree(std::exchange(m_buffer, nullptr));
    m_size = 0;
}

void KoString::Destruct(KoString& other)
{
    if (this == &other)
        return;
    KoFree(m_buffer);
    m_buffer = std::exchange(other.m_buffer, nullptr);
    m_size = std::exchange(other.m_size, o_u2b{});
    m_codeSet = other.m_codeSet;
    m_language = other.m_language;
}

// ---- assignment and appending

KoString& KoString::operator=(const KoString& other)
{
    if (this != &other)
        Become(other.Whole(), other.m_codeSet, other.m_language);
    return *this;
}

KoString& KoString::operator=(KoString&& other) noexcept
{
    Destruct(other);
    return *this;
}

KoString& KoString::operator=(const char* s)
{
    Become(Piece::Of(s), GetDefault8CodeSet(), GetDefaultLanguage());
    return *this;
}

KoString& KoString::operator=(const unsigned short* s)
{
    Become(Piece::Of(s), GetDefault16CodeSet(), GetDefaultLanguage());
    return *this;
}

KoString& KoString::operator+=(const KoString& other)
{
    return Append(other.Whole());
}

KoString& KoString::operator<<(char c)
{
    return Append(Piece::Of(c, 1, GetDefault8CodeSet()));
}

KoString& KoString::operator<<(const char* s)
{
    return Append(Piece::Of(s));
}

KoString& KoString::operator<<(const unsigned short* s)
{
    return Append(Piece::Of(s));
}

KoString operator+(const KoString& a, const KoString& b)
{
    KoString sum(a.CodeSet(), a.Language());
    sum += a;
    sum += b;
    return sum;
}

// ---- questions

unsigned short KoString::Len() const
{
    if (m_buffer == nullptr)
        return 0;
    const unsigned width = Width();
    return static_cast<unsigned short>(UnitsBeforeZero(m_buffer, width, m_size / width));
}

bool KoString::IsEmpty() const
{
    return m_buffer == nullptr || UnitsBeforeZero(m_buffer, Width(), 1) == 0;
}

const KoString& KoString::EmptyString()
{
    static const KoString empty;
    return empty;
}

// ---- null value

int KoString::SetNullValue()
{
    Destroy();
    m_codeSet = KoCS_NONE;
    m_language = kNullLanguage;
    return KoRC_OK;
}
