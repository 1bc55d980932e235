#ifndef KOSTRING_H
#define KOSTRING_H

#include "kobasic.h"
#include "kochar.h"
#include "kosortkey.h"

#include <kointl.h>
#include <komemory.h>

#include <cstddef>

namespace ko
{
struct StringAccess;
}

struct KoText;

/// The other types of a character, which some functions take as they take char and unsigned short.
template <class T>
concept KoOtherUnit =
    std::same_as<T, char16_t> || std::same_as<T, unsigned char> || std::same_as<T, signed char>;

/// Text with a code set and a language, of 8-bit or 16-bit characters; the code set decides which.
///
/// Positions, counts and lengths are in characters. Every edit reallocates to the exact size and
/// converts what comes in to this string's code set; a character that the code set lacks becomes
/// "?". Text without a code set (0) comes in unchanged, or as text of the native code set where the
/// width has to change. A text never exceeds 65532 bytes with its terminator (65531 8-bit or 32765
/// 16-bit characters): what goes beyond is cut off, and reported as an assertion when the setting
/// "stringOverflow" of the category "debug" is on. An operand may be the string itself or stand in
/// its own buffer.
///
/// A null string has no text. It is empty in every edit; the first text that comes in makes it a
/// string of the default code set and language.
///
/// When memory runs out and the memory handler returns, an edit leaves the string as it was and a
/// constructor leaves it empty.
class KOTMS_API KoString : public KoTextBeside<KoString>
{
public:
    static constexpr unsigned short kToEnd = 65535;     ///< as an unsigned count: up to the end
    static constexpr short kRest = -1;                  ///< as a signed count: up to the end
    static constexpr unsigned kMaxBytes = 65532;        ///< terminator included
    static constexpr unsigned char kNullLanguage = 254; ///< marks the null value

    // ---- construction; the language is the default one. A null pointer or a zero character
    // gives the empty string. Counted text ends at its first zero all the same.
    KoString() : m_codeSet(GetDefaultCodeSet()), m_language(GetDefaultLanguage()) {}
    KoString(const KoString& other);
    /// Takes the text over; `other` keeps its code set and language and is empty.
    KoString(KoString&& other) noexcept;
    KoString(unsigned char codeSet, unsigned char language) ///< empty
        : m_codeSet(codeSet), m_language(language)
    {
    }
    KoString(char c);           ///< default 8-bit code set
    KoString(unsigned char c);  ///< default 8-bit code set
    KoString(unsigned short c); ///< default 16-bit code set
    KoString(short n);          ///< decimal, default 8-bit code set
    KoString(int n);
    KoString(unsigned int n); ///< formatted with "%d": 2^31 and above come out negative
    KoString(long n) : KoString(static_cast<o_8b>(n)) {}
    KoString(unsigned long n) : KoString(static_cast<o_u8b>(n)) {}
    KoString(o_8b n);
    KoString(o_u8b n);
    KoString(double d);      ///< formatted with "%.17g"
    KoString(const char* s); ///< default 8-bit code set
    KoString(const char* s, unsigned short n);
    KoString(const unsigned short* s); ///< default 16-bit code set
    KoString(const unsigned short* s, unsigned short n);
    KoString(char16_t c) : KoString(static_cast<unsigned short>(c)) {}
    KoString(const char16_t* s, unsigned short n = kToEnd);
    /// One character in its own code set and language; empty for 0 and for the invalid character.
    KoString(const KoChar& c);
    ~KoString()
    {
        if (m_buffer != nullptr)
            KoFree(m_buffer);
    }

    void Init();                    ///< what the default constructor gives
    void Destroy();                 ///< frees the text; code set and language stay
    void Destruct(KoString& other); ///< takes the text, code set and language of `other` over

    // ---- assignment and appending
    KoString& operator=(const KoString& other);
    KoString& operator=(KoString&& other) noexcept;
    KoString& operator=(const char* s); ///< default 8-bit code set, default language
    KoString& operator=(const unsigned short* s);
    KoString& operator+=(const KoString& other);
    KoString& operator<<(const KoString& other) { return *this += other; }
    KoString& operator<<(char c);
    /// The character in a 16-bit string, its decimal number in an 8-bit one.
    KoString& operator<<(unsigned short c);
    KoString& operator<<(short n);
    KoString& operator<<(int n);
    KoString& operator<<(unsigned int n); ///< formatted with "%d"
    KoString& operator<<(long n) { return *this << static_cast<o_8b>(n); }
    KoString& operator<<(unsigned long n) { return *this << static_cast<o_u8b>(n); }
    KoString& operator<<(o_8b n);
    KoString& operator<<(o_u8b n);
    KoString& operator<<(float d) { return *this << static_cast<double>(d); }
    KoString& operator<<(double d); ///< formatted with "%.17g"
    KoString& operator<<(const char* s);
    KoString& operator<<(const unsigned short* s);
    KoString& operator<<(char16_t c) { return *this << KoString(c); } ///< a character in any case
    KoString& operator<<(const char16_t* s) { return *this << KoString(s); }

    // ---- questions
    unsigned short Len() const;
    bool IsEmpty() const;
    bool operator!() const { return IsEmpty(); }
    /// The text with its terminator, never null: 16-bit text in machine order, aligned for it.
    /// Valid until the string changes.
    const char* StrGet() const { return m_buffer == nullptr ? kNoText : m_buffer; }
    unsigned short ByteSize() const { return m_size; } ///< with the terminator; 0 when empty
    unsigned Width() const { return KoCodeSetWidth(m_codeSet); }
    unsigned char CodeSet() const { return m_codeSet; }
    unsigned char Language() const { return m_language; }
    void SetLanguage(unsigned char language) { m_language = language; }
    static const KoString& EmptyString();

    // ---- numbers. Leading blanks and a sign are allowed, reading stops at the first character
    // that does not belong, no number at all is 0, and a number out of range becomes the limit of
    // its side. With bit 0 of the options word set integers are decimal; otherwise 0x starts a
    // hexadecimal and 0 an octal number.
    operator short() const; ///< the low 16 bits of what operator int gives
    operator int() const;
    operator o_8b() const;
    operator double() const;
    /// 0, or -1 with a result of 0 where the text does not begin with a digit or "-". Atol and
    /// Atoll read decimal numbers; Strtol and Strtoll hexadecimal and octal ones too.
    int Atol(int& result) const;
    int Atoll(o_8b& result) const;
    int Strtol(int& result) const;
    int Strtoll(o_8b& result) const;

    // ---- editing
    KoString& Insert(const KoString& s, unsigned short pos); ///< nothing for `pos` beyond Len()
    /// Overwrites from `pos` on, never beyond the end: the length stays.
    KoString& Replace(const KoString& s, unsigned short pos);
    KoString& Cut(unsigned short pos, short n); ///< removes; what goes beyond the end counts to it
    KoString Copy(unsigned short pos, short n) const; ///< clamped as in Cut
    KoString Left(unsigned short n) const;
    KoString Right(unsigned short n) const;
    KoString& Fill(unsigned short n, char c); ///< the whole text becomes `n` times `c`
    KoString& Fill(unsigned short n, unsigned short c);
    KoString& Expand(unsigned short n, char c); ///< appends `c` up to a length of `n`
    KoString& Expand(unsigned short n, unsigned short c);
    template <KoOtherUnit C>
    KoString& Fill(unsigned short n, C c)
    {
        return Fill(n, KoCodeOf(c));
    }
    template <KoOtherUnit C>
    KoString& Expand(unsigned short n, C c)
    {
        return Expand(n, KoCodeOf(c));
    }

    // ---- characters
    /// The character at `i`, referring to the text: assigning to it changes the text. The
    /// terminator (`i` equal to Len()) comes by value, and so does every character of a const
    /// string; any other `i` gives KoChar::Invalid().
    KoChar operator[](int i);
    const KoChar operator[](int i) const;
    // Blanks are the characters for which KoChar::IsSpace holds.
    KoString& LeftTrim();  ///< without the blanks at the beginning
    KoString& RightTrim(); ///< without those at the end
    KoString& Trim();      ///< without either
    /// Case within the code set and by the language, see KoCodeSet::ToUpper.
    KoString& ToUpper();
    KoString& ToLower();
    /// Applies an operation to every character, in place; see KoStringIterator::Transform.
    KoString& Transform(KoCharOperation& operation);

    // ---- search
    /// The position of the first match of the pattern at or after `start`, or -1; -1 too for an
    /// empty pattern. At each position that leaves at least the pattern's length, KoStrCmp decides
    /// under the operator word (0xFFFF: the default one):
    /// - with wildcards, as if the pattern had an asterisk after it, so on any beginning of the
    ///   rest: "b" is found in "abc", and so is "a?c". An escape at the very end of the pattern
    ///   makes that asterisk literal: "b\" is found where the text ends in "b*";
    /// - with bit 0x10 or 0x100, on exactly as many orders as the pattern has characters.
    /// Takes at most the time of the text's length times the pattern's.
    int Find(const KoString& pattern, unsigned short start = 0,
             unsigned short cmpOp = 0xFFFF) const;
    /// One character of the default code set of its width.
    int Find(char c, unsigned short start = 0, unsigned short cmpOp = 0xFFFF) const;
    int Find(unsigned short c, unsigned short start = 0, unsigned short cmpOp = 0xFFFF) const;
    template <KoOtherUnit C>
    int Find(C c, unsigned short start = 0, unsigned short cmpOp = 0xFFFF) const
    {
        return Find(KoCodeOf(c), start, cmpOp);
    }
    int SubStringPos(const KoString& s, unsigned short cmpOp = 0xFFFF) const
    {
        return Find(s, 0, cmpOp);
    }
    /// Puts `to` in the place of every find of `from` by the default operator at or after `start`,
    /// as many characters as `from` has; the search goes on after what was put in. Wildcards in
    /// `from` count: "*" is found everywhere.
    KoString& ReplaceAll(const KoString& from, const KoString& to, unsigned short start = 0);
    KoString& ReplaceAll(char from, char to, unsigned short start = 0);
    KoString& ReplaceAll(unsigned short from, unsigned short to, unsigned short start = 0);
    template <KoOtherUnit C>
    KoString& ReplaceAll(C from, C to, unsigned short start = 0)
    {
        return ReplaceAll(KoCodeOf(from), KoCodeOf(to), start);
    }
    /// Make the first collation order of a character the wildcard of the whole process. They are
    /// "*", "?" and "\" unless set, and again after the character 0. Return 0. Not synchronised,
    /// like all settings of the process. Texts without a code set keep "*" and "?".
    static int SetAsterisk(const KoChar& c);
    static int SetQuestion(const KoChar& c);
    static int SetEscape(const KoChar& c);

    // ---- null value
    bool IsNullValue() const
    {
        return m_language == kNullLanguage || (m_codeSet == KoCS_NULL && m_language == 0);
    }
    int SetNullValue(); ///< returns 0

    KO_SORT_KEY_MEMBERS();

    // ---- code sets
    /// Converts the text where the width of the characters changes; otherwise only the code set's
    /// name changes and the characters stay. 0 converts to the native code set.
    void SetCodeSet(unsigned char codeSet);
    /// Changes the name only. Returns 0, or KoRC_REFUSED where the width would change.
    int SetCodeSetCode(unsigned char codeSet);
    /// Converts the text character by character. Returns 0, -1 where a character became "?", or
    /// KoRC_REFUSED (unchanged) for 0, 254 and 255. A null string stays as it is.
    int MapToCodeSet(unsigned char codeSet);
    /// Becomes the first `n` characters of `source` (kRest: all) in `codeSet`, with its language; 0
    /// takes native characters and no code set. Returns as MapToCodeSet; refused are 254, 255 and
    /// the string itself as the source.
    int CopyMapped(const KoString& source, unsigned char codeSet, short n);
    static unsigned char GetDefaultCodeSet() { return KoLanguageContext::GetDefaultCodeSet(); }
    static unsigned char GetDefault8CodeSet() { return KoLanguageContext::GetDefault8CodeSet(); }
    static unsigned char GetDefault16CodeSet() { return KoLanguageContext::GetDefault16CodeSet(); }
    static unsigned char GetDefaultLanguage() { return KoLanguageContext::GetDefaultLanguage(); }
    static unsigned short GetDefaultCmpOp() { return KoLanguageContext::GetDefaultCmpOp(); }
    static int SetDefaultCodeSet(unsigned char codeSet)
    {
        return KoLanguageContext::SetDefaultCodeSet(codeSet);
    }
    static int SetDefaultLanguage(unsigned char language)
    {
        return KoLanguageContext::SetDefaultLanguage(language);
    }
    static int SetDefaultCmpOp(unsigned short cmpOp)
    {
        return KoLanguageContext::SetDefaultCmpOp(cmpOp);
    }

    // ---- comparison: by KoStrCmp (kostrcmp.h). The operators go by the default operator word of
    // the process, 0 unless it was set, and that leaves WILDCARDS ON: the right side is a pattern,
    // in which "*" stands for any text, "?" for one character and "\" makes the next one literal.
    // So KoString("abc") == KoString("a*") is true and KoString("a*") == KoString("abc") is not,
    // and no operator gives an order that std::sort, std::map, std::find or std::unordered_map may
    // rely on: hand these ko::Less, ko::Equal and ko::HashOf (koless.h), which know no wildcards.
    //
    // A literal, a character or a number beside a string is what the constructor makes of it, and
    // the pattern on either side: "a*" == s and s == "a*" are the same, and so are "a*" < s and
    // s > "a*".

    /// Of at most `len` orders (kRest: all); 0xFFFF is the default operator. Wildcards are on in
    /// `other` unless `cmpOp` has KoCMP_PLAIN or KoCMP_NO_WILDCARDS.
    int Compare(const KoString& other, short len = kRest, unsigned short cmpOp = 0xFFFF) const;
    /// Without wildcards. Languages that differ count as none.
    bool EqualsIgnoreLanguage(const KoString& other) const;
    /// Wildcards are on: whether this text matches the pattern `other`. A text is equal to itself,
    /// the same object, whatever it holds: also where its escapes would not match it.
    bool operator==(const KoString& other) const;
    /// Wildcards are on: 0 where this text matches the pattern `other`, else negative or positive.
    int operator!=(const KoString& other) const;
    /// Wildcards are on in `other`: a text that matches it is neither less nor greater. Up to its
    /// first wildcard a pattern is ordered as a text, after it the place where matching failed
    /// decides.
    bool operator<(const KoString& other) const { return (*this != other) < 0; }
    /// Wildcards are on in `other`, as for <. That a > b does not mean that b < a: the pattern is
    /// always on the right.
    bool operator>(const KoString& other) const { return (*this != other) > 0; }
    /// Wildcards are on in `other`, as for <: true where it matches, too.
    bool operator<=(const KoString& other) const { return (*this != other) <= 0; }
    /// Wildcards are on in `other`, as for <: true where it matches, too.
    bool operator>=(const KoString& other) const { return (*this != other) >= 0; }

private:
    friend struct ko::StringAccess;
    struct Piece;
    enum class Outcome { kDone, kReplaced, kNoMemory };

    Outcome Edit(unsigned prefix, unsigned suffixFrom, unsigned suffix, const Piece& piece,
                 unsigned char codeSet);
    Outcome Become(const Piece& piece, unsigned char codeSet, unsigned char language);
    KoString& Splice(unsigned pos, unsigned removed, unsigned len, const Piece& piece);
    KoString& Append(const Piece& piece) { return AppendTo(Len(), piece); }
    KoString& AppendTo(unsigned len, const Piece& piece);
    KoString& Digits(const char* text, unsigned count);
    int MapFrom(const KoString& source, unsigned char codeSet, unsigned limit);
    Piece Whole() const;
    Piece Part(unsigned pos, unsigned count) const;
    KoString& ReplaceEvery(const KoText& from, const Piece& to, unsigned start);
    KoString& KeepWithoutBlanks(bool atBegin, bool atEnd);
    const char* At(unsigned pos) const { return m_buffer + std::size_t{pos} * Width(); }

    alignas(2) static const char kNoText[2];

    char* m_buffer = nullptr; ///< characters and terminator; null when there are none
    o_u2b m_size = 0;
    o_u1b m_codeSet = 0;
    o_u1b m_language = 0;
};

static_assert(sizeof(KoString) == 16 && alignof(KoString) == 8);

/// A new string of the code set and language of `a`.
///
/// A literal, a character or a number on one side is what the constructor makes of it: `s + 5` is
/// the text with the digit 5 after it, and a number of the type unsigned short is a character.
KOTMS_API KoString operator+(const KoString& a, const KoString& b);

/// The next piece of `list` from `pos` on, up to `separator` (as Find finds it by the default
/// operator) or the end, trimmed, in `item`; `pos` moves past the separator. Where a separator
/// stands at the very start of the list its first character is skipped. Returns 0, or
/// KoRC_END_OF_LIST with `item` unchanged where `pos` is at the end.
KOTMS_API int KoSplitList(KoString& list, KoString& item, const KoString& separator,
                          unsigned short& pos);

#if !defined(KO_NO_GLOBAL_NAMES)
// ---- stored strings: an array is one record per string, one after another. A record is a 16-bit
// length of what follows, the code set, the language, the characters, and the end mark 0x00 0xFF.
// Only the low four bits of `format` matter for the bytes: 2 puts the high byte of the length and
// of 16-bit characters first, every other value the low byte.
//
// A record whose last byte is 0 is in the older layout: one length for the whole array, then 8-bit
// texts without code set or language, each with its terminator. It is read as text of the default
// 8-bit code set.

/// Writes `count` strings; the bytes written.
KOTMS_API unsigned StringStore(void* destination, const void* source, unsigned char format,
                               unsigned count);

/// Reads `count` strings into constructed ones; the bytes consumed, which for the older layout are
/// always those of the whole array. For a `count` of 0 the first record is still looked at: the
/// result is 0, but the bytes of the whole array in the older layout. Reads nothing outside the
/// records, whatever their characters are; a record's length is trusted. A string for which there
/// is no memory stays as it was.
KOTMS_API unsigned StringLoad(void* destination, const void* source, unsigned char format,
                              unsigned count);

/// The bytes that `count` strings in memory (KoFMT_MEMORY in `valueFormat`) take when stored, or
/// that `count` stored ones occupy. KoFMT_KEY in `format` makes room for the key form: the text of
/// a string with a code set counts four times when it is 8-bit and twice when it is 16-bit.
/// KoFMT_IGNORE_CS counts every code set as none, KoFMT_NATIVE_CS none as the native one.
KOTMS_API unsigned StringSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                                 unsigned count);
#endif

#endif
