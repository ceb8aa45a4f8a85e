// Windows does not remove a folder while logging holds the file open in it:
// the removal fails, the folder and the log stay, and logging goes on into
// the same file. Nothing is missing, so nothing is opened again.
#include "tests/logging/log4cpp/LogFolderFaultFixture.h"

using logtest::CallBounded;
using logtest::LogAtEveryLevel;
using logtest::LogFolderFaultTest;

TEST_P(LogFolderFaultTest, TheFolderStaysWhileLoggingHoldsTheFileAndLoggingGoesOn)
{
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    ASSERT_TRUE(logtest::IsLoggingOn());
    int iChanged = -1;
    CallBounded([&]() { iChanged = LogAtEveryLevel("before"); }, "before");
    EXPECT_EQ(0, iChanged);

    std::error_code ec;
    std::filesystem::remove_all(m_strLogFolder, ec);
    EXPECT_TRUE(ec) << "the folder went although the log is open in it";
    ASSERT_TRUE(std::filesystem::exists(LogFile()));

    CallBounded([&]() { iChanged = LogAtEveryLevel("after"); }, "after");
    EXPECT_EQ(0, iChanged);
    EXPECT_EQ(0, ReopenMissingLogFiles());
    const std::string strText = FolderText();
    ExpectEveryLevel(strText, "before");
    ExpectEveryLevel(strText, "after");
    // Windows log files end their lines with CRLF.
    EXPECT_NE(std::string::npos, strText.find("\r\n"));
}

INSTANTIATE_TEST_SUITE_P(Appenders, LogFolderFaultTest, ::testing::Values(logtest::PLAIN_FILE, logtest::ROLLING_FILE),
                         logtest::AppenderKindName);
