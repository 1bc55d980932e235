#include <kodate.h>

#include "kocalendar.h"
#include "kotemporalops.h"

#include <kobase.h>

#include <cstdlib>

namespace
{

constexpr KoDate kClearDate(0, 0, 0);
constexpr KoDate kNullDate(-32768, -128, -128);
constexpr KoDate kDefaultDate(-4713, 11, 24);
constexpr KoDate kZeroDate(0, 1, 1);

struct DateType : PackedElements<TemporalLayout<true, 2>> {
    using Value = KoDate;
    static constexpr KoTypeId kId = KoDATE_T;
    static constexpr TemporalKind kKind = TemporalKind::kDate;

    static TemporalFields ToFields(const KoDate& date)
    {
        TemporalFields fields;
        fields.year = date.Year();
        fields.month = date.Month();
        fields.day = date.Day();
        return fields;
    }
    static KoDate FromFields(const TemporalFields& fields)
    {
        return {fields.year, fields.month, fields.day};
    }
    static KoDate FromStamp(const KoTimeStampRec& clock)
    {
        return {clock.year, clock.month, clock.day};
    }
};

using DateOps = TemporalOps<DateType>;

} // namespace

KO_DEFINE_TYPE(koDateDescriptor, DateOps, KoDATE_T)

int KoDateCompare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                  void* value2, unsigned short cmpOp, unsigned count, int& status)
{
    return DateOps::Cmp(format, length1, value1, length2, value2, cmpOp, count, status);
}

const KoDate& KoDate::ClearValue()
{
    return kClearDate;
}

const KoDate& KoDate::NullValue()
{
    return kNullDate;
}

const KoDate& KoDate::DefaultValue()
{
    return kDefaultDate;
}

const KoDate& KoDate::ZeroValue()
{
    return kZeroDate;
}

KoDate::KoDate() : KoDate(kNullDate)
{
    Today();
}

KoDate& KoDate::Today()
{
    KoDateRec today = {m_year, m_month, m_day};
    bksgetdate(&today);
    return *this = KoDate(today.year, today.month, today.day);
}

int KoDate::DayNumberByFormula(int year, int month, int day)
{
    return KoDayNumber(year, month, day);
}

KoDate KoDate::DateByFormula(int dayNumber)
{
    // After Fliegel and Van Flandern (1968). In 64 bits no step overflows; only the fields are cut.
    o_8b l = o_8b{dayNumber} + 68569;
    const o_8b n = 4 * l / 146097;
    l -= (146097 * n + 3) / 4;
    const o_8b i = 4000 * (l + 1) / 1461001;
    l = l - 1461 * i / 4 + 31;
    const o_8b k = 80 * l / 2447;
    KoDate date(0, 0, static_cast<int>(l - 2447 * k / 80));
    l = k / 11;
    date.m_month = static_cast<o_1b>(k + 2 - 12 * l);
    date.m_year = static_cast<o_2b>(100 * (n - 49) + i + l);
    return date;
}

int KoDate::daynxtmonth() const
{
    return KoDayNumber(m_year, m_month + 1, 1) - dayabs();
}

int KoDate::IsDate() const
{
    return KoIsDate(m_year, m_month, m_day) ? 1 : 0;
}

KoDaysOfTheWeek KoDate::GetDayOfTheDate() const
{
    return static_cast<KoDaysOfTheWeek>(KoWeekday(m_year, m_month, m_day));
}

KoString KoDate::PrintDayOfTheDate() const
{
    return KoString(kDayNames[static_cast<unsigned>(GetDayOfTheDate())].data());
}

// The number and not the name: programs tell the two apart by it.
KoString KoDate::PrintDayOfTheDate()
{
    return KoString(static_cast<int>(GetDayOfTheDate()));
}

int KoDate::divide(int a, int b) const
{
    // Division cuts toward zero. The smallest number has no magnitude in 32 bits.
    return b == 0 ? 0 : static_cast<int>(o_8b{a} / b);
}

int KoDate::modulo(int a, int b) const
{
    if (b == 0)
        return 0;
    const o_8b rest = std::abs(o_8b{a}) % std::abs(o_8b{b});
    // The sign is that of the quotient, not the dividend's as in the language.
    return static_cast<int>((a < 0) != (b < 0) ? -rest : rest);
}

void KoDate::PrintToKoString(KoString& out, const char* format) const
{
    PrintTemporalValue<DateType>(out, *this, format);
}

void KoDate::ScanFromKoString(KoString& in, const char* format)
{
    ScanTemporalValue<DateType>(*this, in, format);
}
