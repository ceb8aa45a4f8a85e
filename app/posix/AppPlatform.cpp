#include "app/AppPlatform.h"

#include <cerrno>
#include <clocale>
#include <atomic>
#include <csignal>
#include <functional>
#include <memory>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <boost/bind/bind.hpp>
#include <QEventLoop>
#include <QMessageBox>
#include <QMetaObject>
#include <QSocketNotifier>
#include "app/ModulePath.h"
#include "language/ErrorText.h"
#include "language/Exception.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "language/scope_guard.h"
#include "logging/posix/NoFollowFile.h"
#include "utility/NamedMutex.h"

namespace AppPlatform {

namespace {

// SIGTERM, SIGINT and SIGHUP are blocked in every thread from the start of
// main and read from this descriptor instead: a signal that comes before
// the message loop runs stays pending here and ends the loop as soon as it
// starts, instead of killing the process half-way through its start-up.
int g_iQuitSignalFd = -1;
// A quit signal was read while the loop did not run yet.
std::atomic<bool> g_bQuitRequested(false);

sigset_t QuitSignals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGHUP);
    return set;
}

// Reads every pending quit signal; true when there was one (now or before).
bool TakeQuitSignals()
{
    if (g_iQuitSignalFd >= 0) {
        struct signalfd_siginfo info;
        while (read(g_iQuitSignalFd, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
            g_bQuitRequested = true;
        }
    }
    return g_bQuitRequested;
}

// Calls fnOnQuit on the GUI thread when a quit signal arrives while the
// notifier lives.
std::unique_ptr<QSocketNotifier> NotifyQuit(std::function<void()> fnOnQuit)
{
    if (g_iQuitSignalFd < 0) {
        return nullptr;
    }
    std::unique_ptr<QSocketNotifier> pNotifier(new QSocketNotifier(g_iQuitSignalFd, QSocketNotifier::Read));
    QObject::connect(pNotifier.get(), &QSocketNotifier::activated, [fnOnQuit]() {
        if (TakeQuitSignals()) {
            fnOnQuit();
        }
    });
    return pNotifier;
}

std::string AutostartFolder()
{
    const char* szDirs = std::getenv("XDG_CONFIG_DIRS");
    std::string strFirst = (szDirs && *szDirs) ? std::string(szDirs) : std::string("/etc/xdg");
    const size_t uiColon = strFirst.find(':');
    if (uiColon != std::string::npos) {
        strFirst.resize(uiColon);
    }
    if (strFirst.empty()) {
        strFirst = "/etc/xdg";
    }
    return strFirst + "/autostart";
}

const char AUTOSTART_LEAF[] = "OrvprintD.desktop";

std::string AutostartFile()
{
    return AutostartFolder() + "/" + AUTOSTART_LEAF;
}

} // namespace

void SetUiThreadLocale()
{
    if (!setlocale(LC_ALL, "C.UTF-8")) {
        setlocale(LC_ALL, "");
    }
}

void InitCommonControls() {}

uint32_t GetAccessDeniedError()
{
    return EACCES;
}

bool AutorunValueExists()
{
    struct stat st;
    if (stat(AutostartFile().c_str(), &st) == 0) {
        return true;
    }
    if (errno == ENOENT || errno == ENOTDIR) {
        return false;
    }
    Language::ThrowWin32Error(L"RegOpenKey", static_cast<uint32_t>(errno),
                              (L"检查注册表值" + Language::WideFromUtf8(AutostartFile()) + L"失败").c_str());
}

void WriteAutorunValue(const std::wstring& strProgramPath)
{
    const std::string strFolder = AutostartFolder();
    const std::string strFile = AutostartFile();
    const std::wstring strContext = L"设定注册表值" + Language::WideFromUtf8(strFile) + L"失败";
    if (mkdir(strFolder.c_str(), 0755) != 0 && errno != EEXIST) {
        Language::ThrowWin32Error(L"RegSetValueEx", static_cast<uint32_t>(errno), strContext.c_str());
    }
    // Written beside the entry and renamed over its name: never through a
    // link or file that somebody put there under a predictable name.
    const int iDirFd = open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iDirFd < 0) {
        Language::ThrowWin32Error(L"RegSetValueEx", static_cast<uint32_t>(errno), strContext.c_str());
    }
    const Language::scope_guard guardDir(boost::bind(close, iDirFd));
    std::string strTemp;
    const int iFd = NoFollowFile::CreateTemporary(iDirFd, AUTOSTART_LEAF, &strTemp);
    if (iFd < 0) {
        Language::ThrowWin32Error(L"RegSetValueEx", static_cast<uint32_t>(errno), strContext.c_str());
    }
    const std::string strEntry = "[Desktop Entry]\n"
                                 "Type=Application\n"
                                 "Name=OrvprintD\n"
                                 "Comment=Print options for held print jobs; keeps the client tool running\n"
                                 "Exec=\"" + Language::Utf8FromWide(strProgramPath) + "\"\n"
                                 "Terminal=false\n"
                                 "NoDisplay=true\n"
                                 "X-GNOME-Autostart-enabled=true\n";
    int iErr = 0;
    if (!NoFollowFile::WriteAll(iFd, strEntry) || fchmod(iFd, 0644) != 0) {
        iErr = errno ? errno : EIO;
    }
    if (close(iFd) != 0 && iErr == 0) {
        iErr = errno;
    }
    if (iErr == 0 && renameat(iDirFd, strTemp.c_str(), iDirFd, AUTOSTART_LEAF) != 0) {
        iErr = errno;
    }
    if (iErr != 0) {
        unlinkat(iDirFd, strTemp.c_str(), 0);
        Language::ThrowWin32Error(L"RegSetValueEx", static_cast<uint32_t>(iErr), strContext.c_str());
    }
}

std::wstring GetAutorunLocation()
{
    return Language::WideFromUtf8(AutostartFile());
}

int ProbePrintProcessor(uint32_t* puiLastError)
{
    // The backend is installed 0700 for root (the scheduler then runs it as
    // root): the user cannot execute it, only see that it is there.
    const char* szServerBin = std::getenv("CUPS_SERVERBIN");
    const std::string strBackend =
        std::string(szServerBin && *szServerBin ? szServerBin : "/usr/lib/cups") + "/backend/orvprint";
    struct stat st;
    if (stat(strBackend.c_str(), &st) != 0) {
        *puiLastError = static_cast<uint32_t>(errno);
        return 0;
    }
    if (!S_ISREG(st.st_mode) || (st.st_mode & S_IXUSR) == 0) {
        *puiLastError = static_cast<uint32_t>(ENOEXEC);
        return 0;
    }
    *puiLastError = 0;
    return 1;
}

void CatchQuitSignals()
{
    const sigset_t set = QuitSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    g_iQuitSignalFd = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (g_iQuitSignalFd < 0) {
        // Nothing would ever read them: let them end the process as before.
        pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
    }
}

void ShowErrorMessageBox(const std::wstring& strText)
{
    // A quit during start-up does not wait for somebody to close the box.
    QMessageBox objBox(QMessageBox::Critical, QStringLiteral("OrvprintD"), QString::fromStdWString(strText),
                       QMessageBox::Ok);
    const auto pNotifier = NotifyQuit([&objBox]() { objBox.reject(); });
    if (TakeQuitSignals()) {
        return;
    }
    objBox.exec();
}

void RunMessageLoop()
{
    // A quit signal ends the loop as the quit message does on Windows. The
    // loop is a plain QEventLoop: leaving it does not end a dialog's own
    // loop, so an open dialog stays until the user closes it.
    if (TakeQuitSignals()) {
        return;
    }
    QEventLoop objLoop;
    const auto pNotifier = NotifyQuit([&objLoop]() { objLoop.exit(0); });
    if (TakeQuitSignals()) {
        return; // came while the notifier was made
    }
    objLoop.exec();
}

uint32_t JoinFromMainThread(OrvUtility::CThread& objThread)
{
    // The popup thread may still hand a dialog to this (GUI) thread while it
    // finishes: keep serving events until the join is done.
    uint32_t uiResult = 0;
    QEventLoop objLoop;
    std::thread joiner([&]() {
        uiResult = objThread.Join();
        QMetaObject::invokeMethod(&objLoop, [&objLoop]() { objLoop.quit(); }, Qt::QueuedConnection);
    });
    objLoop.exec();
    joiner.join();
    return uiResult;
}

int QuitRunningInstance(uint32_t uiTimeoutMs)
{
    const std::wstring strSelf = GetProgramPath();
    const pid_t self = getpid();
    int iFound = 0;
    int iResult = QUIT_ENDED;
    for (const Language::ProcessEntry& entry : Language::EnumProcesses()) {
        const pid_t pid = static_cast<pid_t>(entry.uiProcessId);
        if (pid == self) {
            continue;
        }
        // The process is pinned by a pidfd before it is checked, and the
        // signal goes through that pidfd: a process that ended meanwhile
        // and whose id was given to another is never signalled.
        const int iPidFd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
        if (iPidFd < 0) {
            continue; // gone already
        }
        if (!Language::IsModuleLoadedInProcess(entry.uiProcessId, strSelf)) {
            close(iPidFd);
            continue;
        }
        ++iFound;
        if (syscall(SYS_pidfd_send_signal, iPidFd, SIGTERM, nullptr, 0) != 0) {
            const int iError = errno;
            close(iPidFd);
            if (iError != ESRCH) {
                // Another user's instance, for one: it runs on.
                iResult = WorseQuitResult(iResult, QUIT_NOT_ENDED);
            }
            continue;
        }
        struct pollfd pfd = {iPidFd, POLLIN, 0};
        const int iReady = poll(&pfd, 1, static_cast<int>(uiTimeoutMs));
        close(iPidFd);
        iResult = WorseQuitResult(iResult, iReady == 1 ? QUIT_ENDED : QUIT_NOT_IN_TIME);
    }
    return iFound == 0 ? NoInstanceFound() : iResult;
}

void EndInstance(OrvUtility::NamedHandle hInstanceMutex)
{
    OrvUtility::ReleaseNamedMutex(hInstanceMutex);
}

const wchar_t* GetPathSeparator()
{
    return L"/";
}

} // namespace AppPlatform
