#ifndef KOCHAR_H
#define KOCHAR_H

#include "kobasic.h"
#include "kobeside.h"

#include <kointl.h>

#include <cstddef>

class KoString;
class KoStringIterator;

// Characters, places in a text, and operations on characters. The byte order of a referenced 16-bit
// character (`format`) is most significant byte first for KoFMT_BIG and the machine's for all else;
// 255 stands for 1.

/// Integers that are neither of the two types of characters, and no truth values.
template <class T>
concept KoOtherCode = std::integral<T> && !std::same_as<T, char> &&
                      !std::same_as<T, unsigned short> && !std::same_as<T, bool>;

/// The character that such an integer stands for: see KoChar.
template <KoOtherCode T>
constexpr auto KoCodeOf(T c)
{
    if constexpr (sizeof(T) == 1)
        return static_cast<char>(c);
    else
        return static_cast<unsigned short>(std::in_range<unsigned short>(+c) ? c : T(0xFFFF));
}

/// One character of some code set: held by value, or referring to its place in a text.
///
/// Indexing a string and reading an iterator give references: assigning to one changes the text,
/// and it lives as long as the text stays where it is. A copy holds the character by value:
///
///     KoString text("abc");
///     text[1] = 'x';                 // "axc"
///     KoChar second = text[1];       // refers to the text
///     KoChar copy(second);           // does not
///
/// A terminator is always held by value: nothing can be written over it. So are the characters that
/// a const string and an iterator over one give.
///
/// A character or a number beside one is a character too, by the constructors below: `'a' < c`.
class KOTMS_API KoChar : public KoBeside<KoChar, KoBesideAsValue>
{
public:
    /// By value. 255 stands for the default 16-bit or 8-bit code set and for the default language.
    /// `c` is a code of the character's own code set: an 8-bit one keeps its low byte, a 16-bit one
    /// takes a char as a number from 0 to 255.
    KoChar(unsigned short c, unsigned char codeSet = KoCS_DEFAULT,
           unsigned char language = KoLANG_DEFAULT);
    KoChar(char c, unsigned char codeSet = KoCS_DEFAULT, unsigned char language = KoLANG_DEFAULT);
    /// The same of other integers: those of one byte are a char, all others a code of 16 bits,
    /// 0xFFFF where it is none.
    template <KoOtherCode T>
    KoChar(T c, unsigned char codeSet = KoCS_DEFAULT, unsigned char language = KoLANG_DEFAULT)
        : KoChar(KoCodeOf(c), codeSet, language)
    {
    }
    /// Refers to the character at `p`, which need not be aligned; assigning writes there, const or
    /// not: that is what this constructor is for. Null gives the character 0 by value. 255 stands
    /// for the default 8-bit code set.
    KoChar(const char* p, unsigned char codeSet, unsigned char language,
           unsigned char format = 255);
    /// Refers to the character at a byte offset of the text; the terminator and the invalid
    /// character beyond it come by value.
    KoChar(KoString& s, int byteOffset);
    KoChar(const KoString& s, int byteOffset); ///< the same character by value
    /// Copies by value, with the code set and language of `other`.
    KoChar(const KoChar& other);
    /// The invalid character: what indexing gives after the terminator.
    static KoChar Invalid();

    /// Assignments write through the reference where there is one, and into the value otherwise.
    /// `c` is a code of this character's own code set, as in the constructors.
    KoChar& operator=(char c);
    KoChar& operator=(unsigned short c);
    template <KoOtherCode T>
    KoChar& operator=(T c)
    {
        return *this = KoCodeOf(c);
    }
    /// A reference writes the character mapped to its code set ("?" where that lacks it); a value
    /// becomes a copy with the code set and language of `other`.
    KoChar& operator=(const KoChar& other);

    unsigned short Code() const; ///< in its code set, in the machine's byte order
    unsigned char CodeSet() const { return m_codeSet; }
    unsigned char Language() const { return m_language; }
    unsigned char Format() const { return m_format; }
    unsigned Width() const { return KoCodeSetWidth(m_codeSet); }
    bool IsReference() const { return m_reference != nullptr; }
    bool IsInvalid() const { return m_codeSet == KoCS_DEFAULT; }

    /// Negative, 0 or positive: KoStrCmp over one character of each, `other` being the pattern
    /// where the operator has wildcards. 0xFFFF is the default operator, and the operators use it.
    /// A char or unsigned short is a character of the default code set of its width. So `c == '*'`
    /// is true for every character, unless the default word switches wildcards off; ask
    /// c.Compare('*', KoCMP_PLAIN) for the character itself.
    int Compare(const KoChar& other, unsigned short cmpOp = 0xFFFF) const;
    bool operator==(const KoChar& other) const { return Compare(other) == 0; }
    int operator!=(const KoChar& other) const { return Compare(other); }
    bool operator<(const KoChar& other) const { return Compare(other) < 0; }
    bool operator<=(const KoChar& other) const { return Compare(other) <= 0; }
    bool operator>(const KoChar& other) const { return Compare(other) > 0; }
    bool operator>=(const KoChar& other) const { return Compare(other) >= 0; }

    /// The first collation order (kocollate.h); 0 for the character 0 alone.
    unsigned short Order() const;
    // By the order: every character is of exactly one class. Which script falls where is told in
    // doc/collation.md.
    bool IsSpace() const { return Order() < KoORDER_SYMBOL; } ///< controls and 0 too
    bool IsSymbol() const { return KoClassOfOrder(Order()) == KoORDER_SYMBOL; }
    bool IsDigit() const { return KoClassOfOrder(Order()) == KoORDER_DIGIT; }
    bool IsAlpha() const { return KoClassOfOrder(Order()) == KoORDER_LETTER; }
    bool IsHan() const { return Order() >= KoORDER_IDEOGRAPH; }

    /// The same character in another code set, by value; "?" where that lacks it. 0 stands for the
    /// native code set and 255 for the default one.
    KoChar MapTo(unsigned char codeSet) const;

    /// The character in the other case within its code set and by its language
    /// (KoCodeSet::ToLower), by value. `at` is the character's place in its text where there is
    /// one; no mapping depends on the neighbours today, and null is as good.
    KoChar ToLower(KoStringIterator* at = nullptr) const;
    KoChar ToUpper(KoStringIterator* at = nullptr) const;

private:
    friend class KoStringIterator;
    friend class KoString;
    struct NoDefaults {
    };
    /// 255 stays as it is.
    KoChar(NoDefaults, unsigned short code, unsigned char codeSet, unsigned char language);
    const void* Place() const;
    void Put(unsigned short code);

    char* m_reference; ///< null when held by value
    o_u2b m_value;     ///< an 8-bit character is in its first byte
    o_u1b m_codeSet;
    o_u1b m_language;
    o_u1b m_format;
};

/// Orders that are still to come from a character that stands for several.
struct KoWCharList {
    static constexpr o_u1b kMost = 3;
    o_u2b orders[kMost];
    o_u1b count;
};

class KoCharOperation;

/// A place in a text, moved from character to character or from collation order to collation order.
/// The text belongs to somebody else and has to stay where it is. An iterator over a string or a
/// character knows both ends of the text; others end at the terminator, and begin where they were
/// made. At the end the current character is 0 and moving on does nothing, as does moving back from
/// the beginning.
class KOTMS_API KoStringIterator
{
public:
    KoStringIterator(KoString& s);
    KoStringIterator(const KoString& s); ///< to read: its characters come by value
    KoStringIterator(const KoString&& s) = delete;
    KoStringIterator(KoChar& c); ///< that one character
    /// A text that ends with a zero character; null is empty. 255 stands for the default 8-bit or
    /// 16-bit code set and the default language. Units at a `const char*` need no alignment.
    /// As with KoChar, the characters can be written, const or not.
    KoStringIterator(const char* text, unsigned char codeSet, unsigned char language,
                     unsigned char format = 255);
    KoStringIterator(const unsigned short* text, unsigned char codeSet, unsigned char language,
                     unsigned char format = 255);

    /// The current character, referring to the text; by value at its end and over a const string.
    KoChar operator*() const;
    // Moving from character to character drops pending orders.
    KoStringIterator& operator++();
    KoStringIterator& operator--();
    KoStringIterator operator++(int);
    KoStringIterator operator--(int);
    /// Moves on by `n` characters, or to the end; returns by how many.
    unsigned short Step(unsigned short n);

    /// The same place of the same text, with as many orders pending.
    bool operator==(const KoStringIterator& other) const;
    /// The current character is 0 and no orders are pending.
    bool IsEOS() const { return m_pending == m_overflow.count && Current() == 0; }

    /// The next collation order of the text, 0 at its end. With `advance` non-zero the iterator
    /// moves on: past the character with its first order, the others of a character that stands for
    /// several pending; with 0 it only looks.
    unsigned short GetNextOrder(unsigned short advance);
    /// Makes the orders of `list` from number `taken` on the pending ones; null drops those there
    /// are. The list is copied.
    void SetOverflow(const KoWCharList* list, unsigned char taken);

    /// Applies the operation to every character from here to the end and writes the results from
    /// `target` on, mapped to its code set; ends where either text does. A result of 0 is not
    /// written, since it would end the text. The target may be this same text; a const string as
    /// the target stays as it is.
    void Transform(KoStringIterator& target, KoCharOperation& operation);

    unsigned char CodeSet() const { return m_codeSet; }
    unsigned char Language() const { return m_language; }
    /// The collation variant of the language; from 20 on orders are plain numbers.
    unsigned char Variant() const { return m_variant; }

private:
    KoStringIterator(const void* text, std::size_t bytes, unsigned char codeSet,
                     unsigned char language, unsigned char format);
    unsigned short Current() const;

    const KoCodeSet* m_codeSetObject;
    o_u1b m_codeSet;
    o_u1b m_language;
    o_u1b m_variant;
    o_u1b m_format;
    o_u1b m_pending = 0; ///< the next one in m_overflow
    bool m_readOnly = false;
    KoWCharList m_overflow = {};
    char* m_position;
    char* m_begin;
    char* m_end; ///< null when only the terminator tells
};

/// What KoString::Transform does to each character.
class KOTMS_API KoCharOperation
{
public:
    /// Fills `result`, a copy of `input` by value, and returns it. `at` is the place of `input` in
    /// its text; moving it has no effect. In a string that is transformed in place the characters
    /// before it are results already.
    virtual KoChar& Apply(KoChar& result, const KoChar& input, KoStringIterator& at) = 0;

protected:
    KoCharOperation() = default;
    KoCharOperation(const KoCharOperation&) = default;
    KoCharOperation& operator=(const KoCharOperation&) = default;
    ~KoCharOperation() = default;
};

/// KoChar::ToLower.
class KOTMS_API KoCharToLower final : public KoCharOperation
{
public:
    KoChar& Apply(KoChar& result, const KoChar& input, KoStringIterator& at) override;
};

/// KoChar::ToUpper.
class KOTMS_API KoCharToUpper final : public KoCharOperation
{
public:
    KoChar& Apply(KoChar& result, const KoChar& input, KoStringIterator& at) override;
};

#endif
