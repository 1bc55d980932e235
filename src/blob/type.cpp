#include "blob/record.h"
#include "blob/text.h"
#include "core/element_ops.h"

#include <algorithm>

namespace ko
{

namespace
{

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
};

} // namespace

KO_DEFINE_TYPE(koBlobDescriptor, BlobOps, KoBLOB_T)

} // namespace ko
