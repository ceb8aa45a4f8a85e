// Log files in a folder that other users may write. What lies under a log
// file's name when logging starts or when the launcher's cycle opens it
// again must be a regular file with one link: a link planted there is
// refused, nothing is written through it, and the refusal is logged by the
// other appenders.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include "logging/FunctionTraceScope.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "logging/log4cpp/LogFileGuard.h"
#include "support/TempFolder.h"

namespace {

const char* const VICTIM = "#!/bin/sh\necho harmless\n";

class LogFilePlantedTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_strShared = m_tmp.File("shared");
        std::filesystem::create_directory(m_strShared);
        std::filesystem::create_directory(m_tmp.File("own"));
        m_strVictim = m_outside.WriteFile("victim.sh", VICTIM);
        m_strConfig = m_tmp.WriteFile(
            "LogConfig.conf",
            "log4cpp.rootCategory=ERROR\n"
            "log4cpp.category.OrvprintD_exe=DEBUG, shared, own\n"
            "log4cpp.appender.shared=org.apache.log4cpp.FileAppender\n"
            "log4cpp.appender.shared.fileName=" + SharedLog() + "\n"
            "log4cpp.appender.shared.layout=org.apache.log4cpp.PatternLayout\n"
            "log4cpp.appender.shared.layout.ConversionPattern=%m%n\n"
            "log4cpp.appender.own=org.apache.log4cpp.FileAppender\n"
            "log4cpp.appender.own.fileName=" + m_tmp.File("own/OrvprintD.log") + "\n"
            "log4cpp.appender.own.layout=org.apache.log4cpp.PatternLayout\n"
            "log4cpp.appender.own.layout.ConversionPattern=%m%n\n");
    }
    void TearDown() override { ShutdownLogging(); }

    std::string SharedLog() const { return m_strShared + "/OrvprintD.log"; }
    std::string OwnLog() const { return m_tmp.ReadFile("own/OrvprintD.log"); }

    static void Write(const char* szMark)
    {
        FunctionTraceScope scope(ORV_LOG_MODULE, "LogFilePlantedTest", "Write");
        ORV_LOG_ERROR("%s(%d) : mark %s", szMark);
    }

    orvtest::TempFolder m_tmp;
    orvtest::TempFolder m_outside;
    std::string m_strShared;
    std::string m_strVictim;
    std::string m_strConfig;
};

TEST_F(LogFilePlantedTest, LinkPlantedAtStartIsRefusedAndTheOtherFilesGetTheRefusal)
{
    ASSERT_EQ(0, symlink(m_strVictim.c_str(), SharedLog().c_str()));
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    Write("after start");
    EXPECT_EQ(VICTIM, orvtest::ReadWholeFile(m_strVictim));
    const std::string strOwn = OwnLog();
    EXPECT_NE(std::string::npos, strOwn.find("] ERROR - logging/log4cpp/LogFileGuard.cpp(")) << strOwn;
    EXPECT_NE(std::string::npos, strOwn.find(") : Refused " + SharedLog() + ": it is a symbolic link.\n")) << strOwn;
    EXPECT_NE(std::string::npos, strOwn.find("mark after start")) << strOwn;
}

TEST_F(LogFilePlantedTest, LinkPlantedWhileTheFolderWasGoneIsNotOpenedAgain)
{
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    Write("before");
    ASSERT_NE(std::string::npos, orvtest::ReadWholeFile(SharedLog()).find("mark before"));

    // The folder goes and comes back with a link under the log's name.
    std::filesystem::remove_all(m_strShared);
    std::filesystem::create_directory(m_strShared);
    ASSERT_EQ(0, symlink(m_strVictim.c_str(), SharedLog().c_str()));

    {
        FunctionTraceScope scope(ORV_LOG_MODULE, "CLauncherThread", "Run");
        EXPECT_EQ(0, ReopenMissingLogFiles());
    }
    Write("after the cycle");
    EXPECT_EQ(VICTIM, orvtest::ReadWholeFile(m_strVictim));
    const std::string strOwn = OwnLog();
    EXPECT_NE(std::string::npos, strOwn.find(") : Refused " + SharedLog() + ": it is a symbolic link.\n")) << strOwn;
    EXPECT_NE(std::string::npos, strOwn.find("mark after the cycle")) << strOwn;
}

TEST(LogFileGuardTest, FileAppendersAreReadAsLog4cppReadsThem)
{
    setenv("ORV_TEST_LOG_USER", "alice", 1);
    const auto vecFiles = CLogFileGuard::FileAppenders(
        "# comment\n"
        "log4cpp.appender.a = org.apache.log4cpp.RollingFileAppender \n"
        "log4cpp.appender.a.fileName = /var/log/x/OrvprintD-${ORV_TEST_LOG_USER}.log # trailing\n"
        "log4cpp.appender.a.fileName=/second/wins/not\n"
        "log4j.appender.b=FileAppender\n"
        "appender.c=org.apache.log4cpp.FileAppender\n"
        "appender.c.fileName=${unset.property.x}/c.log${\n"
        "log4cpp.appender.d=org.apache.log4cpp.SyslogAppender\n"
        "log4cpp.appender.d.fileName=/not/a/file/appender\n");
    unsetenv("ORV_TEST_LOG_USER");
    ASSERT_EQ(3u, vecFiles.size());
    EXPECT_EQ("a", vecFiles[0].first);
    EXPECT_EQ("/var/log/x/OrvprintD-alice.log", vecFiles[0].second);
    EXPECT_EQ("b", vecFiles[1].first);
    EXPECT_EQ("foobar", vecFiles[1].second); // log4cpp's name when none is given
    EXPECT_EQ("c", vecFiles[2].first);
    EXPECT_EQ("/c.log${", vecFiles[2].second);
}

} // namespace
