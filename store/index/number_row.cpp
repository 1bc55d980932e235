#include "index/number_row.h"

#include "base/bytes.h"
#include "base/object_number.h"

#include <algorithm>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kMostDifferenceBytes = 7; // of 48 bits

/// Takes a difference from the front of bytes that are not empty; 0 where there is none.
inline std::uint64_t TakeDifference(const char*& at, const char* end)
{
    auto byte = static_cast<unsigned char>(*at++);
    if (byte < 0x80)
        return byte;
    std::uint64_t difference = byte & 0x7F;
    for (unsigned shift = 7; at != end && shift < 7 * kMostDifferenceBytes; shift += 7) {
        byte = static_cast<unsigned char>(*at++);
        difference |= std::uint64_t{byte & 0x7FU} << shift;
        if (byte < 0x80)
            return byte == 0 ? 0 : difference; // another form of a number of fewer bytes
    }
    return 0;
}

inline char* PutDifference(char* to, std::uint64_t difference)
{
    for (; difference >= 0x80; difference >>= 7)
        *to++ = static_cast<char>(0x80 | (difference & 0x7F));
    *to++ = static_cast<char>(difference);
    return to;
}

} // namespace

bool NumberRow::Decode(std::uint64_t first, std::string_view bytes)
{
    count = 0;
    if (first == 0 || first > kMaxObjectNumber || bytes.size() > kMostRowBytes)
        return false;
    std::size_t decoded = 0;
    std::uint64_t number = first;
    numbers[decoded++] = number;
    const char* const end = bytes.data() + bytes.size();
    for (const char* at = bytes.data(); at != end;) {
        const std::uint64_t difference = TakeDifference(at, end);
        number += difference;
        if (difference == 0 || number > kMaxObjectNumber || decoded == kMostRowNumbers)
            return false;
        numbers[decoded++] = number;
    }
    count = decoded;
    return true;
}

std::uint64_t LastOfRow(std::uint64_t first, std::string_view bytes, std::size_t& count)
{
    count = 1;
    const char* const end = bytes.data() + bytes.size();
    for (const char* at = bytes.data(); at != end; ++count)
        first += TakeDifference(at, end);
    return first;
}

std::size_t EncodeRow(const std::uint64_t* numbers, std::size_t count, std::string& bytes,
                      std::size_t most)
{
    char room[kMostRowBytes + kMostDifferenceBytes];
    char* end = room;
    std::size_t taken = 1;
    for (const std::size_t last = std::min({count, most, kMostRowNumbers}); taken < last; ++taken) {
        char* const next = PutDifference(end, numbers[taken] - numbers[taken - 1]);
        if (next - room > static_cast<std::ptrdiff_t>(kMostRowBytes))
            break;
        end = next;
    }
    bytes.assign(room, end);
    return taken;
}

void RowPacker::Add(std::string_view valueKey, const std::uint64_t* numbers, std::size_t count)
{
    if (std::string_view(m_key).substr(0, m_valueKey) != valueKey) {
        Finish();
        m_key = valueKey;
        m_valueKey = valueKey.size();
    }
    while (count > 0) {
        if (m_count == 0 && count >= kMostRowNumbers) {
            const std::size_t taken = EncodeRow(numbers, count, m_bytes);
            Emit(numbers, taken);
            numbers += taken;
            count -= taken;
            continue;
        }
        const std::size_t step = std::min(count, kMostRowNumbers - m_count);
        std::copy_n(numbers, step, m_held + m_count);
        m_count += step;
        numbers += step;
        count -= step;
        if (m_count == kMostRowNumbers) {
            const std::size_t taken = EncodeRow(m_held, m_count, m_bytes);
            Emit(m_held, taken);
            std::copy(m_held + taken, m_held + m_count, m_held);
            m_count -= taken;
        }
    }
}

void RowPacker::Finish()
{
    for (std::size_t at = 0; at < m_count;) {
        const std::size_t taken = EncodeRow(m_held + at, m_count - at, m_bytes);
        Emit(m_held + at, taken);
        at += taken;
    }
    m_count = 0;
}

void RowPacker::Emit(const std::uint64_t* numbers, std::size_t count)
{
    m_key.resize(m_valueKey);
    AppendNumber(m_key, numbers[0]);
    m_take(m_key, m_bytes, count);
}

} // namespace ko::store::inner
