#pragma once

// The log folder disappears while the program runs (a clean-up tool, a user
// removing the folder). What each platform lets happen differs: Linux removes
// the folder with the open log in it, Windows refuses while the file is open.
// Either way every call returns and keeps the caller's error state.
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <gtest/gtest.h>
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "support/TempFolder.h"
#include "support/TextLines.h"

namespace logtest {

const auto CALL_TIMEOUT = std::chrono::seconds(60);
const int ERRNO_MARK = 4343;

enum AppenderKind { PLAIN_FILE, ROLLING_FILE };

// Runs fnCalls on a thread of its own and waits for it, bounded: logging
// calls that do not return stop the process with the reason.
template <class F>
inline void CallBounded(F fnCalls, const char* szWhat)
{
    std::mutex mutexDone;
    std::condition_variable cvDone;
    bool bDone = false;
    std::thread worker([&]() {
        fnCalls();
        std::lock_guard<std::mutex> lock(mutexDone);
        bDone = true;
        cvDone.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutexDone);
    if (!cvDone.wait_for(lock, CALL_TIMEOUT, [&]() { return bDone; })) {
        std::fprintf(stderr, "%s: the logging calls did not return within %lld s\n", szWhat,
                     static_cast<long long>(CALL_TIMEOUT.count()));
        std::fflush(stderr);
        std::_Exit(1);
    }
    lock.unlock();
    worker.join();
}

// One record at every level and a parameter record, inside two trace
// scopes (begin and end lines, call stacks after FATAL, ERROR and DEBUG).
// Counts the calls after which errno was not the caller's any more.
inline int LogAtEveryLevel(const std::string& strMark)
{
    int iChanged = 0;
    auto check = [&iChanged]() {
        if (errno != ERRNO_MARK) {
            ++iChanged;
        }
        errno = ERRNO_MARK;
    };
    errno = ERRNO_MARK;
    ORV_TRACE_SCOPE("LogFolderFault::Outer");
    check();
    {
        ORV_TRACE_SCOPE("LogFolderFault::Inner");
        check();
        ORV_LOG_FATAL("%s(%d) : %s-fatal", strMark.c_str());
        check();
        ORV_LOG_ERROR("%s(%d) : %s-error", strMark.c_str());
        check();
        ORV_LOG_WARNING("%s(%d) : %s-warning", strMark.c_str());
        check();
        ORV_LOG_INFO_PLAIN("%s-info", strMark.c_str());
        check();
        ORV_LOG_DEBUG("%s(%d) : %s-debug", strMark.c_str());
        check();
        LogParam(("LogFolderFault::Inner([strMark] = " + strMark + "-param, )").c_str());
        check();
    }
    check();
    return iChanged;
}

// Whether the configuration is in force: the level tests answer inside a
// trace scope of the module (its own begin and end lines are written too).
inline bool IsLoggingOn()
{
    ORV_TRACE_SCOPE("LogFolderFault::Probe");
    return IsDebugEnabled() && IsFatalEnabled();
}

class LogFolderFaultTest : public ::testing::TestWithParam<AppenderKind> {
protected:
    void SetUp() override
    {
        m_strLogFolder = m_tmp.File("logs");
        std::filesystem::create_directory(m_strLogFolder);
        std::string strAppender;
        if (GetParam() == ROLLING_FILE) {
            // Small files, so that the log rolls over while its folder is gone.
            strAppender = "log4cpp.appender.folder=org.apache.log4cpp.RollingFileAppender\n"
                          "log4cpp.appender.folder.maxFileSize=4096\n"
                          "log4cpp.appender.folder.maxBackupIndex=2\n";
        } else {
            strAppender = "log4cpp.appender.folder=org.apache.log4cpp.FileAppender\n";
        }
        m_strConfig = m_tmp.WriteFile(
            "LogConfig.conf",
            "log4cpp.rootCategory=ERROR\n"
            "log4cpp.category.OrvprintD_exe=DEBUG, folder\n" +
                strAppender + "log4cpp.appender.folder.fileName=" + LogFile() + "\n"
                "log4cpp.appender.folder.append=true\n"
                "log4cpp.appender.folder.layout=org.apache.log4cpp.PatternLayout\n"
                "log4cpp.appender.folder.layout.ConversionPattern=%p|%m%n\n"
                "OutputParam.OrvprintD_exe=true\n"
                "OutputFunBeginInfo.OrvprintD_exe=true\n"
                "OutputNDCFullmessage.OrvprintD_exe=true\n");
    }

    void TearDown() override { ShutdownLogging(); }

    std::string LogFile() const { return (std::filesystem::path(m_strLogFolder) / "OrvprintD.log").string(); }

    // Everything in the log folder: the log and its backups.
    std::string FolderText() const
    {
        std::string strText;
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(m_strLogFolder, ec)) {
            strText += orvtest::ReadWholeFile(entry.path().string());
        }
        return strText;
    }

    static int CountIn(const std::string& strText, const std::string& strPart)
    {
        int n = 0;
        for (size_t i = strText.find(strPart); i != std::string::npos; i = strText.find(strPart, i + 1)) {
            ++n;
        }
        return n;
    }

    // Lines that contain both parts.
    static int CountLines(const std::string& strText, const std::string& strFirst, const std::string& strSecond)
    {
        int n = 0;
        for (const std::string& strLine : orvtest::SplitLines(strText)) {
            if (strLine.find(strFirst) != std::string::npos && strLine.find(strSecond) != std::string::npos) {
                ++n;
            }
        }
        return n;
    }

    // The records of one LogAtEveryLevel call, one of each (and the trace
    // lines of every call in the text).
    static void ExpectEveryLevel(const std::string& strText, const std::string& strMark)
    {
        const std::string strHere = "tests/logging/log4cpp/LogFolderFaultFixture.h(";
        EXPECT_EQ(1, CountLines(strText, "FATAL - " + strHere, ") : " + strMark + "-fatal")) << strText;
        EXPECT_EQ(1, CountLines(strText, "ERROR - " + strHere, ") : " + strMark + "-error"));
        EXPECT_EQ(1, CountLines(strText, "WARNING - " + strHere, ") : " + strMark + "-warning"));
        EXPECT_EQ(1, CountLines(strText, "INFO|", "INFO - " + strMark + "-info"));
        EXPECT_EQ(1, CountLines(strText, "DEBUG - " + strHere, ") : " + strMark + "-debug"));
        EXPECT_EQ(1, CountLines(strText, "FATAL|", "Param - LogFolderFault::Inner([strMark] = " + strMark + "-param, )"));
        // The trace lines carry no mark: each call in the text (the file may
        // hold several) brings one of each.
        const int iCalls = CountLines(strText, "FATAL - " + strHere, "-fatal");
        EXPECT_EQ(iCalls, CountIn(strText, "LogFolderFault::Outer :START......"));
        EXPECT_EQ(iCalls, CountIn(strText, "LogFolderFault::Inner :START......"));
        EXPECT_EQ(iCalls, CountIn(strText, "LogFolderFault::Inner :End  ......"));
        EXPECT_EQ(iCalls, CountIn(strText, "LogFolderFault::Outer :End  ......"));
    }

    orvtest::TempFolder m_tmp;
    std::string m_strLogFolder;
    std::string m_strConfig;
};

// "File" and "RollingFile", the names of the two instantiations.
inline std::string AppenderKindName(const ::testing::TestParamInfo<AppenderKind>& info)
{
    return info.param == ROLLING_FILE ? std::string("RollingFile") : std::string("File");
}

} // namespace logtest
