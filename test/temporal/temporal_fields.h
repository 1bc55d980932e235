#ifndef KO_TEST_TEMPORAL_TEMPORAL_FIELDS_H
#define KO_TEST_TEMPORAL_TEMPORAL_FIELDS_H

#include "temporal/fields.h"

#include <kostring.h>
#include <kotypemgr.h>

#include <gtest/gtest.h>

/// Fields of temporal values, for the tests of their text.

namespace ko
{

using enum TemporalKind;

inline bool operator==(const TemporalFields& a, const TemporalFields& b)
{
    return a.kind == b.kind && a.isNull == b.isNull && a.year == b.year && a.month == b.month &&
           a.day == b.day && a.hour == b.hour && a.minute == b.minute && a.second == b.second &&
           a.nanoseconds == b.nanoseconds;
}

} // namespace ko

#endif
