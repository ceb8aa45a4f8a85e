// Linux removes the log folder with the open log in it. The calls go on
// returning, nothing is made in the folder's place by a record, and the
// launcher's next cycle (ReopenMissingLogFiles) makes the folder again and
// writes to the configured path; a new start of logging writes as well.
#include <atomic>
#include <thread>
#include <vector>
#include "tests/logging/log4cpp/LogFolderFaultFixture.h"

using logtest::CallBounded;
using logtest::LogAtEveryLevel;
using logtest::LogFolderFaultTest;

TEST_P(LogFolderFaultTest, RemovedFolderIsMadeAgainAndWrittenAfterTheReopen)
{
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    ASSERT_TRUE(logtest::IsLoggingOn());
    int iChanged = -1;
    CallBounded([&]() { iChanged = LogAtEveryLevel("before"); }, "before");
    EXPECT_EQ(0, iChanged);
    ExpectEveryLevel(FolderText(), "before");
    // Nothing is missing: nothing is opened again.
    EXPECT_EQ(0, ReopenMissingLogFiles());

    // The folder goes, with the open log in it.
    std::filesystem::remove_all(m_strLogFolder);
    ASSERT_FALSE(std::filesystem::exists(m_strLogFolder));
    const int ROUNDS = 200;
    int iChangedWhileGone = 0;
    CallBounded(
        [&]() {
            for (int i = 0; i < ROUNDS; ++i) {
                iChangedWhileGone += LogAtEveryLevel("gone" + std::to_string(i));
            }
        },
        "folder gone");
    EXPECT_EQ(0, iChangedWhileGone) << "calls that changed errno";
    EXPECT_TRUE(logtest::IsLoggingOn());
    // Records make nothing in the folder's place.
    EXPECT_FALSE(std::filesystem::exists(m_strLogFolder));

    // The launcher's cycle: the folder is made again and the file reopened.
    errno = logtest::ERRNO_MARK;
    EXPECT_EQ(1, ReopenMissingLogFiles());
    EXPECT_EQ(logtest::ERRNO_MARK, errno);
    ASSERT_TRUE(std::filesystem::is_directory(m_strLogFolder));
    CallBounded([&]() { iChanged = LogAtEveryLevel("reopened"); }, "reopened");
    EXPECT_EQ(0, iChanged);
    ExpectEveryLevel(FolderText(), "reopened");
    EXPECT_EQ(0, ReopenMissingLogFiles());

    // Files deleted while the folder stays are found too.
    for (const auto& entry : std::filesystem::directory_iterator(m_strLogFolder)) {
        std::filesystem::remove(entry.path());
    }
    EXPECT_EQ(1, ReopenMissingLogFiles());
    CallBounded([&]() { iChanged = LogAtEveryLevel("deleted"); }, "deleted");
    ExpectEveryLevel(FolderText(), "deleted");

    // A new start of logging (the program's next start) writes again.
    ShutdownLogging();
    EXPECT_EQ(0, ReopenMissingLogFiles());
    for (const auto& entry : std::filesystem::directory_iterator(m_strLogFolder)) {
        std::filesystem::remove(entry.path());
    }
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    ASSERT_TRUE(logtest::IsLoggingOn());
    CallBounded([&]() { iChanged = LogAtEveryLevel("restarted"); }, "restarted");
    EXPECT_EQ(0, iChanged);
    ExpectEveryLevel(FolderText(), "restarted");
}

// Two threads write records without pause while the folder is removed again
// and again and a third thread reopens: no write crosses a reopen (the
// thread sanitizer checks), every call returns, and records written after
// the last reopen are in the new file.
TEST_P(LogFolderFaultTest, ReopeningWhileTwoThreadsWriteIsSafe)
{
    ASSERT_EQ(0, InitLogging(m_strConfig.c_str()));
    ASSERT_TRUE(logtest::IsLoggingOn());
    std::atomic<bool> bStop{false};
    std::atomic<int> iPhase{0};
    std::atomic<long> lRecords{0};
    std::vector<std::thread> vecWriters;
    for (int t = 0; t < 2; ++t) {
        vecWriters.emplace_back([&, t]() {
            while (!bStop.load()) {
                ORV_TRACE_SCOPE("LogFolderFault::Writer");
                ORV_LOG_INFO_PLAIN("writer %d phase %d", t, iPhase.load());
                ++lRecords;
            }
        });
    }
    std::thread reopener([&]() {
        while (!bStop.load()) {
            ReopenMissingLogFiles();
        }
    });
    const auto waitRecords = [&](long lMore) {
        const long lTarget = lRecords.load() + lMore;
        const auto deadline = std::chrono::steady_clock::now() + logtest::CALL_TIMEOUT;
        while (lRecords.load() < lTarget && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        return lRecords.load() >= lTarget;
    };
    for (int i = 1; i <= 20; ++i) {
        ASSERT_TRUE(waitRecords(50));
        std::error_code ec;
        std::filesystem::remove_all(m_strLogFolder, ec);
        iPhase = i;
    }
    // The last removal is noticed by the reopener; records of the last phase
    // reach the new file.
    const std::string strLast = "phase 20";
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(11);
    bool bFound = false;
    while (!bFound && std::chrono::steady_clock::now() < deadline) {
        bFound = FolderText().find(strLast) != std::string::npos;
        std::this_thread::yield();
    }
    bStop = true;
    for (std::thread& t : vecWriters) {
        t.join();
    }
    reopener.join();
    EXPECT_TRUE(bFound) << "no record of the last phase in " << m_strLogFolder;
    EXPECT_GT(lRecords.load(), 1000);
}

INSTANTIATE_TEST_SUITE_P(Appenders, LogFolderFaultTest, ::testing::Values(logtest::PLAIN_FILE, logtest::ROLLING_FILE),
                         logtest::AppenderKindName);
