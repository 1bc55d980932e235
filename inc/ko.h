#ifndef KO_H
#define KO_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(KOTMS_BUILD)
#define KO_API __declspec(dllexport)
#elif defined(KO_STATIC)
#define KO_API
#else
#define KO_API __declspec(dllimport)
#endif
#else
#define KO_API __attribute__((visibility("default")))
#endif

/* Values of all types for C, C++ (ko.hpp wraps it) and every language that calls C.
 *
 * A value is its stored bytes and the number of its type: nobody owns anything, and nothing has to
 * be set up before the first call. What holds for every call:
 *
 * - Nothing that is passed is trusted. Bytes are validated before they are read, texts must be
 *   UTF-8, and any number may be passed as a type, an order or a word; what is wrong is answered
 *   with a status. Only a pointer with its size must be what it says; a null pointer is fine where
 *   the size is 0. A text may hold anything and needs no terminator.
 * - Results of unknown length: `*size` tells the bytes of room at `out` before the call and the
 *   bytes of the whole result after it. Where the room is too small the status is KO_NO_ROOM, and a
 *   second call with that much room succeeds. So a room of 0 asks for the size. After any other
 *   failure `*size` is 0. Room is never too large.
 * - After a failure other results are as they were, and `out` is of no certain value.
 * - Stored bytes are those of one value, whole: bytes after it are refused with KO_TRAILING.
 * - Where memory runs out the status is KO_NO_MEMORY. The process is never ended for it, unless by
 * a memory handler that it installed itself.
 * - Threads: calls may run at once in any number of threads. They share no state but the settings
 * of the process (the text of null, the default language and code set, print formats), which are
 * set at start-up. Whoever needs settings of his own hands in a ko_settings.
 */

#ifdef __cplusplus
extern "C" {
#endif

/* The answer of a call. The numbers never change. */
typedef int ko_status;
enum {
    KO_OK = 0,
    KO_NO_TYPE = 1,        /* no type has this number */
    KO_NO_ROOM = 2,        /* the result takes more room; `*size` tells how much */
    KO_NO_MEMORY = 3,      /* memory ran out */
    KO_BAD_ARGUMENT = 4,   /* an order, word, setting or null pointer that the call does not take */
    KO_NOT_UTF8 = 5,       /* the text is no UTF-8, or has a zero character */
    KO_UNREADABLE = 6,     /* the text is no value of the type under the format */
    KO_NO_CHARACTER = 7,   /* the code set lacks a character of the text */
    KO_TOO_LONG = 8,       /* a text of more than 65,531 characters (32,765 beyond Latin-1) */
    KO_BAD_FORMAT = 9,     /* the format is longer than 255 bytes or no plain ASCII */
    KO_TRUNCATED = 10,     /* the bytes end before the value does */
    KO_DAMAGED = 11,       /* bytes that the type does not write */
    KO_TRAILING = 12,      /* bytes, or a text, that go on after the end of the value */
    KO_NO_ORDER = 13,      /* wildcards are on under the word: pass KO_PLAIN or KO_NO_WILDCARDS */
    KO_NOT_SUPPORTED = 14, /* values of the type have no such operation */
    KO_OUT_OF_RANGE = 15   /* the text is a number, or a date of numbers, that the type lacks */
};

/* A plain sentence about a status, for people; never null, and kept by the library. */
KO_API const char* ko_status_text(int status);

/* The byte order of stored numbers. Everything that was stored has to be read with the same. */
typedef int ko_order;
enum {
    KO_LITTLE = 1, /* least significant byte first */
    KO_BIG = 2     /* most significant byte first */
};

/* The operator word: what a comparison looks at. The bits may be joined, and every type passes over
 * those that mean nothing to it. Without KO_PLAIN and KO_NO_WILDCARDS wildcards are on: the second
 * text of a comparison is a pattern ("*", "?", "\"), dates and times match by fields of 255, and
 * there is no order to sort by. */
enum {
    KO_WILDCARDS = 0,           /* none of the bits */
    KO_PLAIN = 0x0010,          /* values as they are: for sorting, keys and equality */
    KO_IGNORE_CASE = 0x0020,    /* texts */
    KO_IGNORE_ACCENTS = 0x0040, /* texts */
    KO_SKIP_SPACES = 0x0080,    /* texts: as if control and space characters were not there */
    KO_NO_WILDCARDS = 0x0100,   /* texts: as KO_PLAIN */
    KO_SKIP_SYMBOLS = 0x0200    /* texts: as if symbols were not there */
};

/* What a caller wants otherwise than the process has it. Begin with KO_SETTINGS, change what is to
 * be changed, and pass its address; a null pointer stands for the settings of the process. A call
 * reads it only while it runs, in its own thread. */
typedef struct ko_settings {
    size_t size; /* sizeof(ko_settings) */
    /* The text that stands for null, UTF-8 with a terminator; empty: no text does; null: that of
     * the process ("{NULL}" at first). */
    const char* null_text;
    int language; /* of texts that are made and collated, KoLanguageId; -1: that of the process */
    int code_set; /* of texts that are made, KoCodeSetId 1 to 253; -1: that of the process, or 253
                     where it lacks a character */
    /* Told how many bytes could not be had; may be null. It must return. */
    void (*out_of_memory)(void* context, size_t bytes);
    void* context;
} ko_settings;
/* clang-format off */
#define KO_SETTINGS { sizeof(ko_settings), NULL, -1, -1, NULL, NULL }
/* clang-format on */

/* ---- types */

/* The number of a type by its name ("KoDate") or id name ("KoDATE_T"), case-sensitive; -1: none. */
KO_API int ko_type(const char* name);
/* Numbers of types are below this. One of them is reserved: it has no name, and no values. */
KO_API int ko_type_count(void);
/* The name and the id name; null for a number without a type. */
KO_API const char* ko_type_name(int type);
KO_API const char* ko_type_id_name(int type);
/* The format under which the text of every value reads back, which ko_pack and ko_text take for a
 * null one; null for a number without a type. */
KO_API const char* ko_text_format(int type);
/* 1 for a type with a null value, 0 for another one and for a number without a type. */
KO_API int ko_has_null(int type);

/* ---- text and stored bytes */

/* Reads one value from a text, strictly: the whole text must be a value under the format (ASCII, at
 * most 255 bytes; null: ko_text_format). The text of null is null where the type has it. Writes the
 * stored bytes. KO_NOT_UTF8, KO_UNREADABLE, KO_OUT_OF_RANGE, KO_TRAILING, KO_NO_CHARACTER and
 * KO_TOO_LONG leave in `*error_at`, unless `error_at` is null, the offset in bytes of the first
 * character that does not belong. KoIString and KoCaseIString hold characters of Windows-1252, and
 * what is read has not the flag by which accents count: a value that has it comes back from its
 * text without it. */
KO_API ko_status ko_pack(int type, const char* utf8, size_t length, const char* format,
                         ko_order order, void* out, size_t* size, size_t* error_at);
KO_API ko_status ko_pack_with(const ko_settings* settings, int type, const char* utf8,
                              size_t length, const char* format, ko_order order, void* out,
                              size_t* size, size_t* error_at);
/* Writes the stored bytes of the null value; KO_NOT_SUPPORTED where the type has none. */
KO_API ko_status ko_pack_null(int type, ko_order order, void* out, size_t* size);
/* Writes the text of a stored value as UTF-8, and a terminator after it where there is room for it;
 * `*size` does not count that. A null format gives a text that ko_pack reads back as the same
 * value, but for half a surrogate pair, which is no character and becomes U+FFFD. KO_TOO_LONG where
 * the text is. */
KO_API ko_status ko_text(int type, const void* bytes, size_t length, ko_order order,
                         const char* format, char* out, size_t* size);
KO_API ko_status ko_text_with(const ko_settings* settings, int type, const void* bytes,
                              size_t length, ko_order order, const char* format, char* out,
                              size_t* size);
/* Writes the stored bytes of the same value with its numbers in another order. */
KO_API ko_status ko_convert(int type, const void* bytes, size_t length, ko_order from, ko_order to,
                            void* out, size_t* size);
/* `*is_null` becomes 1 or 0. */
KO_API ko_status ko_is_null(int type, const void* bytes, size_t length, ko_order order,
                            int* is_null);
/* Looks whether `length` bytes begin with a value. `*at`, unless `at` is null, becomes the bytes of
 * it, of which there may be fewer than `length`; after KO_TRUNCATED the length, after KO_DAMAGED
 * the offset of the first byte that is wrong. A KoString of code set 254 with a language of 128 or
 * more is damaged to all calls: no call writes it, and it is one text when read and another when
 * compared. Code set 254 with language 0 is null. */
KO_API ko_status ko_validate(int type, const void* bytes, size_t length, ko_order order,
                             size_t* at);

/* ---- order */

/* `*result` becomes -1, 0 or 1, as the first value comes before, equals or comes after the second.
 * Where wildcards are on the second one is the pattern, and 0 means that it matches.
 *
 * Two types have values of two kinds, each with an order of its own and none beside the other: a
 * may equal b, and b equal c, which differs from a.
 * - A KoString without a code set (byte 2 is 0, byte 3 is not 254), or of the layout that older
 *   programs wrote (the last byte is 0), is plain bytes; all others are texts.
 * - A KoCaseIString with the accents flag (bit 0x20 of byte 2) makes accents count, on either side.
 * What ko_pack makes is of one kind: texts, and no flag. An index or a set holds one kind, or one
 * after the other, as those of ko.hpp do. A KoIString passes over the flag. */
KO_API ko_status ko_compare(int type, const void* a, size_t a_length, const void* b,
                            size_t b_length, unsigned word, ko_order order, int* result);
/* Writes the sort key: bytes that memcmp orders as ko_compare orders the values, a key that begins
 * another one coming first. Equal values of one kind (ko_compare) have equal keys whatever their
 * order of bytes. Keys of plain bytes come after those of texts, while keys of KoCaseIString with
 * and without the flag do not tell the two apart. Where the room is too small as much of the key as
 * fits is written all the same: such a part decides where it differs. KO_NO_ORDER where wildcards
 * are on, which matters to texts, dates and times. */
KO_API ko_status ko_key(int type, const void* bytes, size_t length, unsigned word, ko_order order,
                        void* out, size_t* size);
/* Writes the stored bytes of a value that equals the one whose key this is. KO_NOT_SUPPORTED where
 * keys do not hold the whole value (case-insensitive texts, object numbers and references, words
 * that ignore something of a text); KO_DAMAGED where the bytes are no key. */
KO_API ko_status ko_from_key(int type, const void* key, size_t length, unsigned word,
                             ko_order order, void* out, size_t* size);
KO_API ko_status ko_from_key_with(const ko_settings* settings, int type, const void* key,
                                  size_t length, unsigned word, ko_order order, void* out,
                                  size_t* size);
/* A hash of 64 bits: values of one kind (ko_compare) that are equal under the word have the same,
 * whatever the order of bytes. KO_NO_ORDER as for keys. */
KO_API ko_status ko_hash(int type, const void* bytes, size_t length, unsigned word, ko_order order,
                         uint64_t* hash);
/* The order of two texts in UTF-8, of any length, as of strings with these characters. */
KO_API ko_status ko_collate(const char* a, size_t a_length, const char* b, size_t b_length,
                            unsigned word, int* result);
KO_API ko_status ko_collate_with(const ko_settings* settings, const char* a, size_t a_length,
                                 const char* b, size_t b_length, unsigned word, int* result);

/* ---- versions */

/* The version of the library, "12.0.2.248.0". */
KO_API const char* ko_version(void);
/* The version of the order of texts. What is sorted by texts or their keys has to be sorted again
 * where it changes: whoever keeps an index records it. */
KO_API uint32_t ko_order_version(void);

#ifdef __cplusplus
}
#endif

#endif
