#include <kodatetime.h>

#include "temporal/date_time_type.h"
#include "temporal/zone.h"

#include <chrono>

namespace ko
{

namespace
{

constexpr KoTime kMidnight(0, 0, 0);
constexpr KoDateTime kClear(KoDate(0, 0, 0), kMidnight);
constexpr KoDateTime kNull(KoDate(-32768, -128, -128), KoTime(-128, -128, -128));
constexpr KoDateTime kDefault(KoDate(-4713, 11, 24), kMidnight);
constexpr KoDateTime kZero(KoDate(0, 1, 1), kMidnight);

struct DateTimeType : PackedElements<TemporalLayout<true, 5>> {
    using Value = KoDateTime;
    static constexpr KoTypeId kId = KoDATIME_T;
    static constexpr TemporalKind kKind = TemporalKind::kDateTime;

    static TemporalFields ToFields(const KoDateTime& value)
    {
        return FieldsOfDateTime(value.Date(), value.Time());
    }
    static KoDateTime FromFields(const TemporalFields& fields) { return DateTimeOfFields(fields); }
    static KoDateTime FromStamp(const KoTimeStampRec& clock)
    {
        return {KoDate(clock.year, clock.month, clock.day),
                KoTime(clock.hour, clock.minute, clock.second)};
    }
};

using DateTimeOps = TemporalOps<DateTimeType>;

/// -n modulo 2^32.
constexpr int Negated(int n) noexcept
{
    return static_cast<int>(0U - static_cast<unsigned>(n));
}

/// Moves by so many minutes, seconds untouched. One day is carried and no more: an hour out of
/// range beyond that is what stored values have.
void MoveByZone(KoDateTime& value, int minutes)
{
    constexpr int kDay = 1440;
    const KoTime& time = value.Time();
    const auto sum = static_cast<int>(static_cast<unsigned>(60 * time.Hour() + time.Minute()) +
                                      static_cast<unsigned>(minutes));
    int hour = sum / 60;
    int minute = sum % 60;
    KoDate date = value.Date();
    if (sum >= kDay) {
        ++date;
        hour = (sum - kDay) / 60;
        minute = (sum - kDay) % 60;
    } else if (sum < 0) {
        --date;
        hour += minute != 0 ? 23 : 24;
        minute += minute != 0 ? 60 : 0;
    }
    value = KoDateTime(date, KoTime(hour, minute, time.Second()));
}

} // namespace

KO_DEFINE_TYPE(koDateTimeDescriptor, DateTimeOps, KoDATIME_T)

} // namespace ko

using namespace ko;

int KoDateTimeCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                      void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return DateTimeOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

const KoDateTime& KoDateTime::ClearValue()
{
    return kClear;
}

// This is not the null value, and stays so: programs have compared with it.
const KoDateTime& KoDateTime::Null()
{
    return kClear;
}

const KoDateTime& KoDateTime::NullValue()
{
    return kNull;
}

const KoDateTime& KoDateTime::DefaultValue()
{
    return kDefault;
}

const KoDateTime& KoDateTime::ZeroValue()
{
    return kZero;
}

KoDateTime::KoDateTime() : KoDateTime(kNull)
{
    Now();
}

KoDateTime& KoDateTime::Now()
{
    // One reading for both, so that no midnight lies between them.
    KoTimeStampRec now;
    const int result = bksGetHiresTime(&now);
    if (result == 0 || result == KoRC_NO_TIMEZONE) // without a zone the reading is UTC
        *this = KoDateTime(KoDate(now.year, now.month, now.day),
                           KoTime(now.hour, now.minute, now.second));
    return *this;
}

KoDateTime& KoDateTime::NowUTC()
{
    KoDateRec date;
    KoTimeRec time;
    if (bksgetsystemtime(&time, &date) == 0)
        *this = KoDateTime(KoDate(date.year, date.month, date.day),
                           KoTime(time.hour, time.minute, time.second));
    return *this;
}

void KoDateTime::AddSeconds(int n)
{
    constexpr int kDay = 86400;
    int days = n / kDay;
    const int rest = n % kDay;
    const KoTime time = m_time + rest;
    // The time wraps at midnight: it has passed one when it did not move the way it was moved.
    if (rest < 0 && time > m_time)
        --days;
    else if (rest >= 0 && time < m_time)
        ++days;
    m_date += days;
    m_time = time;
}

int KoDateTime::ToLocalTime()
{
    return WithZone([this](int minutes) { MoveByZone(*this, minutes); });
}

int KoDateTime::ToUTCTime()
{
    return WithZone([this](int minutes) { MoveByZone(*this, Negated(minutes)); });
}

void KoDateTime::PrintToKoString(KoString& out, const char* format) const
{
    PrintTemporalValue<DateTimeType>(out, *this, format);
}

void KoDateTime::ScanFromKoString(KoString& in, const char* format)
{
    ScanTemporalValue<DateTimeType>(*this, in, format);
}

int GetSystemTimeInMSSinceTheEpoch(KoInt64& out)
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now().time_since_epoch());
    out = static_cast<o_8b>(now.count());
    return 0;
}
