#ifndef KO_TEMPORAL_FIELDS_H
#define KO_TEMPORAL_FIELDS_H

#include <kobasic.h>

class KoString;

/// Text of the nine temporal types: one formatter, one lenient scanner and one strict reader, over
/// the fields that all of them share. The classes convert to and from these fields; nothing here
/// knows a class.

namespace ko
{

enum class TemporalKind : unsigned char {
    kDate,      ///< KoDate: year, month, day
    kTime,      ///< KoTime: hour, minute, second
    kDateTime,  ///< KoDateTime: a date and a time
    kDateTimeN, ///< KoDateTimeN: a date, a time and nanoseconds
    kTimeSpan,  ///< KoTimeSpan: counts of years of 12 months of 30 days, down to nanoseconds
    // The types below have no null value, and -1 is a number in them, no wildcard.
    kOdmgDate,      ///< d_Date: year, month, day
    kOdmgTime,      ///< d_Time: hour and minute of the zone's own clock, second, nanoseconds
    kOdmgTimestamp, ///< d_Timestamp: both
    /// d_Interval: days (not reduced to months), hours, minutes, seconds, nanoseconds. In a
    /// negative interval no field is above 0. Its hours are a count and know no half of the day:
    /// %I is as %H.
    kOdmgInterval,
};

constexpr bool KindHasNull(TemporalKind kind) noexcept
{
    return kind < TemporalKind::kOdmgDate;
}

constexpr bool KindHasWildcards(TemporalKind kind) noexcept
{
    return kind < TemporalKind::kOdmgDate;
}

/// Only these have the directive "%z"; for all others it stands for its letter.
constexpr bool KindHasZone(TemporalKind kind) noexcept
{
    return kind == TemporalKind::kOdmgTime || kind == TemporalKind::kOdmgTimestamp;
}

/// A value of any of them; the fields that the kind lacks are 0. A class cuts the fields to its
/// widths: 16 bits for the year, 32 for nanoseconds, 8 for the others.
struct TemporalFields {
    TemporalKind kind{};
    bool isNull = false; ///< the null value, whose fields mean nothing
    o_4b year = 0;
    o_4b month = 0;
    o_4b day = 0;
    o_4b hour = 0;
    o_4b minute = 0;
    o_4b second = 0;
    o_4b nanoseconds = 0;
    // The zone of a kind that has one.
    bool hasZone = false; ///< a text named it
    o_4b zoneHour = 0;
    o_4b zoneMinute = 0;
};

/// Appends the null print string, the text of a null value under every format.
void PrintTemporalNull(KoString& out);

/// Appends the text of `fields`, which are not those of a null value, to `out`. A null format is
/// the kind's own; see TemporalFormat.
void PrintTemporal(KoString& out, const TemporalFields& fields, const char* format);

/// Reads `in` leniently. Only the kind of `fields` matters before; afterwards they hold what was
/// read, and 0 where nothing was. A text that begins with the null print string is the null value
/// of a kind that has one. Returns false when the text ended early.
bool ScanTemporal(TemporalFields& fields, const KoString& in, const char* format);

/// Reads the whole of `in` strictly: every character belongs, and the fields are a value of the
/// kind. Under kWholeText they may be wildcards, too, and a zone that is not named is 0. Returns 0,
/// or with `fields` unchanged a KoReadResult and `errorAt` the position of the first character that
/// does not belong.
int ParseTemporal(TemporalFields& fields, const KoString& in, const char* format,
                  unsigned& errorAt);

/// The format that a null format stands for, and in which a value's text is that value again:
/// "%Y-%m-%d", "%H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%X" and "%V" in the order of the kinds, and again
/// "%Y-%m-%d", "%H:%M:%f", "%X" and "%V": the last four have fractions of a second.
constexpr const char* TemporalFormat(TemporalKind kind) noexcept
{
    switch (kind) {
    case TemporalKind::kDate:
    case TemporalKind::kOdmgDate:
        return "%Y-%m-%d";
    case TemporalKind::kTime:
        return "%H:%M:%S";
    case TemporalKind::kOdmgTime:
        return "%H:%M:%f";
    case TemporalKind::kDateTime:
        return "%Y-%m-%dT%H:%M:%S";
    case TemporalKind::kDateTimeN:
    case TemporalKind::kOdmgTimestamp:
        return "%X";
    case TemporalKind::kTimeSpan:
    case TemporalKind::kOdmgInterval:
        return "%V";
    }
    return "";
}

} // namespace ko

#endif
