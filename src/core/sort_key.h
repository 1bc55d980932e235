#ifndef KO_CORE_SORT_KEY_H
#define KO_CORE_SORT_KEY_H

#include "core/bytes.h"

#include <kobasic.h>

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>

/// What all types share in making sort keys, bytes whose order under memcmp is the type's order,
/// and in reading them back. doc/formats.md has the bytes of every type.

namespace ko
{

/// The length that a key of `bytes` bytes is said to have: one that no unsigned number holds is
/// said to have as many as one holds.
constexpr unsigned KeyLength(o_u8b bytes) noexcept
{
    return static_cast<unsigned>(std::min<o_u8b>(bytes, std::numeric_limits<unsigned>::max()));
}

/// Takes the bytes of a key in turn: keeps those for which there is room and counts all of them.
class KeySink
{
public:
    KeySink(void* key, unsigned room) noexcept
        : m_key(static_cast<unsigned char*>(key)), m_room(key != nullptr ? room : 0)
    {
    }

    void Put(unsigned char byte) noexcept
    {
        if (m_length < m_room)
            m_key[m_length] = byte;
        ++m_length;
    }
    void Put(const void* bytes, std::size_t count) noexcept
    {
        if (m_length < m_room)
            std::memcpy(m_key + m_length, bytes, std::min<std::size_t>(count, m_room - m_length));
        m_length += count;
    }

    unsigned Length() const noexcept { return KeyLength(m_length); }

private:
    unsigned char* m_key;
    o_u8b m_room;
    o_u8b m_length = 0;
};

/// The unsigned number as wide as T.
template <class T>
using KeyWord = typename WordOf<sizeof(T)>::Type;

template <class T>
inline constexpr KeyWord<T> kKeySign = static_cast<KeyWord<T>>(1ULL << (8 * sizeof(T) - 1));

/// The unsigned number that orders as `n` does. Signed numbers have their sign turned over.
/// Floating ones have it turned over where they are positive, and all bits where they are negative;
/// minus zero counts as zero, and every NaN as the one number below minus infinity.
template <class T>
KeyWord<T> KeyBits(T n) noexcept
{
    if constexpr (std::floating_point<T>) {
        // Whole numbers and no branches: nothing mispredicts, and compilers make vectors of loops.
        using Word = KeyWord<T>;
        constexpr unsigned kTop = 8 * sizeof(T) - 1;
        constexpr Word kNumbers = std::bit_cast<Word>(std::numeric_limits<T>::infinity());
        const auto bits = std::bit_cast<Word>(n);
        const Word magnitude = bits & ~kKeySign<T>;
        const Word negative = bits >> kTop;
        const Word minusZero = (magnitude - 1) >> kTop & negative;
        const Word nan = (magnitude + (~kKeySign<T> - kNumbers)) >> kTop;
        return ((bits ^ ((0 - negative) | kKeySign<T>)) + minusZero) & (nan - 1);
    } else if constexpr (std::signed_integral<T>) {
        return static_cast<KeyWord<T>>(static_cast<KeyWord<T>>(n) ^ kKeySign<T>);
    } else {
        return n;
    }
}

/// The number that has these key bits; false where no number has them.
template <class T>
bool FromKeyBits(T& n, KeyWord<T> bits) noexcept
{
    if constexpr (std::floating_point<T>) {
        if (bits == 0)
            n = std::numeric_limits<T>::quiet_NaN();
        else
            n = std::bit_cast<T>((bits & kKeySign<T>) != 0 ? bits ^ kKeySign<T>
                                                           : static_cast<KeyWord<T>>(~bits));
        return KeyBits(n) == bits;
    } else if constexpr (std::signed_integral<T>) {
        n = static_cast<T>(bits ^ kKeySign<T>);
        return true;
    } else {
        n = bits;
        return true;
    }
}

/// Puts a number down with its most significant byte first.
template <class Word>
void PutKeyWord(unsigned char* out, Word word) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        word = WordOf<sizeof(Word)>::Swapped(word);
    std::memcpy(out, &word, sizeof word);
}
template <class Word>
Word GetKeyWord(const unsigned char* at) noexcept
{
    return ReadOrdered<Word>(at, true);
}

/// The keys of `count` elements of `size` bytes one after another, each of at most `most` bytes;
/// `write(out, element)` writes one and returns its length. Elements that have room for `most`
/// bytes are written in place.
template <unsigned most, class Write>
unsigned WriteElementKeys(void* key, unsigned room, const void* value, unsigned size,
                          unsigned count, Write write)
{
    auto* const out = static_cast<unsigned char*>(key);
    const auto* element = static_cast<const unsigned char*>(value);
    const o_u8b given = key != nullptr ? room : 0;
    o_u8b length = 0;
    unsigned i = 0;
    for (; i < count && given - length >= most && length <= given; ++i, element += size)
        length += write(out + length, element);
    for (; i < count; ++i, element += size) {
        unsigned char one[most];
        const unsigned bytes = write(one, element);
        if (length < given)
            std::memcpy(out + length, one, std::min<o_u8b>(bytes, given - length));
        length += bytes;
    }
    return KeyLength(length);
}

/// Reads `count` elements of type T from the keys that `length` bytes hold one after another.
/// `read(element, key, left)` reads one from the `left` bytes at `key` and returns how many it
/// took, 0 where they begin with no key. Returns 0, or KoRC_DAMAGED with `value` unchanged where
/// the bytes are not exactly the keys of `count` elements.
template <class T, class Read>
int ReadElementKeys(void* value, const void* key, unsigned length, unsigned count, Read read)
{
    const auto* const bytes = static_cast<const unsigned char*>(key);
    const unsigned end = key != nullptr ? length : 0;
    // Twice, since a later element may turn out to be none after earlier ones would be written.
    for (const bool assigns : {false, true}) {
        unsigned at = 0;
        for (unsigned i = 0; i < count; ++i) {
            T element{};
            const unsigned taken = read(element, bytes + at, end - at);
            if (taken == 0)
                return KoRC_DAMAGED;
            if (assigns)
                static_cast<T*>(value)[i] = element;
            at += taken;
        }
        if (at != length)
            return KoRC_DAMAGED;
    }
    return KoRC_OK;
}

} // namespace ko

#endif
