#ifndef KOTRANSLATE_H
#define KOTRANSLATE_H

#include <kobasic.h>
#include <koservices.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

/// Bytes from one persistent form to another, undecoded: both formats are taken to agree. What the
/// destination has beyond the source becomes zero; what the source has beyond it is cut off.
/// Returns the bytes copied.
inline unsigned KoCopyPersistent(void* destination, unsigned destinationLength, const void* source,
                                 unsigned sourceLength)
{
    const unsigned copied = std::min(sourceLength, destinationLength);
    if (copied > 0)
        std::memmove(destination, source, copied);
    if (copied < destinationLength)
        std::memset(static_cast<unsigned char*>(destination) + copied, 0,
                    destinationLength - copied);
    return copied;
}

/// The `translate` of a fixed-length type whose elements take `memLen` bytes in memory, over its
/// `store` and `load`.
///
/// Only the byte order of the destination format reaches `store`, while the source format reaches
/// `load` as it is.
template <class Ops>
unsigned KoTranslateElements(unsigned memLen, void* destination, unsigned char destinationFormat,
                             unsigned destinationLength, void* source, unsigned char sourceFormat,
                             unsigned sourceLength, unsigned count)
{
    const bool toMemory = (destinationFormat & KoFMT_MEMORY) != 0;
    const bool fromMemory = (sourceFormat & KoFMT_MEMORY) != 0;
    if (!toMemory && fromMemory)
        return Ops::Store(destination, source, destinationFormat & KoFMT_ORDER_MASK, count);
    if (!toMemory)
        return KoCopyPersistent(destination, destinationLength, source, sourceLength);
    if (!fromMemory)
        return Ops::Load(destination, source, sourceFormat, count);
    if (count > 0)
        std::memmove(destination, source, std::size_t{count} * memLen);
    return count * memLen;
}

/// The `translate` of a type of variable length with owned parts. `Ops::Bytes` is the size when
/// stored, not cut to 32 bits. A destination length of 0 is no bound; where the values do not fit,
/// nothing is written.
template <class Ops>
unsigned KoTranslateRecords(void* destination, unsigned char destinationFormat,
                            unsigned destinationLength, void* source, unsigned char sourceFormat,
                            unsigned sourceLength, unsigned count)
{
    const auto holds = [](bool condition, const char* text) {
        // Fixed text that programs look for; file and line are no place in these sources.
        if (!condition)
            KORA_assert(text, "src\\kotypes", 1745);
        return condition;
    };
    const bool fromMemory = (sourceFormat & KoFMT_MEMORY) != 0;
    if ((destinationFormat & KoFMT_MEMORY) != 0) {
        if (!fromMemory)
            return Ops::Load(destination, source, sourceFormat, count);
        Ops::Assign(destination, source, count, 0);
        return count * static_cast<unsigned>(sizeof(typename Ops::Value));
    }
    if (fromMemory) {
        const unsigned char format = destinationFormat & KoFMT_ORDER_MASK;
        const o_u8b nLen = Ops::Bytes(source, format, count);
        const auto length = static_cast<o_u4b>(nLen);
        if (!holds(length == nLen, "(o_u4b)_nLen == nLen") ||
            (destinationLength != 0 && length > destinationLength))
            return 0;
        return Ops::Store(destination, source, format, count);
    }
    if (!holds(destinationFormat == sourceFormat, "format combination not supported"))
        return 0;
    return KoCopyPersistent(destination, destinationLength, source, sourceLength);
}

#endif
