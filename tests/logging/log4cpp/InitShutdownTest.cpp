// Start-up and shutdown of the logging system.
#include <string>
#include <gtest/gtest.h>
#include <cstdarg>
#include <cstdio>
#include <vector>
#include "BackendLog.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/LogState.h"
#include "logging/log4cpp/ThreadNdc.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"

using logtest::BackendLog;

TEST(InitLogging, ValidFileEnablesLoggingAndReturnsZero)
{
    BackendLog log;
    EXPECT_FALSE(LogState::IsDisabled());
    EXPECT_EQ(0, InitLogging(log.ConfigPath().c_str()));
    EXPECT_FALSE(LogState::IsDisabled());
}

TEST(InitLogging, MalformedFileLeavesLoggingDisabled)
{
    orvtest::TempFolder folder;
    const std::string strPath = folder.WriteFile("LogConfig.conf",
                                                 "log4cpp.rootCategory=ERROR\n"
                                                 "log4cpp.category.OrvprintD_exe=DEBUG, undefinedAppender\n"
                                                 "OutputParam.OrvprintD_exe=true\n");
    EXPECT_EQ(0, InitLogging(strPath.c_str()));
    EXPECT_TRUE(LogState::IsDisabled());
    ORV_TRACE_SCOPE("Init::Malformed");
    EXPECT_FALSE(IsFatalEnabled());
    ShutdownLogging();
}

TEST(InitLogging, MissingFileLeavesLoggingDisabled)
{
    orvtest::TempFolder folder;
    EXPECT_EQ(0, InitLogging(folder.File("none.conf").c_str()));
    EXPECT_TRUE(LogState::IsDisabled());
    EXPECT_EQ(0, InitLogging(nullptr));
    EXPECT_TRUE(LogState::IsDisabled());
}

TEST(InitLogging, ANewConfigurationStartsWithoutTheOldSwitches)
{
    {
        BackendLog first("OutputFunBeginInfo.OrvprintD_exe=true\n");
    }
    BackendLog second;
    {
        ORV_TRACE_SCOPE("Init::Second");
    }
    EXPECT_EQ("", second.Text());
}

TEST(ShutdownLogging, DisablesAndRemovesTheAppenders)
{
    BackendLog log;
    ShutdownLogging();
    EXPECT_TRUE(LogState::IsDisabled());
    ShutdownLogging(); // again: harmless
    EXPECT_TRUE(LogState::IsDisabled());
}

TEST(ShutdownLogging, ReleasesTheCallingThreadsNdc)
{
    BackendLog log;
    {
        ORV_TRACE_SCOPE("Shutdown::Warmup"); // makes the NDC's slot known
    }
    TraceFunctionBegin("OrvprintD_exe", nullptr, "Shutdown::Open");
    EXPECT_TRUE(ThreadHoldsNdc());
    ShutdownLogging();
    EXPECT_FALSE(ThreadHoldsNdc());
    TraceFunctionEnd(); // disabled: nothing to do
    EXPECT_FALSE(ThreadHoldsNdc());
}

namespace {
std::vector<std::string> g_vecHexOutput;
void CollectHex(const char* szFormat, ...)
{
    char szText[256];
    va_list va;
    va_start(va, szFormat);
    vsnprintf(szText, sizeof(szText), szFormat, va);
    va_end(va);
    g_vecHexOutput.push_back(szText);
}
} // namespace

TEST(LogHexDump, WritesThroughTheCallersOutputWhileEnabled)
{
    BackendLog log;
    g_vecHexOutput.clear();
    const unsigned char abyData[8] = {0, 1, 2, 3, 4, 5, 6, 7};
    LogHexDump("Request:\n", abyData, 8, &CollectHex);
    ASSERT_EQ(3u, g_vecHexOutput.size());
    EXPECT_EQ("Request:\n", g_vecHexOutput[0]);
    EXPECT_EQ(0u, g_vecHexOutput[1].find("Address=0X"));
    EXPECT_EQ("00 01 02 03 04 05 06 07\n", g_vecHexOutput[2]);
    EXPECT_EQ("", log.Text());
}

TEST(LogCaptureSupport, StartsEmptyEvenWithBeginLinesOn)
{
    orvtest::LogCapture cap("OutputFunBeginInfo.OrvprintD_exe=true\n");
    ASSERT_TRUE(cap.Available());
    EXPECT_EQ("", cap.Text());
    {
        ORV_TRACE_SCOPE("Capture::Probe");
        ORV_LOG_ERROR("%s(%d) : %s", "text");
    }
    EXPECT_EQ(1, cap.Count("OrvprintD_exe__Capture::Probe :START......"));
    EXPECT_EQ(1, cap.Count("] ERROR - "));
    EXPECT_EQ(1, cap.Count("OrvprintD_exe__Capture::Probe :End  ......"));
}
