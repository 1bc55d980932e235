#include "manager/slot.h"

#include <koencode.h>
#include <koservices.h>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <limits>

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
    std::size_t end = 0;
    status =
        ExtensionOf(*m_table, id).measure(bytes, bytes != nullptr ? size : 0, format, count, end);
    // More than the result holds is as bad as more than there is.
    if (status == KoRC_OK && end > std::numeric_limits<unsigned>::max())
        status = KoRC_TRUNCATED;
    return status == KoRC_OK ? static_cast<unsigned>(end) : 0;
}
