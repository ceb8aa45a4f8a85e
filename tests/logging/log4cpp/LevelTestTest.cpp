// The nine level tests ask the resolved category with their priority.
#include <string>
#include <gtest/gtest.h>
#include "BackendLog.h"
#include "logging/LogMacros.h"

using logtest::BackendLog;

namespace {

struct Levels {
    bool bDebug, bInfo, bNotice, bWarn, bError, bCrit, bAlert, bFatal, bEmerg;
};

Levels ReadLevels()
{
    return Levels{IsDebugEnabled(), IsInfoEnabled(), IsNoticeEnabled(), IsWarnEnabled(), IsErrorEnabled(),
                  IsCritEnabled(),  IsAlertEnabled(), IsFatalEnabled(),  IsEmergEnabled()};
}

void ExpectLevels(const std::string& strPriority, const Levels& expected)
{
    SCOPED_TRACE(strPriority);
    BackendLog log("", strPriority);
    ORV_TRACE_SCOPE("LevelTest::Probe");
    const Levels actual = ReadLevels();
    EXPECT_EQ(expected.bDebug, actual.bDebug);
    EXPECT_EQ(expected.bInfo, actual.bInfo);
    EXPECT_EQ(expected.bNotice, actual.bNotice);
    EXPECT_EQ(expected.bWarn, actual.bWarn);
    EXPECT_EQ(expected.bError, actual.bError);
    EXPECT_EQ(expected.bCrit, actual.bCrit);
    EXPECT_EQ(expected.bAlert, actual.bAlert);
    EXPECT_EQ(expected.bFatal, actual.bFatal);
    EXPECT_EQ(expected.bEmerg, actual.bEmerg);
}

} // namespace

TEST(LevelTest, EachTestUsesItsPriority)
{
    ExpectLevels("DEBUG", {true, true, true, true, true, true, true, true, true});
    ExpectLevels("INFO", {false, true, true, true, true, true, true, true, true});
    ExpectLevels("NOTICE", {false, false, true, true, true, true, true, true, true});
    ExpectLevels("WARN", {false, false, false, true, true, true, true, true, true});
    ExpectLevels("ERROR", {false, false, false, false, true, true, true, true, true});
    ExpectLevels("CRIT", {false, false, false, false, false, true, true, true, true});
    ExpectLevels("ALERT", {false, false, false, false, false, false, true, true, true});
    ExpectLevels("FATAL", {false, false, false, false, false, false, false, true, true});
}

TEST(LevelTest, FalseWithoutCurrentEntry)
{
    BackendLog log;
    EXPECT_FALSE(IsDebugEnabled());
    EXPECT_FALSE(IsFatalEnabled());
}

TEST(LevelTest, FalseWhenNoCategoryResolves)
{
    BackendLog log;
    FunctionTraceScope scope("UnknownModule", nullptr, "LevelTest::NoCategory");
    EXPECT_FALSE(IsFatalEnabled());
    EXPECT_FALSE(IsEmergEnabled());
}

TEST(LevelTest, ThresholdOfTheCategoryAppliesToRecords)
{
    BackendLog log("", "ERROR");
    {
        ORV_TRACE_SCOPE("LevelTest::Threshold");
        LogWarning("%s", "not written");
        LogDebug("%s", "not written");
        LogError("%s", "written");
    }
    const std::vector<std::string> expected = {"OrvprintD_exe|ERROR|" + logtest::ThreadPrefix() + "ERROR - written"};
    EXPECT_EQ(expected, log.Lines());
}
