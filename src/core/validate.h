#ifndef KO_CORE_VALIDATE_H
#define KO_CORE_VALIDATE_H

#include <kobasic.h>

#include <cstddef>

/// What all types share in looking at bytes that nobody vouches for; see KoValidateFunc.

namespace ko
{

/// Bytes end before the elements do: the first that is missing stands behind them.
inline int BytesMissing(std::size_t size, std::size_t& at) noexcept
{
    at = size;
    return KoRC_TRUNCATED;
}

/// The byte at `offset` is none that the type writes.
inline int WrongByte(std::size_t offset, std::size_t& at) noexcept
{
    at = offset;
    return KoRC_DAMAGED;
}

/// Elements of `width` bytes of which any bytes are a value.
inline int ValidateElements(std::size_t size, unsigned width, unsigned count,
                            std::size_t& at) noexcept
{
    const std::size_t bytes = std::size_t{width} * count;
    if (bytes > size)
        return BytesMissing(size, at);
    at = bytes;
    return KoRC_OK;
}

/// The same where `wrongAt(element)` tells which byte of an element is wrong; `width` and more for
/// none.
template <class WrongAt>
int ValidateElements(const void* bytes, std::size_t size, unsigned width, unsigned count,
                     std::size_t& at, WrongAt wrongAt)
{
    const auto* element = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i, element += width) {
        if (size - i * width < width)
            return BytesMissing(size, at);
        if (const unsigned wrong = wrongAt(element); wrong < width)
            return WrongByte(i * width + wrong, at);
    }
    at = std::size_t{width} * count;
    return KoRC_OK;
}

} // namespace ko

#endif
