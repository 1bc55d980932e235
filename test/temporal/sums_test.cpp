#include "support/value.h"

/// Sums of every class of dates and times, as test/data/dates/sums.txt says and explains.

namespace
{

void Add(KoDateTimeN& value, double count, const std::string& unit)
{
    if (unit == "seconds")
        value.AddSeconds(static_cast<o_8b>(count));
    else if (unit == "hours")
        value.AddHours(static_cast<int>(count));
    else
        value.AddDays(static_cast<int>(count));
}

/// All ways of moving a value by an interval lead to the same one.
template <class T>
void Move(T& value, double seconds)
{
    const d_Interval interval = d_Interval::OfSeconds(static_cast<float>(seconds));
    const T moved = value + interval;
    for (const T& same : {interval + value, value - -interval})
        EXPECT_FALSE(same < moved || moved < same);
    value = moved;
}

TEST(TemporalSums, AreAsWritten)
{
    data::ForEachRow("dates/sums.txt", 4, [](const auto& head, const data::Row& row) {
        Value value(head[0]);
        value.Set(row[0], head[1]);
        std::istringstream counts(row[1]);
        for (std::string number, unit; counts >> number >> unit;) {
            const double count = std::stod(number);
            if (value.Id() == KoDATE_T)
                *static_cast<KoDate*>(value.Data()) += static_cast<int>(count);
            else if (value.Id() == KoTIME_T)
                *static_cast<KoTime*>(value.Data()) += static_cast<int>(count);
            else if (value.Id() == KoDATIME_N_T)
                Add(*static_cast<KoDateTimeN*>(value.Data()), count, unit);
            else if (value.Id() == D_DATE_T)
                Move(*static_cast<d_Date*>(value.Data()), count);
            else if (value.Id() == D_TIME_T)
                Move(*static_cast<d_Time*>(value.Data()), count);
            else
                Move(*static_cast<d_Timestamp*>(value.Data()), count);
        }
        Value expected(head[0]);
        expected.Set(row[2], head[1]);
        EXPECT_EQ(value.Printed(head[1]), expected.Printed(head[1]));
    });
}

} // namespace
