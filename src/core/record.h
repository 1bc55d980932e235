#ifndef KO_CORE_RECORD_H
#define KO_CORE_RECORD_H

#include "core/whole_text.h"

#include <kotypemgr.h>
#include <kotypes.h>

#include <string_view>

/// How a type's record is made: an operations class with one static member per slot. A class
/// derives from NoOps, or from a template that knows more, and hides what it does itself. The
/// record is then
///
///     constinit KoTypeDescriptor koDateDescriptor = Describe<DateOps>(KoDATE_T);
///
/// with the type's extension beside it: KO_DEFINE_TYPE(koDateDescriptor, DateOps, KoDATE_T) writes
/// both.

namespace ko
{

/// One row of the type list.
struct TypeRow {
    const char* name;
    const char* idName;
    const char* printFormat;
    o_u2b memLen;
    o_u2b isFixed;
};

inline constexpr TypeRow kTypeRows[KoTYPE_COUNT] = {
#define KO_TYPE_ROW(id, idName, descriptor, name, memLen, isFixed, printFormat)                    \
    {name, #idName, printFormat, memLen, isFixed},
    KO_TYPE_LIST(KO_TYPE_ROW)
#undef KO_TYPE_ROW
};

#define KO_TYPE_EXTERN(id, idName, descriptor, name, memLen, isFixed, printFormat)                 \
    extern KoTypeDescriptor descriptor;
KO_TYPE_LIST(KO_TYPE_EXTERN)
#undef KO_TYPE_EXTERN

/// The string type of the compatibility table.
extern KoTypeDescriptor koOldStringDescriptor;
extern const KoTypeExtension koOldStringDescriptorExt;

/// The operations that do nothing: the reserved type's, and the base of all others.
struct NoOps {
    static void* Create(unsigned) { return nullptr; }
    static void* Destroy(void*, unsigned) { return nullptr; }
    static unsigned Store(void*, const void*, unsigned char, unsigned) { return 0; }
    static unsigned Load(void*, const void*, unsigned char, unsigned) { return 0; }
    static unsigned NullSizeGet(unsigned) { return 0; }
    static unsigned SizeGet(const void*, unsigned char, unsigned char, unsigned) { return 0; }
    static unsigned SizeGetFromMemFile(MemFile*, unsigned char, unsigned) { return 0; }
    static int Cmp(unsigned char, unsigned, void*, unsigned, void*, unsigned short, unsigned,
                   int& status)
    {
        status = 0;
        return 0;
    }
    static float EvalAndBound(KoIdxBounds*, unsigned short&, void*, unsigned char, unsigned,
                              KoIdxBounds*)
    {
        return 0.0F;
    }
    static unsigned Hash(unsigned char, unsigned, void*, unsigned, int& status)
    {
        status = 0;
        return 0;
    }
    static KoTypeConvertData* ConvertTo(void*, unsigned) { return nullptr; }
    static void* ConvertFrom(KoTypeConvertData*, unsigned) { return nullptr; }
    static void Construct(void*, unsigned, unsigned) {}
    static void Destruct(void*, unsigned, unsigned) {}
    static void Assign(void*, void*, unsigned, int) {}
    static void Copy(void*, void*, unsigned, int) {}
    static unsigned Translate(void*, unsigned char, unsigned, void*, unsigned char, unsigned,
                              unsigned)
    {
        return 0;
    }
    /// The not-null test of every type without a null value.
    static int IsNull(void*) { return 0; }
    static constexpr KoNullFunc SetNull = nullptr;
    static KoString& Print(KoString& text, void*, const char*, unsigned) { return text; }
    static void* Scan(void* value, KoString&, const char*, unsigned) { return value; }
    static void* DefaultValue(unsigned, int) { return nullptr; }
    static int GetValue(void*, unsigned, unsigned char, unsigned char)
    {
        return KoRC_NOT_SUPPORTED;
    }
    static constexpr KoParseFunc Parse = nullptr;
    static constexpr KoParseAsciiFunc ParseAscii = nullptr;
    static unsigned SortKey(void*, unsigned, const void*, unsigned char, unsigned, unsigned short)
    {
        return 0;
    }
    static int FromSortKey(void*, const void*, unsigned, unsigned, unsigned short)
    {
        return KoRC_NOT_SUPPORTED;
    }
    static int Validate(const void*, std::size_t, unsigned char, unsigned, std::size_t& at)
    {
        at = 0;
        return KoRC_OK;
    }
    static constexpr KoValidateFunc Measure = Validate;
    static constexpr KoStampFunc Stamp = nullptr;
    static constexpr KoPrintFunc kPrintsArray = nullptr;
    static constexpr std::string_view kTextFormat{}; ///< the print format reads back
    static constexpr bool kIsIntegral = false;
    static constexpr bool kStepsInEveryForm = false;
};

/// The record of the type `id`. An operations class that names its value class as Value has the
/// class's size checked against the list while it is compiled.
template <class Ops>
consteval KoTypeDescriptor Describe(KoTypeId id)
{
    const TypeRow& row = kTypeRows[id];
    if constexpr (requires { typename Ops::Value; }) {
        if (sizeof(typename Ops::Value) != row.memLen)
            throw "the size of the value class is not the memory length of the type list";
    }
    return {row.name,
            row.idName,
            Ops::Create,
            Ops::Destroy,
            Ops::Store,
            Ops::Load,
            Ops::NullSizeGet,
            Ops::SizeGet,
            Ops::SizeGetFromMemFile,
            Ops::Cmp,
            Ops::EvalAndBound,
            Ops::Hash,
            Ops::ConvertTo,
            Ops::ConvertFrom,
            Ops::Construct,
            Ops::Destruct,
            Ops::Assign,
            Ops::Copy,
            Ops::Translate,
            Ops::IsNull,
            Ops::SetNull,
            row.printFormat,
            Ops::Print,
            Ops::Scan,
            row.memLen,
            row.isFixed,
            0,
            0,
            Ops::DefaultValue,
            Ops::GetValue,
            nullptr};
}

/// The extension of a type's record. It belongs to the id, so the two tables share it; the older
/// string type alone has one of its own.
template <class Ops>
consteval KoTypeExtension Extend(KoTypeId id)
{
    return {Ops::kTextFormat.empty() ? kTypeRows[id].printFormat : Ops::kTextFormat.data(),
            Ops::Parse,
            Ops::ParseAscii,
            Ops::SortKey,
            Ops::FromSortKey,
            Ops::Validate,
            Ops::Measure,
            Ops::Stamp,
            Ops::kPrintsArray,
            Ops::kIsIntegral,
            Ops::kStepsInEveryForm};
}

#define KO_TYPE_EXTEND(id, idName, descriptor, name, memLen, isFixed, printFormat)                 \
    extern const KoTypeExtension descriptor##Ext;
KO_TYPE_LIST(KO_TYPE_EXTEND)
#undef KO_TYPE_EXTEND

/// The extensions, entry n for id n.
extern const KoTypeExtension* const kTypeExtensions[KoTYPE_COUNT];

#define KO_DEFINE_TYPE(descriptor, Ops, id)                                                        \
    constinit KoTypeDescriptor descriptor = Describe<Ops>(id);                                     \
    extern constinit const KoTypeExtension descriptor##Ext = Extend<Ops>(id);

} // namespace ko

#endif
