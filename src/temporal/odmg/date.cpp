#include <koodmg.h>

#include "temporal/months.h"
#include "temporal/odmg/elements.h"
#include "temporal/range.h"

#include <iterator>
#include <limits>

namespace ko
{

namespace
{

struct OdmgDateType : OdmgDateElements {
    using Value = d_Date;
    static constexpr KoTypeId kId = D_DATE_T;
    static constexpr TemporalKind kKind = TemporalKind::kOdmgDate;

    static TemporalFields ToFields(const d_Date& date)
    {
        TemporalFields fields;
        fields.year = date.year();
        fields.month = date.month();
        fields.day = date.day();
        return fields;
    }
    static d_Date FromFields(const TemporalFields& fields)
    {
        return KoDate(fields.year, fields.month, fields.day);
    }
    static d_Date FromStamp(const KoTimeStampRec& clock) { return StampDate(clock); }
};

using OdmgDateOps = TemporalOps<OdmgDateType>;

/// The first day number, less one day, of the Gregorian calendar here, counted in the Julian one.
constexpr int kReform = 2299160;

} // namespace

KO_DEFINE_TYPE(d_DateDescriptor, OdmgDateOps, D_DATE_T)

} // namespace ko

using namespace ko;

int d_DateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return OdmgDateOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

d_Date::d_Date(o_2b year, o_u2b dayOfYear) : d_Date(year, 1, 1)
{
    Move(dayOfYear - 1);
}

// The day numbers, Julian Day Numbers less one, after Meeus (Astronomical Algorithms, 1991). His
// decimal factors stand here as quotients of whole numbers: none of the products comes near
// enough to a whole number for the cut to differ.

int d_Date::getAbsDate() const
{
    const bool early = m_month < 3;
    const int year = early ? m_year - 1 : m_year;
    const int month = early ? m_month + 13 : m_month + 1;
    const int days = 1461 * year / 4 + 306001 * month / 10000 + m_day + 1720994;
    // The days that the reform left out count on as Julian ones, into those after it.
    if (days < kReform + 10)
        return days;
    const int century = year / 100;
    return days + 2 - century + century / 4;
}

d_Date& d_Date::setAbsDate(int dayNumber)
{
    // In 64 bits no step overflows; only the fields are cut.
    o_8b days = o_8b{dayNumber} + 1;
    if (days > kReform) {
        const o_8b century = (4 * days - 7468865) / 146097;
        days += 1 + century - century / 4;
    }
    days += 1524;
    const o_8b year = (20 * days - 2442) / 7305;
    days -= 1461 * year / 4;
    const o_8b month = days * 10000 / 306001;
    m_day = static_cast<o_1b>(days - 306001 * month / 10000);
    const o_8b ofYear = month < 14 ? month - 1 : month - 13;
    m_month = static_cast<o_1b>(ofYear);
    m_year = static_cast<o_2b>(ofYear < 3 ? year - 4715 : year - 4716);
    return *this;
}

int d_Date::DaysSince(const d_Date& other) const
{
    return getAbsDate() - other.getAbsDate();
}

d_Date& d_Date::Move(int days)
{
    return setAbsDate(
        static_cast<int>(static_cast<unsigned>(getAbsDate()) + static_cast<unsigned>(days)));
}

d_Date& d_Date::operator+=(const d_Interval& interval)
{
    const float days = interval.Seconds() / 86400.0F;
    constexpr float kLimit = 2147483648.0F;
    if (days >= kLimit)
        return Move(std::numeric_limits<int>::max());
    if (days < -kLimit)
        return Move(std::numeric_limits<int>::min());
    return days == days ? Move(static_cast<int>(days)) : *this;
}

int d_Date::days_in_month(o_2b year, o_u2b month)
{
    constexpr int kDays[] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month >= std::size(kDays))
        return 0;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0 || year < 1600);
    return kDays[month] + (month == 2 && leap ? 1 : 0);
}

int d_Date::add_months(int n)
{
    return MoveByMonths(m_year, m_month, m_day, n, IsReformedDate);
}

int d_Date::add_years(int n)
{
    return MoveByMonths(m_year, m_month, m_day, o_8b{n} * 12, IsReformedDate);
}

int d_Date::day_of_year() const
{
    return DaysSince(d_Date(m_year, 1, 1)) + 1;
}

d_Date::Weekday d_Date::day_of_week() const
{
    return static_cast<Weekday>(((getAbsDate() + 2) % 7 + 7) % 7);
}

d_Date& d_Date::next(Weekday weekday)
{
    const int days = (weekday - day_of_week()) % 7;
    return Move(days > 0 ? days : days + 7);
}

d_Date& d_Date::previous(Weekday weekday)
{
    const int days = (weekday - day_of_week()) % 7;
    return Move(days < 0 ? days : days - 7);
}
