#include "page_end.h"
#include "require.h"

#include <kotms.h>

#include <cstdint>
#include <vector>

// Bytes from strangers as values of any type: the first three bytes of the input choose type, form
// and number of elements, and the operator word, the rest is what is validated. What is accepted is
// handed to every call that reads persistent bytes, at the end of a page, and nothing may be read
// beyond; what is stored again is accepted as well.

namespace
{

struct Input {
    o_char id;
    unsigned char format;
    unsigned count;
    unsigned short word;
};

/// Every call that reads `size` valid bytes.
void Use(const KoTypeMgr& constManager, const Input& in, unsigned char* bytes, std::size_t size)
{
    KoTypeMgr manager = constManager;
    const auto length = static_cast<unsigned>(size);
    int status = 0;
    Require(manager.DiskLenGet(in.id, bytes, size, in.format, in.count, status) == size &&
                status == KoRC_OK,
            "the length within a bound");
    for (const unsigned bound : {0U, length, (length + 1) / 2}) {
        if (size == 0)
            break;
        manager.Cmp(in.id, bound, bytes, bound, bytes, in.word, in.count, in.format, status);
        manager.Hash(in.id, bound, bytes, in.count, in.format, status);
    }
    manager.DiskLenGet(in.id, bytes, in.format, in.count, in.format);
    std::vector<unsigned char> key(manager.SortKeyLen(in.id, bytes, in.format, in.count, in.word));
    manager.SortKey(in.id, key.data(), static_cast<unsigned>(key.size()), bytes, in.format,
                    in.count, in.word);
    manager.HashUnder(in.id, bytes, in.format, in.count, in.word);

    // Loading no strings looks at the record that is there, of which nothing was validated.
    if (in.count == 0)
        return;
    void* const values = manager.Create(in.id, in.count);
    Require(manager.Load(in.id, values, bytes, in.format, in.count) == size,
            "what is loaded is what was validated");
    KoString text;
    manager.PrintToKoString(in.id, text, values, nullptr, in.count);
    std::vector<unsigned char> again(
        manager.DiskLenGet(in.id, values, in.format, in.count, KoFMT_MEMORY));
    manager.Store(in.id, again.data(), values, in.format, in.count);
    std::size_t at = 0;
    Require(manager.Validate(in.id, again.data(), again.size(), in.format, in.count, at) ==
                    KoRC_OK &&
                at == again.size(),
            "what is stored is valid");
    manager.Translate(in.id, values, KoFMT_MEMORY, 0, bytes, in.format, length, in.count);
    manager.Delete(in.id, values, in.count);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    static const KoTypeMgr manager(5);
    const Input in{static_cast<o_char>(data[0] % KoTYPE_COUNT),
                   static_cast<unsigned char>((data[1] & 1) != 0 ? KoFMT_BIG : KoFMT_LITTLE),
                   static_cast<unsigned>(data[1] >> 1 & 3),
                   static_cast<unsigned short>((data[2] & 0xF0) | (data[2] & 3) << 8)};
    if (in.id == KoRES_T)
        return 0;
    data += 3;
    size -= 3;
    const PageEnd whole(data, size);
    std::size_t at = size + 1;
    const int result = manager.Validate(in.id, whole.Bytes(), size, in.format, in.count, at);
    Require(result == KoRC_DAMAGED ? at < size : at <= size, "the place is inside");
    Require(result != KoRC_TRUNCATED || at == size, "the first missing byte is behind the last");
    if (result != KoRC_OK)
        return 0;
    const PageEnd valid(data, at);
    Use(manager, in, valid.Bytes(), at);
    return 0;
}
