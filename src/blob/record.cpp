#include "blob/record.h"

#include "core/hasher.h"
#include "core/validate.h"
#include "string/record.h"

#include <koencode.h>
#include <koservices.h>

#include <algorithm>
#include <climits>

namespace ko
{

namespace
{

o_4b Word(const unsigned char* at, unsigned char format)
{
    o_4b word;
    LongStoreOne(&word, at, RecordOrder(format));
    return word;
}

void PutWord(unsigned char* at, o_4b word, unsigned char format)
{
    LongStoreOne(at, &word, RecordOrder(format));
}

const KoBlob* Blobs(const void* array)
{
    return static_cast<const KoBlob*>(array);
}

/// The bytes of an array by its total.
unsigned SizeByTotal(o_4b total)
{
    return (total == kBlobNull ? 0 : static_cast<unsigned>(total)) + kBlobWord;
}

/// The length and then the bytes that are held: zeros at the end count by the length.
void AddHash(Hasher& hasher, const BlobPart& part)
{
    if (part.IsNull())
        return hasher.Add(kHashWordOfNull);
    hasher.Add(HashWord(part.length));
    HashBytes(hasher, part.bytes, part.held);
}

/// The order of two elements of a comparison. `open` where a side was cut before it is known.
int OrderOf(const BlobPart& a, const BlobPart& b, bool& open)
{
    open = false;
    if (a.IsNull() != b.IsNull())
        return a.IsNull() ? -2 : 2;
    if (a.IsNull())
        return 0;
    const auto lengthA = static_cast<std::size_t>(a.length);
    const auto lengthB = static_cast<std::size_t>(b.length);
    const std::size_t held = std::min(a.held, b.held);
    if (held >= std::min(lengthA, lengthB))
        return BlobOrder(a.bytes, lengthA, b.bytes, lengthB);
    const int order = BlobOrder(a.bytes, held, b.bytes, held);
    open = order == 0;
    return order;
}

} // namespace

/// Loading needs to know whether there was memory.
struct BlobLoader {
    static bool Load(KoBlob& blob, const BlobPart& part)
    {
        return blob.Become(part.bytes, part.length);
    }
};

// ---- reading

BlobWalk::BlobWalk(unsigned char format, unsigned bound, const void* value)
    : m_value(static_cast<const unsigned char*>(value)), m_format(format),
      m_least((format & KoFMT_MEMORY) != 0 ? sizeof(KoBlob) : 1),
      m_available(bound == 0 ? SIZE_MAX : bound)
{
    if ((format & KoFMT_MEMORY) != 0)
        return;
    m_at = kBlobWord;
    m_end = SIZE_MAX; // as long as the total is not there to be read
    if (m_available < kBlobWord)
        return;
    m_total = Word(m_value, format);
    m_end = m_total < 0 ? 0 : kBlobWord + static_cast<std::size_t>(m_total);
}

BlobFound BlobWalk::NextInMemory(BlobPart& part)
{
    if (!Continues())
        return BlobFound::kNone;
    const KoBlob& blob = *reinterpret_cast<const KoBlob*>(m_value + m_at);
    m_at += sizeof(KoBlob);
    if (!blob.IsNullValue())
        part = {blob.Seek(0, -1), blob.Length(), static_cast<std::size_t>(blob.Length())};
    return BlobFound::kWhole;
}

BlobFound BlobWalk::Next(BlobPart& part)
{
    part = {};
    if ((m_format & KoFMT_MEMORY) != 0)
        return NextInMemory(part);
    if (m_end < m_at || m_end - m_at < kBlobWord)
        return BlobFound::kBroken;
    if (m_available < m_at || m_available - m_at < kBlobWord)
        return BlobFound::kNone;
    part.length = Word(m_value + m_at, m_format);
    m_at += kBlobWord;
    if (part.IsNull())
        return BlobFound::kWhole;
    if (part.length < 0 || static_cast<std::size_t>(part.length) > m_end - m_at)
        return BlobFound::kBroken;
    const auto length = static_cast<std::size_t>(part.length);
    part.bytes = m_value + m_at;
    part.held = std::min(length, m_available - m_at);
    m_at += length;
    return part.held == length ? BlobFound::kWhole : BlobFound::kCut;
}

unsigned BlobLoad(void* destination, const void* source, unsigned char format, unsigned count)
{
    if (source == nullptr)
        return 0;
    // What is loaded is stored, also under a format byte with KoFMT_MEMORY in it.
    BlobWalk walk(RecordOrder(format), 0, source);
    if (walk.Total() < 0)
        return 0;
    auto* blobs = static_cast<KoBlob*>(destination);
    for (unsigned i = 0; i < count; ++i) {
        BlobPart part;
        if (walk.Next(part) == BlobFound::kBroken)
            return 0;
        if (part.IsNull())
            blobs[i].SetNullValue();
        else if (!BlobLoader::Load(blobs[i], part))
            return 0;
    }
    return SizeByTotal(walk.Total());
}

// ---- writing and measuring

o_u8b BlobBytes(const void* blobs, unsigned char, unsigned count)
{
    o_u8b size = kBlobWord + o_u8b{count} * kBlobWord;
    for (unsigned i = 0; i < count; ++i)
        size += static_cast<unsigned>(Blobs(blobs)[i].Length());
    return size;
}

unsigned BlobStore(void* destination, const void* source, unsigned char format, unsigned count)
{
    const o_u8b total = BlobBytes(source, format, count) - kBlobWord;
    if (total > INT_MAX) {
        KORA_assert("total <= INT_MAX", "src\\koblobrecord", __LINE__);
        return 0;
    }
    auto* at = static_cast<unsigned char*>(destination);
    if (at == nullptr)
        return 0;
    PutWord(at, static_cast<o_4b>(total), format);
    at += kBlobWord;
    for (unsigned i = 0; i < count; ++i) {
        const KoBlob& blob = Blobs(source)[i];
        const int length = blob.Length();
        PutWord(at, blob.IsNullValue() ? kBlobNull : length, format);
        at += kBlobWord;
        if (length != 0)
            std::memcpy(at, blob.Seek(0, length), static_cast<std::size_t>(length));
        at += length;
    }
    return static_cast<unsigned>(total) + kBlobWord;
}

unsigned BlobSizeGet(const void* value, unsigned char valueFormat, unsigned char format,
                     unsigned count)
{
    if ((valueFormat & KoFMT_MEMORY) == 0)
        return value == nullptr
                   ? 0
                   : SizeByTotal(Word(static_cast<const unsigned char*>(value), valueFormat));
    const o_u8b size = BlobBytes(value, format, count);
    return size - kBlobWord > INT_MAX ? 0 : static_cast<unsigned>(size);
}

unsigned BlobFileSize(MemFile* file, unsigned char format, unsigned)
{
    const void* total = file == nullptr ? nullptr : file->Peek(kBlobWord);
    return total == nullptr ? 0
                            : SizeByTotal(Word(static_cast<const unsigned char*>(total), format));
}

// ---- bytes that nobody vouches for

int BlobValidate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                 std::size_t& at)
{
    at = 0;
    if ((format & KoFMT_MEMORY) != 0)
        return KoRC_NOT_SUPPORTED;
    const auto* const record = static_cast<const unsigned char*>(bytes);
    // A number that is too large is wrong from its most significant byte on.
    const std::size_t highest = RecordOrder(format) == KoFMT_BIG ? 0 : kBlobWord - 1;
    if (size < kBlobWord)
        return BytesMissing(size, at);
    const o_4b total = Word(record, format);
    if (total < 0)
        return WrongByte(highest, at);
    const std::size_t end = kBlobWord + static_cast<std::size_t>(total);
    std::size_t offset = kBlobWord;
    for (unsigned i = 0; i < count; ++i) {
        if (end - offset < kBlobWord)
            return WrongByte(0, at); // the total leaves no room for so many
        if (size < offset + kBlobWord)
            return BytesMissing(size, at);
        const o_4b length = Word(record + offset, format);
        offset += kBlobWord;
        if (length == kBlobNull)
            continue;
        if (length < 0 || static_cast<std::size_t>(length) > end - offset)
            return WrongByte(offset - kBlobWord + highest, at);
        offset += static_cast<std::size_t>(length);
        if (offset > size)
            return BytesMissing(size, at);
    }
    // Bytes within the total that belong to no element.
    if (offset != end)
        return offset < size ? WrongByte(offset, at) : BytesMissing(size, at);
    at = end;
    return KoRC_OK;
}

int BlobMeasure(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                std::size_t& at)
{
    if (size < kBlobWord)
        return BytesMissing(size, at);
    const o_4b total = Word(static_cast<const unsigned char*>(bytes), format);
    if (total < 0 || static_cast<std::size_t>(total) < std::size_t{count} * kBlobWord)
        return WrongByte(0, at);
    return ValidateElements(size, static_cast<unsigned>(total) + kBlobWord, 1, at);
}

// ---- comparing and hashing

o_u4b BlobHash(unsigned char format, unsigned length, const void* value, unsigned count,
               int& status)
{
    status = KoRC_OK;
    Hasher hasher;
    if (count == 0)
        return hasher.Get();
    BlobWalk walk(format, length, value);
    for (unsigned i = 0; i < count && status == KoRC_OK; ++i) {
        BlobPart part;
        const BlobFound found = walk.Next(part);
        if (found == BlobFound::kBroken)
            status = KoRC_NOT_SUPPORTED;
        else if (found != BlobFound::kWhole)
            status = KoRC_TRUNCATED;
        if (found == BlobFound::kWhole || found == BlobFound::kCut)
            AddHash(hasher, part);
    }
    return hasher.Get();
}

} // namespace ko

using namespace ko;

int BlobCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                void* value2, unsigned short, unsigned count, int& status)
{
    status = KoRC_OK;
    if (count == 0)
        return 0;
    BlobWalk walk1(format, length1, value1);
    BlobWalk walk2(format, length2, value2);
    for (unsigned i = 0; i < count; ++i) {
        BlobPart a;
        BlobPart b;
        const BlobFound found1 = walk1.Next(a);
        const BlobFound found2 = walk2.Next(b);
        if (found1 == BlobFound::kBroken || found2 == BlobFound::kBroken) {
            status = KoRC_NOT_SUPPORTED;
            return -1;
        }
        if (found1 == BlobFound::kNone || found2 == BlobFound::kNone) {
            status = KoRC_TRUNCATED;
            return 0;
        }
        bool open = false;
        const int order = OrderOf(a, b, open);
        // The step to the next element is tried after the one that decides, too.
        const bool steps = i + 1 == count || (walk1.Continues() && walk2.Continues());
        if (open || (order != 0 && !steps))
            status = KoRC_TRUNCATED;
        if (open || order != 0)
            return order;
    }
    return 0;
}
