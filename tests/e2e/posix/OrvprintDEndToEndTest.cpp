// OrvprintD as the user meets it: the real program on a display, a request
// sent the way the printing service sends it, the dialog answered with the
// keyboard, the answer read back from the shared block.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <chrono>
#include <cstdio>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "EndToEndFixture.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"
#include "utility/posix/NamedObjectPath.h"

namespace {

using namespace orvtest::e2e;

TEST_F(EndToEndTest, EnterConfirmsThePreselectedChoiceAndSavesItAsDefault)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    ASSERT_NO_FATAL_FAILURE(AnswerDialog("Return"));
    const auto stuReply = reply.get();
    ASSERT_EQ(0u, stuReply.uiResultCode);
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    EXPECT_EQ(0, ReplyResult(stuReply));
    EXPECT_EQ(L"P-3F", ReplyId(stuReply, 4));
    EXPECT_EQ(L"J-01", ReplyId(stuReply, 24));

    const std::string strIni = m_tmp.ReadFile("temp/Config.ini");
    EXPECT_NE(std::string::npos, strIni.find("DefaultPrinter=三楼彩色打印机")) << strIni;
    EXPECT_NE(std::string::npos, strIni.find("DefaultProject=年度审计项目")) << strIni;

    // The next request lists the printers the other way round: the saved
    // default is preselected, not the first item.
    std::vector<Printer> vecSwapped = TwoPrinters();
    std::swap(vecSwapped[0], vecSwapped[1]);
    auto reply2 = SendAsync(BuildRequest(vecSwapped, TwoProjects()));
    ASSERT_NO_FATAL_FAILURE(AnswerDialog("Return"));
    const auto stuReply2 = reply2.get();
    ASSERT_EQ(0u, stuReply2.uiResultCode);
    EXPECT_EQ(L"P-3F", ReplyId(stuReply2, 4));

    const std::string strLog = Log();
    EXPECT_NE(std::string::npos, strLog.find("Popup orvprintD dialog."));
    EXPECT_NE(std::string::npos, strLog.find("User clicked OK, orvprintD dialog closed."));
}

TEST_F(EndToEndTest, EscapeCancelsAndLeavesTheDefaultsAlone)
{
    const std::string strBefore = m_tmp.ReadFile("temp/Config.ini");
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    ASSERT_NO_FATAL_FAILURE(AnswerDialog("Escape"));
    ExpectCancelledAnswer(reply.get());
    EXPECT_EQ(strBefore, m_tmp.ReadFile("temp/Config.ini"));
    EXPECT_NE(std::string::npos, Log().find("User clicked Cancel, orvprintD dialog closed."));
}

TEST_F(EndToEndTest, AutoCancelAnswersAsCancelAfterTwoSecondsWithoutInput)
{
    WriteConfigIni("DisplayProjectSelection=1\nCanSelectNoPrinter=0\nCanSelectNoProject=0\n", "AutoCancelSeconds=2\n");
    const std::string strBefore = m_tmp.ReadFile("temp/Config.ini");
    ASSERT_NO_FATAL_FAILURE(StartServing());
    const auto tSent = std::chrono::steady_clock::now();
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    // Nobody touches the dialog.
    ASSERT_EQ(std::future_status::ready, reply.wait_for(std::chrono::seconds(30))) << Log();
    EXPECT_GE(std::chrono::steady_clock::now() - tSent, std::chrono::seconds(2));
    ExpectCancelledAnswer(reply.get());
    EXPECT_EQ(strBefore, m_tmp.ReadFile("temp/Config.ini"));
    const std::string strLog = Log();
    EXPECT_NE(std::string::npos,
              strLog.find("INFO - app/OrvprintDDlg.cpp("))
        << strLog;
    EXPECT_NE(std::string::npos, strLog.find(") : No input for 2 seconds: the dialog cancels printing (AutoCancelSeconds)."))
        << strLog;
}

TEST_F(EndToEndTest, SendToolPrintsTheAnswer)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    m_tmp.WriteFile("request.json",
                    "{\"printers\":[{\"id\":\"P-1\",\"name\":\"三楼打印机\",\"comment\":\"\",\"description\":\"\","
                    "\"status\":0,\"maxPagesPerJob\":10,\"pageTotal\":1,\"printTaskTotal\":1,\"tooManyPages\":false}],"
                    "\"projects\":[{\"id\":\"J-1\",\"name\":\"项目一\",\"comment\":\"\"}]}");
    auto output = std::async(std::launch::async, [this]() {
        return Capture(std::string(ORV_SEND_PATH) + " --timeout 60 " + m_tmp.File("request.json"));
    });
    ASSERT_NO_FATAL_FAILURE(AnswerDialog("Return"));
    const std::string strJson = output.get();
    EXPECT_NE(std::string::npos, strJson.find("\"resultCode\":0")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"printerId\":\"P-1\"")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"projectId\":\"J-1\"")) << strJson;
}

TEST_F(EndToEndTest, SecondStartEndsAndLeavesTheFirstServing)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto second = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {});
    ASSERT_TRUE(second);
    EXPECT_EQ(0, second->Wait());
    EXPECT_NE(std::string::npos, Log().find("Another instance already running."));
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_TRUE(IsServing());
}

// A second start that is denied the instance mutex (its lock file belongs to
// another account) ends like one that finds it held: the warning, exit 0,
// nothing served.
TEST_F(EndToEndTest, SecondStartDeniedTheInstanceMutexEndsLikeOneThatFindsIt)
{
    OrvUtility::CNamedObjectLocation location;
    ASSERT_TRUE(OrvUtility::LocateNamedObject(INSTANCE_MUTEX, location));
    const int iFd = open(location.Path().c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
    ASSERT_GE(iFd, 0) << location.Path();
    close(iFd);
    std::vector<std::string> vecArgs;
    std::string strProgram = BinPath("OrvprintD");
    if (geteuid() == 0) {
        // Root opens any file: start the program as another account, to which
        // the fixture's folders are opened (the lock file stays root's, 0600).
        for (const char* szSub : {"", "install", "temp", "shm", "xdg", "cups", "cups/backend"}) {
            chmod(m_tmp.File(szSub).c_str(), 0755);
        }
        chmod(m_tmp.Path().c_str(), 0755);
        chmod(m_tmp.File("log").c_str(), 0777);
        chmod(m_tmp.File("run").c_str(), 0777);
        // The build folder must let the other account run the program.
        auto probe = orvtest::ChildProcess::Start(
            "/usr/bin/setpriv", {"--reuid=65534", "--regid=65534", "--clear-groups", "/usr/bin/test", "-x", strProgram});
        ASSERT_TRUE(probe);
        if (probe->Wait() != 0) {
            GTEST_SKIP() << "the account nobody cannot run " << strProgram << " from this build folder";
        }
        vecArgs = {"--reuid=65534", "--regid=65534", "--clear-groups", strProgram};
        strProgram = "/usr/bin/setpriv";
    } else {
        chmod(location.Path().c_str(), 0);
    }
    // No display is needed: it ends before any window.
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    auto second = orvtest::ChildProcess::Start(strProgram, vecArgs);
    setenv("QT_QPA_PLATFORM", "xcb", 1);
    ASSERT_TRUE(second);
    const bool bEnded = WaitFor([&] { return !second->IsRunning(); });
    if (!bEnded) {
        second->Kill();
    }
    ASSERT_TRUE(bEnded) << "the second start did not end\n" << Log();
    EXPECT_EQ(0, second->Wait());
    const std::string strLog = Log();
    EXPECT_NE(std::string::npos, strLog.find(") : dwLastError = 13")) << strLog;
    EXPECT_NE(std::string::npos, strLog.find("Another instance already running.")) << strLog;
    EXPECT_FALSE(IsServing());
}

TEST_F(EndToEndTest, SystemAccountEndsAtOnce)
{
    setenv("ORVPRINT_SYSTEM_ACCOUNT", CurrentUser().c_str(), 1);
    auto child = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {});
    ASSERT_TRUE(child);
    EXPECT_EQ(0, child->Wait());
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    // Only the start line.
    EXPECT_THAT(Log(), ::testing::MatchesRegex("\\[ThreadID:[0-9]+\\] INFO - OrvprintD exits\\.\n"));
}

TEST_F(EndToEndTest, AutostartEntryWrittenWhenAbsent)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    const std::string strEntry = orvtest::ReadWholeFile(m_tmp.File("xdg/autostart/OrvprintD.desktop"));
    EXPECT_NE(std::string::npos, strEntry.find("Exec=\"" + BinPath("OrvprintD") + "\"")) << strEntry;
}

TEST_F(EndToEndTest, AutostartEntryLeftAloneWhenPresent)
{
    mkdir(m_tmp.File("xdg/autostart").c_str(), 0755);
    const std::string strOwn = "[Desktop Entry]\nType=Application\nExec=/opt/elsewhere/OrvprintD\n";
    m_tmp.WriteFile("xdg/autostart/OrvprintD.desktop", strOwn);
    ASSERT_NO_FATAL_FAILURE(StartServing());
    EXPECT_EQ(strOwn, m_tmp.ReadFile("xdg/autostart/OrvprintD.desktop"));
}

TEST_F(EndToEndTest, LauncherKeepsTheClientToolRunning)
{
    // A tool of the same name in another folder does not count as running.
    mkdir(m_tmp.File("elsewhere").c_str(), 0755);
    const std::string strCopy = m_tmp.File("elsewhere/OrvClientTool");
    ASSERT_EQ(0, std::system(("cp " + BinPath("OrvClientTool") + " " + strCopy).c_str()));
    auto other = orvtest::ChildProcess::Start(strCopy, {});
    ASSERT_TRUE(other);

    ASSERT_TRUE(ProcessesOf(BinPath("OrvClientTool")).empty());
    ASSERT_NO_FATAL_FAILURE(StartServing());
    ASSERT_TRUE(WaitFor([] { return !ProcessesOf(BinPath("OrvClientTool")).empty(); }));

    // Killed by the user: back within one cycle (10 s).
    const std::vector<pid_t> vecFirst = ProcessesOf(BinPath("OrvClientTool"));
    for (pid_t pid : vecFirst) kill(pid, SIGKILL);
    ASSERT_TRUE(WaitFor(
        [&vecFirst] {
            const auto vecNow = ProcessesOf(BinPath("OrvClientTool"));
            return !vecNow.empty() && vecNow != vecFirst;
        },
        std::chrono::seconds(15)));
    other->Kill();
}

// The client tool that OrvprintD starts holds standard input, output and
// error only: none of OrvprintD's log files or pipes, and no blocked signal.
TEST_F(EndToEndTest, ClientToolHoldsNothingOfOrvprintD)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    std::vector<pid_t> vecTools;
    ASSERT_TRUE(WaitFor([&vecTools] { return !(vecTools = ProcessesOf(BinPath("OrvClientTool"))).empty(); }));
    ASSERT_EQ(1u, vecTools.size());
    const std::string strProc = "/proc/" + std::to_string(vecTools[0]);
    // While the new program starts, its dynamic loader holds each library it
    // maps open for a moment: what the program holds is read once it has
    // settled (a descriptor inherited from OrvprintD stays, and fails).
    std::vector<std::string> vecFds;
    const auto ListFds = [&strProc, &vecFds]() {
        vecFds.clear();
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(strProc + "/fd", ec)) {
            vecFds.push_back(entry.path().filename().string() + " -> " +
                             std::filesystem::read_symlink(entry.path(), ec).string());
        }
        std::sort(vecFds.begin(), vecFds.end());
        return vecFds.size() == 3;
    };
    WaitFor(ListFds, std::chrono::seconds(5));
    ASSERT_EQ(3u, vecFds.size()) << ::testing::PrintToString(vecFds);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(std::to_string(i) + " -> ", vecFds[i].substr(0, 5));
        EXPECT_EQ(std::string::npos, vecFds[i].find(".log")) << vecFds[i];
    }
    const std::string strStatus = orvtest::ReadWholeFile(strProc + "/status");
    EXPECT_NE(std::string::npos, strStatus.find("SigBlk:\t0000000000000000\n")) << strStatus;
}

TEST_F(EndToEndTest, QuitEndsInOrder)
{
    WriteLogConfig("OutputFunBeginInfo.OrvprintD_exe=true\n");
    ASSERT_NO_FATAL_FAILURE(StartServing());
    auto quit = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(0, quit->Wait());
    EXPECT_EQ(0, m_pOrvprintD->Wait());
    EXPECT_FALSE(IsServing());

    const std::string strLog = Log();
    const size_t uiPopupQuit = strLog.find("CPopupThread::ForceQuit :START......");
    const size_t uiLoopEnd = strLog.find("OrvUtility::CMsgQueueEx::RecvMsgLoop :End  ......");
    const size_t uiLauncherQuit = strLog.find("thread Launcher thread end normally.");
    const size_t uiExit = strLog.rfind("OrvprintD exits.");
    ASSERT_NE(std::string::npos, uiPopupQuit) << strLog;
    ASSERT_NE(std::string::npos, uiLoopEnd);
    ASSERT_NE(std::string::npos, uiLauncherQuit);
    ASSERT_NE(std::string::npos, uiExit);
    EXPECT_LT(uiPopupQuit, uiLoopEnd);
    EXPECT_LT(uiLoopEnd, uiLauncherQuit);
    EXPECT_LT(uiLauncherQuit, uiExit);
}

TEST_F(EndToEndTest, SigtermEndsLikeQuit)
{
    ASSERT_NO_FATAL_FAILURE(StartServing());
    kill(static_cast<pid_t>(m_pOrvprintD->GetPid()), SIGTERM);
    EXPECT_EQ(0, m_pOrvprintD->Wait());
    EXPECT_FALSE(IsServing());
    const std::string strLog = Log();
    EXPECT_EQ(2u, [&strLog] {
        size_t n = 0;
        for (size_t i = strLog.find("OrvprintD exits."); i != std::string::npos; i = strLog.find("OrvprintD exits.", i + 1)) ++n;
        return n;
    }());
}

// The quit signals are blocked in every thread from the start of main and
// read by the message loop once it runs: whenever during start-up SIGTERM
// comes, OrvprintD ends as --quit ends it.
class StartUpSigtermTest : public EndToEndTest {
protected:
    // Whether the process blocks SIGTERM now (its main has started and
    // taken over the quit signals).
    static bool BlocksSigterm(pid_t pid)
    {
        std::ifstream in("/proc/" + std::to_string(pid) + "/status");
        std::string strLine;
        while (std::getline(in, strLine)) {
            if (strLine.compare(0, 7, "SigBlk:") == 0) {
                const unsigned long long ullMask = std::stoull(strLine.substr(7), nullptr, 16);
                return (ullMask & (1ull << (SIGTERM - 1))) != 0;
            }
        }
        return false;
    }

    // Starts OrvprintD and busy-waits (bounded) until it blocks SIGTERM.
    void StartAndWaitForMain()
    {
        m_pOrvprintD = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {});
        ASSERT_TRUE(m_pOrvprintD);
        const pid_t pid = static_cast<pid_t>(m_pOrvprintD->GetPid());
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!BlocksSigterm(pid)) {
            ASSERT_TRUE(m_pOrvprintD->IsRunning());
            ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        }
    }

    // The owner record of the single-instance lock file (its first line).
    std::string InstanceRecord() const
    {
        const std::string strLock = m_tmp.File("shm/{05D73725-23EF-4104-92F1-CE15A4115D6A}");
        return orvtest::ReadWholeFile(strLock).substr(0, 16);
    }

    static size_t CountOf(const std::string& strText, const std::string& strPart)
    {
        size_t n = 0;
        for (size_t i = strText.find(strPart); i != std::string::npos; i = strText.find(strPart, i + 1)) ++n;
        return n;
    }
};

TEST_F(StartUpSigtermTest, SigtermAtFortyMomentsOfStartUpEndsLikeQuit)
{
    // How long start-up takes here, from main to serving.
    ASSERT_NO_FATAL_FAILURE(StartAndWaitForMain());
    const auto tpMain = std::chrono::steady_clock::now();
    ASSERT_TRUE(WaitFor([this] { return IsServing() || !m_pOrvprintD->IsRunning(); }));
    const auto startUp = std::chrono::steady_clock::now() - tpMain;
    kill(static_cast<pid_t>(m_pOrvprintD->GetPid()), SIGTERM);
    ASSERT_EQ(0, m_pOrvprintD->Wait()) << Log();

    const int MOMENTS = 40;
    for (int iMoment = 0; iMoment < MOMENTS; ++iMoment) {
        SCOPED_TRACE("moment " + std::to_string(iMoment) + " of " + std::to_string(MOMENTS));
        unlink(m_tmp.File("log/OrvprintD.log").c_str());
        ASSERT_NO_FATAL_FAILURE(StartAndWaitForMain());
        // A delay loop spreads the moments from main's start to a little
        // after serving; it synchronises nothing.
        const auto tpSignal = std::chrono::steady_clock::now() + startUp * iMoment * 11 / (10 * (MOMENTS - 1));
        while (std::chrono::steady_clock::now() < tpSignal) {
        }
        kill(static_cast<pid_t>(m_pOrvprintD->GetPid()), SIGTERM);
        ASSERT_EQ(0, m_pOrvprintD->Wait()) << Log();
        EXPECT_FALSE(IsServing());
        const std::string strLog = Log();
        EXPECT_EQ(2u, CountOf(strLog, "OrvprintD exits.")) << strLog;
        EXPECT_EQ(std::string(15, ' ') + "\n", InstanceRecord());
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_FREE, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    }
}

TEST_F(EndToEndTest, QuitWithoutRunningInstanceSaysSo)
{
    auto quit = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(3, quit->Wait());
}

// An instance that this user cannot end (another account's: its process
// cannot be read or signalled) holds the instance mutex: --quit says so with
// its own message and exit code instead of "not running".
TEST_F(EndToEndTest, QuitThatCannotEndTheInstanceSaysSo)
{
    bool bExists = false;
    OrvUtility::NamedHandle hInstance = OrvUtility::CreateNamedMutex(INSTANCE_MUTEX.c_str(), true,
                                                                     OrvUtility::EVERYONE_MUTEX_ALL_ACCESS, &bExists);
    ASSERT_NE(nullptr, hInstance);
    ASSERT_FALSE(bExists);
    int iStatus = -1;
    const std::string strOutput = CaptureAll("'" + BinPath("OrvprintD") + "' --quit 2>&1", &iStatus);
    OrvUtility::ReleaseNamedMutex(hInstance);
    OrvUtility::CloseNamedObject(hInstance);
    ASSERT_TRUE(WIFEXITED(iStatus));
    EXPECT_EQ(5, WEXITSTATUS(iStatus));
    EXPECT_EQ("OrvprintD is running but could not be ended: this user may not end it (it runs under another "
              "account). Run --quit as that user or as an administrator.\n",
              strOutput);
}

TEST_F(EndToEndTest, VersionAndHelp)
{
    EXPECT_EQ("OrvprintD 1.0.0", Capture(BinPath("OrvprintD") + " --version"));
    EXPECT_EQ("Usage: OrvprintD [--version | --help | --quit]", Capture(BinPath("OrvprintD") + " --help"));
}

} // namespace
