#include <koversion.h>

#include "core/bounds.h"
#include "core/bytes.h"
#include "core/element_ops.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"
#include "number/string_number.h"

#include <koencode.h>

#include <charconv>

namespace ko
{

namespace
{

/// Reads as many of "12.0.2" as stand at the beginning of a text: how many characters they take. A
/// version is whole when all three were there.
std::size_t ReadVersion(const char* text, std::size_t length, KoVersion& version, bool& whole)
{
    o_u2b numbers[3] = {};
    const char* at = text;
    whole = false;
    for (unsigned i = 0; i < 3; ++i) {
        const auto [end, error] = std::from_chars(at, text + length, numbers[i]);
        if (error != std::errc())
            break;
        at = end;
        whole = i == 2;
        if (whole || at == text + length || *at != '.')
            break;
        ++at;
    }
    version = KoVersion(numbers[0], numbers[1], numbers[2]);
    return static_cast<std::size_t>(at - text);
}

struct VersionOps : ElementOps<KoVersion, VersionOps, KoVERSION_T> {
    static constexpr unsigned kNumbers = 3;
    static constexpr unsigned kSize = 2 * kNumbers;

    // The persistent form, and how many bytes of it there are.
    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return ShortStore(destination, source, format, count * kNumbers);
    }
    static constexpr KoStoreFunc Load = Store;
    static unsigned FormSize(unsigned char) { return kSize; }

    // Order, hash and sort key go by one number; any bytes are a version, so that validation needs
    // nothing of its own.
    static o_u8b NumberAt(const unsigned char* at, unsigned char format)
    {
        o_u8b number = 0;
        for (unsigned i = 0; i < kNumbers; ++i)
            number = number << 16 | ReadNumber<o_u2b>(at + 2 * i, KoNeedsSwap(format));
        return number;
    }
    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short, unsigned count, int& status)
    {
        return CompareWalk(length1, value1, length2, value2, kSize, count, status,
                           [format](const unsigned char* a, const unsigned char* b) {
                               return ThreeWay(NumberAt(a, format), NumberAt(b, format));
                           });
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return HashWalk(length, value, kSize, count, status,
                        [format](Hasher& hasher, const unsigned char* at) {
                            hasher.Add(NumberAt(at, format));
                        });
    }
    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        return WriteElementKeys<kSize>(key, room, value, kSize, count,
                                       [format](unsigned char* out, const unsigned char* at) {
                                           const o_u8b number = NumberAt(at, format);
                                           PutKeyWord(out, static_cast<o_u2b>(number >> 32));
                                           PutKeyWord(out + 2, static_cast<o_u4b>(number));
                                           return kSize;
                                       });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<KoVersion>(
            value, key, length, count,
            [](KoVersion& version, const unsigned char* at, unsigned left) {
                if (left < kSize)
                    return 0U;
                version = KoVersion(GetKeyWord<o_u2b>(at), GetKeyWord<o_u2b>(at + 2),
                                    GetKeyWord<o_u2b>(at + 4));
                return kSize;
            });
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<NumberAxis<VersionOps>>(bounds, op, value, format, count, newBounds);
    }

    // Text: the numbers with points between them, whatever the format.
    static KoString ToText(const KoVersion& version)
    {
        KoString text;
        PrintOne(text, version, nullptr);
        return text;
    }
    // Appended at once, so that where memory runs out there is all of it or nothing.
    static void PrintOne(KoString& text, const KoVersion& version, const char*)
    {
        char digits[3 * 6];
        char* at = digits;
        for (unsigned i = 0; i < kNumbers; ++i) {
            at = std::to_chars(at, digits + sizeof digits, version.Number(i)).ptr;
            *at++ = i + 1 < kNumbers ? '.' : '\0';
        }
        text << digits;
    }
    static void FromText(KoVersion& version, const KoString* text)
    {
        version = KoVersion();
        if (text != nullptr)
            ScanOne(version, *text, nullptr);
    }
    static void ScanOne(KoVersion& version, const KoString& text, const char*)
    {
        const NarrowText narrow(text);
        KoVersion read;
        bool whole = false;
        if (ReadVersion(narrow.Data(), narrow.Length(), read, whole) != 0)
            version = read;
    }
    static int ParseOne(KoVersion& version, const KoString& text, const char*, unsigned& errorAt)
    {
        const NarrowText narrow(text);
        KoVersion read;
        bool whole = false;
        const std::size_t taken = ReadVersion(narrow.Data(), narrow.Length(), read, whole);
        if (!whole || taken != narrow.Length()) {
            errorAt = static_cast<unsigned>(taken);
            return -1;
        }
        version = read;
        return 0;
    }
};

} // namespace

KO_DEFINE_TYPE(koVersionDescriptor, VersionOps, KoVERSION_T)

} // namespace ko
