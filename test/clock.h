#ifndef KO_TEST_CLOCK_H
#define KO_TEST_CLOCK_H

#include <kobase.h>

/// The library's clock stands still while this lives: at a reading in UTC, in a zone so many
/// minutes ahead of it. `zoneError` other than 0 is what a question for the zone ends in.
class FixedClock
{
public:
    explicit FixedClock(KoTimeStampRec utc, int zoneMinutes = 0, int zoneError = 0)
    {
        s_utc = utc;
        s_zone = zoneMinutes;
        s_error = zoneError;
        static constexpr KoClock kClock = {[](KoTimeStampRec* now) {
                                               *now = s_utc;
                                               return 0;
                                           },
                                           [](int* minutes) {
                                               if (s_error == 0)
                                                   *minutes = s_zone;
                                               return s_error;
                                           }};
        m_previous = bksSetClock(&kClock);
    }
    FixedClock(const FixedClock&) = delete;
    FixedClock& operator=(const FixedClock&) = delete;
    ~FixedClock() { bksSetClock(m_previous); }

private:
    inline static KoTimeStampRec s_utc;
    inline static int s_zone;
    inline static int s_error;
    const KoClock* m_previous;
};

#endif
