// OrvprintD ended the hard way while a dialog is open, and OrvprintD started
// with a broken or missing LogConfig.conf: the sending tool is released with
// the answer it documents, the channel's objects are free again, and a new
// start serves as before.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "EndToEndFixture.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"

namespace {

using namespace orvtest::e2e;
using Clock = std::chrono::steady_clock;

// Exit code of a process ended with SIGKILL.
const int KILLED_EXIT_CODE = 128 + 9;

// The one line orvprint-send prints for the request of WriteRequest() when
// the dialog is confirmed with Enter.
const char* const CONFIRMED_ANSWER =
    "{\"resultCode\":0,\"responseLength\":44,\"result\":0,\"printerId\":\"P-1\",\"projectId\":\"J-1\"}\n";
const char* const NO_RECEIVER_MESSAGE =
    "orvprint-send: no receiver on Orvprint_Popup_Dialog (or it went away without answering)\n";
const char* const TIMED_OUT_MESSAGE = "orvprint-send: timed out waiting for the answer\n";

// How one run of orvprint-send ended: exit code (-2 when it was still
// running at the end of the wait), standard output, standard error.
struct SendRun {
    int iExitCode = -1;
    std::string strOut;
    std::string strErr;
};

class OrvprintDFaultTest : public EndToEndTest {
protected:
    void WriteRequest()
    {
        m_tmp.WriteFile("request.json",
                        "{\"printers\":[{\"id\":\"P-1\",\"name\":\"三楼打印机\",\"status\":0,\"maxPagesPerJob\":10,"
                        "\"pageTotal\":1,\"printTaskTotal\":1}],"
                        "\"projects\":[{\"id\":\"J-1\",\"name\":\"项目一\"}]}");
    }

    // Starts orvprint-send on request.json with a time limit in seconds; its
    // outputs go to <tag>.out and <tag>.err.
    std::unique_ptr<orvtest::ChildProcess> StartSendTool(const std::string& strSeconds, const std::string& strTag)
    {
        const std::string strCommand = std::string("exec '") + ORV_SEND_PATH + "' --timeout " + strSeconds + " '" +
                                       m_tmp.File("request.json") + "' >'" + m_tmp.File(strTag + ".out") + "' 2>'" +
                                       m_tmp.File(strTag + ".err") + "'";
        return orvtest::ChildProcess::Start("/bin/sh", {"-c", strCommand});
    }

    // Waits (bounded) for the tool's end; kills it when it is still running.
    SendRun WaitSendTool(orvtest::ChildProcess& objTool, const std::string& strTag, std::chrono::seconds timeout)
    {
        SendRun run;
        if (WaitFor([&objTool] { return !objTool.IsRunning(); }, timeout)) {
            run.iExitCode = objTool.Wait();
        } else {
            objTool.Kill();
            run.iExitCode = -2;
        }
        run.strOut = m_tmp.ReadFile(strTag + ".out");
        run.strErr = m_tmp.ReadFile(strTag + ".err");
        return run;
    }

    // The channel and the single-instance lock are free: nobody holds them.
    void ExpectObjectsFree()
    {
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_FREE, OrvUtility::ProbeNamedMutex(EXISTENCE_MUTEX));
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_FREE, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    }

    // A new request through orvprint-send, confirmed with Enter.
    void ExpectARequestAnswered(const std::string& strTag)
    {
        auto pTool = StartSendTool("60", strTag);
        ASSERT_TRUE(pTool);
        EXPECT_TRUE(AnswerDialogWithin("Return")) << "no dialog within the time limit";
        const SendRun run = WaitSendTool(*pTool, strTag, std::chrono::seconds(30));
        EXPECT_EQ(0, run.iExitCode) << run.strErr;
        EXPECT_EQ(CONFIRMED_ANSWER, run.strOut);
        EXPECT_EQ("", run.strErr);
    }

    static int CountIn(const std::string& strText, const std::string& strPart)
    {
        int n = 0;
        for (size_t i = strText.find(strPart); i != std::string::npos; i = strText.find(strPart, i + 1)) ++n;
        return n;
    }
};

// Killed while the user has the dialog in front of them: the waiting sender
// sees at its next presence check (once a second, well within its time limit
// of 30 s) that the receiver is gone, and says so; the dialog goes with the
// process; the next start takes both locks and serves.
TEST_F(OrvprintDFaultTest, KilledWhileADialogIsOpenReleasesTheSenderAndANewStartServes)
{
    WriteRequest();
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto pTool = StartSendTool("30", "first");
    ASSERT_TRUE(pTool);
    ASSERT_FALSE(WaitForDialogWindow().empty()) << "no dialog within the time limit";

    const Clock::time_point tKill = Clock::now();
    m_pOrvprintD->Kill();
    EXPECT_EQ(KILLED_EXIT_CODE, m_pOrvprintD->Wait());
    EXPECT_FALSE(IsServing());
    ExpectObjectsFree();

    const SendRun run = WaitSendTool(*pTool, "first", std::chrono::seconds(20));
    const double dSeconds = std::chrono::duration<double>(Clock::now() - tKill).count();
    std::printf("orvprint-send ended %.2f s after OrvprintD was killed\n", dSeconds);
    EXPECT_EQ(2, run.iExitCode) << run.strErr;
    EXPECT_EQ("", run.strOut);
    EXPECT_EQ(NO_RECEIVER_MESSAGE, run.strErr);
    // Ended by the presence check, not by its time limit.
    EXPECT_LT(dSeconds, 10.0);
    EXPECT_TRUE(WaitFor([] { return FindDialogWindow().empty(); }, std::chrono::seconds(10)))
        << "the killed program's dialog is still shown";

    ASSERT_NO_FATAL_FAILURE(StartServing());
    ExpectARequestAnswered("second");
    const std::string strLog = Log();
    EXPECT_EQ(2, CountIn(strLog, "INFO - Popup orvprintD dialog.")) << strLog;
    EXPECT_EQ(1, CountIn(strLog, "INFO - User clicked OK, orvprintD dialog closed.")) << strLog;
}

// The sender gives up first (its time limit passes while the dialog is
// open); then the program is killed with the request still unanswered. The
// next start serves a new request normally.
TEST_F(OrvprintDFaultTest, SenderTimesOutThenOrvprintDIsKilledAndANewStartServes)
{
    WriteRequest();
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto pTool = StartSendTool("3", "first");
    ASSERT_TRUE(pTool);
    ASSERT_FALSE(WaitForDialogWindow().empty()) << "no dialog within the time limit";
    const SendRun run = WaitSendTool(*pTool, "first", std::chrono::seconds(20));
    EXPECT_EQ(3, run.iExitCode) << run.strErr;
    EXPECT_EQ("", run.strOut);
    EXPECT_EQ(TIMED_OUT_MESSAGE, run.strErr);
    // The dialog waits for the user all the same.
    EXPECT_FALSE(FindDialogWindow().empty());
    EXPECT_TRUE(IsServing());

    m_pOrvprintD->Kill();
    EXPECT_EQ(KILLED_EXIT_CODE, m_pOrvprintD->Wait());
    ExpectObjectsFree();
    EXPECT_TRUE(WaitFor([] { return FindDialogWindow().empty(); }, std::chrono::seconds(10)))
        << "the killed program's dialog is still shown";

    ASSERT_NO_FATAL_FAILURE(StartServing());
    ExpectARequestAnswered("second");
}

// LogConfig.conf names an appender that it does not define: the program
// runs without logging and serves.
TEST_F(OrvprintDFaultTest, MalformedLogConfigRunsWithoutLoggingAndServes)
{
    m_tmp.WriteFile("install/LogConfig.conf",
                    "log4cpp.rootCategory=ERROR\n"
                    "log4cpp.category.OrvprintD_exe=DEBUG, file, undefinedAppender\n"
                    "log4cpp.appender.file=org.apache.log4cpp.FileAppender\n"
                    "log4cpp.appender.file.fileName=" + m_tmp.File("log/OrvprintD.log") + "\n"
                    "log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout\n"
                    "log4cpp.appender.file.layout.ConversionPattern=%m%n\n"
                    "OutputParam.OrvprintD_exe=true\n");
    WriteRequest();
    ASSERT_NO_FATAL_FAILURE(StartServing());
    ExpectARequestAnswered("answer");
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_EQ("", Log());
}

// No LogConfig.conf at all: the same.
TEST_F(OrvprintDFaultTest, MissingLogConfigRunsWithoutLoggingAndServes)
{
    ASSERT_EQ(0, std::remove(m_tmp.File("install/LogConfig.conf").c_str()));
    WriteRequest();
    ASSERT_NO_FATAL_FAILURE(StartServing());
    ExpectARequestAnswered("answer");
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_EQ("", Log());
}

} // namespace
