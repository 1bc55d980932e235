#ifndef KOIDENTITYTEXT_H
#define KOIDENTITYTEXT_H

#include <kostring.h>

#include <array>

/// Text of object identities under formats of directives; the rules stand in koobjid.h.

enum IdentityField : unsigned char { kTag, kLow, kHigh, kOrigin, kClass, kVersion, kNoField };

/// The fields of an identity by IdentityField, 0 where its class has none.
using IdentityFields = std::array<o_u4b, kNoField>;

constexpr o_u4b IdentityFieldLimit(IdentityField field)
{
    if (field == kNoField)
        return 0;
    return field <= kLow ? 0xFFFFFFFF : 0xFFFF;
}

/// What a class has of them.
struct IdentityKind {
    unsigned fields;                       ///< a bit for each that a directive names
    std::array<IdentityField, 5> sequence; ///< of the sequential directives

    constexpr bool Has(IdentityField field) const { return (fields >> field & 1) != 0; }
};

inline constexpr IdentityKind kObjIdKind = {1U << kTag | 1U << kLow | 1U << kHigh,
                                            {kHigh, kLow, kTag, kNoField, kNoField}};
inline constexpr IdentityKind kClassIdKind = {1U << kClass | 1U << kVersion,
                                              {kClass, kVersion, kNoField, kNoField, kNoField}};
inline constexpr IdentityKind kRefKind = {0x3F, {kOrigin, kHigh, kLow, kTag, kClass}};

/// A format taken apart step by step.
class IdentityFormat
{
public:
    IdentityFormat(const char* format, const IdentityKind& kind) : m_next(format), m_kind(kind) {}

    /// Moves to the next piece; false at the end.
    bool Next();
    bool IsField() const { return m_isField; }
    /// kNoField for a sequential directive that does not fit its field.
    IdentityField Field() const { return m_field; }
    char Literal() const { return m_literal; }

private:
    const char* m_next;
    const IdentityKind& m_kind;
    unsigned m_position = 0;
    bool m_isField = false;
    IdentityField m_field = kNoField;
    char m_literal = '\0';
};

/// Appends the fields under the format.
void KoPrintIdentity(KoString& text, const IdentityKind& kind, const IdentityFields& fields,
                     const char* format);

/// Reads leniently; false, with the fields as they were, where the text does not hold them all.
bool KoScanIdentity(IdentityFields& fields, const IdentityKind& kind, const KoString& text,
                    const char* format);

/// Reads a whole text: 0, or -1 with `errorAt` the first character that does not belong and the
/// fields as they were.
int KoParseIdentity(IdentityFields& fields, const IdentityKind& kind, const KoString& text,
                    const char* format, unsigned& errorAt);

/// The commas in a text under the format.
unsigned KoIdentityCommas(const IdentityKind& kind, const char* format);

#endif
