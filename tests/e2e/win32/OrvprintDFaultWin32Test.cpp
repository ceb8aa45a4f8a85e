// OrvprintD ended the hard way on Windows (TerminateProcess) while a dialog
// is open: the sending tool is released with the answer it documents, the
// channel's mutex is owned by nobody, and a new start serves as before.
#include <windows.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <string>
#include <utility>

#include "EndToEndWin32Fixture.h"
#include "support/ChildProcess.h"
#include "utility/NamedMutex.h"

namespace {

using namespace orvtest::e2ewin;

// Exit code that ChildProcess::Kill gives to TerminateProcess.
const int KILLED_EXIT_CODE = 137;

const char* const NO_RECEIVER_MESSAGE =
    "orvprint-send: no receiver on Orvprint_Popup_Dialog (or it went away without answering)";
const char* const TIMED_OUT_MESSAGE = "orvprint-send: timed out waiting for the answer";

class OrvprintDFaultWin32Test : public EndToEndWin32Test {
protected:
    void WriteRequest()
    {
        m_tmp.WriteFile("request.json",
                        "{\"printers\":[{\"id\":\"P-1\",\"name\":\"三楼打印机\",\"status\":0,\"maxPagesPerJob\":10,"
                        "\"pageTotal\":1,\"printTaskTotal\":1}],"
                        "\"projects\":[{\"id\":\"J-1\",\"name\":\"项目一\"}]}");
    }

    // Runs orvprint-send on request.json with a time limit in seconds, on a
    // thread of its own; exit code (-2 when it had not ended after 90 s) and
    // everything it wrote.
    std::future<std::pair<int, std::string>> SendToolAsync(const std::string& strSeconds, const std::string& strTag)
    {
        const std::wstring strCommand = L"\"" + Wide(SendToolPath()) + L"\" --timeout " + Wide(strSeconds) + L" \"" +
                                        Wide(m_tmp.File("request.json")) + L"\"";
        const std::wstring strOutputFile = Wide(m_tmp.File(strTag + ".txt"));
        return std::async(std::launch::async, [strCommand, strOutputFile] {
            std::string strOutput;
            const int iCode = RunCaptured(strCommand, strOutputFile, strOutput, 90000);
            return std::make_pair(iCode, strOutput);
        });
    }

    // Nobody owns the channel's existence mutex or the instance mutex (they
    // may be gone altogether, or still open in the sending tool).
    void ExpectObjectsNotOwned()
    {
        EXPECT_FALSE(IsServing());
        EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(EXISTENCE_MUTEX));
        EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    }

    // A new request through orvprint-send, confirmed with Enter.
    void ExpectARequestAnswered(const std::string& strTag)
    {
        const Clock::time_point tSent = Clock::now();
        auto output = SendToolAsync("60", strTag);
        HWND hDlg = WaitForDialog(tSent);
        EXPECT_NE(nullptr, hDlg) << "no dialog within the time limit";
        if (hDlg) {
            PressKey(hDlg, VK_RETURN);
        } else {
            m_pOrvprintD->Kill(); // ends the tool's wait
        }
        const auto result = output.get();
        EXPECT_EQ(0, result.first) << result.second;
        EXPECT_NE(std::string::npos, result.second.find("{\"resultCode\":0,\"responseLength\":44,\"result\":0,"
                                                        "\"printerId\":\"P-1\",\"projectId\":\"J-1\"}"))
            << result.second;
    }
};

TEST_F(OrvprintDFaultWin32Test, KilledWhileADialogIsOpenReleasesTheSenderAndANewStartServes)
{
    WriteRequest();
    StartServing();
    const Clock::time_point tSent = Clock::now();
    auto output = SendToolAsync("30", "first");
    HWND hDlg = WaitForDialog(tSent);
    ASSERT_NE(nullptr, hDlg) << "no dialog within the time limit";

    const Clock::time_point tKill = Clock::now();
    m_pOrvprintD->Kill();
    EXPECT_EQ(KILLED_EXIT_CODE, m_pOrvprintD->Wait());
    ExpectObjectsNotOwned();

    // The tool sees at its next presence check (once a second, well within
    // its time limit of 30 s) that the receiver is gone.
    const auto result = output.get();
    const double dSeconds = Milliseconds(Clock::now() - tKill) / 1000.0;
    std::printf("[   TIME   ] orvprint-send ended %.2f s after OrvprintD was killed\n", dSeconds);
    std::fflush(stdout);
    EXPECT_EQ(2, result.first) << result.second;
    EXPECT_NE(std::string::npos, result.second.find(NO_RECEIVER_MESSAGE)) << result.second;
    EXPECT_EQ(std::string::npos, result.second.find("resultCode")) << result.second;
    EXPECT_LT(dSeconds, 10.0);
    EXPECT_TRUE(WaitFor([hDlg] { return !::IsWindow(hDlg); })) << "the killed program's dialog is still there";

    StartServing();
    ExpectARequestAnswered("second");
}

TEST_F(OrvprintDFaultWin32Test, SenderTimesOutThenOrvprintDIsKilledAndANewStartServes)
{
    WriteRequest();
    StartServing();
    const Clock::time_point tSent = Clock::now();
    auto output = SendToolAsync("3", "first");
    HWND hDlg = WaitForDialog(tSent);
    ASSERT_NE(nullptr, hDlg) << "no dialog within the time limit";
    const auto result = output.get();
    EXPECT_EQ(3, result.first) << result.second;
    EXPECT_NE(std::string::npos, result.second.find(TIMED_OUT_MESSAGE)) << result.second;
    // The dialog waits for the user all the same.
    EXPECT_TRUE(::IsWindowVisible(hDlg));
    EXPECT_TRUE(IsServing());

    m_pOrvprintD->Kill();
    EXPECT_EQ(KILLED_EXIT_CODE, m_pOrvprintD->Wait());
    ExpectObjectsNotOwned();
    EXPECT_TRUE(WaitFor([hDlg] { return !::IsWindow(hDlg); })) << "the killed program's dialog is still there";

    StartServing();
    ExpectARequestAnswered("second");
}

} // namespace
