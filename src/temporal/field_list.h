#ifndef KO_TEMPORAL_FIELD_LIST_H
#define KO_TEMPORAL_FIELD_LIST_H

#include "temporal/fields.h"
#include "temporal/layout.h"

/// Stored fields as a text of their own, for values that are none of the calendar or the clock:
/// "{2023 2 31}". They stand in the order of the persistent form.

namespace ko
{

/// What of a TemporalLayout the lists need.
struct FieldShape {
    bool hasYear;
    unsigned bytes;
    bool hasNanoseconds;
};
template <class Layout>
constexpr FieldShape FieldShapeOf()
{
    return {Layout::kHasYear, Layout::kBytes, Layout::kHasNanoseconds};
}

/// True for a text that begins as a list does and is not the null print string.
bool IsFieldList(const KoString& text);

/// Appends the list of an element, which is stored with the most significant byte first.
void PrintFieldList(KoString& out, const unsigned char* stored, const FieldShape& shape);

/// The way back: 0, or a KoReadResult with `errorAt` the position of the first character that does
/// not belong.
int ParseFieldList(unsigned char* stored, const FieldShape& shape, const KoString& text,
                   unsigned& errorAt);

} // namespace ko

#endif
