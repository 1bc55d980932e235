#include "manager/slot.h"

#include <koencode.h>
#include <koservices.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

// Sort keys, hashes over them, and bytes from strangers.

using namespace ko;

unsigned KoTypeMgr::SortKeyLen(o_char id, const void* value, unsigned char format, unsigned count,
                               unsigned short cmpOp) const
{
    return SortKey(id, nullptr, 0, value, format, count, cmpOp);
}

unsigned KoTypeMgr::SortKey(o_char id, void* key, unsigned room, const void* value,
                            unsigned char format, unsigned count, unsigned short cmpOp) const
{
    return ExtensionOf(*m_table, id).sortKey(key, room, value, format, count, cmpOp);
}

int KoTypeMgr::FromSortKey(o_char id, void* value, const void* key, unsigned length, unsigned count,
                           unsigned short cmpOp) const
{
    return ExtensionOf(*m_table, id).fromSortKey(value, key, length, count, cmpOp);
}

o_u8b KoTypeMgr::HashUnder(o_char id, const void* value, unsigned char format, unsigned count,
                           unsigned short cmpOp) const
{
    // Most keys are short; only a longer one is made a second time.
    unsigned char room[1024];
    const unsigned length = SortKey(id, room, sizeof room, value, format, count, cmpOp);
    if (length == 0)
        return 0;
    if (length <= sizeof room)
        return XXH3_64bits(room, length);
    void* const key = KoAlloc(length);
    if (key == nullptr) {
        KoCallMemoryHandler(length);
        return 0;
    }
    SortKey(id, key, length, value, format, count, cmpOp);
    const o_u8b hash = XXH3_64bits(key, length);
    KoFree(key);
    return hash;
}

int KoTypeMgr::Validate(o_char id, const void* bytes, std::size_t size, unsigned char format,
                        unsigned count, std::size_t& at) const
{
    return ExtensionOf(*m_table, id)
        .validate(bytes, bytes != nullptr ? size : 0, format, count, at);
}

unsigned KoTypeMgr::DiskLenGet(o_char id, const void* bytes, std::size_t size, unsigned char format,
                               unsigned count, int& status) const
{
    const KoTypeDescriptor& type = TypeOf(*m_table, id);
    MemFile file(bytes, size);
    const unsigned length = DiskLenGetFromMemFile(id, &file, format, count);
    // A file without enough bytes has 0; so have no elements, but for the total before an array.
    const bool none = count == 0 && Slot(type, &KoTypeDescriptor::nullSizeGet)(0) == 0;
    const bool inside = length <= file.Size() && (length != 0 || none || type.memLen == 0);
    status = inside ? KoRC_OK : KoRC_TRUNCATED;
    return status == KoRC_OK ? length : 0;
}
