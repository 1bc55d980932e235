#ifndef KOOBJID_H
#define KOOBJID_H

#include "kosortkey.h"
#include "kostring.h"
#include "kotypes.h"

#include <type_traits>

/// Names of persistent objects and of their classes.
///
/// An object number has 48 bits: `high` holds the upper 16, `low` the lower 32. Number 0 names no
/// object; an identity with it is null and prints as the null print string. The `tag` is carried
/// along but is no part of the number, and no comparison or hash reads it.
///
/// All fields may be set freely. A new element is all zero, and so null.
///
/// Text is made of the fields under a format of directives; everything else in a format is copied:
///
/// | directive | field                | in                                |
/// |-----------|----------------------|-----------------------------------|
/// | `%B`      | tag                  | KoObjId, KoRef, KoLocalRef        |
/// | `%L` `%H` | low, high            | KoObjId, KoRef, KoLocalRef        |
/// | `%D`      | originId             | KoRef; 0 in KoLocalRef            |
/// | `%C`      | classNo              | KoClassId, KoRef, KoLocalRef      |
/// | `%V`      | version              | KoClassId, KoRef, KoLocalRef      |
/// | `%h` `%l` | the next in sequence | all, with one more letter: `%hu`  |
/// | `%%`      | a percent sign       | all                               |
///
/// The sequence is originId, high, low, tag, classNo, as far as the class has them, and classNo,
/// version for KoClassId. `%h` gives the next field when it has 16 bits, `%l` when it has 32; both
/// give 0 otherwise and move on all the same. Another character after `%` stands for itself.
///
/// `PrintToKoString` appends the text. `ScanFromKoString` reads leniently: blanks before numbers
/// and where the format has one do not matter, nor does what follows the last number; a text
/// that does not hold all numbers that the format asks for, each within its field, leaves the value
/// as it was, and fields that the format does not name stay. An empty text, a null one and one that
/// begins with the null print string make the value null.

/// The functions in the record of an identity type, which its class has as static members. Their
/// arguments are those of the slots (kotypes.h).
///
/// - `Store` and `Load` write and read the fields in their order and without gaps, each in the
///   byte order of the format: most significant byte first when its low four bits are 2, least
///   significant first for every other value.
/// - `Compare` with a format of exactly KoFMT_MEMORY tells only whether elements are equal: 0, or 1
///   in either direction; identities in memory have no order. Every other format stands for stored
///   elements. Their order is that of the fields named at the class, each from the stored byte at
///   its end down to the first, whatever the byte order: that of the numbers in the form of
///   KoFMT_LITTLE. The result is the difference of the first two bytes that differ. `status` is as
///   for the functions of kotypcmp.h.
/// - `EvalAndBound` is told in kotypevl.h.
/// - `Hash` takes elements of the same forms.
/// - `PrintToString` and `ScanFromString` take a null format for the one named at the class.
#if defined(KO_NO_GLOBAL_NAMES)
#define KO_IDENTITY_MEM_FILE_FUNCTION(X)
#else
#define KO_IDENTITY_MEM_FILE_FUNCTION(X) X(KoMemFileSizeFunc, SizeGetFromMemFile)
#endif
#define KO_IDENTITY_FUNCTION_LIST(X)                                                               \
    X(KoCreateFunc, Create)                                                                        \
    X(KoDestroyFunc, Delete)                                                                       \
    X(KoStoreFunc, Store)                                                                          \
    X(KoStoreFunc, Load)                                                                           \
    X(KoNullSizeFunc, NullSizeGet)                                                                 \
    X(KoSizeFunc, SizeGet)                                                                         \
    KO_IDENTITY_MEM_FILE_FUNCTION(X)                                                               \
    X(KoTypeCmpFunc, Compare)                                                                      \
    X(KoEvalFunc, EvalAndBound)                                                                    \
    X(KoHashFunc, Hash)                                                                            \
    X(KoTranslateFunc, Translate)                                                                  \
    X(KoPrintFunc, PrintToString)                                                                  \
    X(KoScanFunc, ScanFromString)

#define KO_IDENTITY_FUNCTION(type, name) static std::remove_pointer_t<type> name;

class KoLocalRef;

/// The number of an object, of the persistent type KoOBJID_T: 10 bytes stored, ordered by high and
/// low. Texts have the format "(%H-%L#%B)" unless another is given.
class KOTMS_API KoObjId
{
public:
    o_u4b tag = 0;
    o_u4b low = 0;
    o_u2b high = 0;

    constexpr o_u8b Number() const { return o_u8b{high} << 32 | low; }
    /// Cut to 48 bits; the tag stays.
    constexpr void SetNumber(o_u8b number)
    {
        low = static_cast<o_u4b>(number);
        high = static_cast<o_u2b>(number >> 32);
    }
    /// The largest number, with tag 0.
    constexpr void SetHighestValue() { *this = {0, 0xFFFFFFFF, 0xFFFF}; }

    // Numbers wrap modulo 2^48; the tag stays.
    constexpr KoObjId& operator++() { return *this += 1; }
    constexpr KoObjId& operator--() { return *this += -1; }
    constexpr KoObjId& operator+=(short n)
    {
        SetNumber(Number() + static_cast<o_u8b>(n));
        return *this;
    }

    /// Compares the numbers.
    constexpr bool operator==(const KoObjId& other) const { return Number() == other.Number(); }

    constexpr int IsNullValue() const { return Number() == 0; }
    constexpr int SetNullValue() ///< all fields become 0; returns 0
    {
        *this = KoObjId{};
        return KoRC_OK;
    }

    void PrintToKoString(KoString& text, const char* format) const;
    void ScanFromKoString(const KoString& text, const char* format);

    KO_SORT_KEY_MEMBERS();

    KO_IDENTITY_FUNCTION_LIST(KO_IDENTITY_FUNCTION)
};

/// The number of a class and its version, of the persistent type KoCLID_T: 4 bytes stored, ordered
/// by classNo and version. Null is 0 in both. Texts have the format "(%Cv%V)" unless another is
/// given.
class KOTMS_API KoClassId
{
public:
    o_u2b classNo = 0;
    o_u2b version = 0;

    constexpr bool operator==(const KoClassId& other) const
    {
        return classNo == other.classNo && version == other.version;
    }
    constexpr bool operator>(const KoClassId& other) const
    {
        return classNo != other.classNo ? classNo > other.classNo : version > other.version;
    }

    constexpr int IsNullValue() const { return classNo == 0 && version == 0; }
    constexpr int SetNullValue() ///< both fields become 0; returns 0
    {
        *this = KoClassId{};
        return KoRC_OK;
    }

    void PrintToKoString(KoString& text, const char* format) const;
    void ScanFromKoString(const KoString& text, const char* format);

    KO_SORT_KEY_MEMBERS();

    KO_IDENTITY_FUNCTION_LIST(KO_IDENTITY_FUNCTION)
};

/// A reference to an object anywhere: its number, its origin and its class, of the persistent type
/// KoREF_T. 14 bytes stored, ordered by high, low, originId and classNo. The version is not stored:
/// it is 0 after loading, and no comparison reads it.
///
/// Texts have the format "(%D:%H-%L#%B, %C)" unless another is given; PrintToString and
/// ScanFromString stand in "(%D:%H-%L#%B,%Cv%V)" for a null format.
class KOTMS_API KoRef
{
public:
    o_u4b tag = 0;
    o_u4b low = 0;
    o_u2b high = 0;
    o_u2b originId = 0;
    o_u2b classNo = 0;
    o_u2b version = 0;

    // Each sets the fields that its operand has and leaves the others.
    constexpr KoRef& operator=(const KoObjId& object)
    {
        tag = object.tag;
        low = object.low;
        high = object.high;
        return *this;
    }
    constexpr KoRef& operator=(const KoClassId& classId)
    {
        classNo = classId.classNo;
        version = classId.version;
        return *this;
    }
    constexpr KoRef& operator=(const KoLocalRef& local);
    constexpr KoRef& operator=(unsigned short origin)
    {
        originId = origin;
        return *this;
    }

    constexpr o_u8b Number() const { return o_u8b{high} << 32 | low; }

    /// Compares number, origin and class.
    constexpr bool operator==(const KoRef& other) const
    {
        return Number() == other.Number() && originId == other.originId && classNo == other.classNo;
    }

    /// 1 for a number and a class other than 0 and an origin other than 0xFFFF, else 0.
    constexpr unsigned short IsValid() const
    {
        return Number() != 0 && classNo != 0 && originId < kNoOrigin;
    }
    constexpr unsigned short IsInvalid() const { return IsValid() == 0; }
    /// 1 for a number other than 0 with a class other than 0 or the origin 0xFFFF, else 0.
    constexpr unsigned short IsValidOriginId() const
    {
        return Number() != 0 && (originId == kNoOrigin || classNo != 0);
    }
    constexpr unsigned short IsInvalidOriginId() const { return IsValidOriginId() == 0; }

    constexpr int IsNullValue() const { return Number() == 0; }
    constexpr int SetNullValue() ///< all fields become 0; returns 0
    {
        *this = KoRef{};
        return KoRC_OK;
    }

    void PrintToKoString(KoString& text, const char* format) const;
    void ScanFromKoString(const KoString& text, const char* format);

    KO_SORT_KEY_MEMBERS();

    KO_IDENTITY_FUNCTION_LIST(KO_IDENTITY_FUNCTION)

private:
    static constexpr o_u2b kNoOrigin = 0xFFFF;
};

/// A reference within one origin. It is no persistent type. Texts have the format "(%H-%L#%B,%C)"
/// unless another is given.
class KOTMS_API KoLocalRef
{
public:
    o_u4b tag = 0;
    o_u4b low = 0;
    o_u2b high = 0;
    o_u2b classNo = 0;
    o_u2b version = 0;

    // As for KoRef; the origin of a KoRef is left out.
    constexpr KoLocalRef& operator=(const KoObjId& object)
    {
        tag = object.tag;
        low = object.low;
        high = object.high;
        return *this;
    }
    constexpr KoLocalRef& operator=(const KoClassId& classId)
    {
        classNo = classId.classNo;
        version = classId.version;
        return *this;
    }
    constexpr KoLocalRef& operator=(const KoRef& ref)
    {
        *this = KoObjId{ref.tag, ref.low, ref.high};
        return *this = KoClassId{ref.classNo, ref.version};
    }

    constexpr o_u8b Number() const { return o_u8b{high} << 32 | low; }

    /// Compare number and class, so a reference of any origin can be equal.
    constexpr bool operator==(const KoLocalRef& other) const
    {
        return Number() == other.Number() && classNo == other.classNo;
    }
    constexpr bool operator==(const KoRef& other) const
    {
        return Number() == other.Number() && classNo == other.classNo;
    }

    constexpr int IsNullValue() const { return Number() == 0; }
    constexpr int SetNullValue() ///< all fields become 0; returns 0
    {
        *this = KoLocalRef{};
        return KoRC_OK;
    }

    void PrintToKoString(KoString& text, const char* format) const;
    void ScanFromKoString(const KoString& text, const char* format);
};

constexpr KoRef& KoRef::operator=(const KoLocalRef& local)
{
    *this = KoObjId{local.tag, local.low, local.high};
    return *this = KoClassId{local.classNo, local.version};
}

static_assert(sizeof(KoObjId) == 12 && alignof(KoObjId) == 4);
static_assert(sizeof(KoClassId) == 4 && alignof(KoClassId) == 2);
static_assert(sizeof(KoRef) == 16 && alignof(KoRef) == 4);
static_assert(sizeof(KoLocalRef) == 16 && alignof(KoLocalRef) == 4);

#undef KO_IDENTITY_FUNCTION

#endif
