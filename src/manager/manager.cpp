#include "manager/slot.h"

#include <cstring>

namespace ko
{

namespace
{

char* CopyName(const char* name, char* buffer)
{
    return buffer == nullptr ? const_cast<char*>(name) : std::strcpy(buffer, name);
}

/// The field as it was; a value that is not null takes its place where the table has the type.
template <class Field>
Field Exchange(const KoTypeTable& table, o_char id, Field KoTypeDescriptor::*field, Field value)
{
    KoTypeDescriptor* type = FindType(table, id);
    if (type == nullptr)
        return koReservedDescriptor.*field;
    const Field old = type->*field;
    if (value != nullptr)
        type->*field = value;
    return old;
}

} // namespace

} // namespace ko

using namespace ko;

KoTypeMgr::KoTypeMgr() : KoTypeMgr(5)
{
}

KoTypeMgr::KoTypeMgr(unsigned factory)
{
    SetFactory(factory);
}

void KoTypeMgr::SetFactory(unsigned factory)
{
    // 11 is the one number above 3 that selects the compatibility table.
    const bool compat = factory <= 3 || factory == 11;
    m_table = compat ? &koCompatTypeTable : &koCurrentTypeTable;
    if (factory >= 12)
        factory = 4;
    else if (factory == 11)
        factory = 3;
    m_factory = static_cast<unsigned short>(factory);
}

void* KoHeapObject::operator new(std::size_t size) noexcept
{
    return KoAlloc(size);
}

void KoHeapObject::operator delete(void* memory) noexcept
{
    KoFree(memory);
}

// ---- questions about a type

int KoTypeMgr::IsValidType(o_char id) const
{
    return SlotOfId(id) < KoTYPE_COUNT ? 1 : 0;
}

char* KoTypeMgr::NameGet(o_char id, char* buffer) const
{
    return CopyName(TypeOf(*m_table, id).name, buffer);
}

char* KoTypeMgr::TypeIdNameGet(o_char id, char* buffer) const
{
    return CopyName(TypeOf(*m_table, id).idName, buffer);
}

unsigned short KoTypeMgr::MemLenGet(o_char id, unsigned count) const
{
    return static_cast<unsigned short>(TypeOf(*m_table, id).memLen * count);
}

unsigned short KoTypeMgr::IsFixed(o_char id) const
{
    return TypeOf(*m_table, id).isFixed;
}

int KoTypeMgr::Name2KoTypeId(const char* name, o_char& id) const
{
    for (id = 0; IsValidType(id) != 0; ++id) {
        const KoTypeDescriptor* type = FindType(*m_table, id);
        if (type != nullptr && name != nullptr && std::strcmp(type->name, name) == 0)
            return 0;
    }
    return 1;
}

unsigned short KoTypeMgr::SupportsCapability(o_char id, unsigned short capability) const
{
    switch (capability) {
    case KoCAP_NULL:
        return TypeOf(*m_table, id).setNull != nullptr ? 1 : 0;
    case KoCAP_INTEGRAL:
        return ExtensionOf(id).isIntegral ? 1 : 0;
    case KoCAP_TIMESTAMP:
        return ExtensionOf(id).stamp != nullptr ? 1 : 0;
    default:
        return 0;
    }
}

unsigned short KoTypeMgr::SupportsNullValue(o_char id) const
{
    return SupportsCapability(id, KoCAP_NULL);
}

void* KoTypeMgr::GetArrayElement(o_char id, void* base, unsigned index, unsigned count) const
{
    const KoTypeDescriptor* type = FindType(*m_table, id);
    if (type == nullptr || (count != 0 && index >= count))
        return nullptr;
    return static_cast<char*>(base) + std::size_t{type->memLen} * index;
}

// ---- values: each operation is the function of the type's slot

void* KoTypeMgr::Create(o_char id, unsigned count) const
{
    return Call<&KoTypeDescriptor::create>(*m_table, id, count);
}

void* KoTypeMgr::Delete(o_char id, void* array, unsigned count) const
{
    return Call<&KoTypeDescriptor::destroy>(*m_table, id, array, count);
}

void* KoTypeMgr::DefaultValue(o_char id, unsigned count, int flag) const
{
    return Call<&KoTypeDescriptor::defaultValue>(*m_table, id, count, flag);
}

unsigned KoTypeMgr::Store(o_char id, void* destination, const void* source, unsigned char format,
                          unsigned count) const
{
    return Call<&KoTypeDescriptor::store>(*m_table, id, destination, source, format, count);
}

unsigned KoTypeMgr::Load(o_char id, void* destination, const void* source, unsigned char format,
                         unsigned count) const
{
    return Call<&KoTypeDescriptor::load>(*m_table, id, destination, source, format, count);
}

unsigned KoTypeMgr::DiskLenGet(o_char id, const void* value, unsigned char format, unsigned count,
                               unsigned char valueFormat) const
{
    return Call<&KoTypeDescriptor::sizeGet>(*m_table, id, value, valueFormat, format, count);
}

unsigned KoTypeMgr::DiskLenGetFromMemFile(o_char id, MemFile* file, unsigned char format,
                                          unsigned count) const
{
    return Call<&KoTypeDescriptor::sizeGetFromMemFile>(*m_table, id, file, format, count);
}

int KoTypeMgr::Cmp(o_char id, unsigned length1, void* value1, unsigned length2, void* value2,
                   unsigned short cmpOp, unsigned count, unsigned char format, int& status) const
{
    return Call<&KoTypeDescriptor::cmp>(*m_table, id, format, length1, value1, length2, value2,
                                        cmpOp, count, status);
}

int KoTypeMgr::Cmp(o_char id, void* value1, void* value2, unsigned short cmpOp, unsigned count,
                   unsigned char format) const
{
    int status = 0;
    return Call<&KoTypeDescriptor::cmp>(*m_table, id, format, 0U, value1, 0U, value2, cmpOp, count,
                                        status);
}

float KoTypeMgr::EvalAndBound(o_char id, KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds,
                              KoEvalData*) const
{
    return Call<&KoTypeDescriptor::evalAndBound>(*m_table, id, bounds, op, value, format, count,
                                                 newBounds);
}

unsigned KoTypeMgr::Hash(o_char id, unsigned length, void* value, unsigned count,
                         unsigned char format, int& status) const
{
    return Call<&KoTypeDescriptor::hash>(*m_table, id, format, length, value, count, status);
}

unsigned KoTypeMgr::Translate(o_char id, void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count) const
{
    return Call<&KoTypeDescriptor::translate>(*m_table, id, destination, destinationFormat,
                                              destinationLength, source, sourceFormat, sourceLength,
                                              count);
}

int KoTypeMgr::IsNullValue(o_char id, void* value) const
{
    return Call<&KoTypeDescriptor::isNull>(*m_table, id, value);
}

// ---- the functions of a type

KoConstructFunc KoTypeMgr::ConstructorPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).constructor;
}

KoConstructFunc KoTypeMgr::DestructorPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).destructor;
}

KoAssignFunc KoTypeMgr::AssignmentPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).assignment;
}

KoAssignFunc KoTypeMgr::CopyPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).copy;
}

KoStoreFunc KoTypeMgr::LoadPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).load;
}

KoStoreFunc KoTypeMgr::StorePtrGet(o_char id) const
{
    return TypeOf(*m_table, id).store;
}

KoNullFunc KoTypeMgr::IsNullPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).isNull;
}

KoNullFunc KoTypeMgr::SetNullPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).setNull;
}

KoTypeCmpFunc KoTypeMgr::CmpFuncPtrGet(o_char id) const
{
    return TypeOf(*m_table, id).cmp;
}

// No type offers a compare function of two arguments.
KoTypeMgr::KoComparePtr KoTypeMgr::ComparePtrGet(o_char) const
{
    return nullptr;
}

// ---- replacement

const char* KoTypeMgr::ExchangeFormat(o_char id, const char* format)
{
    return Exchange(*m_table, id, &KoTypeDescriptor::printFormat, format);
}

KoTypeCmpFunc KoTypeMgr::ExchangeKoTypeCmpFunc(o_char id, KoTypeCmpFunc function)
{
    return Exchange(*m_table, id, &KoTypeDescriptor::cmp, function);
}

KoPrintFunc KoTypeMgr::ExchangePrintToKoStringFunc(o_char id, KoPrintFunc function)
{
    return Exchange(*m_table, id, &KoTypeDescriptor::printToKoString, function);
}

KoScanFunc KoTypeMgr::ExchangeScanFromKoStringFunc(o_char id, KoScanFunc function)
{
    return Exchange(*m_table, id, &KoTypeDescriptor::scanFromKoString, function);
}
