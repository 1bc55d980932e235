#ifndef KOINTL_H
#define KOINTL_H

#include <koscalar.h>

#if defined(_WIN32)
#if defined(KOINTL_BUILD)
#define KOINTL_API __declspec(dllexport)
#elif defined(KO_STATIC)
#define KOINTL_API
#else
#define KOINTL_API __declspec(dllimport)
#endif
#else
#define KOINTL_API __attribute__((visibility("default")))
#endif

/// Code-set identifiers with a meaning of their own. 1 to 224 hold 8-bit
/// characters, 225 to 253 16-bit characters.
enum KoCodeSetId : unsigned char {
    KoCS_NONE = 0,       ///< plain bytes
    KoCS_LATIN1 = 1,     ///< ISO 8859-1; ISO 8859-n is n
    KoCS_ASCII = 20,     ///< US-ASCII
    KoCS_UNICODE = 253,  ///< 16-bit Unicode units
    KoCS_NULL = 254,     ///< marks the null value
    KoCS_DEFAULT = 255,  ///< stands for the default code set
};

/// Bytes per character of a code set: 1 below 225, else 2.
constexpr unsigned KoCodeSetWidth(unsigned char codeSet) noexcept
{
    return codeSet < 225 ? 1 : 2;
}

/// One code set. Objects live as long as the process and never change.
class KOINTL_API KoCodeSet
{
public:
    unsigned char Id() const noexcept { return m_id; }
    unsigned Width() const noexcept { return KoCodeSetWidth(m_id); }

    /// The Unicode value of a character; false, with `unicode` unchanged, where
    /// the code set has no such character.
    bool ToUnicode(o_u2b character, o_u2b& unicode) const noexcept;

    /// The character for a Unicode value; false, with `character` unchanged, where
    /// the code set lacks it.
    bool FromUnicode(o_u2b unicode, o_u2b& character) const noexcept;

    /// The conversion table of an 8-bit code set (256 Unicode values, 0xFFFF where
    /// there is none), or null for a 16-bit one.
    const o_u2b* UnicodeTable() const noexcept { return m_toUnicode; }

private:
    friend struct KoCodeSetTables;
    constexpr KoCodeSet() noexcept = default;
    unsigned char m_id = 0;
    const o_u2b* m_toUnicode = nullptr;
    const void* m_fromUnicode = nullptr;
};

/// Process-wide defaults of language and text. Not synchronised: set at start-up.
class KOINTL_API KoLanguageContext
{
public:
    static unsigned char GetDefaultCodeSet() noexcept;   ///< 1 unless set
    static unsigned char GetDefault8CodeSet() noexcept;  ///< 1 unless set
    static unsigned char GetDefault16CodeSet() noexcept; ///< 253 unless set
    static unsigned char GetNativeCodeSet() noexcept;    ///< 1 unless set
    static unsigned char GetDefaultLanguage() noexcept;  ///< 0 unless set
    static o_u2b GetDefaultCmpOp() noexcept;             ///< 0 unless set

    /// Return 0, or -2002 (nothing changed) for an identifier that cannot serve:
    /// 0, 254 and 255, and one of the wrong width for the 8-bit and 16-bit default.
    static int SetDefaultCodeSet(unsigned char codeSet) noexcept;
    static int SetDefault8CodeSet(unsigned char codeSet) noexcept;
    static int SetDefault16CodeSet(unsigned char codeSet) noexcept;
    static int SetNativeCodeSet(unsigned char codeSet) noexcept;
    static void SetDefaultLanguage(unsigned char language) noexcept;
    static void SetDefaultCmpOp(o_u2b cmpOp) noexcept;

    /// The code set of an identifier, never null. 0 is the native code set, 255
    /// the default one; an identifier without a table of its own converts as
    /// ISO 8859-1 (below 225) or as 253.
    static const KoCodeSet* QueryCodeSet(unsigned char codeSet) noexcept;
};

/// Sets the library's context up (`create` non-zero) or down: the defaults take
/// their first values again. Calling it twice does no harm.
extern "C" KOINTL_API void ___KoI18NContext(int create);

#endif
