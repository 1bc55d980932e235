#ifndef KOODMGTIME_H
#define KOODMGTIME_H

#include "kodatetime.h"
#include "koodmginterval.h"

/// The header koodmg.h tells what the temporal classes of the standard have in common.

class d_Timestamp;

/// A time of day with its zone, in hundredths of a second, of the persistent type D_TIME_T. The
/// hour and minute are held with the zone's added, and accessors take it off again.
///
/// Texts of conversion carry the zone as ISO 8601 writes it, "10:00:05.250-05:30", and none where
/// it is 0; one without a zone is read with the zone 0, whatever the default is. Under a format
/// "%z" prints and reads the zone; scanning without it gives the default.
///
/// Elements are compared by d_TimeCompare; their persistent form is six bytes: zone hour and
/// minute, hour and minute as they are held, second, hundredths.
class d_Time : public KoMovedByInterval<d_Time>
{
public:
    /// Hours ahead of Greenwich.
    enum Time_Zone : int {
        GMT_12 = -12,
        GMT_11,
        GMT_10,
        GMT_9,
        GMT_8,
        GMT_7,
        GMT_6,
        GMT_5,
        GMT_4,
        GMT_3,
        GMT_2,
        GMT_1,
        GMT,
        GMT1,
        GMT2,
        GMT3,
        GMT4,
        GMT5,
        GMT6,
        GMT7,
        GMT8,
        GMT9,
        GMT10,
        GMT11,
        GMT12,
        USpacific = -8,
        USmountain = -7,
        UScentral = -6,
        USeastern = -5,
    };

    /// The zone of times that are made without one, GMT at first. Setting it is not synchronised.
    KOTMS_API static void set_default_Time_Zone(Time_Zone zone);
    /// Takes the clock's zone in whole hours; a zone of 0 leaves the default as it is.
    KOTMS_API static void set_default_Time_Zone_to_local();

    d_Time() : d_Time(KoTime()) {} ///< now, local
    static d_Time current() { return d_Time(); }
    /// Seconds to hundredths, the rest cut off.
    KOTMS_API d_Time(o_u2b hour, o_u2b minute, float second);
    KOTMS_API d_Time(o_u2b hour, o_u2b minute, float second, o_2b zoneHour, o_2b zoneMinute);
    /// Seconds since midnight; negative ones count back from the end of the day.
    KOTMS_API explicit d_Time(int seconds);
    KOTMS_API d_Time(const KoTime& time);
    /// The fields as they are, the zone's added to hour and minute.
    static constexpr d_Time OfFields(int hour, int minute, int second, int hundredths, int zoneHour,
                                     int zoneMinute)
    {
        // Cut to 8 bits first: the sums are the same modulo 256, and do not overflow.
        return d_Time(Raw{}, static_cast<o_1b>(hour) + static_cast<o_1b>(zoneHour),
                      static_cast<o_1b>(minute) + static_cast<o_1b>(zoneMinute), second, hundredths,
                      zoneHour, zoneMinute);
    }
    d_Time(const KoDateTime& dateTime) : d_Time(dateTime.Time()) {}
    d_Time(const d_Timestamp& stamp);

    constexpr int hour() const { return m_hour - m_zoneHour; }
    constexpr int minute() const { return m_minute - m_zoneMinute; }
    constexpr float second() const
    {
        return static_cast<float>(m_second) + static_cast<float>(m_hundredths) / 100.0F;
    }
    constexpr int whole_second() const { return m_second; }
    constexpr int hundredths() const { return m_hundredths; } ///< of the second
    constexpr int tz_hour() const { return m_zoneHour; }
    constexpr int tz_minute() const { return m_zoneMinute; }

    /// Move within the day, in the arithmetic of a float; an interval that is no number or is
    /// infinite moves nothing.
    d_Time& operator+=(const d_Interval& interval)
    {
        Move(interval);
        return *this;
    }
    d_Time& operator-=(const d_Interval& interval) { return *this += -interval; }
    /// Between the times as they are held, without the hundredths.
    friend d_Interval operator-(const d_Time& a, const d_Time& b)
    {
        return a.WholeSeconds() - b.WholeSeconds();
    }

    /// The difference of the hours, or else of the minutes, or else of the seconds cut toward zero:
    /// times less than a second apart do not differ.
    friend int operator!=(const d_Time& a, const d_Time& b) { return a.Difference(b); }
    friend bool operator==(const d_Time& a, const d_Time& b) { return a.Difference(b) == 0; }
    /// These go by the times as they are held, to the hundredth.
    friend bool operator<(const d_Time& a, const d_Time& b) { return a.Position() < b.Position(); }
    friend bool operator>(const d_Time& a, const d_Time& b) { return b < a; }
    friend bool operator<=(const d_Time& a, const d_Time& b) { return !(b < a); }
    friend bool operator>=(const d_Time& a, const d_Time& b) { return !(a < b); }

    KO_SORT_KEY_MEMBERS(KOTMS_API);

private:
    friend class d_Timestamp;

    struct Raw {
    };
    constexpr d_Time(Raw, int hour, int minute, int second, int hundredths, int zoneHour,
                     int zoneMinute)
        : m_zoneHour(static_cast<o_1b>(zoneHour)), m_zoneMinute(static_cast<o_1b>(zoneMinute)),
          m_hour(static_cast<o_1b>(hour)), m_minute(static_cast<o_1b>(minute)),
          m_second(static_cast<o_1b>(second)), m_hundredths(static_cast<o_1b>(hundredths))
    {
    }

    /// Hundredths since midnight, as held.
    constexpr int Position() const
    {
        return ((m_hour * 60 + m_minute) * 60 + m_second) * 100 + m_hundredths;
    }
    d_Interval WholeSeconds() const
    {
        return d_Interval(0, m_hour, m_minute, static_cast<float>(m_second));
    }
    KOTMS_API int Difference(const d_Time& other) const;
    void SetSeconds(float seconds);
    /// Moves, and returns the midnights passed.
    KOTMS_API float Move(const d_Interval& interval);

    o_1b m_zoneHour;
    o_1b m_zoneMinute;
    o_1b m_hour;
    o_1b m_minute;
    o_1b m_second;
    o_1b m_hundredths;
};

static_assert(sizeof(d_Time) == 6);

#endif
