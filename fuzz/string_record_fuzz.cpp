#include "require.h"

#include <kotms.h>

#include <cstdint>
#include <cstring>
#include <vector>

// Stored strings from untrusted bytes: the first byte of the input chooses the format and the
// number of strings, the rest is what is read. Whatever it is, the readers stay inside the records
// that the length fields name, what they read can be written and read again unchanged, and a
// well-formed record is written as it was.

namespace
{

unsigned Length(const unsigned char* record, unsigned char format)
{
    return format == KoFMT_BIG ? record[0] * 256U + record[1] : record[1] * 256U + record[0];
}

/// The bytes of `count` records, or 0 where they do not all lie inside.
std::size_t RecordBytes(const std::vector<unsigned char>& bytes, unsigned char format,
                        unsigned count, bool& wellFormed)
{
    std::size_t at = 0;
    wellFormed = true;
    for (unsigned i = 0; i < count; ++i) {
        if (at + 2 > bytes.size())
            return 0;
        const unsigned length = Length(&bytes[at], format);
        const std::size_t end = at + 2 + length;
        if (end > bytes.size())
            return 0;
        const bool older = bytes[end - 1] == 0x00;
        wellFormed =
            wellFormed && !older && length >= 4 && bytes[end - 1] == 0xFF && bytes[end - 2] == 0x00;
        if (wellFormed)
            wellFormed = bytes[at + 2] < 225 || length % 2 == 0;
        if (i == 0 && older)
            return end;
        at = end;
    }
    return at;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const unsigned char format = (data[0] & 1) != 0 ? KoFMT_BIG : KoFMT_LITTLE;
    const unsigned count = data[0] >> 1 & 3;
    std::vector<unsigned char> bytes(data + 1, data + size);
    bool wellFormed;
    const std::size_t whole = RecordBytes(bytes, format, count, wellFormed);
    KoTypeMgr manager(5);
    MemFile file(bytes.data(), bytes.size());
    const unsigned inFile = manager.DiskLenGetFromMemFile(KoSTRING_T, &file, format, count);
    if (whole == 0) {
        Require(count == 0 || inFile == 0 || inFile >= 65535, "records outside are too large");
        return 0;
    }
    // Nothing after the records is there to be read.
    bytes.resize(whole);
    bytes.shrink_to_fit();
    Require(inFile == whole, "size in a memory file");
    Require(StringSizeGet(bytes.data(), 0, format, count) == whole, "size of records");
    std::vector<KoString> texts(count);
    Require(StringLoad(texts.data(), bytes.data(), format, count) == whole, "bytes read");

    const unsigned needed = StringSizeGet(texts.data(), KoFMT_MEMORY, format, count);
    std::vector<unsigned char> written(needed);
    Require(StringStore(written.data(), texts.data(), format, count) == needed, "bytes written");
    Require(!wellFormed || written == bytes, "a well-formed record is written as it was");
    std::vector<KoString> again(count);
    StringLoad(again.data(), written.data(), format, count);
    for (unsigned i = 0; i < count; ++i) {
        // Not by ==, to which an escape in a text means something.
        Require(again[i].IsNullValue() == texts[i].IsNullValue() &&
                    again[i].Compare(texts[i], KoString::kRest, KoCMP_PLAIN) == 0,
                "written strings are read again");
    }

    int status;
    Require(StringCompare(format, 0, written.data(), needed, written.data(), KoCMP_PLAIN, count,
                          status) == 0,
            "a string equals itself");
    // Both forms have one order and one hash; a null mark of a stored string is no code set.
    if (wellFormed && status == 0) {
        const unsigned hash =
            manager.Hash(KoSTRING_T, needed, written.data(), count, format, status);
        Require(manager.Hash(KoSTRING_T, 0, texts.data(), count, KoFMT_MEMORY, status) == hash,
                "one hash for both forms");
    }
    // Cut keys of every length up to a small one.
    for (unsigned cut = 1; cut < needed && cut < 40; ++cut) {
        std::vector<unsigned char> key(written.begin(), written.begin() + cut);
        key.shrink_to_fit();
        const int order = StringCompare(format, cut, key.data(), needed, written.data(),
                                        KoCMP_PLAIN, count, status);
        Require(order == 0, "a cut key does not differ from its record");
    }
    return 0;
}
