#include "page_end.h"
#include "require.h"

#include <kotms.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

// Sort keys of any type: the first bytes of the input choose type and operator word and where the
// rest is divided. Its parts are two values, as persistent bytes or, where the type has texts of
// any length, as texts; they compare as their keys do. The rest is also read as a key.

namespace
{

using Key = std::vector<unsigned char>;

Key KeyOf(const KoTypeMgr& manager, o_char id, const void* value, unsigned char format,
          unsigned short word)
{
    Key key(manager.SortKeyLen(id, value, format, 1, word));
    manager.SortKey(id, key.data(), static_cast<unsigned>(key.size()), value, format, 1, word);
    return key;
}

/// A value of the type, stored least significant byte first; empty where the bytes make none.
Key ValueOf(KoTypeMgr& manager, o_char id, const std::uint8_t* data, std::size_t size)
{
    Key stored;
    if (manager.IsFixed(id) != 0) {
        std::size_t at = 0;
        if (manager.Validate(id, data, size, KoFMT_LITTLE, 1, at) == KoRC_OK)
            stored.assign(data, data + at);
        return stored;
    }
    if (size == 0)
        return stored;
    // The first byte names the code set: none would be in no order with the others.
    auto* const text = static_cast<KoString*>(manager.Create(KoSTRING_T, 1));
    *text = KoString(reinterpret_cast<const char*>(data + 1),
                     static_cast<unsigned short>(std::min<std::size_t>(size - 1, 1000)));
    const auto narrow = static_cast<unsigned char>(std::max(data[0] / 4, 1));
    text->SetCodeSet(data[0] % 2 == 0 ? static_cast<unsigned char>(KoCS_UNICODE) : narrow);
    if (data[0] % 5 == 0)
        text->SetLanguage(KoLANG_CHINESE);
    KoTypeConvertData* const record = KoTypeConvertData::Make(KoSTRING_T, 1, text, &manager);
    void* const value = manager.ConvertFrom(id, record, 1);
    delete record;
    stored.resize(manager.DiskLenGet(id, value, KoFMT_LITTLE, 1, KoFMT_MEMORY));
    manager.Store(id, stored.data(), value, KoFMT_LITTLE, 1);
    manager.Delete(id, value, 1);
    return stored;
}

int Sign(int order)
{
    return (order > 0) - (order < 0);
}

void Compare(const KoTypeMgr& manager, o_char id, Key& a, Key& b, unsigned short word)
{
    const Key keyA = KeyOf(manager, id, a.data(), KoFMT_LITTLE, word);
    const Key keyB = KeyOf(manager, id, b.data(), KoFMT_LITTLE, word);
    if (keyA.empty() || keyB.empty())
        return;
    int order = std::memcmp(keyA.data(), keyB.data(), std::min(keyA.size(), keyB.size()));
    Require(order != 0 || keyA.size() == keyB.size(), "no key begins another");
    order = Sign(order);
    Require(Sign(manager.Cmp(id, a.data(), b.data(), word, 1, KoFMT_LITTLE)) == order &&
                Sign(manager.Cmp(id, b.data(), a.data(), word, 1, KoFMT_LITTLE)) == -order,
            "keys order as values do");
}

void ReadKey(const KoTypeMgr& manager, o_char id, const std::uint8_t* data, std::size_t size,
             unsigned short word)
{
    const PageEnd key(data, size);
    void* const value = manager.Create(id, 1);
    if (manager.FromSortKey(id, value, key.Bytes(), static_cast<unsigned>(size), 1, word) ==
        KoRC_OK) {
        const Key again = KeyOf(manager, id, value, KoFMT_MEMORY, word);
        Require(again.size() == size && std::equal(again.begin(), again.end(), data),
                "a key that is read is the key of its value");
    }
    manager.Delete(id, value, 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    static KoTypeMgr manager(5);
    const auto id = static_cast<o_char>(data[0] % KoTYPE_COUNT);
    if (id == KoRES_T)
        return 0;
    const auto word = static_cast<unsigned short>((data[1] & 0xF0) | (data[1] & 3) << 8);
    const std::size_t split = std::min<std::size_t>(data[2], size - 3);
    data += 3;
    size -= 3;
    ReadKey(manager, id, data, size, word);
    Key a = ValueOf(manager, id, data, split);
    Key b = ValueOf(manager, id, data + split, size - split);
    if (!a.empty() && !b.empty())
        Compare(manager, id, a, b, word);
    return 0;
}
