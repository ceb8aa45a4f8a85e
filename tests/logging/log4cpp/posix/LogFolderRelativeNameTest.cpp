// A relative file name in LogConfig.conf ("OrvprintD.log") names a file in
// the log folder (the client's LogDir, SetLogFolder), whatever folder the
// program was started in: nothing is written into the current folder.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include "logging/FunctionTraceScope.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "support/TempFolder.h"

namespace {

class LogFolderRelativeNameTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_pathStartFolder = std::filesystem::current_path();
        std::filesystem::current_path(m_cwd.Path());
    }
    void TearDown() override
    {
        ShutdownLogging();
        SetLogFolder(nullptr);
        std::filesystem::current_path(m_pathStartFolder);
    }

    // A configuration with the appender "rel" on strFileName and, where
    // given, the appender "own" on a full path.
    std::string WriteConfig(const std::string& strFileName, const std::string& strOwnLog = "")
    {
        std::string strText = "log4cpp.rootCategory=ERROR\n"
                              "log4cpp.category.OrvprintD_exe=DEBUG, rel" +
                              std::string(strOwnLog.empty() ? "" : ", own") +
                              "\n"
                              "log4cpp.appender.rel=org.apache.log4cpp.RollingFileAppender\n"
                              "log4cpp.appender.rel.fileName=" +
                              strFileName +
                              "\n"
                              "log4cpp.appender.rel.layout=org.apache.log4cpp.PatternLayout\n"
                              "log4cpp.appender.rel.layout.ConversionPattern=%m%n\n";
        if (!strOwnLog.empty()) {
            strText += "log4cpp.appender.own=org.apache.log4cpp.FileAppender\n"
                       "log4cpp.appender.own.fileName=" +
                       strOwnLog +
                       "\n"
                       "log4cpp.appender.own.layout=org.apache.log4cpp.PatternLayout\n"
                       "log4cpp.appender.own.layout.ConversionPattern=%m%n\n";
        }
        return m_config.WriteFile("LogConfig.conf", strText);
    }

    static void Write(const char* szMark)
    {
        FunctionTraceScope scope(ORV_LOG_MODULE, "LogFolderRelativeNameTest", "Write");
        ORV_LOG_ERROR("%s(%d) : mark %s", szMark);
    }

    bool CurrentFolderIsEmpty() const
    {
        return std::filesystem::directory_iterator(m_cwd.Path()) == std::filesystem::directory_iterator();
    }

    std::filesystem::path m_pathStartFolder;
    orvtest::TempFolder m_cwd;    // the current folder while the test runs
    orvtest::TempFolder m_logDir; // the log folder
    orvtest::TempFolder m_config; // where LogConfig.conf lies
};

} // namespace

TEST_F(LogFolderRelativeNameTest, ARelativeNameIsTakenInTheLogFolder)
{
    const std::string strConfig = WriteConfig("OrvprintD.log");
    SetLogFolder(m_logDir.Path().c_str());
    ASSERT_EQ(0, InitLogging(strConfig.c_str()));
    Write("in the log folder");
    ShutdownLogging();
    const std::string strLog = orvtest::ReadWholeFile(m_logDir.File("OrvprintD.log"));
    EXPECT_NE(std::string::npos, strLog.find(") : mark in the log folder\n")) << strLog;
    EXPECT_TRUE(CurrentFolderIsEmpty());
}

TEST_F(LogFolderRelativeNameTest, ARelativeNameWithFoldersIsMadeInTheLogFolder)
{
    const std::string strConfig = WriteConfig("logs/user/OrvprintD.log");
    // A log folder given with its final separator.
    SetLogFolder((m_logDir.Path() + "/").c_str());
    ASSERT_EQ(0, InitLogging(strConfig.c_str()));
    Write("below the log folder");
    ShutdownLogging();
    const std::string strLog = orvtest::ReadWholeFile(m_logDir.File("logs/user/OrvprintD.log"));
    EXPECT_NE(std::string::npos, strLog.find(") : mark below the log folder\n")) << strLog;
    EXPECT_TRUE(CurrentFolderIsEmpty());
}

// The log folder's path is taken as it is, even where it looks like one of
// the configuration's "${...}" substitutions.
TEST_F(LogFolderRelativeNameTest, ALogFolderWithADollarBraceIsTakenAsItIs)
{
    const std::string strFolder = m_logDir.File("a${HOME}b");
    std::filesystem::create_directory(strFolder);
    const std::string strConfig = WriteConfig("OrvprintD.log");
    SetLogFolder(strFolder.c_str());
    ASSERT_EQ(0, InitLogging(strConfig.c_str()));
    Write("literal folder");
    ShutdownLogging();
    const std::string strLog = orvtest::ReadWholeFile(strFolder + "/OrvprintD.log");
    EXPECT_NE(std::string::npos, strLog.find(") : mark literal folder\n")) << strLog;
    EXPECT_TRUE(CurrentFolderIsEmpty());
}

// Without a log folder a relative name is refused: its appender writes
// nowhere, the other appenders get the refusal.
TEST_F(LogFolderRelativeNameTest, WithoutALogFolderARelativeNameIsRefused)
{
    const std::string strOwnLog = m_logDir.File("own.log");
    const std::string strConfig = WriteConfig("OrvprintD.log", strOwnLog);
    SetLogFolder("");
    ASSERT_EQ(0, InitLogging(strConfig.c_str()));
    Write("no log folder");
    ShutdownLogging();
    EXPECT_TRUE(CurrentFolderIsEmpty());
    const std::string strOwn = orvtest::ReadWholeFile(strOwnLog);
    EXPECT_NE(std::string::npos,
              strOwn.find(") : Refused OrvprintD.log: it is a relative name and there is no log folder (LogDir) to "
                          "take it in.\n"))
        << strOwn;
    EXPECT_NE(std::string::npos, strOwn.find(") : mark no log folder\n")) << strOwn;
}

// A full path stays as it is, log folder or not.
TEST_F(LogFolderRelativeNameTest, AFullPathIsNotMoved)
{
    orvtest::TempFolder elsewhere;
    const std::string strConfig = WriteConfig(elsewhere.File("OrvprintD.log"));
    SetLogFolder(m_logDir.Path().c_str());
    ASSERT_EQ(0, InitLogging(strConfig.c_str()));
    Write("full path");
    ShutdownLogging();
    const std::string strLog = orvtest::ReadWholeFile(elsewhere.File("OrvprintD.log"));
    EXPECT_NE(std::string::npos, strLog.find(") : mark full path\n")) << strLog;
    EXPECT_TRUE(std::filesystem::directory_iterator(m_logDir.Path()) == std::filesystem::directory_iterator());
    EXPECT_TRUE(CurrentFolderIsEmpty());
}
