#include "require.h"

#include <kotms.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

// Stored blobs from untrusted bytes: the first byte of the input chooses the format and the number
// of elements, the rest is what is read. Loading agrees with a plain reading of the layout, touches
// nothing outside what the total announces, and keeps the elements after the damage; what it reads
// is written as it was.

namespace
{

constexpr char kKept[] = "kept";

o_8b Word(const unsigned char* at, unsigned char format)
{
    o_u4b word = 0;
    for (int i = 0; i < 4; ++i)
        word |= static_cast<o_u4b>(at[format == KoFMT_BIG ? 3 - i : i]) << (8 * i);
    return static_cast<o_4b>(word);
}

/// The elements that a sound beginning of the record has; `sound` when that is all of `count`.
std::vector<KoBlob> Elements(const std::vector<unsigned char>& record, unsigned char format,
                             unsigned count, bool& sound, std::size_t& used)
{
    std::vector<KoBlob> found;
    std::size_t at = 4;
    while (found.size() < count && at + 4 <= record.size()) {
        const o_8b length = Word(&record[at], format);
        if (length < -1 || length > static_cast<o_8b>(record.size() - at - 4))
            break;
        at += 4;
        if (length < 0) {
            found.emplace_back().SetNullValue();
            continue;
        }
        found.emplace_back(record.data() + at, static_cast<int>(length));
        at += static_cast<std::size_t>(length);
    }
    sound = found.size() == count;
    used = at;
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 5)
        return 0;
    const KoTypeMgr manager(5);
    const unsigned char format = (data[0] & 1) != 0 ? KoFMT_BIG : KoFMT_LITTLE;
    const unsigned count = data[0] >> 1 & 3;
    const o_8b total = Word(data + 1, format);
    MemFile file(data + 1, size - 1);
    Require(manager.DiskLenGetFromMemFile(KoBLOB_T, &file, format, count) ==
                static_cast<unsigned>(total == -1 ? 4 : total + 4),
            "size in a memory file");
    // The record is what the total announces: where the input is shorter it is filled up, and
    // nothing after it is there to be read.
    if (total > 1 << 16)
        return 0;
    const std::size_t whole = total < 0 ? 4 : 4 + static_cast<std::size_t>(total);
    std::vector<unsigned char> record(whole);
    record.shrink_to_fit();
    std::memcpy(record.data(), data + 1, std::min(whole, size - 1));

    bool sound = false;
    std::size_t used = 0;
    const std::vector<KoBlob> expected = Elements(record, format, count, sound, used);
    std::vector<KoBlob> blobs(count, KoBlob(kKept, 4));
    const unsigned read = manager.Load(KoBLOB_T, blobs.data(), record.data(), format, count);
    sound = sound && total >= 0;
    Require(read == (sound ? whole : 0), "bytes read");
    for (unsigned i = 0; i < count; ++i)
        Require(blobs[i] == (i < expected.size() ? expected[i] : KoBlob(kKept, 4)),
                "what is loaded, and what stays");

    int status = 0;
    const int order = BlobCompare(format, 0, record.data(), 0, record.data(), 0, count, status);
    Require(sound || count == 0 ? order == 0 && status == KoRC_OK
                                : order == -1 && status == KoRC_NOT_SUPPORTED,
            "a record equals itself, unless it is damaged");
    const unsigned hash = manager.Hash(KoBLOB_T, 0, record.data(), count, format, status);
    if (!sound)
        return 0;
    Require(manager.Hash(KoBLOB_T, 0, blobs.data(), count, KoFMT_MEMORY, status) == hash,
            "one hash for both forms");

    const unsigned needed = manager.DiskLenGet(KoBLOB_T, blobs.data(), format, count, KoFMT_MEMORY);
    std::vector<unsigned char> written(needed);
    Require(manager.Store(KoBLOB_T, written.data(), blobs.data(), format, count) == needed,
            "bytes written");
    Require(needed == used && std::equal(written.begin() + 4, written.end(), record.begin() + 4),
            "elements are written as they were");
    // Cut keys agree with the whole as far as they go.
    for (unsigned cut = 1; cut < needed && cut < 40; ++cut) {
        std::vector<unsigned char> key(written.begin(), written.begin() + cut);
        key.shrink_to_fit();
        const int cutOrder =
            BlobCompare(format, cut, key.data(), needed, written.data(), 0, count, status);
        Require(cutOrder == 0, "a cut key does not differ from its record");
    }
    // Their text is read again, too.
    for (KoBlob& blob : blobs) {
        KoString text;
        manager.PrintToKoString(KoBLOB_T, text, &blob, "%L:%x", 1);
        KoBlob again;
        unsigned errorAt = 0;
        Require(blob.Length() > 32000 ||
                    manager.ParseFromKoString(KoBLOB_T, &again, text, "%L:%X", errorAt) == 0,
                "printed text is read");
        Require(blob.Length() > 32000 || again == blob, "and gives the same blob");
    }
    return 0;
}
