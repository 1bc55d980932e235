#include "identity/text.h"

#include "number/ascii.h"
#include "number/format.h"
#include "number/string_number.h"

#include <charconv>

namespace ko
{

namespace
{

/// The directives of the fields in their order.
constexpr char kLetters[] = "BLHDCV";

/// Reads digits at the cursor as a field; false, with the cursor at their start, where there are
/// none or the number is beyond the field.
bool ReadField(NumCursor& cursor, IdentityFields& fields, IdentityField field)
{
    const char* start = cursor.pos;
    o_u8b number = 0;
    bool overflow = false;
    if (!ReadMagnitude(cursor, 10, number, overflow))
        return false;
    if (overflow || number > IdentityFieldLimit(field)) {
        cursor.pos = start;
        return false;
    }
    if (field != kNoField)
        fields[field] = static_cast<o_u4b>(number);
    return true;
}

} // namespace

bool IdentityFormat::Next()
{
    char c = *m_next;
    if (c == '\0')
        return false;
    ++m_next;
    m_isField = false;
    if (c == '%' && *m_next != '\0') {
        c = *m_next++;
        for (unsigned i = 0; i < kNoField; ++i) {
            m_field = static_cast<IdentityField>(i);
            if (c == kLetters[i] && m_kind.Has(m_field))
                return m_isField = true;
        }
        if (c == 'h' || c == 'l') {
            m_field = m_position < m_kind.sequence.size() ? m_kind.sequence[m_position] : kNoField;
            ++m_position;
            if ((c == 'l') != (IdentityFieldLimit(m_field) > 0xFFFF))
                m_field = kNoField;
            if (*m_next != '\0')
                ++m_next; // the letter of the conversion, whichever it is
            return m_isField = true;
        }
    }
    m_literal = c;
    return true;
}

void PrintIdentity(KoString& text, const IdentityKind& kind, const IdentityFields& fields,
                   const char* format)
{
    // A directive of two characters gives at most the ten digits of 32 bits.
    TextRoom room(5 * std::strlen(format) + 1);
    char* out = room.Data();
    char* const end = out + room.Size() - 1;
    for (IdentityFormat pieces(format, kind); out < end && pieces.Next();) {
        if (!pieces.IsField()) {
            *out++ = pieces.Literal();
            continue;
        }
        const o_u4b value = pieces.Field() == kNoField ? 0 : fields[pieces.Field()];
        const auto [after, error] = std::to_chars(out, end, value);
        if (error != std::errc())
            break;
        out = after;
    }
    *out = '\0';
    text << static_cast<const char*>(room.Data());
}

bool ScanIdentity(IdentityFields& fields, const IdentityKind& kind, const KoString& text,
                  const char* format)
{
    const NarrowText narrow(text);
    NumCursor cursor(narrow.Data(), narrow.Length());
    IdentityFields read = fields;
    bool fits = true;
    for (IdentityFormat pieces(format, kind); pieces.Next();) {
        if (pieces.IsField()) {
            cursor.SkipSpace();
            if (!fits || !ReadField(cursor, read, pieces.Field()))
                return false;
        } else if (IsSpace(pieces.Literal())) {
            cursor.SkipSpace();
        } else if (!cursor.AtEnd() && *cursor.pos == pieces.Literal()) {
            ++cursor.pos;
        } else {
            fits = false; // of no importance after the last number
        }
    }
    fields = read;
    return true;
}

int ParseIdentity(IdentityFields& fields, const IdentityKind& kind, const KoString& text,
                  const char* format, unsigned& errorAt)
{
    const NarrowText narrow(text);
    NumCursor cursor(narrow.Data(), narrow.Length());
    IdentityFields read{};
    bool fits = true;
    bool outOfRange = false;
    for (IdentityFormat pieces(format, kind); fits && pieces.Next();) {
        if (pieces.IsField()) {
            fits = ReadField(cursor, read, pieces.Field());
            outOfRange = !fits && !cursor.AtEnd() && IsDigit(*cursor.pos);
        } else {
            fits = !cursor.AtEnd() && *cursor.pos == pieces.Literal();
            cursor.pos += fits ? 1 : 0;
        }
    }
    if (!fits || !cursor.AtEnd()) {
        errorAt = cursor.Position();
        return outOfRange ? KoREAD_OUT_OF_RANGE : KoREAD_NOT_A_VALUE;
    }
    fields = read;
    return 0;
}

unsigned IdentityCommas(const IdentityKind& kind, const char* format)
{
    unsigned commas = 0;
    for (IdentityFormat pieces(format, kind); pieces.Next();)
        commas += !pieces.IsField() && pieces.Literal() == ',' ? 1 : 0;
    return commas;
}

} // namespace ko
