#ifndef KOTYPEMGR_H
#define KOTYPEMGR_H

#include "kotypes.h"

#include <koservices.h>

#include <concepts>
#include <cstddef>
#include <new>

struct KoEvalData;

/// Objects of the library's heap: what an application makes with `new` the library can delete and
/// the other way round, whatever heaps the two modules use. `new` is null when memory runs out; the
/// memory handler is not called. They can be made in any place as well.
class KOTMS_API KoHeapObject
{
public:
    static void* operator new(std::size_t size) noexcept;
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept
    {
        return operator new(size);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* memory) noexcept;
    static void operator delete(void* memory, const std::nothrow_t&) noexcept
    {
        operator delete(memory);
    }
    static void operator delete(void*, void*) noexcept {}
};

/// Values converted to another type, with the manager that releases them. Create with Make,
/// release with delete. It owns its data alone, so there are no copies.
struct KOTMS_API KoTypeConvertData : KoHeapObject {
    const KoTypeMgr* manager = nullptr; ///< releases the data; may be null
    void* data = nullptr;               ///< `count` elements of the type `typeId`, owned
    o_u4b count = 0;
    o_char typeId = 0; ///< KoSTRING_T for a record of texts

    KoTypeConvertData() = default; ///< no data
    /// Takes the values over.
    KoTypeConvertData(const KoTypeMgr* owner, void* values, o_u4b valueCount, o_char valueType)
        : manager(owner), data(values), count(valueCount), typeId(valueType)
    {
    }
    KoTypeConvertData(const KoTypeConvertData&) = delete;
    KoTypeConvertData& operator=(const KoTypeConvertData&) = delete;

    /// New record that takes over `data`; null (data untouched) when memory runs out.
    static KoTypeConvertData* Make(o_char typeId, unsigned count, void* data,
                                   const KoTypeMgr* manager);
    /// Releases the data through the manager when both are set; afterwards the type id is 100
    /// and the count 0.
    ~KoTypeConvertData();

    /// Text `index` of the record, still owned by it; null past the end, for a record that holds
    /// no texts, and for one without data.
    KoString* GetString(int index) const;
};

/// Handles a value of any type by its type id. A manager holds no value: it selects one of two
/// tables of types, so copies are cheap and independent.
///
/// Ids 0 to 46 name a type; ids of 100 and more name the reserved type. An id without a type (47 to
/// 99, negative ids, and 28 to 46 on the compatibility table) behaves as the reserved type does:
/// nothing happens, and the result is 0, null or the text unchanged.
///
/// What it is handed is trusted: ids, pointers and stored bytes must be what they are said to be.
/// ko.h and ko.hpp are the same for callers who cannot promise that.
class KOTMS_API KoTypeMgr : public KoHeapObject
{
public:
    KoTypeMgr();
    explicit KoTypeMgr(unsigned factory);
    /// 12 and more: the current table as factory 4. 11: the compatibility table as factory 3. 4 to
    /// 10: the current table. 0 to 3: the compatibility table.
    void SetFactory(unsigned factory);
    unsigned short GetFactory() const { return m_factory; }

    // ---- questions about a type

    /// 1 or 0. Negative ids count as valid, as do 28 to 46 on the compatibility table.
    int IsValidType(o_char id) const;
    /// The type name, or with a `buffer` the buffer with a copy of it; the buffer must have room.
    char* NameGet(o_char id, char* buffer = nullptr) const;
    /// The id name, "KoSTRING_T"; else as NameGet.
    char* TypeIdNameGet(o_char id, char* buffer = nullptr) const;
    /// Bytes of `count` elements in memory, modulo 2^16.
    unsigned short MemLenGet(o_char id, unsigned count) const;
    /// 1 for a fixed-length type, 0 for a variable-length one.
    unsigned short IsFixed(o_char id) const;
    /// Finds the id of a type name, case-sensitive; id names are not searched. Returns 0, or 1 with
    /// `id` 47.
    int Name2KoTypeId(const char* name, o_char& id) const;
    /// The same for an id in a plain char, whose sign differs between the systems.
    int Name2KoTypeId(const char* name, char& id) const
    {
        o_char found;
        const int result = Name2KoTypeId(name, found);
        id = static_cast<char>(found);
        return result;
    }
    /// The same for an id in the enumeration, which has no name for 47.
    int Name2KoTypeId(const char* name, KoTypeId& id) const
    {
        o_char found;
        const int result = Name2KoTypeId(name, found);
        id = static_cast<KoTypeId>(found);
        return result;
    }
    /// 1 when the type has the KoCapability, else 0. KoCAP_NULL depends on the table, the others on
    /// the id alone.
    unsigned short SupportsCapability(o_char id, unsigned short capability) const;
    unsigned short SupportsNullValue(o_char id) const;
    /// Element `index` of an array; null for an index of `count` and more (a count of 0 is no
    /// bound) and for an id without a type.
    void* GetArrayElement(o_char id, void* base, unsigned index, unsigned count) const;
    /// The text that stands for null in printed text, "{NULL}" at first; of the whole process. Read
    /// text is compared with it character by character, whatever the default operator word is and
    /// without wildcards. An empty one stands for nothing: then no text is null because of it.
    static const KoString& GetNullPrintString();
    static void SetNullPrintString(const KoString& text);

    // ---- values: each of these is the function of the type; see kotypes.h

    /// Array of new empty elements that Delete releases; null when memory runs out.
    void* Create(o_char id, unsigned count) const;
    /// Releases an array of Create, DefaultValue or ConvertFrom. Returns null.
    void* Delete(o_char id, void* array, unsigned count) const;
    /// Array of new elements with the type's default value; `flag` has no meaning so far.
    void* DefaultValue(o_char id, unsigned count, int flag) const;
    /// Memory form to persistent form; returns the bytes written.
    unsigned Store(o_char id, void* destination, const void* source, unsigned char format,
                   unsigned count) const;
    /// Persistent form to memory form, onto elements that exist; returns the bytes read.
    unsigned Load(o_char id, void* destination, const void* source, unsigned char format,
                  unsigned count) const;
    /// Bytes in the persistent form `format` of elements given in `valueFormat`.
    unsigned DiskLenGet(o_char id, const void* value, unsigned char format, unsigned count,
                        unsigned char valueFormat) const;
#if !defined(KO_NO_GLOBAL_NAMES)
    /// The same of elements at the position of a memory file.
    unsigned DiskLenGetFromMemFile(o_char id, MemFile* file, unsigned char format,
                                   unsigned count) const;
#endif
    /// Negative, 0 or positive; `status` becomes 0, or KoRC_TRUNCATED when a length ran out first.
    int Cmp(o_char id, unsigned length1, void* value1, unsigned length2, void* value2,
            unsigned short cmpOp, unsigned count, unsigned char format, int& status) const;
    /// The same without bounds.
    int Cmp(o_char id, void* value1, void* value2, unsigned short cmpOp, unsigned count,
            unsigned char format) const;
    /// Estimates the share of an index range that a comparison selects, and narrows the range.
    /// `data` is not used.
    float EvalAndBound(o_char id, KoIdxBounds* bounds, unsigned short& op, void* value,
                       unsigned char format, unsigned count, KoIdxBounds* newBounds,
                       KoEvalData* data) const;
    /// Of `count` elements in `format`: equal values have equal hashes; see kotyphash.h for
    /// `length` and `status`. A string alone has that of HashString. doc/formats.md says how all
    /// are computed.
    unsigned Hash(o_char id, unsigned length, void* value, unsigned count, unsigned char format,
                  int& status) const;
    /// From one form to another. Returns the bytes written, in memory the size of the elements;
    /// what loading a persistent form returns, the bytes read of it; and between two persistent
    /// forms, of which the bytes are copied as they are, those copied: the shorter of the two
    /// lengths. What the destination has beyond them becomes zero. 0 for records that do not fit,
    /// or whose two persistent forms differ. Other translations do not look at the lengths, but for
    /// texts and blobs that are stored: these keep to `destinationLength` where it is not 0. Bytes
    /// that may be fewer than their elements take are for Validate first.
    unsigned Translate(o_char id, void* destination, unsigned char destinationFormat,
                       unsigned destinationLength, void* source, unsigned char sourceFormat,
                       unsigned sourceLength, unsigned count) const;
    /// Not 0 when the value, in memory form, is null.
    int IsNullValue(o_char id, void* value) const;
    /// KoRC_NOT_SUPPORTED for every type.
    int DiskIsNullValue(o_char id, void* value) const;
    /// Makes a value in memory form null. A type without a null value takes what it converts from
    /// an empty text, or reads from "0". Returns 0, or the result of the type's own function; when
    /// memory runs out the value stays as it was.
    int SetNullValue(o_char id, void* value) const;
    /// Steps a sequence value: `kind` 'M' and 'N' advance it by one, 'O' leaves it. A value in a
    /// persistent form is read and written in the byte order that bit 0 of the format stands for:
    /// least significant byte first. Returns 0; KoRC_OVERFLOW with the value unchanged; or
    /// KoRC_NOT_SUPPORTED for another kind or a type that cannot be stepped.
    int GetValue(o_char id, void* value, unsigned length, unsigned char format,
                 unsigned char kind) const;
    /// Stores a clock reading as a value of a type with KoCAP_TIMESTAMP. Returns the bytes written,
    /// or KoRC_NOT_SUPPORTED for another type and for a null `clock`. D_TIME_T and D_TIMESTAMP_T
    /// take the fraction for whole seconds.
    int StoreTimeStamp(o_char id, void* destination, unsigned char format,
                       KoTimeStampRec* clock) const;

    // ---- text

    /// Record of `count` texts, which the caller deletes; null when the type cannot convert or
    /// memory runs out.
    KoTypeConvertData* ConvertTo(o_char id, void* value, unsigned count) const;
    /// Array of `count` elements made from a record, which Delete releases; a missing or null text
    /// counts as empty. The record stays the caller's, but this manager now releases its data.
    void* ConvertFrom(o_char id, KoTypeConvertData* data, unsigned count) const;
    /// Appends the elements to `text`, with a comma between two; a null `format` is the type's. The
    /// reserved type appends the commas alone. Returns `text`.
    KoString& PrintToKoString(o_char id, KoString& text, void* value, const char* format,
                              unsigned count) const;
    /// Reads leniently: one element from the whole text, several from the texts between its commas;
    /// a string takes the whole in any case. An element whose text holds no number stays as it was;
    /// dates and times take 0 for the fields that it lacks, and the null print string makes null
    /// what can be null. doc/text.md has the rules of each type. Returns `value`.
    void* ScanFromKoString(o_char id, void* value, KoString& text, const char* format,
                           unsigned count) const;
    /// One text of all elements, each followed by a delimiter: the character of the smallest code
    /// from 1 to 254 that occurs in none of them, or a comma. The caller releases it with
    /// Delete(KoSTRING_T, text, 1). Null when the type cannot convert, when memory runs out, and
    /// when texts and delimiters are more characters than a string holds: 65,531, or 32,765 where
    /// the default code set has 16 bits.
    KoString* ConvertToKoStringOld(void* value, o_char id, unsigned count) const;
    /// The way back: splits at the last character of `text`, whatever it is, and empties `text`.
    /// Elements beyond the last piece are what an empty text converts to. Null when the type cannot
    /// convert, and, with `text` as it was, when memory runs out.
    void* ConvertFromKoStringOld(KoString* text, o_char id, unsigned count) const;
    /// Reads one value strictly: the whole text must be a value of the type under `format` (null:
    /// the type's). Returns 0; -1, with `errorAt` the position of the first character that does
    /// not belong; or KoRC_NOT_SUPPORTED, with `errorAt` 0, for a type without a strict reader.
    /// After a failure `value` is as it was.
    int ParseFromKoString(o_char id, void* value, const KoString& text, const char* format,
                          unsigned& errorAt) const;
    /// The format under which every value of the type, printed by PrintToKoString into a text of
    /// code set 253, is read back by the strict readers as the same value; null as the null print
    /// string, where the type has a null value. It is not always the print format, and
    /// ExchangeFormat does not change it. doc/text.md says what no text holds: the code set of a
    /// string, the payload of a NaN, and values too long for a KoString.
    const char* TextFormatGet(o_char id) const;
    /// The same strict reading of `length` bytes of UTF-8; a null `format` is the text format.
    /// Returns 0, a KoReadResult, KoRC_NOT_SUPPORTED for a type without a strict reader, or
    /// KoRC_NO_MEMORY. `at` becomes `length`, or after a failure the offset of the first byte that
    /// does not belong; `value` is then as it was. A KoString becomes one of code set 1 where its
    /// characters are all in it, else of 253, in the default language.
    int ReadText(o_char id, void* value, const char* utf8, std::size_t length, const char* format,
                 std::size_t& at) const;

    // ---- order as plain bytes; see KoSortKeyFunc and, for the bytes of every type,
    // doc/formats.md

    /// Bytes of the sort key of `count` elements in the form `format` under the operator word
    /// `cmpOp`; 0 for none, and where the word gives no order: texts, dates and times have none
    /// while their wildcards are on. A key of 2^32 bytes and more is said to have 2^32 - 1.
    unsigned SortKeyLen(o_char id, const void* value, unsigned char format, unsigned count,
                        unsigned short cmpOp) const;
    /// Writes the first `room` bytes of the key, of which a part decides where it differs, and
    /// returns its whole length. `key` may be null where `room` is 0.
    unsigned SortKey(o_char id, void* key, unsigned room, const void* value, unsigned char format,
                     unsigned count, unsigned short cmpOp) const;
    /// Makes `count` elements, which exist, from their key. What comes back compares equal under
    /// `cmpOp`. Returns 0; KoRC_NOT_SUPPORTED where keys of the type under this word do not hold
    /// whole values (case-insensitive texts, object numbers and references, and texts of which the
    /// word ignores something); KoRC_DAMAGED where the bytes are not exactly a key that SortKey
    /// writes; or KoRC_NO_MEMORY. The elements stay as they were except after the last, which may
    /// have set some of them.
    int FromSortKey(o_char id, void* value, const void* key, unsigned length, unsigned count,
                    unsigned short cmpOp) const;
    /// A hash for joins and groups under a weaker equality: XXH3 (Collet, 2019) of 64 bits over
    /// the sort key, so that values equal under `cmpOp` have one hash in every form. 0 where the
    /// word gives no order. Where memory for a long key runs out the memory handler is called and
    /// the hash is 0 as well. Equal values whose hashes differ are those that no order can hold:
    /// a text without a code set (stored texts of the older layout are such) beside one with a code
    /// set, and two KoCaseIString of which one alone has the flag for accents.
    o_u8b HashUnder(o_char id, const void* value, unsigned char format, unsigned count,
                    unsigned short cmpOp) const;

    // ---- bytes from strangers

    /// See KoValidateFunc. After 0 every other call that is handed these bytes in this form reads
    /// nothing beyond the first `at` of them, with two exceptions, both of strings on the current
    /// table: loading no strings, and translating none to memory, looks at the record that is
    /// there; and DiskLenGet without a bound walks an array in the key form (bit 7) by the sizes
    /// that its texts may grow to.
    int Validate(o_char id, const void* bytes, std::size_t size, unsigned char format,
                 unsigned count, std::size_t& at) const;
    /// The bytes that `count` elements as Store writes them take by their own lengths, of which
    /// nothing beyond `size` is read; of valid bytes this is what Validate says. `status` becomes
    /// 0; or, with the result 0, KoRC_TRUNCATED where the elements do not end within `size` or take
    /// 2^32 bytes and more, and KoRC_DAMAGED where the total of an array of blobs is negative or
    /// has no room for so many. Sizes in the key form are those of the bytes, without room for
    /// growth.
    unsigned DiskLenGet(o_char id, const void* bytes, std::size_t size, unsigned char format,
                        unsigned count, int& status) const;

    // ---- the functions of a type, null where it lacks one

    KoConstructFunc ConstructorPtrGet(o_char id) const;
    KoConstructFunc DestructorPtrGet(o_char id) const;
    KoAssignFunc AssignmentPtrGet(o_char id) const;
    KoAssignFunc CopyPtrGet(o_char id) const;
    KoStoreFunc LoadPtrGet(o_char id) const;
    KoStoreFunc StorePtrGet(o_char id) const;
    KoNullFunc IsNullPtrGet(o_char id) const;
    KoNullFunc SetNullPtrGet(o_char id) const;
    KoTypeCmpFunc CmpFuncPtrGet(o_char id) const;
    using KoComparePtr = int (*)(void* value1, void* value2);
    /// Null for every type.
    KoComparePtr ComparePtrGet(o_char id) const;

    // ---- the same calls with operands that are const. They are templates, so that a call to which
    // both are as good, as with a null pointer, means the first ones.

    template <class = void>
    int Cmp(o_char id, unsigned length1, const void* value1, unsigned length2, const void* value2,
            unsigned short cmpOp, unsigned count, unsigned char format, int& status) const
    {
        return Cmp(id, length1, Operand(value1), length2, Operand(value2), cmpOp, count, format,
                   status);
    }
    template <class = void>
    int Cmp(o_char id, const void* value1, const void* value2, unsigned short cmpOp, unsigned count,
            unsigned char format) const
    {
        return Cmp(id, Operand(value1), Operand(value2), cmpOp, count, format);
    }
    template <class = void>
    float EvalAndBound(o_char id, KoIdxBounds* bounds, unsigned short& op, const void* value,
                       unsigned char format, unsigned count, KoIdxBounds* newBounds,
                       KoEvalData* data) const
    {
        return EvalAndBound(id, bounds, op, Operand(value), format, count, newBounds, data);
    }
    template <class = void>
    unsigned Hash(o_char id, unsigned length, const void* value, unsigned count,
                  unsigned char format, int& status) const
    {
        return Hash(id, length, Operand(value), count, format, status);
    }
    template <class = void>
    int IsNullValue(o_char id, const void* value) const
    {
        return IsNullValue(id, Operand(value));
    }
    template <class = void>
    KoTypeConvertData* ConvertTo(o_char id, const void* value, unsigned count) const
    {
        return ConvertTo(id, Operand(value), count);
    }
    template <class = void>
    KoString& PrintToKoString(o_char id, KoString& text, const void* value, const char* format,
                              unsigned count) const
    {
        return PrintToKoString(id, text, Operand(value), format, count);
    }
    /// Reads a copy of the text, since the function that scans may use its text up. Where memory
    /// for the copy runs out and the memory handler returns, the value stays as it was.
    template <std::same_as<KoString> Text>
    void* ScanFromKoString(o_char id, void* value, const Text& text, const char* format,
                           unsigned count) const
    {
        Text copy(text);
        return copy.Len() != text.Len() ? value : ScanFromKoString(id, value, copy, format, count);
    }

    // ---- replacement, for every manager of the process. Each returns what was there before; null
    // only asks. An id without a type answers as the reserved type and changes nothing.

    /// The caller keeps `format` alive.
    const char* ExchangeFormat(o_char id, const char* format);
    KoTypeCmpFunc ExchangeKoTypeCmpFunc(o_char id, KoTypeCmpFunc function);
    KoPrintFunc ExchangePrintToKoStringFunc(o_char id, KoPrintFunc function);
    KoScanFunc ExchangeScanFromKoStringFunc(o_char id, KoScanFunc function);

private:
    /// What the functions of a type take for an operand that they only look at. Their signatures
    /// are older than const and part of the interface; none of them writes to it, and one that
    /// replaces another must not.
    static void* Operand(const void* value)
    {
        return const_cast<void*>(value);
    }

    const KoTypeTable* m_table;
    unsigned short m_factory;
};

/// The process-wide manager as it was before the call, null where nobody registered one (see
/// ___KoTypemgrContext); a `mgr` that is not null takes its place.
/// Register one made with `new`: the library deletes the manager that is registered when its
/// context is torn down. The one returned is the caller's to delete once another has replaced it.
KOTMS_API KoTypeMgr* DefaultTypeMgr(KoTypeMgr* mgr = nullptr);

#endif
