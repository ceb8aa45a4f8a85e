// Every facade call keeps errno, also when log4cpp's own work changes it.
#include <cerrno>
#include <cstdarg>
#include <string>
#include <gtest/gtest.h>
#include <log4cpp/Category.hh>
#include "BackendLog.h"
#include "support/TempFolder.h"
#include "logging/FunctionTrace.h"
#include "logging/LogMacros.h"

using logtest::BackendLog;

namespace {

// The category of "ErrorState::Calls" gets an appender that rolls over at
// every record: its attempts to remove and rename backup files that do not
// exist fail with ENOENT. (Its records also reach the capture of the module.)
std::string RollingAppender(const orvtest::TempFolder& folder)
{
    return "log4cpp.category.OrvprintD_exe.ErrorState::Calls=DEBUG, roller\n"
           "log4cpp.appender.roller=org.apache.log4cpp.RollingFileAppender\n"
           "log4cpp.appender.roller.fileName=" + folder.File("roll.log") + "\n"
           "log4cpp.appender.roller.maxFileSize=1\n"
           "log4cpp.appender.roller.maxBackupIndex=100\n"
           "log4cpp.appender.roller.layout=org.apache.log4cpp.SimpleLayout\n"
           "OutputParam.OrvprintD_exe=true\n"
           "OutputParam.OrvprintD_exe.ErrorState::Calls=true\n"
           "OutputFunBeginInfo.OrvprintD_exe.ErrorState::Calls=true\n"
           "OutputNDCFullmessage.OrvprintD_exe.ErrorState::Calls=true\n";
}

void NoOutput(const char*, ...) {}

} // namespace

TEST(ErrorStatePreservation, RollingOverChangesErrno)
{
    orvtest::TempFolder folder;
    BackendLog log(RollingAppender(folder));
    errno = 4242;
    log4cpp::Category::getInstance("OrvprintD_exe.ErrorState::Calls").error("direct");
    EXPECT_NE(4242, errno);
}

TEST(ErrorStatePreservation, EveryCallKeepsErrno)
{
    orvtest::TempFolder folder;
    BackendLog log(RollingAppender(folder));
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
        BackendLog log(RollingAppender(folder));
        EXPECT_EQ(4242, errno);
        ShutdownLogging();
        EXPECT_EQ(4242, errno);
    }
}
