// LogFilter decisions, chain precedence, and the enable test.
#include <string>
#include <gtest/gtest.h>
#include <log4cpp/LoggingEvent.hh>
#include "BackendLog.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/LogFilter.h"
#include "logging/log4cpp/EntryCache.h"
#include "logging/log4cpp/LogState.h"

using logtest::BackendLog;
using logtest::ThreadPrefix;

namespace {

log4cpp::Filter::Decision Decide(log4cpp::Filter& filter, const std::string& strContext)
{
    const log4cpp::LoggingEvent event("", "", strContext, 700);
    return filter.decide(event);
}

} // namespace

TEST(LogFilter, PermissionValues)
{
    EXPECT_FALSE(LogFilter("M", "*", "*", "no").GetPermission());
    EXPECT_TRUE(LogFilter("M", "*", "*", "yes").GetPermission());
    EXPECT_TRUE(LogFilter("M", "*", "*", "No").GetPermission());
    EXPECT_TRUE(LogFilter("M", "*", "*", "NO").GetPermission());
    EXPECT_TRUE(LogFilter("M", "*", "*", "").GetPermission());
    EXPECT_TRUE(LogFilter("M", "*", "*", "no ").GetPermission());
}

TEST(LogFilter, ModuleFilterMatchesTheModule)
{
    LogFilter deny("OrvprintD_exe", "*", "*", "no");
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(deny, "OrvprintD_exe..CPopupThread::Run"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(deny, "Other..CPopupThread::Run"));
    LogFilter accept("OrvprintD_exe", "*", "*", "yes");
    EXPECT_EQ(log4cpp::Filter::ACCEPT, Decide(accept, "OrvprintD_exe..CPopupThread::Run"));
}

TEST(LogFilter, ClassFilterNeedsModuleAndClass)
{
    LogFilter filter("M", "C", "*", "no");
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(filter, "M.C.f"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "M.D.f"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "N.C.f"));
    // The usual entries have an empty class: an empty class value matches them.
    LogFilter empty("OrvprintD_exe", "", "*", "no");
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(empty, "OrvprintD_exe..CallUpPP"));
}

TEST(LogFilter, FunctionFilterNeedsAllThree)
{
    LogFilter filter("OrvprintD_exe", "", "COrvConfig::Get_DefaultPrinter", "no");
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(filter, "OrvprintD_exe..COrvConfig::Get_DefaultPrinter"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "OrvprintD_exe..COrvConfig::Get_DefaultProject"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "OrvprintD_exe.X.COrvConfig::Get_DefaultPrinter"));
}

TEST(LogFilter, FunctionNameWithDotIsMatchedWhole)
{
    LogFilter filter("M", "", "a.b", "no");
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(filter, "M..a.b"));
}

TEST(LogFilter, AnyModuleNeverDecides)
{
    LogFilter all("*", "*", "*", "no");
    LogFilter cls("*", "C", "*", "no");
    LogFilter fn("*", "C", "f", "no");
    for (const char* szContext : {"M.C.f", "OrvprintD_exe..F", "", "x"}) {
        EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(all, szContext)) << szContext;
        EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(cls, szContext)) << szContext;
        EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(fn, szContext)) << szContext;
    }
}

TEST(LogFilter, AnyClassWithFunctionNeverDecides)
{
    LogFilter filter("M", "*", "f", "no");
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "M.C.f"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, "M..f"));
}

TEST(LogFilter, EmptyContextMatchesNoNamedModule)
{
    LogFilter filter("OrvprintD_exe", "*", "*", "no");
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(filter, ""));
}

TEST(LogFilter, ChainAsksOnWhileNeutralAndFirstDecisionWins)
{
    LogFilter* pHead = new LogFilter("Other", "*", "*", "no");
    pHead->appendChainedFilter(new LogFilter("M", "*", "*", "yes"));
    pHead->appendChainedFilter(new LogFilter("M", "*", "*", "no"));
    EXPECT_EQ(log4cpp::Filter::ACCEPT, Decide(*pHead, "M..f"));
    EXPECT_EQ(log4cpp::Filter::DENY, Decide(*pHead, "Other..f"));
    EXPECT_EQ(log4cpp::Filter::NEUTRAL, Decide(*pHead, "Third..f"));
    delete pHead; // deletes the chain
}

TEST(EnableTest, WithoutFilterEveryRecordPasses)
{
    BackendLog log;
    ORV_TRACE_SCOPE("EnableTest::NoFilter");
    EXPECT_TRUE(IsLoggingEnabled());
}

TEST(EnableTest, FalseWhileDisabled)
{
    ShutdownLogging();
    EXPECT_FALSE(IsLoggingEnabled());
}

TEST(EnableTest, DeniedFunctionWritesNothingAtAnyLevel)
{
    BackendLog log("OutputFunBeginInfo.OrvprintD_exe=true\nOutputParam.OrvprintD_exe=true\n"
                   "filter.module=OrvprintD_exe\nfilter.class=\nfilter.function=EnableTest::Quiet\n"
                   "filter.putoutpermission=no\n");
    {
        ORV_TRACE_SCOPE("EnableTest::Quiet");
        EXPECT_FALSE(IsLoggingEnabled());
        LogFatal("%s", "quiet");
        LogError("%s", "quiet");
        LogDebug("%s", "quiet");
        LogParam("%s", "quiet");
    }
    {
        ORV_TRACE_SCOPE("EnableTest::Loud");
        EXPECT_TRUE(IsLoggingEnabled());
        LogError("%s", "loud");
    }
    const std::string p = ThreadPrefix();
    const std::vector<std::string> expected = {
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__EnableTest::Loud :START......",
        "OrvprintD_exe|ERROR|" + p + "ERROR - loud",
        "OrvprintD_exe|FATAL|" + p + "OrvprintD_exe__EnableTest::Loud :End  ......",
        "",
    };
    EXPECT_EQ(expected, log.Lines());
}

TEST(EnableTest, FirstGroupDecidesThroughTheFacade)
{
    BackendLog log("filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=no\n"
                   "filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\nfilter.putoutpermission=yes\n");
    {
        ORV_TRACE_SCOPE("EnableTest::Precedence");
        EXPECT_FALSE(IsLoggingEnabled());
        LogError("%s", "denied");
    }
    EXPECT_EQ("", log.Text());
}

TEST(EnableTest, ReinitializationDropsTheOldFilters)
{
    {
        BackendLog log("filter.module=OrvprintD_exe\nfilter.class=*\nfilter.function=*\n"
                       "filter.putoutpermission=no\n");
        ORV_TRACE_SCOPE("EnableTest::First");
        EXPECT_FALSE(IsLoggingEnabled());
    }
    BackendLog log;
    ORV_TRACE_SCOPE("EnableTest::Second");
    EXPECT_TRUE(IsLoggingEnabled());
}
