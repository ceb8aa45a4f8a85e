#pragma once

// The private machine of the end-to-end tests and their helpers: OrvprintD,
// its client tool and the sending side as separate processes, a request
// built the way the printing service builds it, the dialog found and
// answered with xdotool.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>
#include <climits>
#include <csignal>
#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "e2e/EndToEndRequests.h"
#include "Src/Common/include/JobOptionData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"

namespace orvtest {
namespace e2e {

inline const char* const DIALOG_TITLE = "请选择打印选项";
inline const std::wstring EXISTENCE_MUTEX = L"Global\\Orvprint_Popup_Dialog_MUTEX_EXISTANCE";
inline const std::wstring INSTANCE_MUTEX = L"Global\\{05D73725-23EF-4104-92F1-CE15A4115D6A}";

inline std::string BinPath(const char* szName)
{
    return std::string(ORV_BIN_DIR) + "/" + szName;
}

// Runs a shell command and returns what it printed (first line, trimmed).
// Everything a shell command writes to its standard output, and its exit
// status as pclose gives it (-1 when it could not be started).
inline std::string CaptureAll(const std::string& strCommand, int* piStatus = nullptr)
{
    std::string strOut;
    FILE* pPipe = popen(strCommand.c_str(), "r");
    if (!pPipe) {
        if (piStatus) *piStatus = -1;
        return strOut;
    }
    std::array<char, 256> buf{};
    while (size_t uiRead = fread(buf.data(), 1, buf.size(), pPipe)) strOut.append(buf.data(), uiRead);
    const int iStatus = pclose(pPipe);
    if (piStatus) *piStatus = iStatus;
    return strOut;
}

// The first line a shell command writes to its standard output.
inline std::string Capture(const std::string& strCommand)
{
    std::string strOut = CaptureAll(strCommand);
    const size_t uiEnd = strOut.find('\n');
    if (uiEnd != std::string::npos) strOut.resize(uiEnd);
    return strOut;
}

// Process ids whose executable is exactly strPath.
inline std::vector<pid_t> ProcessesOf(const std::string& strPath)
{
    const std::vector<uint32_t> vecIds = Language::FindProcessesRunning(Language::WideFromUtf8(strPath));
    return std::vector<pid_t>(vecIds.begin(), vecIds.end());
}

// Waits (bounded) for a condition that another process makes true.
template <class F>
inline bool WaitFor(F fnCondition, std::chrono::milliseconds timeout = std::chrono::seconds(30))
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!fnCondition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

inline std::string CurrentUser()
{
    struct passwd* pw = getpwuid(geteuid());
    return pw ? pw->pw_name : "";
}

// A private machine for one test: machine registry, client folders,
// Config.ini, LogConfig.conf, the CUPS filter, shared-object and autostart
// folders, all in a temporary folder and named through the environment that
// OrvprintD inherits.
class EndToEndTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        for (const char* szSub : {"install", "temp", "log", "shm", "xdg", "run", "cups", "cups/backend"}) {
            mkdir(m_tmp.File(szSub).c_str(), 0700);
        }
        m_tmp.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nInstallDir=" + m_tmp.File("install") +
                                           "\nTempDir=" + m_tmp.File("temp") + "\n");
        WriteConfigIni("DisplayProjectSelection=1\nCanSelectNoPrinter=0\nCanSelectNoProject=0\n");
        WriteLogConfig("");
        m_tmp.WriteFile("cups/backend/orvprint", "#!/bin/sh\nexec cat\n");
        chmod(m_tmp.File("cups/backend/orvprint").c_str(), 0700);

        setenv("ORVPRINT_MACHINE_CONFIG", m_tmp.File("machine.ini").c_str(), 1);
        setenv("ORVPRINT_SHM_DIR", m_tmp.File("shm").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", m_tmp.File("xdg").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", m_tmp.File("run").c_str(), 1);
        // The user's own settings: here the very Config.ini of TempDir, so
        // that the tests see one file (as on Windows); nothing of the
        // account that runs the tests is read or written.
        mkdir(m_tmp.File("config").c_str(), 0700);
        EXPECT_EQ(0, symlink(m_tmp.File("temp").c_str(), m_tmp.File("config/orv-soft").c_str()));
        setenv("XDG_CONFIG_HOME", m_tmp.File("config").c_str(), 1);
        setenv("XDG_STATE_HOME", m_tmp.File("state").c_str(), 1);
        setenv("CUPS_SERVERBIN", m_tmp.File("cups").c_str(), 1);
        setenv("QT_QPA_PLATFORM", "xcb", 1);
        // The tests may run as root, which OrvprintD treats as the system account.
        setenv("ORVPRINT_SYSTEM_ACCOUNT", "orvprint-test-system", 1);
    }

    void TearDown() override
    {
        if (m_pOrvprintD && m_pOrvprintD->IsRunning()) {
            kill(static_cast<pid_t>(m_pOrvprintD->GetPid()), SIGTERM);
            m_pOrvprintD->Wait();
        }
        for (pid_t pid : ProcessesOf(BinPath("OrvClientTool"))) kill(pid, SIGKILL);
    }

    void WriteConfigIni(const std::string& strSetting, const std::string& strServerExtra = "")
    {
        m_tmp.WriteFile("temp/Config.ini",
                        "[Setting]\n" + strSetting + "\n[ServerConfig]\nAuditInstalled=1\n" + strServerExtra);
    }

    void WriteLogConfig(const std::string& strExtra)
    {
        m_tmp.WriteFile("install/LogConfig.conf",
                        "log4cpp.rootCategory=ERROR\n"
                        "log4cpp.category.OrvprintD_exe=DEBUG, file\n"
                        "log4cpp.appender.file=org.apache.log4cpp.FileAppender\n"
                        "log4cpp.appender.file.fileName=" + m_tmp.File("log/OrvprintD.log") + "\n"
                        "log4cpp.appender.file.layout=org.apache.log4cpp.PatternLayout\n"
                        "log4cpp.appender.file.layout.ConversionPattern=%m%n\n" + strExtra);
    }

    std::string Log() const { return orvtest::ReadWholeFile(m_tmp.File("log/OrvprintD.log")); }

    bool IsServing() const
    {
        return OrvUtility::ProbeNamedMutex(EXISTENCE_MUTEX) == OrvUtility::NAMED_MUTEX_OWNED;
    }

    // Starts OrvprintD and waits until its receive loop holds the existence mutex.
    void StartServing()
    {
        m_pOrvprintD = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {});
        ASSERT_TRUE(m_pOrvprintD);
        ASSERT_TRUE(WaitFor([this] { return IsServing() || !m_pOrvprintD->IsRunning(); }))
            << "OrvprintD runs but does not serve\n" << Log();
        ASSERT_TRUE(m_pOrvprintD->IsRunning()) << Log();
    }

    std::future<OrvUtility::CMsgQueueSender::REPLY> SendAsync(std::vector<uint8_t> vecRequest)
    {
        return std::async(std::launch::async, [vecRequest]() {
            OrvUtility::CMsgQueueSender objSender;
            OrvUtility::CMsgQueueSender::REPLY reply;
            reply.uiResultCode = 0xFFFF;
            if (objSender.Send(vecRequest.data(), vecRequest.size(), 60000, reply) !=
                OrvUtility::CMsgQueueSender::SEND_ANSWERED) {
                reply.uiResultCode = 0xEEEE;
            }
            return reply;
        });
    }

    // Waits for the dialog to be mapped, then types a key into it.
    void AnswerDialog(const char* szKey)
    {
        ASSERT_TRUE(AnswerDialogWithin(szKey)) << "no dialog on screen within 30 s\n" << Log();
    }

    // The visible dialog window's id, or "" when there is none now.
    static std::string FindDialogWindow()
    {
        return Capture(std::string("xdotool search --onlyvisible --name '") + DIALOG_TITLE + "' 2>/dev/null");
    }

    // Waits (bounded) until the dialog is mapped; its window id, or "".
    static std::string WaitForDialogWindow(std::chrono::milliseconds timeout = std::chrono::seconds(30))
    {
        std::string strWindow;
        WaitFor([&strWindow] { return !(strWindow = FindDialogWindow()).empty(); }, timeout);
        return strWindow;
    }

    // Waits (bounded) for the dialog, then types a key into it. False when
    // no dialog came in time.
    static bool AnswerDialogWithin(const char* szKey, std::chrono::milliseconds timeout = std::chrono::seconds(30))
    {
        const std::string strWindow = WaitForDialogWindow(timeout);
        if (strWindow.empty()) return false;
        Capture("timeout 10 xdotool windowfocus --sync " + strWindow + " 2>/dev/null");
        Capture("timeout 10 xdotool key --clearmodifiers " + std::string(szKey));
        return true;
    }

    orvtest::TempFolder m_tmp;
    std::unique_ptr<orvtest::ChildProcess> m_pOrvprintD;
};

} // namespace e2e
} // namespace orvtest
