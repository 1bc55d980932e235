#ifndef KO_TEST_SUPPORT_KEYS_H
#define KO_TEST_SUPPORT_KEYS_H

#include "support/fixtures.h"

inline std::string Hex(const Bytes& bytes)
{
    return data::FormatBytes(bytes);
}

/// The sort key, made in a room of its length beyond which nothing is written.
inline Bytes Key(const KoTypeMgr& manager, o_char id, const void* value, unsigned char format,
                 unsigned count, o_u2b word)
{
    const unsigned length = manager.SortKeyLen(id, value, format, count, word);
    Bytes key(length + 1, 0xA5);
    EXPECT_EQ(manager.SortKey(id, key.data(), length, value, format, count, word), length);
    EXPECT_EQ(key.back(), 0xA5) << "written beyond the room";
    key.pop_back();
    return key;
}

#endif
