#include "temporal/calendar.h"

#include <kodate.h>

#include <gtest/gtest.h>

using namespace ko;

// The table of months and what is left of the formula beside the formula itself: every month in
// years where quotients change, are cut toward zero from below, or fields end.
TEST(Calendar, DayNumbersOfAllMonths)
{
    for (const int around : {-32758, -14400, -4900, -4800, 0, 2000, 32757}) {
        for (int year = around - 10; year <= around + 10; ++year)
            for (int month = -128; month < 128; ++month)
                for (const int day : {-128, 1, 127})
                    ASSERT_EQ(KoDate(year, month, day).dayabs(), DayNumber(year, month, day))
                        << year << ' ' << month << ' ' << day;
    }
}
