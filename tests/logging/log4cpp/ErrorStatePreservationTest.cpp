// Every facade call keeps errno, also when log4cpp's own work changes it.
#include <cerrno>
#include <cstdarg>
#include <gtest/gtest.h>
#include <log4cpp/Category.hh>
#include "BackendLog.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMacros.h"

using logtest::BackendLog;

namespace {

// A second appender whose file cannot be opened: each record written to it
// fails with EBADF.
const char* const kBrokenAppender =
    "log4cpp.category.OrvprintD_exe=DEBUG, capture, broken\n"
    "log4cpp.appender.broken=org.apache.log4cpp.FileAppender\n"
    "log4cpp.appender.broken.fileName=/nonexistent-orvtest-dir/broken.log\n"
    "OutputParam.OrvprintD_exe=true\nOutputFunBeginInfo.OrvprintD_exe=true\n"
    "OutputNDCFullmessage.OrvprintD_exe=true\nOutputNTEventLog.OrvprintD_exe=true\n";

void NoOutput(const char*, ...) {}

} // namespace

TEST(ErrorStatePreservation, WritingToTheBrokenAppenderChangesErrno)
{
    BackendLog log(kBrokenAppender);
    errno = 4242;
    log4cpp::Category::getInstance("OrvprintD_exe").error("direct");
    EXPECT_NE(4242, errno);
}

TEST(ErrorStatePreservation, EveryCallKeepsErrno)
{
    BackendLog log(kBrokenAppender);
    errno = 4242;
    TraceFunctionBegin("OrvprintD_exe", nullptr, "ErrorState::Calls");
    EXPECT_EQ(4242, errno) << "TraceFunctionBegin";
    LogFatal("%s", "f");
    EXPECT_EQ(4242, errno) << "LogFatal";
    LogError("%s", "e");
    EXPECT_EQ(4242, errno) << "LogError";
    LogWarning("%s", "w");
    EXPECT_EQ(4242, errno) << "LogWarning";
    LogInfo("%s", "i");
    EXPECT_EQ(4242, errno) << "LogInfo";
    LogDebug("%s", "d");
    EXPECT_EQ(4242, errno) << "LogDebug";
    LogParam("%s", "p");
    EXPECT_EQ(4242, errno) << "LogParam";
    EXPECT_TRUE(IsDebugEnabled());
    EXPECT_TRUE(IsEmergEnabled());
    EXPECT_EQ(4242, errno) << "level tests";
    EXPECT_EQ(0, DumpCallStack("OrvprintD_exe", "", "ErrorState::Calls", 300));
    EXPECT_EQ(4242, errno) << "DumpCallStack";
    const unsigned char abyData[2] = {1, 2};
    LogHexDump("t", abyData, 2, &NoOutput);
    EXPECT_EQ(4242, errno) << "LogHexDump";
    TraceFunctionEnd();
    EXPECT_EQ(4242, errno) << "TraceFunctionEnd";
    // The records did reach the working appender.
    EXPECT_EQ(1, log.Count("ERROR - e"));
    EXPECT_EQ(1, log.Count(":End  ......"));
}

TEST(ErrorStatePreservation, InitAndShutdownKeepErrno)
{
    orvtest::TempFolder folder;
    errno = 4242;
    InitLogging(folder.File("missing.conf").c_str()); // log4cpp fails with ENOENT inside
    EXPECT_EQ(4242, errno);
    {
        BackendLog log(kBrokenAppender);
        EXPECT_EQ(4242, errno);
        ShutdownLogging();
        EXPECT_EQ(4242, errno);
    }
}
