#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include "service/ServiceClock.h"

using OrvService::CServiceClock;

namespace {

TEST(ServiceClockTest, ParsesHoursAndMinutes)
{
    EXPECT_EQ(0, CServiceClock::Parse("00:00"));
    EXPECT_EQ(21 * 60 + 30, CServiceClock::Parse("21:30"));
    EXPECT_EQ(23 * 60 + 59, CServiceClock::Parse("23:59"));
    for (const char* szBad : {"24:00", "12:60", "9:30", "09:5", "0930", "09-30", "09:30 ", " 09:30", "ab:cd", ""}) {
        EXPECT_EQ(-1, CServiceClock::Parse(szBad)) << szBad;
    }
}

TEST(ServiceClockTest, VariableReplacesTheTimeOfDay)
{
    setenv(CServiceClock::VARIABLE, "21:30", 1);
    EXPECT_EQ(21 * 60 + 30, CServiceClock::MinuteOfDay());
    EXPECT_EQ("", CServiceClock::Warning());
    setenv(CServiceClock::VARIABLE, "00:00", 1);
    EXPECT_EQ(0, CServiceClock::MinuteOfDay());
    unsetenv(CServiceClock::VARIABLE);
    EXPECT_EQ("", CServiceClock::Warning());
}

TEST(ServiceClockTest, MalformedVariableIsIgnoredWithAWarning)
{
    unsetenv(CServiceClock::VARIABLE);
    const int iBefore = CServiceClock::MinuteOfDay();
    setenv(CServiceClock::VARIABLE, "25:00", 1);
    const int iWith = CServiceClock::MinuteOfDay();
    unsetenv(CServiceClock::VARIABLE);
    const int iAfter = CServiceClock::MinuteOfDay();
    // The local time, read on either side (a minute may turn over between).
    EXPECT_TRUE(iWith == iBefore || iWith == iAfter) << iBefore << " " << iWith << " " << iAfter;
    setenv(CServiceClock::VARIABLE, "25:00", 1);
    EXPECT_EQ("ORVPRINT_SERVICE_CLOCK=\"25:00\" is not HH:MM; the local time of day is used", CServiceClock::Warning());
    setenv(CServiceClock::VARIABLE, "1\n2", 1);
    EXPECT_EQ("ORVPRINT_SERVICE_CLOCK=\"1?2\" is not HH:MM; the local time of day is used", CServiceClock::Warning());
    unsetenv(CServiceClock::VARIABLE);
}

} // namespace
