// The facade while logging is disabled: before InitLogging succeeds, after a
// failed InitLogging, after ShutdownLogging, and always in builds without
// log4cpp.
#include <cerrno>
#include <cstdarg>
#include <string>
#include <gtest/gtest.h>
#include "logging/FunctionParameters.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"

namespace {

int g_iOutputCalls = 0;

void CountOutput(const char*, ...)
{
    ++g_iOutputCalls;
}

void ExpectAllLevelTestsFalse()
{
    EXPECT_FALSE(IsDebugEnabled());
    EXPECT_FALSE(IsInfoEnabled());
    EXPECT_FALSE(IsNoticeEnabled());
    EXPECT_FALSE(IsWarnEnabled());
    EXPECT_FALSE(IsErrorEnabled());
    EXPECT_FALSE(IsCritEnabled());
    EXPECT_FALSE(IsAlertEnabled());
    EXPECT_FALSE(IsFatalEnabled());
    EXPECT_FALSE(IsEmergEnabled());
}

void CallEverything()
{
    LogFatal("%s(%d) : %s", "f.cpp", 1, "fatal");
    LogError("%s(%d) : %s", "f.cpp", 2, "error");
    LogWarning("%s(%d) : %s", "f.cpp", 3, "warning");
    LogInfo("%s(%d) : %s", "f.cpp", 4, "info");
    LogDebug("%s(%d) : %s", "f.cpp", 5, "debug");
    LogParam("F([a] = 1, )");
    const unsigned char abyData[3] = {1, 2, 3};
    LogHexDump("title", abyData, 3, &CountOutput);
}

} // namespace

// A valid configuration is in place (its appenders are attached), then a
// second InitLogging fails: the facade is disabled and must write nothing.
TEST(DisabledFacade, CallsAreSilentAfterAFailedInit)
{
    orvtest::LogCapture cap("OutputParam.OrvprintD_exe=true\nOutputFunBeginInfo.OrvprintD_exe=true\n"
                            "OutputNDCFullmessage.OrvprintD_exe=true\n");
    orvtest::TempFolder folder;
    EXPECT_EQ(0, InitLogging(folder.File("missing-LogConfig.conf").c_str()));

    g_iOutputCalls = 0;
    {
        ORV_TRACE_SCOPE("DisabledFacade::Silent");
        ExpectAllLevelTestsFalse();
        CallEverything();
        EXPECT_EQ(-1, DumpCallStack("OrvprintD_exe", "", "DisabledFacade::Silent", 300));
    }
    EXPECT_EQ(0, g_iOutputCalls);
    EXPECT_EQ("", cap.Text());
}

TEST(DisabledFacade, LevelTestsAreFalseAfterShutdown)
{
    {
        orvtest::LogCapture cap;
    }
    ORV_TRACE_SCOPE("DisabledFacade::AfterShutdown");
    ExpectAllLevelTestsFalse();
}

TEST(DisabledFacade, InitWithMissingFileReturnsZeroAndPrintsNothing)
{
    orvtest::TempFolder folder;
    ::testing::internal::CaptureStdout();
    const int iResult = InitLogging(folder.File("LogConfig.conf").c_str());
    const std::string strOut = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(0, iResult);
    EXPECT_EQ("", strOut);
    ORV_TRACE_SCOPE("DisabledFacade::MissingFile");
    EXPECT_FALSE(IsFatalEnabled());
    ShutdownLogging();
}

TEST(DisabledFacade, MacrosDoNotEvaluateArgumentsWhenDisabled)
{
    ShutdownLogging();
    ORV_TRACE_SCOPE("DisabledFacade::Macros");
    int iEvaluated = 0;
    auto Arg = [&iEvaluated]() { return ++iEvaluated; };
    ORV_LOG_ERROR("%s(%d) : %d", Arg());
    ORV_LOG_DEBUG("%s(%d) : %d", Arg());
    ORV_LOG_FATAL_PLAIN("%d", Arg());
    EXPECT_EQ(0, iEvaluated);
}

TEST(DisabledFacade, ErrnoIsKeptByEveryCall)
{
    ShutdownLogging();
    ORV_TRACE_SCOPE("DisabledFacade::Errno");
    errno = 4242;
    CallEverything();
    ExpectAllLevelTestsFalse();
    TraceFunctionBegin("OrvprintD_exe", nullptr, "Inner");
    TraceFunctionEnd();
    EXPECT_EQ(4242, errno);
}

TEST(DisabledFacade, LogCaptureIsAvailableOnlyWithTheLog4cppBackend)
{
    orvtest::LogCapture cap;
    EXPECT_EQ(ORV_LOGGING_BACKEND != 0, cap.IsBackendPresent());
}

TEST(DisabledFacade, ParameterCaptureIsSkippedWhenFatalIsDisabled)
{
    ShutdownLogging();
    ORV_TRACE_SCOPE("DisabledFacade::Params");
    int iIndex = 3;
    FunctionParameters params("DisabledFacade::Params");
    if (IsFatalEnabled()) {
        params.Add("iIndex", &iIndex);
    }
    EXPECT_EQ("DisabledFacade::Params()", params.Text());
    ORV_LOG_PARAMS(params);
}
