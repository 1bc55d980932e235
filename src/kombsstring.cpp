#include "kochartext.h"
#include "kombschar.h"

#include <kombs.h>
#include <koservices.h>

#include <algorithm>
#include <iterator>

// Strings in UTF-8.

namespace
{

constexpr o_u4b kLargestCharacter = 0x10FFFF;
constexpr o_u2b kUndefined = 0xFFFF; // in the table of an 8-bit code set

/// Memory for `count` units, on the stack where they are few; null when there is none, after the
/// memory handler has been told.
class UnitBuffer
{
public:
    explicit UnitBuffer(std::size_t count) : m_units(m_few)
    {
        if (count <= std::size(m_few))
            return;
        m_heap = static_cast<o_u2b*>(KoAlloc(count * sizeof(o_u2b)));
        if (m_heap == nullptr)
            KoCallMemoryHandler(count * sizeof(o_u2b));
        m_units = m_heap;
    }
    UnitBuffer(const UnitBuffer&) = delete;
    UnitBuffer& operator=(const UnitBuffer&) = delete;
    ~UnitBuffer() { KoFree(m_heap); }
    o_u2b* Get() { return m_units; }

private:
    o_u2b m_few[256];
    o_u2b* m_heap = nullptr;
    o_u2b* m_units;
};

/// The bytes before the terminator, `n` at most.
std::size_t BytesOf(const char* mbs, int n)
{
    if (mbs == nullptr)
        return 0;
    if (n < 0)
        return std::strlen(mbs);
    const void* zero = n == 0 ? nullptr : std::memchr(mbs, 0, static_cast<std::size_t>(n));
    return zero == nullptr ? static_cast<std::size_t>(n)
                           : static_cast<std::size_t>(static_cast<const char*>(zero) - mbs);
}

/// The number of bytes at the beginning that are ASCII.
std::size_t AsciiBytes(const char* mbs, std::size_t bytes)
{
    constexpr o_u8b kTopBits = 0x8080808080808080U;
    std::size_t i = 0;
    while (i + sizeof kTopBits <= bytes && (ko::ReadValue<o_u8b>(mbs + i) & kTopBits) == 0)
        i += sizeof kTopBits;
    while (i < bytes && static_cast<unsigned char>(mbs[i]) < 0x80)
        ++i;
    return i;
}

/// What stands for a character beyond 16 bits where there are no pairs: no 8-bit code set has it.
constexpr o_u2b kNoByte = 0xFFFD;

/// Calls `take` with the 16-bit units of a text in turn. False for malformed text.
template <class Take>
bool Decode(const char* mbs, std::size_t bytes, bool pairs, Take take)
{
    o_u4b before = 0;
    while (bytes > 0) {
        o_u4b value;
        const unsigned used = KoDecodeCharacter(value, mbs, bytes);
        if (used == 0 || value > kLargestCharacter || (KoIsHighHalf(before) && KoIsLowHalf(value)))
            return false;
        if (value > 0xFFFF && pairs) {
            take(static_cast<o_u2b>(0xD7C0U + (value >> 10U)));
            take(static_cast<o_u2b>(0xDC00U + (value & 0x3FFU)));
        } else {
            take(value > 0xFFFF ? kNoByte : static_cast<o_u2b>(value));
        }
        before = value;
        mbs += used;
        bytes -= used;
    }
    return true;
}

/// Calls `take` with the Unicode values of the first `limit` characters of a text.
template <class Take>
void Encode(const KoText& text, unsigned limit, Take take)
{
    if (text.IsNull() || text.units == 0)
        return;
    const unsigned units = KoUnitsBeforeZero(text.bytes, text.Width(), text.units);
    const unsigned end = std::min(limit, units);
    const o_u2b* table = KoCodeSetOf(text.codeSet).UnicodeTable();
    for (unsigned i = 0; i < end; ++i) {
        const unsigned unit = text.At(i);
        if (table != nullptr)
            take(table[unit] == kUndefined ? o_u4b{'?'} : o_u4b{table[unit]});
        else if (KoIsHighHalf(unit) && i + 1 < end && KoIsLowHalf(text.At(i + 1)))
            take(KoJoinHalves(unit, text.At(++i)));
        else
            take(unit);
    }
}

/// The length in bytes of the first `limit` characters.
int EncodedLength(const KoText& text, unsigned limit = KoString::kToEnd)
{
    unsigned bytes = 0;
    Encode(text, limit,
           [&bytes](o_u4b character) { bytes += KoEncodeCharacter(nullptr, character); });
    return static_cast<int>(bytes);
}

/// Writes a text and its terminator.
void EncodeTo(char* buffer, const KoText& text)
{
    Encode(text, KoString::kToEnd,
           [&buffer](o_u4b character) { buffer += KoEncodeCharacter(buffer, character); });
    *buffer = '\0';
}

int ReadBytes(const char* mbs, std::size_t bytes, KoString& text)
{
    const bool wasNull = text.IsNullValue();
    const unsigned char codeSet = wasNull ? KoString::GetDefaultCodeSet() : text.CodeSet();
    const unsigned char language = wasNull ? KoString::GetDefaultLanguage() : text.Language();
    const unsigned width = KoCodeSetWidth(codeSet);
    const std::size_t longest = KoString::kMaxBytes / width - 1;
    const auto become = [&](const char* units, std::size_t count, unsigned char from) -> int {
        if (count > longest)
            return KoMBS_TOO_LONG;
        return KoStringAccess::Convert(text, {units, static_cast<unsigned>(count), from}, codeSet,
                                       language);
    };
    if (AsciiBytes(mbs, bytes) == bytes)
        return become(mbs, bytes, KoCS_ASCII);
    const std::size_t room = std::min(bytes, longest); // a character has a byte for each unit
    UnitBuffer buffer(room);
    o_u2b* const units = buffer.Get();
    if (units == nullptr)
        return KoMBS_NO_MEMORY;
    std::size_t count = 0;
    const auto put = [units, room, &count](o_u2b unit) {
        if (count < room)
            units[count] = unit;
        ++count;
    };
    if (!Decode(mbs, bytes, width == 2, put))
        return KoMBS_MALFORMED;
    return become(reinterpret_cast<const char*>(units), count, KoCS_UNICODE);
}

} // namespace

int KoMBS2KoString(const char* mbs, KoString& text, int n)
{
    return n < -1 ? KoMBS_MALFORMED : ReadBytes(mbs, BytesOf(mbs, n), text);
}

int KoMultiByteString2KoString(const char* mbs, KoString& text, int n)
{
    return KoMBS2KoString(mbs, text, n);
}

int KoMultiByteString2KoString(const KoString& mbs, KoString& text)
{
    const KoText bytes = KoStringAccess::Get(mbs);
    if (bytes.units != 0 && bytes.Width() != 1)
        return KoMBS_MALFORMED;
    return ReadBytes(bytes.bytes, mbs.Len(), text);
}

int KoString2KoMBS(const KoString& text, char* buffer, int size)
{
    const KoText source = KoStringAccess::Get(text);
    const int needed = EncodedLength(source) + 1;
    if (buffer == nullptr)
        return needed;
    if (size < needed)
        return -1;
    EncodeTo(buffer, source);
    return needed;
}

int KoMBSLength(const KoString& text, unsigned short n)
{
    return EncodedLength(KoStringAccess::Get(text), n);
}

int KoString2MultiByteString(const KoString& text, char*& buffer, int& length)
{
    const KoText source = KoStringAccess::Get(text);
    const int bytes = EncodedLength(source);
    const auto size = static_cast<std::size_t>(bytes) + 1;
    auto* const memory = static_cast<char*>(KoAlloc(size));
    if (memory == nullptr) {
        KoCallMemoryHandler(size);
        return -1;
    }
    EncodeTo(memory, source);
    buffer = memory;
    length = bytes;
    return KoRC_OK;
}
