#include "blob/record.h"
#include "blob/text.h"
#include "core/element_ops.h"
#include "core/sort_key.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace ko
{

namespace
{

constexpr unsigned char kKeyOfNull = 0x00;
constexpr unsigned char kKeyOfBytes = 0x01;
constexpr unsigned char kKeyEscape = 0x00;
constexpr unsigned char kKeyZero = 0xFF; ///< after the escape: a byte 0
constexpr unsigned char kKeyEnd = 0x00;  ///< after the escape: no more bytes

void PutKeyBytes(KeySink& sink, const unsigned char* bytes, std::size_t count)
{
    const unsigned char* const end = bytes + count;
    while (bytes != end) {
        const void* found = std::memchr(bytes, 0, static_cast<std::size_t>(end - bytes));
        const auto* zero = found != nullptr ? static_cast<const unsigned char*>(found) : end;
        sink.Put(bytes, static_cast<std::size_t>(zero - bytes));
        bytes = zero;
        if (zero != end) {
            sink.Put(kKeyEscape);
            sink.Put(kKeyZero);
            ++bytes;
        }
    }
    sink.Put(kKeyEscape);
    sink.Put(kKeyEnd);
}

/// The key of one blob at the start of `left` bytes: its length, 0 where there is none, and the
/// number of the blob's bytes, kBlobNull for null.
unsigned MeasureKey(const unsigned char* key, unsigned left, o_4b& bytes)
{
    bytes = kBlobNull;
    if (left == 0 || *key > kKeyOfBytes)
        return 0;
    if (*key == kKeyOfNull)
        return 1;
    o_u8b count = 0;
    for (unsigned at = 1; at + 1 < left; ++at, ++count) {
        if (key[at] != kKeyEscape)
            continue;
        ++at;
        if (key[at] == kKeyEnd) {
            bytes = static_cast<o_4b>(count);
            return count <= INT_MAX ? at + 1 : 0;
        }
        if (key[at] != kKeyZero)
            return 0;
    }
    return 0;
}

/// Makes `blob` the bytes of a key that MeasureKey measured; false without memory.
bool ReadKey(KoBlob& blob, const unsigned char* key, o_4b bytes)
{
    if (bytes == kBlobNull) {
        blob.SetNullValue();
        return true;
    }
    KoBlob read(bytes);
    if (read.Length() != bytes || read.IsNullValue())
        return false;
    unsigned char* out = bytes == 0 ? nullptr : read.Seek(0, bytes);
    for (++key; bytes > 0; --bytes) {
        *out++ = *key;
        key += *key == kKeyEscape ? 2 : 1;
    }
    blob.Destroy(read);
    return true;
}

struct BlobOps : ElementOps<KoBlob, BlobOps, KoBLOB_T> {
    using Base = ElementOps<KoBlob, BlobOps, KoBLOB_T>;

    static constexpr auto Store = BlobStore;
    static constexpr auto Load = BlobLoad;
    static constexpr auto SizeGet = BlobSizeGet;
    static constexpr auto Bytes = BlobBytes;
    static constexpr auto SizeGetFromMemFile = BlobFileSize;
    static constexpr auto Cmp = BlobCompare;

    /// A count of 0 asks for one blob, in both.
    static void* Create(unsigned count) { return Base::Create(std::max(count, 1U)); }
    static void* Destroy(void* array, unsigned count)
    {
        return Base::Destroy(array, std::max(count, 1U));
    }

    /// The values that this counts are empty blobs.
    static unsigned NullSizeGet(unsigned count) { return kBlobWord + count * kBlobWord; }

    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return BlobHash(format, length, value, count, status);
    }

    static unsigned Translate(void* destination, unsigned char destinationFormat,
                              unsigned destinationLength, void* source, unsigned char sourceFormat,
                              unsigned sourceLength, unsigned count)
    {
        return TranslateRecords<BlobOps>(destination, destinationFormat, destinationLength, source,
                                         sourceFormat, sourceLength, count);
    }

    /// Blobs have no place on an axis: any share may be meant.
    static float EvalAndBound(KoIdxBounds*, unsigned short&, void*, unsigned char, unsigned,
                              KoIdxBounds*)
    {
        return 1.0F;
    }

    /// Null is 0. Other blobs are 1 and their bytes, in which 0 is written as 0 and 255, and two
    /// zeros: a blob that begins another one comes before it.
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        KeySink sink(key, room);
        BlobWalk walk(format, 0, value);
        for (unsigned i = 0; i < count; ++i) {
            BlobPart part;
            if (walk.Next(part) != BlobFound::kWhole)
                return 0; // a damaged record has no order
            sink.Put(part.IsNull() ? kKeyOfNull : kKeyOfBytes);
            if (!part.IsNull())
                PutKeyBytes(sink, part.bytes, part.held);
        }
        return sink.Length();
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short);
    static int Validate(const void* bytes, std::size_t size, unsigned char format, unsigned count,
                        std::size_t& at)
    {
        return BlobValidate(bytes, size, format, count, at);
    }

    static constexpr auto Measure = BlobMeasure;

    /// No record where the digits of a blob do not fit a text: they would be those of another one.
    static KoTypeConvertData* ConvertTo(void* value, unsigned count)
    {
        const auto* blobs = static_cast<const KoBlob*>(value);
        const bool fits = std::all_of(blobs, blobs + count, [](const KoBlob& blob) {
            return blob.Length() <= kBlobMostInText;
        });
        return fits ? Base::ConvertTo(value, count) : nullptr;
    }

    static KoString ToText(const KoBlob& blob)
    {
        KoString text;
        if (blob.IsNullValue())
            text.SetNullValue();
        else
            PrintBlob(text, blob, "%X");
        return text;
    }
    static void FromText(KoBlob& blob, const KoString* text)
    {
        if (text == nullptr)
            blob.SetNullValue();
        else
            ScanBlob(blob, *text, nullptr);
    }
    static constexpr auto PrintOne = PrintBlob;
    static constexpr auto ScanOne = ScanBlob;
    static constexpr auto ParseOne = ParseBlob;
    static constexpr std::string_view kTextFormat = "%X";
};

int BlobOps::FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                         unsigned short)
{
    const auto* const bytes = static_cast<const unsigned char*>(key);
    const unsigned end = key != nullptr ? length : 0;
    for (const bool assigns : {false, true}) {
        unsigned at = 0;
        for (unsigned i = 0; i < count; ++i) {
            o_4b size = kBlobNull;
            const unsigned taken = MeasureKey(bytes + at, end - at, size);
            if (taken == 0)
                return KoRC_DAMAGED;
            if (assigns && !ReadKey(static_cast<KoBlob*>(value)[i], bytes + at, size))
                return KoRC_NO_MEMORY;
            at += taken;
        }
        if (at != length)
            return KoRC_DAMAGED;
    }
    return KoRC_OK;
}

} // namespace

KO_DEFINE_TYPE(koBlobDescriptor, BlobOps, KoBLOB_T)

} // namespace ko
