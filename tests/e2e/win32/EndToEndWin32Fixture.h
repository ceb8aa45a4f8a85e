#pragma once

// The fixture of the end-to-end tests on Windows and its helpers: a private
// TempDir with Config.ini in the prefix's machine registry, the Run value
// saved, OrvprintD and what it starts ended after each test; windows of
// another process found and answered with posted messages.
#include <windows.h>
#include <tlhelp32.h>
#include <winspool.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "e2e/EndToEndRequests.h"
#include "Src/Common/include/JobOptionData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"

namespace orvtest {
namespace e2ewin {

using Clock = std::chrono::steady_clock;
using Reply = OrvUtility::CMsgQueueSender::REPLY;

inline const wchar_t* const DIALOG_TITLE = L"请选择打印选项";
inline const wchar_t* const DIALOG_CLASS = L"#32770";
inline const wchar_t* const STARTUP_BOX_CAPTION = L"OrvprintD";
inline const wchar_t* const STARTUP_BOX_TEXT = L"打印处理器激活失败，请重新启动计算机！";
inline const std::wstring EXISTENCE_MUTEX = L"Global\\Orvprint_Popup_Dialog_MUTEX_EXISTANCE";
inline const std::wstring INSTANCE_MUTEX = L"Global\\{05D73725-23EF-4104-92F1-CE15A4115D6A}";
inline const wchar_t* const CLIENT_KEY = L"Software\\Orv-soft\\Client";
inline const wchar_t* const RUN_KEY = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
inline const wchar_t* const RUN_VALUE = L"OrvprintD";
inline const wchar_t* const CLIENT_TOOL_NAME = L"OrvClientTool.exe";

// Bounds of the waits: generous, since a cold Wine can be slow to start a
// program; none of them is reached when things work.
inline const auto START_TIMEOUT = std::chrono::seconds(60);
inline const auto WINDOW_TIMEOUT = std::chrono::seconds(30);
// One launcher cycle (10 s) and room for a process start under Wine.
inline const auto RELAUNCH_TIMEOUT = std::chrono::seconds(18);

// ---------------------------------------------------------------------------
// Paths

// The folder of the programs as a Windows path. The build gives a Unix path
// ("/work/.../bin"), which Wine shows under drive Z:.
inline std::string BinDir()
{
    std::string strPath = ORV_BIN_DIR;
    if (!strPath.empty() && strPath[0] == '/') {
        strPath = "Z:" + strPath;
    }
    std::replace(strPath.begin(), strPath.end(), '/', '\\');
    return strPath;
}

inline std::string BinPath(const char* szName)
{
    return BinDir() + "\\" + szName;
}

inline std::string SendToolPath()
{
    std::string strPath = ORV_SEND_PATH;
    if (!strPath.empty() && strPath[0] == '/') {
        strPath = "Z:" + strPath;
    }
    std::replace(strPath.begin(), strPath.end(), '/', '\\');
    return strPath;
}

inline std::wstring Wide(const std::string& str)
{
    return Language::WideFromUtf8(str);
}

// The full path as the system resolves it (drive letter, no "..").
inline std::wstring FullPath(const std::wstring& strPath)
{
    wchar_t szFull[MAX_PATH] = {0};
    const DWORD n = ::GetFullPathNameW(strPath.c_str(), MAX_PATH, szFull, nullptr);
    return (n > 0 && n < MAX_PATH) ? std::wstring(szFull, n) : strPath;
}

inline bool EqualNoCase(const std::wstring& strLeft, const std::wstring& strRight)
{
    return ::CompareStringOrdinal(strLeft.c_str(), static_cast<int>(strLeft.size()), strRight.c_str(),
                                  static_cast<int>(strRight.size()), TRUE) == CSTR_EQUAL;
}

// ---------------------------------------------------------------------------
// Waiting

// Waits (bounded) for a condition that another process makes true, polling.
template <class F>
inline bool WaitFor(F fnCondition, Clock::duration timeout = WINDOW_TIMEOUT)
{
    const auto deadline = Clock::now() + timeout;
    while (!fnCondition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline double Milliseconds(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

// The exit code of a child, or -2 when it has not ended in time (then it is
// killed).
inline int WaitExit(orvtest::ChildProcess& child, Clock::duration timeout = START_TIMEOUT)
{
    if (!WaitFor([&child] { return !child.IsRunning(); }, timeout)) {
        child.Kill();
        return -2;
    }
    return child.Wait();
}

// ---------------------------------------------------------------------------
// Windows of another process

inline std::wstring WindowText(HWND hWnd)
{
    wchar_t szText[1024] = {0};
    ::GetWindowTextW(hWnd, szText, 1024);
    return szText;
}

inline std::wstring ClassOf(HWND hWnd)
{
    wchar_t szClass[64] = {0};
    ::GetClassNameW(hWnd, szClass, 64);
    return szClass;
}

// Top-level dialog windows (class "#32770") of a process with the given title.
inline std::vector<HWND> DialogsOf(DWORD dwProcessId, const std::wstring& strTitle)
{
    struct Search {
        DWORD dwProcessId;
        const std::wstring* pTitle;
        std::vector<HWND> vecFound;
    } search{dwProcessId, &strTitle, {}};
    ::EnumWindows(
        [](HWND hWnd, LPARAM lParam) -> BOOL {
            Search* pSearch = reinterpret_cast<Search*>(lParam);
            DWORD dwOwner = 0;
            ::GetWindowThreadProcessId(hWnd, &dwOwner);
            if (dwOwner == pSearch->dwProcessId && ClassOf(hWnd) == DIALOG_CLASS &&
                WindowText(hWnd) == *pSearch->pTitle) {
                pSearch->vecFound.push_back(hWnd);
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.vecFound;
}

inline HWND VisibleDialogOf(DWORD dwProcessId, const std::wstring& strTitle)
{
    for (HWND hWnd : DialogsOf(dwProcessId, strTitle)) {
        if (::IsWindowVisible(hWnd)) {
            return hWnd;
        }
    }
    return nullptr;
}

inline std::vector<HWND> ChildrenOf(HWND hParent)
{
    std::vector<HWND> vecChildren;
    ::EnumChildWindows(
        hParent,
        [](HWND hWnd, LPARAM lParam) -> BOOL {
            reinterpret_cast<std::vector<HWND>*>(lParam)->push_back(hWnd);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&vecChildren));
    return vecChildren;
}

// What a message box shows: its static texts, whether it has an icon, its
// buttons.
struct MessageBoxFace {
    std::vector<std::wstring> vecTexts;
    bool bIcon = false;
    bool bOk = false;
    bool bOtherButtons = false;
};

inline MessageBoxFace FaceOf(HWND hBox)
{
    MessageBoxFace face;
    for (HWND hChild : ChildrenOf(hBox)) {
        const std::wstring strClass = ClassOf(hChild);
        if (EqualNoCase(strClass, L"Static")) {
            const LONG lStyle = ::GetWindowLongW(hChild, GWL_STYLE);
            if ((lStyle & SS_TYPEMASK) == SS_ICON) {
                face.bIcon = true;
            } else if (!WindowText(hChild).empty()) {
                face.vecTexts.push_back(WindowText(hChild));
            }
        }
    }
    face.bOk = ::GetDlgItem(hBox, IDOK) != nullptr;
    for (int iId : {IDCANCEL, IDABORT, IDRETRY, IDIGNORE, IDYES, IDNO}) {
        HWND hButton = ::GetDlgItem(hBox, iId);
        if (hButton && ::IsWindowVisible(hButton)) {
            face.bOtherButtons = true;
        }
    }
    return face;
}

// The control that has the keyboard focus in the dialog's thread, once the
// dialog manager has put it inside the dialog; the dialog itself otherwise.
inline HWND FocusIn(HWND hDlg)
{
    const DWORD dwThread = ::GetWindowThreadProcessId(hDlg, nullptr);
    HWND hFocus = nullptr;
    WaitFor(
        [&] {
            GUITHREADINFO gti;
            std::memset(&gti, 0, sizeof(gti));
            gti.cbSize = sizeof(gti);
            if (::GetGUIThreadInfo(dwThread, &gti) && gti.hwndFocus &&
                (gti.hwndFocus == hDlg || ::IsChild(hDlg, gti.hwndFocus))) {
                hFocus = gti.hwndFocus;
                return true;
            }
            return false;
        },
        std::chrono::seconds(5));
    return hFocus ? hFocus : hDlg;
}

// A key press as the keyboard delivers it: down and up to the focused
// control, through the dialog's own message loop (IsDialogMessage turns
// Enter into the default button and Escape into Cancel).
inline void PressKey(HWND hDlg, UINT uiVirtualKey)
{
    HWND hTarget = FocusIn(hDlg);
    const LPARAM lScan = static_cast<LPARAM>(::MapVirtualKeyW(uiVirtualKey, MAPVK_VK_TO_VSC)) << 16;
    ::PostMessageW(hTarget, WM_KEYDOWN, uiVirtualKey, lScan | 1);
    ::PostMessageW(hTarget, WM_KEYUP, uiVirtualKey, lScan | 1 | (1 << 30) | (static_cast<LPARAM>(1) << 31));
}

// Whether top-level windows can be made in this session (Wine makes none
// on a desktop without a display driver).
inline bool CanShowWindows()
{
    HWND hWnd = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 10, 10, nullptr, nullptr, nullptr, nullptr);
    if (!hWnd) {
        return false;
    }
    ::DestroyWindow(hWnd);
    return true;
}

// ---------------------------------------------------------------------------
// Processes

// Ids of the processes that run this very program file (by full path).
inline std::vector<DWORD> ProcessesOf(const std::wstring& strProgramPath)
{
    const std::vector<uint32_t> vecIds = Language::FindProcessesRunning(strProgramPath);
    std::vector<DWORD> vecPids(vecIds.begin(), vecIds.end());
    std::sort(vecPids.begin(), vecPids.end());
    return vecPids;
}

// Ends one process by its id and waits until it is gone.
inline void KillProcess(DWORD dwProcessId)
{
    HANDLE hProcess = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, dwProcessId);
    if (!hProcess) {
        return;
    }
    ::TerminateProcess(hProcess, 137);
    ::WaitForSingleObject(hProcess, 10000);
    ::CloseHandle(hProcess);
}

inline bool IsAlive(DWORD dwProcessId)
{
    HANDLE hProcess = ::OpenProcess(SYNCHRONIZE, FALSE, dwProcessId);
    if (!hProcess) {
        return false;
    }
    const bool bAlive = ::WaitForSingleObject(hProcess, 0) == WAIT_TIMEOUT;
    ::CloseHandle(hProcess);
    return bAlive;
}

// The first thread of a process: the one that runs its message loop.
inline DWORD MainThreadOf(DWORD dwProcessId)
{
    HANDLE hSnapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (hSnapshot == INVALID_HANDLE_VALUE) {
        return 0;
    }
    DWORD dwBest = 0;
    ULONGLONG ullBest = ~0ULL;
    THREADENTRY32 te;
    te.dwSize = sizeof(te);
    for (BOOL bMore = ::Thread32First(hSnapshot, &te); bMore; bMore = ::Thread32Next(hSnapshot, &te)) {
        if (te.th32OwnerProcessID != dwProcessId) {
            continue;
        }
        ULONGLONG ullCreated = ~0ULL - 1;
        HANDLE hThread = ::OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, te.th32ThreadID);
        if (hThread) {
            FILETIME ftCreate, ftExit, ftKernel, ftUser;
            if (::GetThreadTimes(hThread, &ftCreate, &ftExit, &ftKernel, &ftUser)) {
                ullCreated = (static_cast<ULONGLONG>(ftCreate.dwHighDateTime) << 32) | ftCreate.dwLowDateTime;
            }
            ::CloseHandle(hThread);
        }
        if (dwBest == 0 || ullCreated < ullBest) {
            dwBest = te.th32ThreadID;
            ullBest = ullCreated;
        }
        te.dwSize = sizeof(te);
    }
    ::CloseHandle(hSnapshot);
    return dwBest;
}

// Runs a console program to its end with its output in a file; returns the
// exit code (-2 when it did not end in time) and the output.
inline int RunCaptured(const std::wstring& strCommandLine, const std::wstring& strOutputFile, std::string& strOutput,
                DWORD dwTimeoutMs)
{
    SECURITY_ATTRIBUTES sa;
    sa.nLength = sizeof(sa);
    sa.lpSecurityDescriptor = nullptr;
    sa.bInheritHandle = TRUE;
    HANDLE hOut = ::CreateFileW(strOutputFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &sa,
                                CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hOut == INVALID_HANDLE_VALUE) {
        return -1;
    }
    STARTUPINFOW si;
    std::memset(&si, 0, sizeof(si));
    si.cb = sizeof(si);
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdInput = nullptr;
    si.hStdOutput = hOut;
    si.hStdError = hOut;
    PROCESS_INFORMATION pi;
    std::memset(&pi, 0, sizeof(pi));
    std::wstring strCmd = strCommandLine;
    const BOOL bStarted =
        ::CreateProcessW(nullptr, &strCmd[0], nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &si, &pi);
    ::CloseHandle(hOut);
    if (!bStarted) {
        return -1;
    }
    ::CloseHandle(pi.hThread);
    int iCode = -2;
    if (::WaitForSingleObject(pi.hProcess, dwTimeoutMs) == WAIT_OBJECT_0) {
        DWORD dwCode = 0;
        ::GetExitCodeProcess(pi.hProcess, &dwCode);
        iCode = static_cast<int>(dwCode);
    } else {
        ::TerminateProcess(pi.hProcess, 137);
        ::WaitForSingleObject(pi.hProcess, 10000);
    }
    ::CloseHandle(pi.hProcess);
    std::ifstream in(strOutputFile.c_str(), std::ios::binary);
    strOutput.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return iCode;
}

inline std::wstring CurrentUserName()
{
    wchar_t szName[256] = {0};
    DWORD dwSize = 256;
    ::GetUserNameW(szName, &dwSize);
    return szName;
}

// ---------------------------------------------------------------------------
// Machine registry (HKEY_LOCAL_MACHINE of the prefix)

struct RegistryValue {
    bool bPresent = false;
    DWORD dwType = 0;
    std::vector<BYTE> vecData;
};

inline RegistryValue ReadValue(const wchar_t* szKey, const wchar_t* szName)
{
    RegistryValue value;
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS) {
        return value;
    }
    DWORD dwBytes = 0;
    if (::RegQueryValueExW(hKey, szName, nullptr, &value.dwType, nullptr, &dwBytes) == ERROR_SUCCESS) {
        value.vecData.resize(dwBytes);
        if (::RegQueryValueExW(hKey, szName, nullptr, &value.dwType, value.vecData.data(), &dwBytes) ==
            ERROR_SUCCESS) {
            value.vecData.resize(dwBytes);
            value.bPresent = true;
        }
    }
    ::RegCloseKey(hKey);
    return value;
}

inline std::wstring AsText(const RegistryValue& value)
{
    std::wstring str(reinterpret_cast<const wchar_t*>(value.vecData.data()), value.vecData.size() / sizeof(wchar_t));
    while (!str.empty() && str.back() == L'\0') {
        str.pop_back();
    }
    return str;
}

inline bool KeyExists(const wchar_t* szKey)
{
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS) {
        return false;
    }
    ::RegCloseKey(hKey);
    return true;
}

inline bool WriteValue(const wchar_t* szKey, const wchar_t* szName, DWORD dwType, const void* pData, DWORD dwBytes)
{
    HKEY hKey = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, nullptr, 0, KEY_WRITE, nullptr, &hKey, nullptr) !=
        ERROR_SUCCESS) {
        return false;
    }
    const bool bOk = ::RegSetValueExW(hKey, szName, 0, dwType, static_cast<const BYTE*>(pData), dwBytes) ==
                     ERROR_SUCCESS;
    ::RegCloseKey(hKey);
    return bOk;
}

inline bool WriteText(const wchar_t* szKey, const wchar_t* szName, const std::wstring& strText)
{
    return WriteValue(szKey, szName, REG_SZ, strText.c_str(), static_cast<DWORD>((strText.size() + 1) * 2));
}

inline void DeleteValue(const wchar_t* szKey, const wchar_t* szName)
{
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_WRITE, &hKey) == ERROR_SUCCESS) {
        ::RegDeleteValueW(hKey, szName);
        ::RegCloseKey(hKey);
    }
}

// Deletes a key that has neither values nor subkeys.
inline void DeleteKeyIfEmpty(const wchar_t* szKey)
{
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS) {
        return;
    }
    DWORD dwSubKeys = 0;
    DWORD dwValues = 0;
    const LONG lRet = ::RegQueryInfoKeyW(hKey, nullptr, nullptr, nullptr, &dwSubKeys, nullptr, nullptr, &dwValues,
                                         nullptr, nullptr, nullptr, nullptr);
    ::RegCloseKey(hKey);
    if (lRet == ERROR_SUCCESS && dwSubKeys == 0 && dwValues == 0) {
        ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, szKey);
    }
}

// A machine value as it was before a test, put back afterwards (with the
// keys that the test created, when they are empty again).
class SavedValue {
public:
    SavedValue(const wchar_t* szKey, const wchar_t* szName, std::vector<std::wstring> vecKeysToTidy = {})
        : m_strKey(szKey), m_strName(szName), m_value(ReadValue(szKey, szName))
    {
        for (const std::wstring& strKey : vecKeysToTidy) {
            if (!KeyExists(strKey.c_str())) {
                m_vecCreatedKeys.push_back(strKey);
            }
        }
    }
    ~SavedValue()
    {
        if (m_value.bPresent) {
            WriteValue(m_strKey.c_str(), m_strName.c_str(), m_value.dwType, m_value.vecData.data(),
                       static_cast<DWORD>(m_value.vecData.size()));
        } else {
            DeleteValue(m_strKey.c_str(), m_strName.c_str());
        }
        for (const std::wstring& strKey : m_vecCreatedKeys) {
            DeleteKeyIfEmpty(strKey.c_str());
        }
    }
    SavedValue(const SavedValue&) = delete;
    SavedValue& operator=(const SavedValue&) = delete;

private:
    std::wstring m_strKey;
    std::wstring m_strName;
    RegistryValue m_value;
    std::vector<std::wstring> m_vecCreatedKeys; // deepest first
};

// ---------------------------------------------------------------------------
// Requests and answers

using e2e::BuildRequest;
using e2e::Printer;
using e2e::Projects;
using e2e::ReplyId;
using e2e::ReplyResult;
using e2e::ExpectCancelledAnswer;
using e2e::TwoPrinters;
using e2e::TwoProjects;

// One exchange as the printing service makes it, and when it ended.
struct Exchange {
    uint32_t uiSendResult = 0xFFFF;
    Reply reply;
    Clock::time_point tAnswered;
};

// ---------------------------------------------------------------------------
// The fixture: a private TempDir with Config.ini in the prefix's machine
// registry, the Run value saved, and OrvprintD with what it starts ended
// after each test.

class EndToEndWin32Test : public ::testing::Test {
protected:
    EndToEndWin32Test()
        : m_strProgram(BinPath("OrvprintD.exe"))
        , m_strClientTool(FullPath(Wide(BinPath("OrvClientTool.exe"))))
        , m_savedTempDir(CLIENT_KEY, L"TempDir", {CLIENT_KEY, L"Software\\Orv-soft"})
        , m_savedRunValue(RUN_KEY, RUN_VALUE)
    {
    }

    void SetUp() override
    {
        ASSERT_TRUE(CanShowWindows()) << "this Wine session has no display driver: its desktop was made by a "
                                         "program without a display (use a prefix of its own, with a display)";
        ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", nullptr);
        ::CreateDirectoryW(TempDir().c_str(), nullptr);
        ASSERT_TRUE(WriteText(CLIENT_KEY, L"TempDir", TempDir()));
        WriteConfigIni(L"DisplayProjectSelection=1\r\nCanSelectNoPrinter=0\r\nCanSelectNoProject=0\r\n");
        // Start from a machine without the program's processes: a run that
        // was cut short (a killed test binary) leaves them in the prefix.
        EndLeftovers(FullPath(Wide(m_strProgram)));
        EndLeftovers(m_strClientTool);
        ASSERT_FALSE(IsServing()) << "another OrvprintD serves the queue";
        ASSERT_TRUE(ProcessesOf(m_strClientTool).empty()) << "a client tool of an earlier run is still running";
    }

    static void EndLeftovers(const std::wstring& strProgramPath)
    {
        for (DWORD dwPid : ProcessesOf(strProgramPath)) {
            std::printf("[   NOTE   ] ending process %lu left by an earlier run: %s\n",
                        static_cast<unsigned long>(dwPid), Language::Utf8FromWide(strProgramPath).c_str());
            KillProcess(dwPid);
        }
    }

    void TearDown() override
    {
        if (m_pOrvprintD && m_pOrvprintD->IsRunning()) {
            Stop(*m_pOrvprintD);
        }
        // What the launcher started is left running by OrvprintD itself.
        EndClientTools();
        ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", nullptr);
    }

    // Ends OrvprintD the way --quit does, so that a launcher cycle that is
    // starting the client tool finishes first; kills it when it does not end
    // (a dialog left open by a failed test holds the popup thread).
    void Stop(orvtest::ChildProcess& objProgram)
    {
        const DWORD dwThread = MainThreadOf(static_cast<DWORD>(objProgram.GetPid()));
        if (dwThread) {
            ::PostThreadMessageW(dwThread, WM_QUIT, 0, 0);
        }
        if (WaitExit(objProgram, std::chrono::seconds(10)) == -2) {
            objProgram.Kill();
        }
    }

    // The client tools that the program started (its children, wherever
    // they are in their start) and any that run the tool file beside it.
    std::vector<DWORD> ClientToolsToEnd() const
    {
        std::vector<DWORD> vecPids;
        for (const Language::ProcessEntry& entry : Language::EnumProcesses()) {
            if (!EqualNoCase(entry.strExeFile.substr(entry.strExeFile.find_last_of(L"\\/") + 1), CLIENT_TOOL_NAME)) {
                continue;
            }
            const bool bChild = std::find(m_vecProgramPids.begin(), m_vecProgramPids.end(),
                                          entry.uiParentProcessId) != m_vecProgramPids.end();
            if (bChild || Language::IsModuleLoadedInProcess(entry.uiProcessId, m_strClientTool)) {
                vecPids.push_back(entry.uiProcessId);
            }
        }
        return vecPids;
    }

    void EndClientTools()
    {
        for (int i = 0; i < 20; ++i) {
            const std::vector<DWORD> vecPids = ClientToolsToEnd();
            if (vecPids.empty()) {
                break;
            }
            for (DWORD dwPid : vecPids) {
                KillProcess(dwPid);
            }
        }
    }

    std::wstring TempDir() const { return Wide(m_tmp.File("temp")); }
    std::wstring ConfigIni() const { return TempDir() + L"\\Config.ini"; }

    // Config.ini in UTF-16 with its byte-order mark, so that the profile
    // functions keep Chinese names whatever the ANSI code page.
    void WriteConfigIni(const std::wstring& strSetting, const std::wstring& strServerExtra = L"")
    {
        const std::wstring strText =
            L"\xFEFF[Setting]\r\n" + strSetting + L"[ServerConfig]\r\nAuditInstalled=1\r\n" + strServerExtra;
        std::ofstream out(ConfigIni().c_str(), std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(strText.data()), static_cast<std::streamsize>(strText.size() * 2));
    }

    std::string ConfigIniBytes() const { return orvtest::ReadWholeFile(m_tmp.File("temp\\Config.ini")); }

    std::wstring Setting(const wchar_t* szKey) const
    {
        wchar_t szValue[512] = {0};
        ::GetPrivateProfileStringW(L"Setting", szKey, L"", szValue, 512, ConfigIni().c_str());
        return szValue;
    }

    static bool IsServing()
    {
        return OrvUtility::ProbeNamedMutex(EXISTENCE_MUTEX) == OrvUtility::NAMED_MUTEX_OWNED;
    }

    DWORD Pid() const { return static_cast<DWORD>(m_pOrvprintD->GetPid()); }

    std::unique_ptr<orvtest::ChildProcess> StartProgram(const std::vector<std::string>& vecArgs = {})
    {
        std::unique_ptr<orvtest::ChildProcess> pChild = orvtest::ChildProcess::Start(m_strProgram, vecArgs);
        if (pChild) {
            m_vecProgramPids.push_back(static_cast<DWORD>(pChild->GetPid()));
        }
        return pChild;
    }

    // Starts OrvprintD, answers the print-processor message box when it comes
    // (start-up waits for it) and waits until the receive loop holds the
    // existence mutex.
    void StartServing()
    {
        m_pOrvprintD = StartProgram();
        ASSERT_TRUE(m_pOrvprintD);
        HWND hAnswered = nullptr;
        const bool bDone = WaitFor(
            [&] {
                if (!m_pOrvprintD->IsRunning() || IsServing()) {
                    return true;
                }
                const std::vector<HWND> vecBoxes = DialogsOf(Pid(), STARTUP_BOX_CAPTION);
                if (!vecBoxes.empty() && vecBoxes.front() != hAnswered) {
                    hAnswered = vecBoxes.front();
                    m_bStartupBoxSeen = true;
                    m_faceStartupBox = FaceOf(hAnswered);
                    m_bServingWhileBoxShown = IsServing();
                    ::PostMessageW(hAnswered, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED),
                                   reinterpret_cast<LPARAM>(::GetDlgItem(hAnswered, IDOK)));
                }
                return false;
            },
            START_TIMEOUT);
        ASSERT_TRUE(bDone) << "OrvprintD did not reach its receive loop";
        ASSERT_TRUE(m_pOrvprintD->IsRunning()) << "OrvprintD ended during start-up, exit code "
                                               << m_pOrvprintD->Wait();
    }

    std::future<Exchange> SendAsync(std::vector<uint8_t> vecRequest)
    {
        return std::async(std::launch::async, [vecRequest]() {
            Exchange exchange;
            OrvUtility::CMsgQueueSender objSender;
            exchange.uiSendResult = objSender.Send(vecRequest.data(), vecRequest.size(), 60000, exchange.reply);
            exchange.tAnswered = Clock::now();
            return exchange;
        });
    }

    // Waits for the dialog window to be visible; notes how long it took.
    HWND WaitForDialog(Clock::time_point tSent)
    {
        HWND hDlg = nullptr;
        WaitFor([&] { return (hDlg = VisibleDialogOf(Pid(), DIALOG_TITLE)) != nullptr; });
        if (hDlg) {
            m_vecShowTimes.push_back(Milliseconds(Clock::now() - tSent));
        }
        return hDlg;
    }

    // Waits for the dialog to close after a key; notes how long it took.
    bool WaitForHidden(HWND hDlg, Clock::time_point tKey)
    {
        if (!WaitFor([&] { return !::IsWindow(hDlg) || !::IsWindowVisible(hDlg); })) {
            return false;
        }
        m_vecHideTimes.push_back(Milliseconds(Clock::now() - tKey));
        return true;
    }

    // A start that is to end by itself: its exit code, and whether, while it
    // ran, the instance mutex was owned or the print-processor box shown.
    struct ShortRun {
        int iExitCode = -2;
        bool bInstanceOwned = false;
        bool bBoxShown = false;
        double dMilliseconds = 0; // from the call to the end
    };

    ShortRun RunToEnd(orvtest::ChildProcess& objChild)
    {
        ShortRun run;
        const Clock::time_point tStart = Clock::now();
        const DWORD dwPid = static_cast<DWORD>(objChild.GetPid());
        WaitFor(
            [&] {
                run.bInstanceOwned = run.bInstanceOwned ||
                                     OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX) == OrvUtility::NAMED_MUTEX_OWNED;
                run.bBoxShown = run.bBoxShown || !DialogsOf(dwPid, STARTUP_BOX_CAPTION).empty();
                return !objChild.IsRunning();
            },
            START_TIMEOUT);
        run.iExitCode = WaitExit(objChild, std::chrono::seconds(1));
        run.dMilliseconds = Milliseconds(Clock::now() - tStart);
        return run;
    }

    // Sends a request, waits for the dialog and answers it with a key.
    Exchange SendAndAnswer(const std::vector<uint8_t>& vecRequest, UINT uiKey)
    {
        const Clock::time_point tSent = Clock::now();
        std::future<Exchange> future = SendAsync(vecRequest);
        HWND hDlg = WaitForDialog(tSent);
        EXPECT_NE(nullptr, hDlg) << "no dialog \"请选择打印选项\" within the time limit";
        if (!hDlg) {
            m_pOrvprintD->Kill(); // ends the sender's wait
            return future.get();
        }
        const Clock::time_point tKey = Clock::now();
        PressKey(hDlg, uiKey);
        EXPECT_TRUE(WaitForHidden(hDlg, tKey));
        Exchange exchange = future.get();
        m_vecAnswerTimes.push_back(Milliseconds(exchange.tAnswered - tKey));
        return exchange;
    }

    void PrintTimings(const char* szKey)
    {
        for (size_t i = 0; i < m_vecShowTimes.size(); ++i) {
            std::printf("[   TIME   ] request %zu: request -> dialog visible %.1f ms", i + 1, m_vecShowTimes[i]);
            if (i < m_vecHideTimes.size()) {
                std::printf(", %s -> dialog hidden %.1f ms", szKey, m_vecHideTimes[i]);
            }
            if (i < m_vecAnswerTimes.size()) {
                std::printf(", %s -> answer %.1f ms", szKey, m_vecAnswerTimes[i]);
            }
            std::printf("\n");
            RecordProperty("dialog_visible_ms_" + std::to_string(i + 1), std::to_string(m_vecShowTimes[i]));
            if (i < m_vecHideTimes.size()) {
                RecordProperty("key_to_hidden_ms_" + std::to_string(i + 1), std::to_string(m_vecHideTimes[i]));
            }
            if (i < m_vecAnswerTimes.size()) {
                RecordProperty("key_to_answer_ms_" + std::to_string(i + 1), std::to_string(m_vecAnswerTimes[i]));
            }
        }
        std::fflush(stdout);
    }

    orvtest::TempFolder m_tmp;
    const std::string m_strProgram;
    const std::wstring m_strClientTool;
    SavedValue m_savedTempDir;
    SavedValue m_savedRunValue;
    std::unique_ptr<orvtest::ChildProcess> m_pOrvprintD;
    std::vector<DWORD> m_vecProgramPids; // every OrvprintD process of the test
    bool m_bStartupBoxSeen = false;
    bool m_bServingWhileBoxShown = false;
    MessageBoxFace m_faceStartupBox;
    std::vector<double> m_vecShowTimes;
    std::vector<double> m_vecHideTimes;
    std::vector<double> m_vecAnswerTimes;
};

} // namespace e2ewin
} // namespace orvtest
