#ifndef KOISTRING_H
#define KOISTRING_H

#include "kobasic.h"
#include "kobeside.h"
#include "kosortkey.h"
#include "kotypcmp.h"

#include <type_traits>
#include <utility>

namespace ko
{
struct CaselessAccess;
}

/// What KoIString and KoCaseIString share: an 8-bit text that ends at its first zero byte, without
/// code set or language, and a flag byte.
///
/// Its characters are those of Windows-1252. Positions and counts are in bytes; a count of 65535,
/// or -1 where it is signed, reaches to the end. A text never exceeds 65531 bytes; what goes beyond
/// is cut off, and reported as it is for KoString. An operand may be the text itself. When memory
/// runs out and the memory handler returns, an edit leaves the text as it was and a constructor
/// leaves it empty.
class KOTMS_API KoIStringText
{
public:
    // Enumerators, since a program cannot take the address of what a module of Windows keeps
    // inline.
    enum : unsigned short { kToEnd = 65535, kMaxLength = 65531 };
    enum : unsigned char {
        kAccents = 0x20, ///< flag: accents count in comparison; KoIString does not look at it
        kRaw = 0x80,     ///< flag: the bytes are weights, as in the key form of a stored text
    };

    // A null pointer, a zero character and a count of 0 give the empty text.
    KoIStringText() = default;
    KoIStringText(char c) : KoIStringText(&c, 1) {}
    KoIStringText(unsigned char c) : KoIStringText(static_cast<char>(c)) {}
    KoIStringText(const char* s) : KoIStringText(s, kToEnd) {}
    KoIStringText(const char* s, unsigned short n); ///< at most `n` bytes
    KoIStringText(short n) : KoIStringText(static_cast<int>(n)) {}
    KoIStringText(int n);
    KoIStringText(unsigned n) : KoIStringText(static_cast<int>(n)) {} ///< negative from 2^31 on
    KoIStringText(long n) : KoIStringText(static_cast<o_8b>(n)) {}
    KoIStringText(unsigned long n) : KoIStringText(static_cast<o_u8b>(n)) {}
    KoIStringText(o_8b n);
    KoIStringText(o_u8b n);
    KoIStringText(double d); ///< formatted with "%.17g"
    KoIStringText(const KoIStringText& other);
    KoIStringText(KoIStringText&& other) noexcept;
    ~KoIStringText();
    KoIStringText& operator=(const KoIStringText& other); ///< the flag, too
    KoIStringText& operator=(KoIStringText&& other) noexcept;

    void Init();    ///< what the default constructor gives
    void Destroy(); ///< frees the text; the flag stays

    unsigned short Len() const;
    bool IsEmpty() const { return m_text == nullptr; }
    bool operator!() const { return m_text == nullptr; }
    const char* StrGet() const; ///< with its terminator, never null; valid until the text changes
    /// Byte `i`, which may be overwritten. Elsewhere, so for the terminator too, a byte of this
    /// object that is 0 after every such call and belongs to no text.
    char& operator[](int i);
    /// The byte itself; 0 elsewhere.
    char operator[](int i) const;
    unsigned char Flag() const { return m_flag; }
    void SetFlag(unsigned char flag) { m_flag = flag; }

    // The decimal number that the text begins with, held to the limits of its type; else 0.
    operator short() const; ///< the low 16 bits of what operator int gives
    operator int() const;
    operator o_8b() const;
    operator double() const;
    /// 0, or -1 with a result of 0 where the text does not begin with a digit or "-". Atol and
    /// Atoll read decimal numbers; Strtol and Strtoll hexadecimal ones after 0x and octal ones
    /// after 0, too.
    int Atol(int& result) const;
    int Atoll(o_8b& result) const;
    int Strtol(int& result) const;
    int Strtoll(o_8b& result) const;

    /// The position of the first occurrence of the bytes from `start` on; -1 when there is none,
    /// and where either is empty.
    int Find(const KoIStringText& piece, unsigned short start = 0) const;
    int SubStringPos(const KoIStringText& piece) const { return Find(piece); }

protected:
    friend struct ko::CaselessAccess;

    /// Puts `count` bytes in the place of `removed` ones at `pos`; times `fill` for a null piece.
    void Splice(unsigned pos, unsigned removed, const char* piece, unsigned count, char fill = 0);
    void SpliceAt(unsigned pos, const KoIStringText& piece, bool over);
    void CutAt(unsigned short pos, unsigned short n);
    void FillWith(unsigned from, unsigned short n, char c);
    void ReplaceEvery(const KoIStringText& from, const KoIStringText& to, unsigned start);
    void TrimBlanks(bool atBegin, bool atEnd);
    void Swap(char from, char to);
    void MapCase(bool upper);
    int Weigh(const KoIStringText& other, bool ignoresCase, unsigned len) const;

private:
    char* m_text = nullptr; ///< null when empty
    o_u1b m_flag = 0;
    char m_outside = 0; ///< what indexing gives where there is no byte; no part of the value
};

/// The members of both classes, which mirror those of KoString.
template <class Self>
class KoIStringOf : public KoIStringText, public KoTextBeside<Self>
{
public:
    using KoIStringText::KoIStringText;

    Self& operator+=(const Self& s)
    {
        SpliceAt(Len(), s, false);
        return This();
    }
    /// A literal, a character or a number beside a text is what the constructor makes of it, here
    /// and in comparisons.
    friend Self operator+(const Self& a, const Self& b)
    {
        Self sum(a);
        return sum += b;
    }
    Self& operator<<(const Self& s) { return *this += s; }
    /// Appends what the constructor makes of a character or a number; without this, shifting the
    /// number that the text stands for could also be meant.
    template <class N>
    requires std::is_arithmetic_v<N> Self& operator<<(N n) { return *this += Self(n); }

    static const Self& EmptyString()
    {
        static const Self empty;
        return empty;
    }
    /// Takes the text and the flag of `other` over, which is empty then and keeps its flag. Nothing
    /// when it is this text.
    void Destruct(Self& other)
    {
        if (this == &other)
            return;
        Destroy();
        const unsigned char flag = other.Flag();
        static_cast<KoIStringText&>(*this) = std::move(other);
        other.SetFlag(flag);
    }

    Self& Insert(const Self& s, unsigned short pos) ///< nothing for `pos` beyond Len()
    {
        SpliceAt(pos, s, false);
        return This();
    }
    /// Overwrites from `pos` on, never beyond the end: the length stays.
    Self& Replace(const Self& s, unsigned short pos)
    {
        SpliceAt(pos, s, true);
        return This();
    }
    Self& Cut(unsigned short pos, short n) ///< removes
    {
        CutAt(pos, static_cast<unsigned short>(n));
        return This();
    }
    Self Copy(unsigned short pos, short n) const ///< with the flag
    {
        Self copy(pos < Len() ? StrGet() + pos : nullptr, static_cast<unsigned short>(n));
        copy.SetFlag(Flag());
        return copy;
    }
    Self Left(unsigned short n) const { return Copy(0, static_cast<short>(n)); }
    Self Right(unsigned short n) const
    {
        return Copy(static_cast<unsigned short>(n < Len() ? Len() - n : 0), -1);
    }
    Self& Fill(unsigned short n, char c) ///< the whole text becomes `n` times `c`
    {
        FillWith(0, n, c);
        return This();
    }
    Self& Expand(unsigned short n, char c) ///< appends `c` up to a length of `n`
    {
        FillWith(Len(), n, c);
        return This();
    }
    /// Puts `to` in the place of every find of `from` at or after `start`; the search goes on
    /// after what was put in.
    Self& ReplaceAll(const Self& from, const Self& to, unsigned short start = 0)
    {
        ReplaceEvery(from, to, start);
        return This();
    }
    // As those of KoString: blanks are the characters of Windows-1252 that KoChar::IsSpace tells.
    Self& LeftTrim()
    {
        TrimBlanks(true, false);
        return This();
    }
    Self& RightTrim()
    {
        TrimBlanks(false, true);
        return This();
    }
    Self& Trim()
    {
        TrimBlanks(true, true);
        return This();
    }
    Self& SpaceToZero() ///< every blank becomes the digit 0
    {
        Swap(' ', '0');
        return This();
    }
    Self& ZeroToSpace() ///< every digit 0 becomes a blank
    {
        Swap('0', ' ');
        return This();
    }
    /// 97 to 122 and 224 to 254 without 247 lose 32; 156 becomes 140 and 159 becomes 255.
    Self& ToUpper()
    {
        MapCase(true);
        return This();
    }
    /// 65 to 90 and 192 to 222 without 215 gain 32; 140 becomes 156 and 255 becomes 159.
    Self& ToLower()
    {
        MapCase(false);
        return This();
    }

    /// Negative, 0 or positive, by the weights of the class; at most `len` bytes of each, all for
    /// 0.
    int Compare(const Self& other, unsigned short len = 0) const
    {
        return Weigh(other, Self::kIgnoresCase, len);
    }
    friend bool operator==(const Self& a, const Self& b) { return a.Compare(b) == 0; }
    friend int operator!=(const Self& a, const Self& b) { return a.Compare(b); }
    friend bool operator<(const Self& a, const Self& b) { return a.Compare(b) < 0; }
    friend bool operator>(const Self& a, const Self& b) { return a.Compare(b) > 0; }
    friend bool operator<=(const Self& a, const Self& b) { return a.Compare(b) <= 0; }
    friend bool operator>=(const Self& a, const Self& b) { return a.Compare(b) >= 0; }

private:
    Self& This() { return static_cast<Self&>(*this); }
};

/// A text that orders a lower-case letter just before its capital and ignores accents; of the
/// persistent type KoISTRING_T.
///
/// Weights of single bytes decide, in the order of the bytes; sharp s counts as two letters s, AE
/// and thorn have weights of their own, the ligatures OE at 140 and 156 count as two letters.
/// doc/collation.md tells what compares equal.
class KoIString : public KoIStringOf<KoIString>
{
public:
    static constexpr bool kIgnoresCase = false;
    using KoIStringOf::KoIStringOf;

    KO_SORT_KEY_MEMBERS(KOTMS_API);
};

/// A text that ignores case, and accents unless the flag kAccents is set on either side of a
/// comparison; of the persistent type KoCASEISTRING_T. Where accents count, sharp s and the
/// ligatures are single letters just before the weight that they begin with.
///
/// Texts of both flags must not be sorted together: what is equal without accents differs with
/// them.
class KoCaseIString : public KoIStringOf<KoCaseIString>
{
public:
    static constexpr bool kIgnoresCase = true;
    using KoIStringOf::KoIStringOf;

    KO_SORT_KEY_MEMBERS(KOTMS_API);
};

static_assert(sizeof(KoIString) == 16 && sizeof(KoCaseIString) == 16);

/// Compares stored or in-memory texts (see KoTypeCmpFunc); the result is the difference of the
/// first weights that differ. No option of `cmpOp` changes it, and there are no wildcards. The
/// flags are those of the texts, so that stored ones and keys compare alike.
///
/// A stored operand of fewer bytes than its record is a cut key: where its text agrees with the
/// other side as far as it goes, the result is 0 and `status` KoRC_TRUNCATED. A cut text of 254
/// bytes or more gives -1 and KoRC_NOT_SUPPORTED.
KOTMS_API KoTypeCmp KoIStringCompare;
KOTMS_API KoTypeCmp KoCaseIStringCompare;

#endif
