#include <koseal.h>

#include "core/bounds.h"
#include "core/element_ops.h"
#include "core/hash_walk.h"
#include "core/sort_key.h"

#include <charconv>

namespace ko
{

namespace
{

constexpr std::size_t kDigits = 12;

/// The hexadecimal digits at the start of `text`, up to 12 of them: how many there are.
std::size_t ReadDigits(const char* text, std::size_t length, KoSeal& seal)
{
    o_u8b number = 0;
    const char* end = std::from_chars(text, text + std::min(length, kDigits), number, 16).ptr;
    seal.ConvertFrom(static_cast<o_8b>(number));
    return static_cast<std::size_t>(end - text);
}

struct SealOps : ElementOps<KoSeal, SealOps, KoSEAL_T> {
    static constexpr unsigned kWords = 3;
    static constexpr unsigned kSize = 2 * kWords;

    static unsigned Store(void* destination, const void* source, unsigned char format,
                          unsigned count)
    {
        return ShortStore(destination, source, format, count * kWords);
    }
    static constexpr KoStoreFunc Load = Store;
    static unsigned FormSize(unsigned char) { return kSize; }

    static o_u8b Number(const unsigned char* at, bool swap)
    {
        return KoSeal(ReadNumber<o_u2b>(at, swap), ReadNumber<o_u2b>(at + 2, swap),
                      ReadNumber<o_u2b>(at + 4, swap))
            .Number();
    }
    static int Cmp(unsigned char format, unsigned length1, void* value1, unsigned length2,
                   void* value2, unsigned short, unsigned count, int& status)
    {
        const bool swap = KoNeedsSwap(format);
        return CompareWalk(length1, value1, length2, value2, kSize, count, status,
                           [swap](const unsigned char* a, const unsigned char* b) {
                               return ThreeWay(Number(a, swap), Number(b, swap));
                           });
    }
    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        const bool swap = KoNeedsSwap(format);
        return HashWalk(length, value, kSize, count, status,
                        [swap](Hasher& hasher, const unsigned char* at) {
                            hasher.Add(HashWord(Number(at, swap)));
                        });
    }

    static o_u8b NumberAt(const unsigned char* at, unsigned char format)
    {
        return Number(at, KoNeedsSwap(format));
    }
    static float EvalAndBound(KoIdxBounds* bounds, unsigned short& op, void* value,
                              unsigned char format, unsigned count, KoIdxBounds* newBounds)
    {
        return EvaluateBounds<NumberAxis<SealOps>>(bounds, op, value, format, count, newBounds);
    }

    static unsigned SortKey(void* key, unsigned room, const void* value, unsigned char format,
                            unsigned count, unsigned short)
    {
        const bool swap = KoNeedsSwap(format);
        return WriteElementKeys<kSize>(
            key, room, value, kSize, count, [swap](unsigned char* out, const unsigned char* at) {
                for (unsigned word = 0; word < kWords; ++word)
                    PutKeyWord(out + std::size_t{2} * word,
                               ReadNumber<o_u2b>(at + std::size_t{2} * word, swap));
                return kSize;
            });
    }
    static int FromSortKey(void* value, const void* key, unsigned length, unsigned count,
                           unsigned short)
    {
        return ReadElementKeys<KoSeal>(
            value, key, length, count, [](KoSeal& seal, const unsigned char* at, unsigned left) {
                if (left < kSize)
                    return 0U;
                seal = KoSeal(GetKeyWord<o_u2b>(at), GetKeyWord<o_u2b>(at + 2),
                              GetKeyWord<o_u2b>(at + 4));
                return kSize;
            });
    }

    static KoString ToText(const KoSeal& seal)
    {
        KoString text;
        seal.PrintToKoString(text);
        return text;
    }
    static void FromText(KoSeal& seal, const KoString* text)
    {
        seal = KoSeal();
        if (text != nullptr)
            seal.ScanFromKoString(*text);
    }
    // The print format is not looked at.
    static void PrintOne(KoString& text, const KoSeal& seal, const char*)
    {
        seal.PrintToKoString(text);
    }
    static void ScanOne(KoSeal& seal, const KoString& text, const char*)
    {
        seal.ScanFromKoString(text);
    }
    static int ParseOne(KoSeal& seal, const KoString& text, const char*, unsigned& errorAt)
    {
        const NarrowText narrow(text);
        KoSeal read;
        const std::size_t digits = ReadDigits(narrow.Data(), narrow.Length(), read);
        if (digits != kDigits || narrow.Length() != kDigits) {
            errorAt = static_cast<unsigned>(digits);
            return -1;
        }
        seal = read;
        return 0;
    }
};

} // namespace

KO_DEFINE_TYPE(koSealDescriptor, SealOps, KoSEAL_T)

} // namespace ko

using namespace ko;

void KoSeal::PrintToKoString(KoString& text) const
{
    AppendNumber(text, Number(), "%012x");
}

void KoSeal::ScanFromKoString(const KoString& text)
{
    const NarrowText narrow(text);
    std::size_t at = 0;
    while (at < narrow.Length() && narrow.Data()[at] == ' ')
        ++at;
    KoSeal read;
    if (ReadDigits(narrow.Data() + at, narrow.Length() - at, read) > 0)
        *this = read;
}
