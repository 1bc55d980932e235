#ifndef KOTM_HISTOGRAM_H
#define KOTM_HISTOGRAM_H

#include <kostore.h>

#include <cstddef>
#include <iosfwd>

namespace kotm
{

/// Draws how the values of an attribute are distributed: up to some twenty rows, ascending, each
/// with the objects of a range of values and a bar. A value that many objects have stands by
/// itself. Lines have up to about `width` characters, of which values take no more than their part.
void DrawHistogram(const ko::store::Attribute& attribute,
                   const ko::store::AttributeStatistics& about, std::size_t width,
                   std::ostream& out);

} // namespace kotm

#endif
