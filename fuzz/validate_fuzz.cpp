#include "require.h"
#include "support/page_end.h"

#include <kotms.h>

#include <algorithm>
#include <cstdint>
#include <vector>

// Bytes from strangers as values of any type. The first five bytes of the input choose table and
// type, format, number of elements and operator word, the rest is what is looked at. Whatever it
// is, comparing and hashing keep to their bounds, and its length is measured within them. What is
// accepted is handed to every call that reads bytes, at the end of a page, and nothing may be read
// beyond; what is stored again is accepted as well. What the accepted bytes leave is compared with
// them, as it is.

namespace
{

struct Input {
    KoTypeMgr manager;
    o_char id;
    bool compat;
    unsigned char format;
    unsigned count;
    unsigned short word;

    bool InMemory() const { return (format & KoFMT_MEMORY) != 0; }
    bool IsCurrentString() const { return id == KoSTRING_T && !compat; }
};

constexpr std::size_t kHead = 5;

Input ReadHead(const std::uint8_t* data)
{
    Input in{};
    in.compat = (data[0] & 0x80) != 0;
    in.manager.SetFactory(in.compat ? 3 : 5);
    in.id = static_cast<o_char>((data[0] & 0x7F) % KoTYPE_COUNT);
    in.format = data[1];
    // Above 127 are numbers about the powers of two, whose sizes wrap round in 32 bits.
    in.count = data[2];
    if (data[2] > 127)
        in.count = (1U << (data[2] & 31)) + (data[2] >> 5 & 3U);
    in.word = static_cast<unsigned short>(data[3] | data[4] << 8);
    return in;
}

/// Bounded calls, whatever the bytes are.
void UseWithinBounds(Input in, PageEnd& bytes, std::size_t size, PageEnd& other,
                     std::size_t otherSize)
{
    // The bytes of texts and blobs in memory would be addresses.
    const bool owns = in.manager.IsFixed(in.id) == 0;
    const std::size_t whole = in.manager.MemLenGet(in.id, 1);
    if (in.InMemory() && owns && (size >= whole || otherSize >= whole))
        return;
    const unsigned count = std::min(in.count, 1000U);
    const auto a = static_cast<unsigned>(size);
    const auto b = static_cast<unsigned>(otherSize);
    int status = 0;
    if (a != 0) {
        in.manager.Hash(in.id, a, bytes.Bytes(), count, in.format, status);
        in.manager.Cmp(in.id, a, bytes.Bytes(), a, bytes.Bytes(), in.word, count, in.format,
                       status);
    }
    if (a != 0 && b != 0) {
        in.manager.Cmp(in.id, a, bytes.Bytes(), b, other.Bytes(), in.word, count, in.format,
                       status);
        in.manager.Cmp(in.id, b, other.Bytes(), a, bytes.Bytes(), in.word, count, in.format,
                       status);
    }
}

/// Loads valid bytes, and stores and translates what they are.
void Load(Input& in, unsigned char* bytes, unsigned length)
{
    void* const values = in.manager.Create(in.id, in.count);
    const unsigned read = in.manager.Load(in.id, values, bytes, in.format, in.count);
    if (!in.InMemory()) {
        Require(read == length, "what is loaded is what was validated");
        std::vector<unsigned char> again(
            in.manager.DiskLenGet(in.id, values, in.format, in.count, KoFMT_MEMORY));
        const unsigned written = in.manager.Store(in.id, again.data(), values, in.format, in.count);
        Require(written <= again.size(), "there is room for what is stored");
        std::size_t at = 0;
        const int result =
            in.manager.Validate(in.id, again.data(), written, in.format, in.count, at);
        Require(result == KoRC_OK && at == written, "what is stored is valid");
        std::vector<unsigned char> copy(length);
        in.manager.Translate(in.id, copy.data(), in.format, length, bytes, in.format, length,
                             in.count);
    }
    KoString text;
    in.manager.PrintToKoString(in.id, text, values, nullptr, in.count);
    in.manager.Translate(in.id, values, KoFMT_MEMORY, 0, bytes, in.format, length, in.count);
    in.manager.Delete(in.id, values, in.count);
}

/// Every call that reads `size` valid bytes.
void Use(Input in, unsigned char* bytes, std::size_t size)
{
    const auto length = static_cast<unsigned>(size);
    int status = 0;
    for (const unsigned bound : {0U, length, (length + 1) / 2}) {
        if (size == 0)
            break;
        in.manager.Cmp(in.id, bound, bytes, bound, bytes, in.word, in.count, in.format, status);
        in.manager.Hash(in.id, bound, bytes, in.count, in.format, status);
    }
    std::vector<unsigned char> key(
        in.manager.SortKeyLen(in.id, bytes, in.format, in.count, in.word));
    in.manager.SortKey(in.id, key.data(), static_cast<unsigned>(key.size()), bytes, in.format,
                       in.count, in.word);
    in.manager.HashUnder(in.id, bytes, in.format, in.count, in.word);
    if (in.count != 0) {
        KoIdxBounds bounds{bytes, bytes, 0, 0};
        unsigned short op = in.word;
        in.manager.EvalAndBound(in.id, &bounds, op, bytes, in.format, in.count, nullptr, nullptr);
    }
    MemFile file(bytes, size);
    in.manager.DiskLenGetFromMemFile(in.id, &file, in.format, in.count);
    // The two exceptions that Validate names.
    if (!in.IsCurrentString() || (in.format & KoFMT_KEY) == 0 || in.count < 2)
        in.manager.DiskLenGet(in.id, bytes, in.format, in.count, in.format);
    if (!in.IsCurrentString() || in.count != 0)
        Load(in, bytes, length);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < kHead)
        return 0;
    const Input in = ReadHead(data);
    if (in.manager.MemLenGet(in.id, 1) == 0)
        return 0;
    data += kHead;
    size -= kHead;
    PageEnd whole(data, size);
    std::size_t at = size + 1;
    const int result = in.manager.Validate(in.id, whole.Bytes(), size, in.format, in.count, at);
    Require(result == KoRC_DAMAGED ? at < size : at <= size, "the place is inside");
    Require(result != KoRC_TRUNCATED || at == size, "the first missing byte is behind the last");

    int status = 0;
    const unsigned measured =
        in.manager.DiskLenGet(in.id, whole.Bytes(), size, in.format, in.count, status);
    Require(status == KoRC_OK ? measured <= size : measured == 0, "the length is within the bound");
    if (!in.InMemory()) {
        Require(result != KoRC_TRUNCATED || status != KoRC_OK, "what ends too early has no length");
        Require(result != KoRC_OK || (status == KoRC_OK && measured == at),
                "the length of valid bytes");
    }
    const std::size_t taken = result == KoRC_OK ? at : size / 2;
    PageEnd first(data, taken);
    PageEnd second(data + taken, size - taken);
    UseWithinBounds(in, first, taken, second, size - taken);
    if (result == KoRC_OK)
        Use(in, first.Bytes(), taken);
    return 0;
}
