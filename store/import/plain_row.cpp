#include "import/plain_row.h"

#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ko::store::inner
{

namespace
{

/// A bit for each of kPlainRowSlack bytes that is a comma, a quote, a CR or an LF.
unsigned FindMarks(const char* bytes)
{
#if defined(__SSE2__)
    const __m128i seen = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const auto equal = [&](char c) { return _mm_cmpeq_epi8(seen, _mm_set1_epi8(c)); };
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_or_si128(
        _mm_or_si128(equal(','), equal('"')), _mm_or_si128(equal('\r'), equal('\n')))));
#else
    unsigned marks = 0;
    for (unsigned i = 0; i < kPlainRowSlack; ++i) {
        const char c = bytes[i];
        marks |= c == ',' || c == '"' || c == '\r' || c == '\n' ? 1U << i : 0;
    }
    return marks;
#endif
}

} // namespace

std::size_t SplitPlainRow(const char* bytes, std::size_t size, bool atEnd,
                          std::vector<std::string_view>& fields)
{
    fields.clear();
    std::size_t from = 0;
    for (std::size_t block = 0; block < size; block += kPlainRowSlack) {
        for (unsigned marks = FindMarks(bytes + block); marks != 0; marks &= marks - 1) {
            const std::size_t at = block + static_cast<std::size_t>(std::countr_zero(marks));
            const char mark = bytes[at];
            if (mark == ',') {
                fields.emplace_back(bytes + from, at - from);
                from = at + 1;
                continue;
            }
            const bool last = at + 1 == size;
            if (mark == '"' || at >= size || (mark == '\r' && last && !atEnd))
                return 0;
            if (at != 0)
                fields.emplace_back(bytes + from, at - from);
            return mark == '\r' && !last && bytes[at + 1] == '\n' ? at + 2 : at + 1;
        }
    }
    return 0;
}

} // namespace ko::store::inner
