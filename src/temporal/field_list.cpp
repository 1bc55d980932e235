#include "temporal/field_list.h"

#include "number/ascii.h"
#include "number/string_number.h"
#include "string/null_text.h"

namespace ko
{

namespace
{

/// Calls `use` with the place and the bytes of each field in turn, as long as it says so.
template <class Use>
bool ForEachField(const FieldShape& shape, Use use)
{
    unsigned at = 0;
    const auto take = [&](unsigned size) {
        const bool goesOn = use(at, size);
        at += size;
        return goesOn;
    };
    if (shape.hasYear && !take(2))
        return false;
    for (unsigned i = 0; i < shape.bytes; ++i)
        if (!take(1))
            return false;
    return !shape.hasNanoseconds || take(4);
}

/// A signed number of `size` bytes, the most significant one first.
o_8b ReadField(const unsigned char* at, unsigned size)
{
    auto number = o_8b{static_cast<o_1b>(at[0])};
    for (unsigned i = 1; i < size; ++i)
        number = number * 256 + at[i];
    return number;
}
void WriteField(unsigned char* at, unsigned size, o_8b number)
{
    for (unsigned i = size; i > 0; --i, number >>= 8)
        at[i - 1] = static_cast<unsigned char>(number);
}

} // namespace

bool IsFieldList(const KoString& text)
{
    const NarrowText narrow(text);
    return narrow.Length() != 0 && *narrow.Data() == '{' && !MeansNull(text, true);
}

void PrintFieldList(KoString& out, const unsigned char* stored, const FieldShape& shape)
{
    ForEachField(shape, [&](unsigned at, unsigned size) {
        AppendNumber(out, ReadField(stored + at, size), at == 0 ? "{%d" : " %d");
        return true;
    });
    out << '}';
}

int ParseFieldList(unsigned char* stored, const FieldShape& shape, const KoString& text,
                   unsigned& errorAt)
{
    const NarrowText narrow(text);
    const char* const end = narrow.Data() + narrow.Length();
    const char* pos = narrow.Data();
    const char* outOfRange = nullptr;
    const auto takes = [&](char c) { return pos != end && *pos == c && ++pos != nullptr; };
    const bool read = ForEachField(shape, [&](unsigned at, unsigned size) {
        if (!takes(at == 0 ? '{' : ' '))
            return false;
        const char* const start = pos;
        const bool negative = takes('-');
        if (pos == end || !IsDigit(*pos))
            return false;
        const o_8b limit = o_8b{1} << (8 * size - 1);
        o_8b number = 0;
        for (; pos != end && IsDigit(*pos); ++pos)
            number = number > limit ? number : number * 10 + (*pos - '0');
        number = negative ? -number : number;
        if (number < -limit || number >= limit)
            outOfRange = start;
        WriteField(stored + at, size, number);
        return outOfRange == nullptr;
    });
    if (read && takes('}') && pos == end)
        return 0;
    errorAt = static_cast<unsigned>((outOfRange != nullptr ? outOfRange : pos) - narrow.Data());
    return outOfRange != nullptr ? KoREAD_OUT_OF_RANGE : KoREAD_NOT_A_VALUE;
}

} // namespace ko
