#ifndef KOTYPES_H
#define KOTYPES_H

#include "kotypeid.h"

#include <komemfile.h>

#include <cstddef>

/// The record of a value type, and the signatures of the functions in it.
///
/// Rules that hold for every function of the library:
/// - `format` is the format byte (KoFormat): which form a value is in, and the
///   byte order of the persistent form. Persistent buffers need no alignment;
///   values in memory form are aligned as their type asks.
/// - `count` is a number of elements. A count of 0 writes nothing but the length
///   in front of an array of blobs, or of strings in the older layout. The
///   length of a stored array of these says where it ends, whatever the count:
///   loading none of its blobs and measuring it still give that size. A count
///   of 0 blobs creates and destroys one. Loading no strings looks at the record
///   that is there, to tell its layout.
/// - `length` bounds the bytes of an operand; 0 means no separate bound.
/// - No function throws. Sizes are bytes, results are KoResult codes.
/// - Nothing is locked. Functions work only on what they are handed; process-wide
///   state is set at start-up and read afterwards.

class KoString;
class KoTypeMgr;
struct KoIdxBounds;
struct KoTimeStampRec;
struct KoTypeConvertData;

/// Array of `count` new elements; null when memory runs out.
using KoCreateFunc = void* (*)(unsigned count);
/// Destructs and frees an array of `create`; returns null.
using KoDestroyFunc = void* (*)(void* array, unsigned count);
/// Memory form to persistent form (store) or back (load); persistent bytes written or read.
using KoStoreFunc = unsigned (*)(void* destination, const void* source, unsigned char format,
                                 unsigned count);
using KoNullSizeFunc = unsigned (*)(unsigned count);
/// Persistent size in `format` of elements given in `valueFormat`.
using KoSizeFunc = unsigned (*)(const void* value, unsigned char valueFormat, unsigned char format,
                                unsigned count);
#if defined(KO_NO_GLOBAL_NAMES)
/// Takes a MemFile; no program that leaves that name out can call it.
using KoMemFileSizeFunc = unsigned (*)(void* file, unsigned char format, unsigned count);
#else
using KoMemFileSizeFunc = unsigned (*)(MemFile* file, unsigned char format, unsigned count);
#endif
/// Negative, 0 or positive: the order of the first pair of elements that differ.
/// `status` becomes 0, or KoRC_TRUNCATED when a bound ran out before `count` elements.
using KoTypeCmpFunc = int (*)(unsigned char format, unsigned length1, void* value1,
                              unsigned length2, void* value2, unsigned short cmpOp, unsigned count,
                              int& status);
using KoEvalFunc = float (*)(KoIdxBounds* bounds, unsigned short& op, void* value,
                             unsigned char format, unsigned count, KoIdxBounds* newBounds);
using KoHashFunc = unsigned (*)(unsigned char format, unsigned length, void* value, unsigned count,
                                int& status);
/// New record of texts that the caller deletes; null when memory runs out.
using KoConvertToFunc = KoTypeConvertData* (*)(void* value, unsigned count);
/// New array of values that the caller destroys; null when memory runs out.
using KoConvertFromFunc = void* (*)(KoTypeConvertData* data, unsigned count);
using KoConstructFunc = void (*)(void* array, unsigned count, unsigned extra);
/// With `broadcast` non-zero the one source element goes to every destination element.
using KoAssignFunc = void (*)(void* destination, void* source, unsigned count, int broadcast);
using KoTranslateFunc = unsigned (*)(void* destination, unsigned char destinationFormat,
                                     unsigned destinationLength, void* source,
                                     unsigned char sourceFormat, unsigned sourceLength,
                                     unsigned count);
using KoNullFunc = int (*)(void* value);
using KoPrintFunc = KoString& (*)(KoString& text, void* value, const char* format, unsigned count);
using KoScanFunc = void* (*)(void* value, KoString& text, const char* format, unsigned count);
using KoDefaultValueFunc = void* (*)(unsigned count, int flag);
/// Steps a value in memory form: `kind` 'M' and 'N' advance by one, 'O' leaves it, 2 sets
/// the smallest value. Returns 0, KoRC_OVERFLOW (unchanged) or KoRC_NOT_SUPPORTED.
using KoGetValueFunc = int (*)(void* value, unsigned length, unsigned char format,
                               unsigned char kind);
/// Reads a whole text strictly: 0, or with the value unchanged KoREAD_NOT_A_VALUE,
/// KoREAD_OUT_OF_RANGE or KoREAD_NO_CHARACTER with `errorAt` the position of the first character
/// that does not belong. A null `format` is the type's own.
using KoParseFunc = int (*)(void* value, const KoString& text, const char* format,
                            unsigned& errorAt);

/// The same of ASCII bytes, without a string in between, for types of numbers: true where they are
/// a value. False tells nothing, and leaves the value as it was.
using KoParseAsciiFunc = bool (*)(void* value, const char* text, std::size_t length,
                                  const char* format);

/// Writes the first `room` bytes of the sort key of `count` elements in the form `format`, and
/// returns the whole length of the key, whatever the room; `key` may be null where `room` is 0, and
/// what the room has behind the key is of no certain value. The
/// sign of memcmp of two keys, of which a shorter one that begins the other comes first, is the
/// sign of the type's comparison under `cmpOp`, and keys are equal exactly where it is 0. No key
/// begins another one of the same type, word and count, so keys may stand one after another.
/// Every form of a value gives the same key, but for two forms of strings that are compared as
/// something else than what loading makes of them (doc/formats.md): the older layout, and code set
/// 254 with bit 7 in the language. 0 for no elements, and where the comparison under
/// `cmpOp` is no order (its wildcards are on). Nothing is allocated.
using KoSortKeyFunc = unsigned (*)(void* key, unsigned room, const void* value,
                                   unsigned char format, unsigned count, unsigned short cmpOp);
/// The way back, into `count` elements that exist: 0; KoRC_NOT_SUPPORTED where keys of this type
/// and word do not hold the whole value; KoRC_DAMAGED where the `length` bytes are not exactly the
/// key of `count` elements. After these the elements are as they were. KoRC_NO_MEMORY where a text
/// or a blob finds no memory: the elements before it have their new values.
using KoFromSortKeyFunc = int (*)(void* value, const void* key, unsigned length, unsigned count,
                                  unsigned short cmpOp);
/// Looks at `size` bytes that somebody else wrote as `count` elements in the form `format`. 0, with
/// `at` the bytes that the elements take, where reading them as such reads nothing beyond and they
/// are what the type writes; KoRC_TRUNCATED, with `at` the size, where they end too early;
/// KoRC_DAMAGED, with `at` the offset of the first byte that is wrong; or KoRC_NOT_SUPPORTED, with
/// `at` 0, where the form is not one of bytes alone. A size of 0 is no bytes.
///
/// A format with bit 3 means elements as they lie in memory, as it does in comparing, hashing and
/// sort keys: of strings and blobs these are addresses, and not supported; of the other types every
/// byte is a value. What Store writes under such a format is another form for some types
/// (null-capable scalars, object numbers, references), which Load alone reads.
using KoValidateFunc = int (*)(const void* bytes, std::size_t size, unsigned char format,
                               unsigned count, std::size_t& at);
/// Makes the element at `value`, in memory form, a reading of the clock.
using KoStampFunc = void (*)(void* value, const KoTimeStampRec& clock);

/// The slots of a type's record in their order: field type, field name. The order is part of
/// the interface.
// clang-format off
#define KO_SLOT_LIST(X) \
    X(const char*,        name)               /* type name */ \
    X(const char*,        idName)             /* id name */ \
    X(KoCreateFunc,       create) \
    X(KoDestroyFunc,      destroy) \
    X(KoStoreFunc,        store) \
    X(KoStoreFunc,        load) \
    X(KoNullSizeFunc,     nullSizeGet)        /* persistent size with no value at hand */ \
    X(KoSizeFunc,         sizeGet) \
    X(KoMemFileSizeFunc,  sizeGetFromMemFile) \
    X(KoTypeCmpFunc,      cmp)                /* replaceable */ \
    X(KoEvalFunc,         evalAndBound) \
    X(KoHashFunc,         hash) \
    X(KoConvertToFunc,    convertTo) \
    X(KoConvertFromFunc,  convertFrom) \
    X(KoConstructFunc,    constructor)        /* in place */ \
    X(KoConstructFunc,    destructor)         /* in place */ \
    X(KoAssignFunc,       assignment) \
    X(KoAssignFunc,       copy)               /* copy-construct */ \
    X(KoTranslateFunc,    translate) \
    X(KoNullFunc,         isNull) \
    X(KoNullFunc,         setNull)            /* absent: the type has no null value */ \
    X(const char*,        printFormat)        /* replaceable */ \
    X(KoPrintFunc,        printToKoString)    /* replaceable */ \
    X(KoScanFunc,         scanFromKoString)   /* replaceable */ \
    X(o_u2b,              memLen)             /* bytes of one element in memory */ \
    X(o_u2b,              isFixed)            /* 1 fixed length, 0 variable */ \
    X(o_u2b,              reserved1)          /* always 0 */ \
    X(o_u2b,              reserved2)          /* always 0 */ \
    X(KoDefaultValueFunc, defaultValue) \
    X(KoGetValueFunc,     getValue) \
    X(void*,              reserved3)          /* always null */
// clang-format on

/// The operations and properties of one value type.
struct KoTypeDescriptor {
#define KO_SLOT_FIELD(type, field) type field;
    KO_SLOT_LIST(KO_SLOT_FIELD)
#undef KO_SLOT_FIELD
};

/// What a type offers beyond the fixed record.
struct KoTypeExtension {
    const char* textFormat;      ///< the format under which every value reads back
    KoParseFunc parse;           ///< absent: the type has no strict reader
    KoParseAsciiFunc parseAscii; ///< absent: `parse` reads all texts
    KoSortKeyFunc sortKey;
    KoFromSortKeyFunc fromSortKey;
    KoValidateFunc validate;
    KoValidateFunc measure;  ///< goes by lengths alone, as Load does: at which byte elements end
    KoStampFunc stamp;       ///< absent: the type takes no clock reading
    KoPrintFunc printsArray; ///< a print function that makes one text of an array; null: none does
    bool isIntegral;         ///< holds an integral number
    bool stepsInEveryForm;   ///< `getValue` is handed values as they are, stored ones too
};

/// A table of types: entry n belongs to id n, null where the id has no type.
struct KoTypeTable {
    KoTypeDescriptor* entry[KoTYPE_COUNT];
};

#if !defined(KO_NO_GLOBAL_NAMES)
/// Prints characters ("o_char"), of which an array is one text.
KOTMS_API KoString& CharPrintToKoString(KoString& text, void* value, const char* format,
                                        unsigned count);
#endif

/// All 47 types.
extern KOTMS_API const KoTypeTable koCurrentTypeTable;
/// Ids 0 to 27 with the older string type, and no entries after them.
extern KOTMS_API const KoTypeTable koCompatTypeTable;

#endif
