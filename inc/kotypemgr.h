#ifndef KOTYPEMGR_H
#define KOTYPEMGR_H

#include "kotypes.h"

#include <koservices.h>

struct KoEvalData;

/// Values converted to another type, with the manager that releases them. Create with Make,
/// release with delete.
struct KOTMS_API KoTypeConvertData {
    KoTypeMgr* manager; ///< releases the data; may be null
    void* data;         ///< `count` elements of the type `typeId`, owned
    o_u4b count;
    o_char typeId; ///< KoSTRING_T for a record of texts

    /// New record that takes over `data`; null (data untouched) when memory runs out.
    static KoTypeConvertData* Make(o_char typeId, unsigned count, void* data, KoTypeMgr* manager);
    /// Releases the data through the manager when both are set; afterwards the type id is 100
    /// and the count 0.
    ~KoTypeConvertData();

    /// Text `index` of the record, still owned by it; null past the end, for a record that holds
    /// no texts, and for one without data.
    KoString* GetString(int index) const;

    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* memory) noexcept;
};

/// Handles a value of any type by its type id. A manager holds no value: it selects one of two
/// tables of types, so copies are cheap and independent.
///
/// Ids 0 to 46 name a type; ids of 100 and more name the reserved type. An id without a type (47 to
/// 99, negative ids, and 28 to 46 on the compatibility table) behaves as the reserved type does:
/// nothing happens, and the result is 0, null or the text unchanged.
class KOTMS_API KoTypeMgr
{
public:
    KoTypeMgr();
    explicit KoTypeMgr(unsigned factory);
    /// 12 and more: the current table as factory 4. 11: the compatibility table as factory 3. 4 to
    /// 10: the current table. 0 to 3: the compatibility table.
    void SetFactory(unsigned factory);
    unsigned short GetFactory() const { return m_factory; }

    // ---- questions about a type
    int IsValidType(o_char id) const;
    char* NameGet(o_char id, char* buffer = nullptr) const;
    char* TypeIdNameGet(o_char id, char* buffer = nullptr) const;
    unsigned short MemLenGet(o_char id, unsigned count) const;
    unsigned short IsFixed(o_char id) const;
    int Name2KoTypeId(const char* name, o_char& id) const;
    unsigned short SupportsCapability(o_char id, unsigned short capability) const;
    unsigned short SupportsNullValue(o_char id) const;
    void* GetArrayElement(o_char id, void* base, unsigned index, unsigned count) const;
    static const KoString& GetNullPrintString();
    static void SetNullPrintString(const KoString& text);

    // ---- values
    void* Create(o_char id, unsigned count) const;
    void* Delete(o_char id, void* array, unsigned count) const;
    void* DefaultValue(o_char id, unsigned count, int flag) const;
    unsigned Store(o_char id, void* destination, const void* source, unsigned char format,
                   unsigned count) const;
    unsigned Load(o_char id, void* destination, const void* source, unsigned char format,
                  unsigned count) const;
    unsigned DiskLenGet(o_char id, const void* value, unsigned char format, unsigned count,
                        unsigned char valueFormat) const;
    unsigned DiskLenGetFromMemFile(o_char id, MemFile* file, unsigned char format,
                                   unsigned count) const;
    int Cmp(o_char id, unsigned length1, void* value1, unsigned length2, void* value2,
            unsigned short cmpOp, unsigned count, unsigned char format, int& status) const;
    int Cmp(o_char id, void* value1, void* value2, unsigned short cmpOp, unsigned count,
            unsigned char format) const;
    float EvalAndBound(o_char id, KoIdxBounds* bounds, unsigned short& op, void* value,
                       unsigned char format, unsigned count, KoIdxBounds* newBounds,
                       KoEvalData* data) const;
    unsigned Hash(o_char id, unsigned length, void* value, unsigned count, unsigned char format,
                  int& status) const;
    unsigned Translate(o_char id, void* destination, unsigned char destinationFormat,
                       unsigned destinationLength, void* source, unsigned char sourceFormat,
                       unsigned sourceLength, unsigned count) const;
    int IsNullValue(o_char id, void* value) const;
    int DiskIsNullValue(o_char id, void* value) const;
    int SetNullValue(o_char id, void* value);
    int GetValue(o_char id, void* value, unsigned length, unsigned char format, unsigned char kind);
    int StoreTimeStamp(o_char id, void* destination, unsigned char format, KoTimeStampRec* clock);

    // ---- text
    KoTypeConvertData* ConvertTo(o_char id, void* value, unsigned count);
    void* ConvertFrom(o_char id, KoTypeConvertData* data, unsigned count);
    KoString& PrintToKoString(o_char id, KoString& text, void* value, const char* format,
                              unsigned count) const;
    void* ScanFromKoString(o_char id, void* value, KoString& text, const char* format,
                           unsigned count) const;
    KoString* ConvertToKoStringOld(void* value, o_char id, unsigned count);
    void* ConvertFromKoStringOld(KoString* text, o_char id, unsigned count);
    int ParseFromKoString(o_char id, void* value, const KoString& text, const char* format,
                          unsigned& errorAt) const;

    // ---- the functions of a type
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
    KoComparePtr ComparePtrGet(o_char id) const;

    // ---- replacement, for every manager of the process
    const char* ExchangeFormat(o_char id, const char* format);
    KoTypeCmpFunc ExchangeKoTypeCmpFunc(o_char id, KoTypeCmpFunc function);
    KoPrintFunc ExchangePrintToKoStringFunc(o_char id, KoPrintFunc function);
    KoScanFunc ExchangeScanFromKoStringFunc(o_char id, KoScanFunc function);

    // ---- managers of the heap: one that an application makes with `new` can be handed to
    // DefaultTypeMgr and deleted by the library, whatever heaps the two modules use. Null when
    // memory runs out; the memory handler is not called.
    static void* operator new(std::size_t size) noexcept;
    static void operator delete(void* memory) noexcept;

private:
    const KoTypeTable* m_table;
    unsigned short m_factory;
};

/// The process-wide manager as it was before the call; a `mgr` that is not null takes its place.
/// The library owns the manager that is registered when its context is torn down.
KOTMS_API KoTypeMgr* DefaultTypeMgr(KoTypeMgr* mgr = nullptr);

#endif
