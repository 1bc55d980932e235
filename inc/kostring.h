#ifndef KOSTRING_H
#define KOSTRING_H

#include "kobasic.h"

#include <kointl.h>

/// Text with a code set and a language, of 8-bit or 16-bit characters; the code set decides which.
///
/// Positions, counts and lengths are in characters. Every edit reallocates to the exact size and
/// converts what comes in to this string's code set; a character that the code set lacks becomes
/// "?". A text never exceeds 65532 bytes with its terminator (65531 8-bit or 32765 16-bit
/// characters): what goes beyond is cut off, and reported as an assertion when the setting
/// "stringOverflow" of the category "debug" is on.
class KOTMS_API KoString
{
public:
    static constexpr unsigned short kToEnd = 65535;     ///< as a count: up to the end
    static constexpr unsigned kMaxBytes = 65532;        ///< terminator included
    static constexpr unsigned char kNullLanguage = 254; ///< marks the null value

    // ---- construction; the language is the default one. A null pointer or a zero character
    // gives the empty string.
    KoString();
    KoString(const KoString& other);
    KoString(KoString&& other) noexcept;
    KoString(unsigned char codeSet, unsigned char language);
    KoString(char c);
    KoString(unsigned char c);
    KoString(unsigned short c); ///< one character of the default 16-bit code set
    KoString(short n);
    KoString(int n);
    KoString(unsigned int n); ///< formatted with "%d": 2^31 and above come out negative
    KoString(long n) : KoString(static_cast<o_8b>(n)) {}
    KoString(unsigned long n) : KoString(static_cast<o_u8b>(n)) {}
    KoString(o_8b n);
    KoString(o_u8b n);
    KoString(double d); ///< formatted with "%.17g"
    KoString(const char* s);
    KoString(const char* s, unsigned short n);
    KoString(const unsigned short* s);
    KoString(const unsigned short* s, unsigned short n);
    ~KoString();

    void Init();
    void Destroy();
    void Destruct(KoString& other);

    // ---- assignment and appending
    KoString& operator=(const KoString& other);
    KoString& operator=(KoString&& other) noexcept;
    KoString& operator=(const char* s);
    KoString& operator=(const unsigned short* s);
    KoString& operator+=(const KoString& other);
    KoString& operator<<(const KoString& other);
    KoString& operator<<(char c);
    KoString& operator<<(unsigned short c);
    KoString& operator<<(short n);
    KoString& operator<<(int n);
    KoString& operator<<(unsigned int n);
    KoString& operator<<(long n) { return *this << static_cast<o_8b>(n); }
    KoString& operator<<(unsigned long n) { return *this << static_cast<o_u8b>(n); }
    KoString& operator<<(o_8b n);
    KoString& operator<<(o_u8b n);
    KoString& operator<<(float d);
    KoString& operator<<(double d);
    KoString& operator<<(const char* s);
    KoString& operator<<(const unsigned short* s);

    // ---- questions
    unsigned short Len() const;
    bool IsEmpty() const;
    bool operator!() const { return IsEmpty(); }
    const char* StrGet() const;
    unsigned short ByteSize() const { return m_size; } ///< with the terminator; 0 when empty
    unsigned Width() const { return KoCodeSetWidth(m_codeSet); }
    unsigned char CodeSet() const { return m_codeSet; }
    unsigned char Language() const { return m_language; }
    void SetLanguage(unsigned char language) { m_language = language; }
    static const KoString& EmptyString();

    // ---- numbers
    operator short() const;
    operator int() const;
    operator o_8b() const;
    operator double() const;
    int Atol(int& result) const;
    int Atoll(o_8b& result) const;
    int Strtol(int& result) const;
    int Strtoll(o_8b& result) const;

    // ---- editing
    KoString& Insert(const KoString& s, unsigned short pos);
    KoString& Replace(const KoString& s, unsigned short pos);
    KoString& Cut(unsigned short pos, short n);
    KoString Copy(unsigned short pos, short n) const;
    KoString Left(unsigned short n) const;
    KoString Right(unsigned short n) const;
    KoString& Fill(unsigned short n, char c);
    KoString& Fill(unsigned short n, unsigned short c);
    KoString& Expand(unsigned short n, char c);
    KoString& Expand(unsigned short n, unsigned short c);

    // ---- null value
    bool IsNullValue() const;
    int SetNullValue();

    // ---- code sets
    void SetCodeSet(unsigned char codeSet);
    int SetCodeSetCode(unsigned char codeSet);
    int MapToCodeSet(unsigned char codeSet);
    int CopyMapped(const KoString& source, unsigned char codeSet, short n);
    static unsigned char GetDefaultCodeSet();
    static unsigned char GetDefault8CodeSet();
    static unsigned char GetDefault16CodeSet();
    static unsigned char GetDefaultLanguage();
    static unsigned short GetDefaultCmpOp();
    static void SetDefaultCodeSet(unsigned char codeSet);
    static void SetDefaultLanguage(unsigned char language);
    static void SetDefaultCmpOp(unsigned short cmpOp);

    // ---- comparison
    int Compare(const KoString& other, short len, unsigned short cmpOp) const;
    bool operator==(const KoString& other) const;
    int operator!=(const KoString& other) const;
    bool operator<(const KoString& other) const;
    bool operator>(const KoString& other) const;
    bool operator<=(const KoString& other) const;
    bool operator>=(const KoString& other) const;

private:
    char* m_buffer = nullptr;
    o_u2b m_size = 0;
    o_u1b m_codeSet = 0;
    o_u1b m_language = 0;
};

static_assert(sizeof(KoString) == 16 && alignof(KoString) == 8);

KOTMS_API KoString operator+(const KoString& a, const KoString& b);

/// The next piece of `list` from `pos` on, up to `separator`, trimmed, in `item`; `pos` moves past
/// the separator. Returns 0, or KoRC_END_OF_LIST with `item` unchanged.
KOTMS_API int KoSplitList(KoString& list, KoString& item, const KoString& separator,
                          unsigned short& pos);

#endif
