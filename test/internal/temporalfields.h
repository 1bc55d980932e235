#ifndef KO_TEST_TEMPORALFIELDS_H
#define KO_TEST_TEMPORALFIELDS_H

#include "kotemporaltext.h"

#include <kostring.h>
#include <kotypemgr.h>

#include <gtest/gtest.h>

#include <ostream>

/// Fields of temporal values, for the tests of their text.

using enum TemporalKind;

inline bool operator==(const TemporalFields& a, const TemporalFields& b)
{
    return a.kind == b.kind && a.isNull == b.isNull && a.year == b.year && a.month == b.month &&
           a.day == b.day && a.hour == b.hour && a.minute == b.minute && a.second == b.second &&
           a.nanoseconds == b.nanoseconds;
}

inline std::ostream& operator<<(std::ostream& out, const TemporalFields& f)
{
    return out << "kind " << int{static_cast<unsigned char>(f.kind)} << (f.isNull ? " null " : " ")
               << f.year << '-' << f.month << '-' << f.day << ' ' << f.hour << ':' << f.minute
               << ':' << f.second << '.' << f.nanoseconds;
}

/// Year, month, day, hour, minute, second, nanoseconds.
struct Parts {
    o_4b year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, nanoseconds = 0;
};

inline TemporalFields Fields(TemporalKind kind, const Parts& p)
{
    return {kind, false, p.year, p.month, p.day, p.hour, p.minute, p.second, p.nanoseconds};
}

#endif
