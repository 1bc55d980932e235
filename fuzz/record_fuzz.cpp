#include "require.h"

#include <kotms.h>

#include <algorithm>
#include <cstdint>
#include <vector>

// Stored strings and blobs from untrusted bytes: the first byte of the input chooses type, format
// and number of elements, the rest is what is read, damaged or not. The readers stay inside what
// the lengths announce and agree on what is damaged, what they read can be written and read again
// unchanged, and sound elements are written as they were.

namespace
{

using Bytes = std::vector<unsigned char>;

struct Record {
    o_char id;
    unsigned char format;
    unsigned count;
    KoTypeMgr manager{5};

    Bytes Stored(void* elements) const
    {
        Bytes bytes(manager.DiskLenGet(id, elements, format, count, KoFMT_MEMORY));
        Require(manager.Store(id, bytes.data(), elements, format, count) == bytes.size(),
                "as many bytes are written as are announced");
        return bytes;
    }
    int CompareStored(Bytes& a, unsigned bound, Bytes& b, int& status) const
    {
        return manager.Cmp(id, bound, a.data(), 0, b.data(), KoCMP_PLAIN, count, format, status);
    }
};

/// What has to hold of elements that were read as they stand in `bytes`.
void Use(const Record& record, void* elements, Bytes& bytes, bool valid)
{
    const auto& [id, format, count, manager] = record;
    Bytes written = record.Stored(elements);
    if (id == KoBLOB_T)
        Require(written.size() <= bytes.size() &&
                    std::equal(written.begin() + 4, written.end(), bytes.begin() + 4),
                "elements are written as they were");
    else if (valid && written.size() == bytes.size() && count != 0 && bytes.back() == 0xFF)
        Require(written == bytes, "a well-formed record is written as it was");
    void* const again = manager.Create(id, count);
    Require(manager.Load(id, again, written.data(), format, count) == written.size() &&
                record.Stored(again) == written,
            "what is written can be read again");
    int status = 0;
    const int order =
        manager.Cmp(id, 0, elements, 0, again, KoCMP_PLAIN, count, KoFMT_MEMORY, status);
    Require(order == 0, "and is the same");
    manager.Delete(id, again, count);
    Require(record.CompareStored(written, 0, written, status) == 0, "a value equals itself");
    // A null mark of a stored string is no code set.
    if (valid && status == 0)
        Require(manager.Hash(id, 0, written.data(), count, format, status) ==
                    manager.Hash(id, 0, elements, count, KoFMT_MEMORY, status),
                "one hash for both forms");
    // Cut keys agree with the whole as far as they go.
    for (unsigned cut = 1; cut < written.size() && cut < 40; ++cut) {
        Bytes key(written.begin(), written.begin() + cut);
        key.shrink_to_fit();
        Require(record.CompareStored(key, cut, written, status) == 0,
                "a cut key does not differ from its record");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 5)
        return 0;
    const bool isBlob = (data[0] & 8) != 0;
    const Record record{o_char{isBlob ? KoBLOB_T : KoSTRING_T},
                        static_cast<unsigned char>((data[0] & 1) != 0 ? KoFMT_BIG : KoFMT_LITTLE),
                        data[0] >> 1 & 3U};
    const auto& [id, format, count, manager] = record;
    Bytes bytes(data + 1, data + size);
    MemFile file(bytes.data(), bytes.size());
    std::size_t whole = manager.DiskLenGetFromMemFile(id, &file, format, count);
    // A negative total announces nothing after it; what a string announces has to be there.
    if (isBlob && (whole < 4 || whole > 0x80000003))
        whole = 4;
    if (whole > 1 << 16 || (!isBlob && whole > bytes.size()) || (whole == 0 && count != 0))
        return 0;
    // What is missing of a blob is filled up; nothing after the record is there to be read.
    bytes.resize(whole);
    bytes.shrink_to_fit();
    std::size_t at = 0;
    const bool valid = manager.Validate(id, bytes.data(), whole, format, count, at) == KoRC_OK;
    Require(!valid || at == whole, "size in a memory file");
    void* const elements = manager.Create(id, count);
    const unsigned read = manager.Load(id, elements, bytes.data(), format, count);
    Require(read == whole || (isBlob && read == 0 && !valid), "a record is read or damaged");
    int status = 0;
    const int order = record.CompareStored(bytes, 0, bytes, status);
    if (isBlob && count != 0)
        Require(read != 0 ? order == 0 && status == KoRC_OK
                          : order == -1 && status == KoRC_NOT_SUPPORTED,
                "a record equals itself, unless it is damaged");
    if (read == whole)
        Use(record, elements, bytes, valid);
    manager.Delete(id, elements, count);
    return 0;
}
