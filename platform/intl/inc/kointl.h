#ifndef KOINTL_H
#define KOINTL_H

#include "kocollate.h"
#include "kolang.h"
#include <atomic>
#include <cstddef>
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

/// Code-set identifiers. 1 to 224 hold 8-bit characters, 225 to 253 16-bit characters. Stored
/// strings carry them: the numbers are disk format and never change. With a table of their own:
///
// clang-format off
/// | identifier | code set                                                         |
/// |------------|------------------------------------------------------------------|
/// | 1 to 16    | ISO 8859-n, except 12, which was never published                 |
/// | 20, 21, 22 | US-ASCII, KOI8-R, KOI8-U                                         |
/// | 30 to 38   | Windows-1250 to Windows-1258                                     |
/// | 40 to 46   | IBM code pages 437, 850, 852, 855, 857, 858, 866                 |
/// | 253        | 16-bit Unicode units; a surrogate is a character of its own here |
// clang-format on
///
/// Any other identifier converts as ISO 8859-1 below 225 and as 253 from there on (so do 254 and
/// 255 in KoConvertText). The lower half of every 8-bit code set is ASCII, no two of its bytes
/// stand for the same character, and positions that a code set leaves undefined (0x80 to 0xFF of
/// US-ASCII, 0x81 of Windows-1252) have no Unicode value.
enum KoCodeSetId : unsigned char {
    KoCS_NONE = 0,   ///< plain bytes
    KoCS_LATIN1 = 1, ///< ISO 8859-1; ISO 8859-n is n
    KoCS_ASCII = 20, ///< US-ASCII
    KoCS_KOI8_R = 21,
    KoCS_KOI8_U = 22,
    KoCS_WINDOWS_1250 = 30, ///< Windows-125n is 30 + n, up to 38
    KoCS_WINDOWS_1252 = 32,
    KoCS_IBM437 = 40,
    KoCS_IBM850 = 41,
    KoCS_IBM852 = 42,
    KoCS_IBM855 = 43,
    KoCS_IBM857 = 44,
    KoCS_IBM858 = 45,
    KoCS_IBM866 = 46,
    KoCS_UNICODE = 253, ///< 16-bit Unicode units
    KoCS_NULL = 254,    ///< marks the null value
    KoCS_DEFAULT = 255, ///< stands for the default code set
};

/// Bytes per character of a code set: 1 below 225, else 2.
constexpr unsigned KoCodeSetWidth(unsigned char codeSet) noexcept
{
    return codeSet < 225 ? 1 : 2;
}

/// One code set. Objects live as long as the process and never change; two identifiers have the
/// same object exactly when they convert alike. They are constant data: usable from any thread,
/// and by the constructors of static objects.
class KOINTL_API KoCodeSet
{
public:
    /// The identifier that the tables are kept under (1 for one that converts as ISO 8859-1).
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

    /// The collation properties of a character, those of its Unicode value: the same text has the
    /// same orders in every code set. Null where that value is 512 or above and has no record: the
    /// order is then the Unicode value itself. An undefined position b of an 8-bit code set has the
    /// order 256 + b; a character above 255 is taken for none of an 8-bit set and gives null.
    const KoUnicodeProps* GetUnicodeProps(o_u2b character) const noexcept;

    /// The orders of any character, in turn, and their number: 0 for the terminator, else 1 to 3.
    unsigned GetOrders(o_u2b character, o_u2b (&orders)[3]) const noexcept;

    /// The first order of any character; 0 for the terminator alone.
    o_u2b GetOrder(o_u2b character) const noexcept;

    /// The first orders of the 256 characters with this high byte. Null for a page of a 16-bit code
    /// set without records, where the order is the character. An 8-bit set has page 0 only.
    const o_u2b* Orders(unsigned char page = 0) const noexcept;

    /// The fast keys (kocollate.h) of the same 256 characters: keys of their first orders under
    /// variant 0, with flags. Where null, KoFastKey(character) is the key.
    const o_u4b* FastKeys(unsigned char page = 0) const noexcept;

    /// The collation variant of a language (255: the default one): 20 for Chinese, Japanese and
    /// Korean, whose orders are compared as plain numbers, else 0. The same for all code sets.
    unsigned char GetVariant(unsigned char language) const noexcept;

    /// The character in upper or lower case: Unicode's simple mapping, in Turkish with i to dotted
    /// capital I and I to dotless i. Unchanged where it has no mapping, is undefined, or the mapped
    /// character is not in the code set. Language 255 is the default one.
    o_u2b ToUpper(o_u2b character, unsigned char language) const noexcept;
    o_u2b ToLower(o_u2b character, unsigned char language) const noexcept;

private:
    friend struct KoCodeSetTables;
    constexpr KoCodeSet() noexcept = default;
    unsigned char m_id = 0;
    const o_u2b* m_toUnicode = nullptr; // null for 16-bit Unicode
    const o_u2b* m_blockOf = nullptr;   // the way back, see codeset.cpp
    const o_u2b* m_orders = nullptr;    // of an 8-bit code set
    const o_u4b* m_fastKeys = nullptr;  // of an 8-bit code set
};

/// Converts `count` characters from one code set to another and returns how many the target lacks;
/// each of those becomes "?" (so does a source byte that has no Unicode value). Zero characters are
/// converted like any other, and no terminator is added.
///
/// Between identifiers that convert alike, and between 16-bit ones, the characters are copied as
/// they are, undefined positions included, and nothing counts as replaced.
///
/// `source` and `target` hold `count` characters of the width KoCodeSetWidth gives for the
/// identifier as passed; units need no alignment. 0 stands for the native code set, but 255 does
/// not stand for the default one, whose width may differ: it is 16-bit Unicode here, as is 254.
/// The two may be the same place when the widths are equal, else they must not overlap.
/// `swapped` tells that a 16-bit source is in the byte order opposite to the machine's; the target
/// is always in the machine's. It has no effect on an 8-bit source.
KOINTL_API std::size_t KoConvertText(void* target, unsigned char targetCodeSet, const void* source,
                                     unsigned char sourceCodeSet, std::size_t count,
                                     bool swapped = false) noexcept;

/// The version of the conversion tables, raised whenever text converts otherwise than before.
KOINTL_API o_u4b KoCodeSetTablesVersion() noexcept;

/// The checksum of the conversion tables, the same on every platform: FNV-1a in 64 bits (Fowler,
/// Noll and Vo, 1991) over each 8-bit identifier that has a table, ascending, followed by its 256
/// values, most significant byte first.
KOINTL_API o_u8b KoCodeSetTablesChecksum() noexcept;

/// The version of the collation: orders, expansions, keys, variants. Indexes are sorted and hashes
/// made by them: a store records the version and must not be written under another.
KOINTL_API o_u4b KoCollationVersion() noexcept;

/// The checksum of the orders, the same on every platform: FNV-1a in 64 bits over each 16-bit
/// Unicode character that has a record, ascending: the character, the number of its orders, the
/// orders, each as 16 bits, most significant byte first.
KOINTL_API o_u8b KoCollationChecksum() noexcept;

/// Version and checksum of the case mapping. The checksum is FNV-1a in 64 bits over all 65,536
/// characters: character, upper and lower case outside Turkish, each as 16 bits, most significant
/// byte first.
KOINTL_API o_u4b KoCaseTablesVersion() noexcept;
KOINTL_API o_u8b KoCaseTablesChecksum() noexcept;

/// Process-wide defaults of language and text. Not synchronised: set at start-up. Code sets are 1,
/// of 16 bits 253, language and operator 0 unless set. Inside a KoLanguageScope the questions
/// answer what that says.
class KOINTL_API KoLanguageContext
{
public:
    static unsigned char GetDefaultCodeSet() noexcept { return Current().codeSet; }
    static unsigned char GetDefault8CodeSet() noexcept { return Current().codeSet8; }
    static unsigned char GetDefault16CodeSet() noexcept { return Current().codeSet16; }
    static unsigned char GetNativeCodeSet() noexcept { return Current().native; }
    static unsigned char GetDefaultLanguage() noexcept { return Current().language; }
    static o_u2b GetDefaultCmpOp() noexcept { return Current().cmpOp; }

    /// Return 0, or -2002 (nothing changed) for a value that cannot serve. An identifier without a
    /// table of its own can. No code set may be 0, 254 or 255; the 8-bit default and the native
    /// code set (that of text without one, which is 8-bit) must be below 225, the 16-bit default
    /// not. No language may be 254 or 255, no operator 0xFFFF.
    static int SetDefaultCodeSet(unsigned char codeSet) noexcept;
    static int SetDefault8CodeSet(unsigned char codeSet) noexcept;
    static int SetDefault16CodeSet(unsigned char codeSet) noexcept;
    static int SetNativeCodeSet(unsigned char codeSet) noexcept;
    static int SetDefaultLanguage(unsigned char language) noexcept;
    static int SetDefaultCmpOp(o_u2b cmpOp) noexcept;
    static void Reset() noexcept; ///< all take their first values again

    /// The code set of an identifier, never null. 0 is the native code set, 255 the default one
    /// (of either width); an identifier without a table of its own has the object of ISO 8859-1
    /// (below 225) or of 253.
    static const KoCodeSet* QueryCodeSet(unsigned char codeSet) noexcept;

private:
    friend class KoLanguageScope;
    struct Defaults {
        unsigned char codeSet = KoCS_LATIN1;
        unsigned char codeSet8 = KoCS_LATIN1;
        unsigned char codeSet16 = KoCS_UNICODE;
        unsigned char native = KoCS_LATIN1;
        unsigned char language = 0;
        o_u2b cmpOp = 0;
    };

    /// Read without a call while there is no scope, since every new string asks for some of them.
    static const Defaults& Current() noexcept
    {
        return s_scopes.load(std::memory_order_relaxed) == 0 ? s_defaults : OfThread();
    }
    static const Defaults& OfThread() noexcept;

    static Defaults s_defaults;
    static std::atomic<unsigned> s_scopes; ///< of all threads
};

/// While it lives, the thread that made it has defaults of its own; no other thread sees them.
/// Scopes of a thread stand inside one another, and the innermost counts. What sets defaults sets
/// those of the process.
class KOINTL_API KoLanguageScope
{
public:
    /// 255 keeps what holds outside. A code set of 8 bits becomes that of 8 bits too, one of 16
    /// that of 16. What cannot be set as a default (see KoLanguageContext) keeps it as well.
    KoLanguageScope(unsigned char language, unsigned char codeSet) noexcept;
    ~KoLanguageScope();
    KoLanguageScope(const KoLanguageScope&) = delete;
    KoLanguageScope& operator=(const KoLanguageScope&) = delete;

private:
    friend class KoLanguageContext;

    const KoLanguageScope* m_outer;
    KoLanguageContext::Defaults m_defaults;
};

/// Sets the library's context up (`create` non-zero) or down: the defaults take
/// their first values again. Calling it twice does no harm.
extern "C" KOINTL_API void ___KoI18NContext(int create);

#endif
