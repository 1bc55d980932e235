#include "core/record.h"

namespace ko
{

namespace
{

/// The current table up to `count` entries, with `string` as the type of texts.
constexpr KoTypeTable MakeTable(int count, KoTypeDescriptor* string)
{
    KoTypeTable table = {{
#define KO_TYPE_ENTRY(id, idName, descriptor, name, memLen, isFixed, printFormat) &descriptor,
        KO_TYPE_LIST(KO_TYPE_ENTRY)
#undef KO_TYPE_ENTRY
    }};
    table.entry[KoSTRING_T] = string;
    for (int slot = count; slot < KoTYPE_COUNT; ++slot)
        table.entry[slot] = nullptr;
    return table;
}

} // namespace

KO_DEFINE_TYPE(koReservedDescriptor, NoOps, KoRES_T)

constinit const KoTypeExtension* const kTypeExtensions[KoTYPE_COUNT] = {
#define KO_TYPE_EXTENSION(id, idName, descriptor, name, memLen, isFixed, printFormat)              \
    &descriptor##Ext,
    KO_TYPE_LIST(KO_TYPE_EXTENSION)
#undef KO_TYPE_EXTENSION
};

} // namespace ko

using namespace ko;

constinit const KoTypeTable koCurrentTypeTable = MakeTable(KoTYPE_COUNT, &koStringDescriptor);
constinit const KoTypeTable koCompatTypeTable =
    MakeTable(KoTYPE_COUNT_COMPAT, &koOldStringDescriptor);
