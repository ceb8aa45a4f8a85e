// OrvprintD as the user meets it: the real program on a display, a request
// sent the way the printing service sends it, the dialog answered with the
// keyboard, the answer read back from the shared block.
#include <gmock/gmock.h>
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

#include "Src/Common/include/JobOptionData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/TextConvert.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"

namespace {

const char* const DIALOG_TITLE = "请选择打印选项";
const std::wstring EXISTENCE_MUTEX = L"Global\\Orvprint_Popup_Dialog_MUTEX_EXISTANCE";
const std::wstring INSTANCE_MUTEX = L"Global\\{05D73725-23EF-4104-92F1-CE15A4115D6A}";

std::string BinPath(const char* szName)
{
    return std::string(ORV_BIN_DIR) + "/" + szName;
}

// Runs a shell command and returns what it printed (first line, trimmed).
std::string Capture(const std::string& strCommand)
{
    std::string strOut;
    FILE* pPipe = popen(strCommand.c_str(), "r");
    if (!pPipe) return strOut;
    std::array<char, 256> buf{};
    while (fgets(buf.data(), static_cast<int>(buf.size()), pPipe)) strOut += buf.data();
    pclose(pPipe);
    const size_t uiEnd = strOut.find('\n');
    if (uiEnd != std::string::npos) strOut.resize(uiEnd);
    return strOut;
}

// Process ids whose executable is exactly strPath.
std::vector<pid_t> ProcessesOf(const std::string& strPath)
{
    std::vector<pid_t> vecPids;
    DIR* pDir = opendir("/proc");
    if (!pDir) return vecPids;
    while (dirent* pEntry = readdir(pDir)) {
        const pid_t pid = static_cast<pid_t>(std::atoi(pEntry->d_name));
        if (pid <= 0) continue;
        char szExe[PATH_MAX] = {0};
        const std::string strLink = std::string("/proc/") + pEntry->d_name + "/exe";
        const ssize_t n = readlink(strLink.c_str(), szExe, sizeof(szExe) - 1);
        if (n > 0 && std::string(szExe, n) == strPath) vecPids.push_back(pid);
    }
    closedir(pDir);
    return vecPids;
}

// Waits (bounded) for a condition that another process makes true.
template <class F>
bool WaitFor(F fnCondition, std::chrono::milliseconds timeout = std::chrono::seconds(30))
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!fnCondition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

void CopyText(char16_t* pDest, size_t uiChars, const std::wstring& strText)
{
    const std::u16string str = Language::Utf16FromWide(strText);
    const size_t n = std::min(str.size(), uiChars - 1);
    std::copy(str.begin(), str.begin() + n, pDest);
    pDest[n] = 0;
}

struct Printer {
    std::wstring strId, strName, strComment;
    int32_t iStatus;
};

std::vector<uint8_t> BuildRequest(const std::vector<Printer>& vecPrinters,
                                  const std::vector<std::pair<std::wstring, std::wstring>>& vecProjects)
{
    std::vector<uint8_t> vec;
    auto append = [&vec](const void* p, size_t n) {
        const uint8_t* pby = static_cast<const uint8_t*>(p);
        vec.insert(vec.end(), pby, pby + n);
    };
    const int32_t iPrinters = static_cast<int32_t>(vecPrinters.size());
    append(&iPrinters, 4);
    for (const Printer& p : vecPrinters) {
        CJobOptionData::PRINTER_INFO info;
        std::memset(&info, 0, sizeof(info));
        CopyText(info.szPrinterId, 20, p.strId);
        CopyText(info.szPrinterName, 1024, p.strName);
        CopyText(info.szComment, 1024, p.strComment);
        info.iStatus = p.iStatus;
        info.iMaxPagesPerJob = 100;
        info.iPageTotal = 7;
        info.iPrintTaskTotal = 1;
        append(&info, sizeof(info));
    }
    const int32_t iProjects = static_cast<int32_t>(vecProjects.size());
    append(&iProjects, 4);
    for (const auto& pr : vecProjects) {
        CJobOptionData::PROJECT_INFO info;
        std::memset(&info, 0, sizeof(info));
        CopyText(info.szProjectId, 20, pr.first);
        CopyText(info.szProjectName, 1024, pr.second);
        append(&info, sizeof(info));
    }
    return vec;
}

std::wstring ReplyId(const OrvUtility::CMsgQueueSender::REPLY& reply, size_t uiOffset)
{
    std::u16string str;
    for (size_t i = uiOffset; i + 1 < reply.vecResponse.size() && i < uiOffset + 20; i += 2) {
        const char16_t c = static_cast<char16_t>(reply.vecResponse[i] | (reply.vecResponse[i + 1] << 8));
        if (!c) break;
        str.push_back(c);
    }
    return Language::WideFromUtf16(str.c_str(), str.size());
}

int32_t ReplyResult(const OrvUtility::CMsgQueueSender::REPLY& reply)
{
    int32_t i = -1;
    if (reply.vecResponse.size() >= 4) std::memcpy(&i, reply.vecResponse.data(), 4);
    return i;
}

std::string CurrentUser()
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
        for (const char* szSub : {"install", "temp", "log", "shm", "xdg", "run", "cups", "cups/filter"}) {
            mkdir(m_tmp.File(szSub).c_str(), 0700);
        }
        m_tmp.WriteFile("machine.ini", "[Software\\Orv-soft\\Client]\nInstallDir=" + m_tmp.File("install") +
                                           "\nTempDir=" + m_tmp.File("temp") + "\n");
        WriteConfigIni("DisplayProjectSelection=1\nCanSelectNoPrinter=0\nCanSelectNoProject=0\n");
        WriteLogConfig("");
        m_tmp.WriteFile("cups/filter/orvprint", "#!/bin/sh\nexec cat\n");
        chmod(m_tmp.File("cups/filter/orvprint").c_str(), 0755);

        setenv("ORVPRINT_MACHINE_CONFIG", m_tmp.File("machine.ini").c_str(), 1);
        setenv("ORVPRINT_SHM_DIR", m_tmp.File("shm").c_str(), 1);
        setenv("XDG_CONFIG_DIRS", m_tmp.File("xdg").c_str(), 1);
        setenv("XDG_RUNTIME_DIR", m_tmp.File("run").c_str(), 1);
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

    void WriteConfigIni(const std::string& strSetting)
    {
        m_tmp.WriteFile("temp/Config.ini", "[Setting]\n" + strSetting + "\n[ServerConfig]\nAuditInstalled=1\n");
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
        ASSERT_TRUE(WaitFor([this] { return IsServing() || !m_pOrvprintD->IsRunning(); }));
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
        const std::string strWindow =
            Capture(std::string("xdotool search --sync --onlyvisible --name '") + DIALOG_TITLE + "' 2>/dev/null");
        ASSERT_FALSE(strWindow.empty());
        Capture("xdotool windowfocus --sync " + strWindow + " 2>/dev/null");
        Capture("xdotool key --clearmodifiers " + std::string(szKey));
    }

    orvtest::TempFolder m_tmp;
    std::unique_ptr<orvtest::ChildProcess> m_pOrvprintD;
};

std::vector<Printer> TwoPrinters()
{
    return {{L"P-3F", L"三楼彩色打印机", L"A3 彩色", 0}, {L"P-5F", L"五楼黑白打印机", L"", 0}};
}

std::vector<std::pair<std::wstring, std::wstring>> TwoProjects()
{
    return {{L"J-01", L"年度审计项目"}, {L"J-02", L"市场推广"}};
}

TEST_F(EndToEndTest, EnterConfirmsThePreselectedChoiceAndSavesItAsDefault)
{
    StartServing();
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    AnswerDialog("Return");
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
    AnswerDialog("Return");
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
    StartServing();
    auto reply = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    AnswerDialog("Escape");
    const auto stuReply = reply.get();
    ASSERT_EQ(0u, stuReply.uiResultCode);
    EXPECT_EQ(44u, stuReply.uiResponseLength);
    EXPECT_EQ(1, ReplyResult(stuReply));
    EXPECT_EQ(L"", ReplyId(stuReply, 4));
    EXPECT_EQ(L"", ReplyId(stuReply, 24));
    EXPECT_EQ(strBefore, m_tmp.ReadFile("temp/Config.ini"));
    EXPECT_NE(std::string::npos, Log().find("User clicked Cancel, orvprintD dialog closed."));
}

TEST_F(EndToEndTest, SendToolPrintsTheAnswer)
{
    StartServing();
    m_tmp.WriteFile("request.json",
                    "{\"printers\":[{\"id\":\"P-1\",\"name\":\"三楼打印机\",\"comment\":\"\",\"description\":\"\","
                    "\"status\":0,\"maxPagesPerJob\":10,\"pageTotal\":1,\"printTaskTotal\":1,\"tooManyPages\":false}],"
                    "\"projects\":[{\"id\":\"J-1\",\"name\":\"项目一\",\"comment\":\"\"}]}");
    auto output = std::async(std::launch::async, [this]() {
        return Capture(std::string(ORV_SEND_PATH) + " --timeout 60 " + m_tmp.File("request.json"));
    });
    AnswerDialog("Return");
    const std::string strJson = output.get();
    EXPECT_NE(std::string::npos, strJson.find("\"resultCode\":0")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"printerId\":\"P-1\"")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"projectId\":\"J-1\"")) << strJson;
}

TEST_F(EndToEndTest, SecondStartEndsAndLeavesTheFirstServing)
{
    StartServing();
    auto second = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {});
    ASSERT_TRUE(second);
    EXPECT_EQ(0, second->Wait());
    EXPECT_NE(std::string::npos, Log().find("Another instance already running."));
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_TRUE(IsServing());
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
    StartServing();
    const std::string strEntry = orvtest::ReadWholeFile(m_tmp.File("xdg/autostart/OrvprintD.desktop"));
    EXPECT_NE(std::string::npos, strEntry.find("Exec=\"" + BinPath("OrvprintD") + "\"")) << strEntry;
}

TEST_F(EndToEndTest, AutostartEntryLeftAloneWhenPresent)
{
    mkdir(m_tmp.File("xdg/autostart").c_str(), 0755);
    const std::string strOwn = "[Desktop Entry]\nType=Application\nExec=/opt/elsewhere/OrvprintD\n";
    m_tmp.WriteFile("xdg/autostart/OrvprintD.desktop", strOwn);
    StartServing();
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
    StartServing();
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

TEST_F(EndToEndTest, QuitEndsInOrder)
{
    WriteLogConfig("OutputFunBeginInfo.OrvprintD_exe=true\n");
    StartServing();
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
    StartServing();
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

TEST_F(EndToEndTest, QuitWithoutRunningInstanceSaysSo)
{
    auto quit = orvtest::ChildProcess::Start(BinPath("OrvprintD"), {"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(3, quit->Wait());
}

TEST_F(EndToEndTest, VersionAndHelp)
{
    EXPECT_EQ("OrvprintD 1.0.0", Capture(BinPath("OrvprintD") + " --version"));
    EXPECT_EQ("Usage: OrvprintD [--version | --help | --quit]", Capture(BinPath("OrvprintD") + " --help"));
}

} // namespace
