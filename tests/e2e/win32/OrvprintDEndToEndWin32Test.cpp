// OrvprintD as the user meets it on Windows: the real program in its own
// process, the print-processor message box answered, a request sent the way
// the printing service sends it, the dialog answered with the keyboard, the
// answer read back from the shared block; the Run value, the single instance,
// the client tool and the end through --quit.
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

#include "Src/Common/include/JobOptionData.h"
#include "Src/PrintingService/Common/Include/MsgQueueSender.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"
#include "utility/NamedMutex.h"

namespace {

using Clock = std::chrono::steady_clock;
using Reply = OrvUtility::CMsgQueueSender::REPLY;

const wchar_t* const DIALOG_TITLE = L"请选择打印选项";
const wchar_t* const DIALOG_CLASS = L"#32770";
const wchar_t* const STARTUP_BOX_CAPTION = L"OrvprintD";
const wchar_t* const STARTUP_BOX_TEXT = L"打印处理器激活失败，请重新启动计算机！";
const std::wstring EXISTENCE_MUTEX = L"Global\\Orvprint_Popup_Dialog_MUTEX_EXISTANCE";
const std::wstring INSTANCE_MUTEX = L"Global\\{05D73725-23EF-4104-92F1-CE15A4115D6A}";
const wchar_t* const CLIENT_KEY = L"Software\\Orv-soft\\Client";
const wchar_t* const RUN_KEY = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
const wchar_t* const RUN_VALUE = L"OrvprintD";
const wchar_t* const CLIENT_TOOL_NAME = L"OrvClientTool.exe";

// Bounds of the waits: generous, since a cold Wine can be slow to start a
// program; none of them is reached when things work.
const auto START_TIMEOUT = std::chrono::seconds(60);
const auto WINDOW_TIMEOUT = std::chrono::seconds(30);
// One launcher cycle (10 s) and room for a process start under Wine.
const auto RELAUNCH_TIMEOUT = std::chrono::seconds(18);

// ---------------------------------------------------------------------------
// Paths

// The folder of the programs as a Windows path. The build gives a Unix path
// ("/work/.../bin"), which Wine shows under drive Z:.
std::string BinDir()
{
    std::string strPath = ORV_BIN_DIR;
    if (!strPath.empty() && strPath[0] == '/') {
        strPath = "Z:" + strPath;
    }
    std::replace(strPath.begin(), strPath.end(), '/', '\\');
    return strPath;
}

std::string BinPath(const char* szName)
{
    return BinDir() + "\\" + szName;
}

std::string SendToolPath()
{
    std::string strPath = ORV_SEND_PATH;
    if (!strPath.empty() && strPath[0] == '/') {
        strPath = "Z:" + strPath;
    }
    std::replace(strPath.begin(), strPath.end(), '/', '\\');
    return strPath;
}

std::wstring Wide(const std::string& str)
{
    return Language::WideFromUtf8(str);
}

// The full path as the system resolves it (drive letter, no "..").
std::wstring FullPath(const std::wstring& strPath)
{
    wchar_t szFull[MAX_PATH] = {0};
    const DWORD n = ::GetFullPathNameW(strPath.c_str(), MAX_PATH, szFull, nullptr);
    return (n > 0 && n < MAX_PATH) ? std::wstring(szFull, n) : strPath;
}

bool EqualNoCase(const std::wstring& strLeft, const std::wstring& strRight)
{
    return ::CompareStringOrdinal(strLeft.c_str(), static_cast<int>(strLeft.size()), strRight.c_str(),
                                  static_cast<int>(strRight.size()), TRUE) == CSTR_EQUAL;
}

// ---------------------------------------------------------------------------
// Waiting

// Waits (bounded) for a condition that another process makes true, polling.
template <class F>
bool WaitFor(F fnCondition, Clock::duration timeout = WINDOW_TIMEOUT)
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

double Milliseconds(Clock::duration d)
{
    return std::chrono::duration<double, std::milli>(d).count();
}

// The exit code of a child, or -2 when it has not ended in time (then it is
// killed).
int WaitExit(orvtest::ChildProcess& child, Clock::duration timeout = START_TIMEOUT)
{
    if (!WaitFor([&child] { return !child.IsRunning(); }, timeout)) {
        child.Kill();
        return -2;
    }
    return child.Wait();
}

// ---------------------------------------------------------------------------
// Windows of another process

std::wstring WindowText(HWND hWnd)
{
    wchar_t szText[1024] = {0};
    ::GetWindowTextW(hWnd, szText, 1024);
    return szText;
}

std::wstring ClassOf(HWND hWnd)
{
    wchar_t szClass[64] = {0};
    ::GetClassNameW(hWnd, szClass, 64);
    return szClass;
}

// Top-level dialog windows (class "#32770") of a process with the given title.
std::vector<HWND> DialogsOf(DWORD dwProcessId, const std::wstring& strTitle)
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

HWND VisibleDialogOf(DWORD dwProcessId, const std::wstring& strTitle)
{
    for (HWND hWnd : DialogsOf(dwProcessId, strTitle)) {
        if (::IsWindowVisible(hWnd)) {
            return hWnd;
        }
    }
    return nullptr;
}

std::vector<HWND> ChildrenOf(HWND hParent)
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

MessageBoxFace FaceOf(HWND hBox)
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
HWND FocusIn(HWND hDlg)
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
void PressKey(HWND hDlg, UINT uiVirtualKey)
{
    HWND hTarget = FocusIn(hDlg);
    const LPARAM lScan = static_cast<LPARAM>(::MapVirtualKeyW(uiVirtualKey, MAPVK_VK_TO_VSC)) << 16;
    ::PostMessageW(hTarget, WM_KEYDOWN, uiVirtualKey, lScan | 1);
    ::PostMessageW(hTarget, WM_KEYUP, uiVirtualKey, lScan | 1 | (1 << 30) | (static_cast<LPARAM>(1) << 31));
}

// Whether top-level windows can be made in this session (Wine makes none
// on a desktop without a display driver).
bool CanShowWindows()
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
std::vector<DWORD> ProcessesOf(const std::wstring& strProgramPath)
{
    std::vector<DWORD> vecPids;
    const std::wstring strName = strProgramPath.substr(strProgramPath.find_last_of(L"\\/") + 1);
    for (const Language::ProcessEntry& entry : Language::EnumProcesses()) {
        const std::wstring strExe = entry.strExeFile.substr(entry.strExeFile.find_last_of(L"\\/") + 1);
        if (EqualNoCase(strExe, strName) && Language::IsModuleLoadedInProcess(entry.uiProcessId, strProgramPath)) {
            vecPids.push_back(entry.uiProcessId);
        }
    }
    std::sort(vecPids.begin(), vecPids.end());
    return vecPids;
}

// Ends one process by its id and waits until it is gone.
void KillProcess(DWORD dwProcessId)
{
    HANDLE hProcess = ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, dwProcessId);
    if (!hProcess) {
        return;
    }
    ::TerminateProcess(hProcess, 137);
    ::WaitForSingleObject(hProcess, 10000);
    ::CloseHandle(hProcess);
}

bool IsAlive(DWORD dwProcessId)
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
DWORD MainThreadOf(DWORD dwProcessId)
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
int RunCaptured(const std::wstring& strCommandLine, const std::wstring& strOutputFile, std::string& strOutput,
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

std::wstring CurrentUserName()
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

RegistryValue ReadValue(const wchar_t* szKey, const wchar_t* szName)
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

std::wstring AsText(const RegistryValue& value)
{
    std::wstring str(reinterpret_cast<const wchar_t*>(value.vecData.data()), value.vecData.size() / sizeof(wchar_t));
    while (!str.empty() && str.back() == L'\0') {
        str.pop_back();
    }
    return str;
}

bool KeyExists(const wchar_t* szKey)
{
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_READ, &hKey) != ERROR_SUCCESS) {
        return false;
    }
    ::RegCloseKey(hKey);
    return true;
}

bool WriteValue(const wchar_t* szKey, const wchar_t* szName, DWORD dwType, const void* pData, DWORD dwBytes)
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

bool WriteText(const wchar_t* szKey, const wchar_t* szName, const std::wstring& strText)
{
    return WriteValue(szKey, szName, REG_SZ, strText.c_str(), static_cast<DWORD>((strText.size() + 1) * 2));
}

void DeleteValue(const wchar_t* szKey, const wchar_t* szName)
{
    HKEY hKey = nullptr;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, szKey, 0, KEY_WRITE, &hKey) == ERROR_SUCCESS) {
        ::RegDeleteValueW(hKey, szName);
        ::RegCloseKey(hKey);
    }
}

// Deletes a key that has neither values nor subkeys.
void DeleteKeyIfEmpty(const wchar_t* szKey)
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

typedef std::vector<std::pair<std::wstring, std::wstring>> Projects;

std::vector<uint8_t> BuildRequest(const std::vector<Printer>& vecPrinters, const Projects& vecProjects)
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
        CopyText(info.szPrinterId, sizeof(info.szPrinterId) / 2, p.strId);
        CopyText(info.szPrinterName, sizeof(info.szPrinterName) / 2, p.strName);
        CopyText(info.szComment, sizeof(info.szComment) / 2, p.strComment);
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
        CopyText(info.szProjectId, sizeof(info.szProjectId) / 2, pr.first);
        CopyText(info.szProjectName, sizeof(info.szProjectName) / 2, pr.second);
        append(&info, sizeof(info));
    }
    return vec;
}

std::vector<Printer> TwoPrinters()
{
    return {{L"P-3F", L"三楼彩色打印机", L"A3 彩色", 0}, {L"P-5F", L"五楼黑白打印机", L"", 0}};
}

Projects TwoProjects()
{
    return {{L"J-01", L"年度审计项目"}, {L"J-02", L"市场推广"}};
}

// The id text of the answer at a byte offset (10 UTF-16 units at most).
std::wstring ReplyId(const Reply& reply, size_t uiOffset)
{
    std::u16string str;
    for (size_t i = uiOffset; i + 1 < reply.vecResponse.size() && i < uiOffset + 20; i += 2) {
        const char16_t c = static_cast<char16_t>(reply.vecResponse[i] | (reply.vecResponse[i + 1] << 8));
        if (!c) {
            break;
        }
        str.push_back(c);
    }
    return Language::WideFromUtf16(str.c_str(), str.size());
}

int32_t ReplyResult(const Reply& reply)
{
    int32_t i = -1;
    if (reply.vecResponse.size() >= 4) {
        std::memcpy(&i, reply.vecResponse.data(), 4);
    }
    return i;
}

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
    void WriteConfigIni(const std::wstring& strSetting)
    {
        const std::wstring strText =
            L"\xFEFF[Setting]\r\n" + strSetting + L"[ServerConfig]\r\nAuditInstalled=1\r\n";
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

// ---------------------------------------------------------------------------
// Start-up

TEST_F(EndToEndWin32Test, PrintProcessorFailureIsShownAndStartUpWaitsForTheUser)
{
    // Whether the spooler knows the print processor, asked the same way.
    wchar_t szProcessor[] = L"orvprint";
    DWORD dwNeeded = 0;
    DWORD dwReturned = 0;
    ::EnumPrintProcessorDatatypesW(nullptr, szProcessor, 1, nullptr, 0, &dwNeeded, &dwReturned);
    std::vector<BYTE> vecBuffer(dwNeeded ? dwNeeded : 1);
    const bool bProcessorLoads =
        ::EnumPrintProcessorDatatypesW(nullptr, szProcessor, 1, vecBuffer.data(), dwNeeded, &dwNeeded, &dwReturned) ==
        1;

    StartServing();
    EXPECT_EQ(!bProcessorLoads, m_bStartupBoxSeen);
    if (m_bStartupBoxSeen) {
        ASSERT_EQ(1u, m_faceStartupBox.vecTexts.size());
        EXPECT_EQ(STARTUP_BOX_TEXT, m_faceStartupBox.vecTexts[0]);
        EXPECT_TRUE(m_faceStartupBox.bIcon);
        EXPECT_TRUE(m_faceStartupBox.bOk);
        EXPECT_FALSE(m_faceStartupBox.bOtherButtons);
        // The popup thread starts only once the user has closed the box.
        EXPECT_FALSE(m_bServingWhileBoxShown);
    }
}

TEST_F(EndToEndWin32Test, SecondStartEndsAtOnceAndLeavesTheFirstServing)
{
    StartServing();
    auto second = StartProgram();
    ASSERT_TRUE(second);
    const ShortRun run = RunToEnd(*second);
    std::printf("[   TIME   ] second start ended after %.1f ms\n", run.dMilliseconds);
    EXPECT_EQ(0, run.iExitCode);
    EXPECT_FALSE(run.bBoxShown);
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_TRUE(IsServing());
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));

    // And it still answers.
    const Exchange exchange = SendAndAnswer(BuildRequest(TwoPrinters(), TwoProjects()), VK_ESCAPE);
    EXPECT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, exchange.uiSendResult);
    EXPECT_EQ(1, ReplyResult(exchange.reply));
}

TEST_F(EndToEndWin32Test, SystemAccountEndsAtOnceWithoutTakingTheInstance)
{
    DeleteValue(RUN_KEY, RUN_VALUE);
    const std::wstring strUser = CurrentUserName();
    ASSERT_FALSE(strUser.empty());
    ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", strUser.c_str());
    auto child = StartProgram();
    ::SetEnvironmentVariableW(L"ORVPRINT_SYSTEM_ACCOUNT", nullptr);
    ASSERT_TRUE(child);

    // While it runs it never owns the instance mutex, and it shows nothing.
    const ShortRun run = RunToEnd(*child);
    std::printf("[   TIME   ] start as the system account ended after %.1f ms\n", run.dMilliseconds);
    EXPECT_EQ(0, run.iExitCode);
    EXPECT_FALSE(run.bInstanceOwned);
    EXPECT_FALSE(run.bBoxShown);
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    EXPECT_FALSE(IsServing());
    // It ended before the autorun step and before the launcher.
    EXPECT_FALSE(ReadValue(RUN_KEY, RUN_VALUE).bPresent);
    EXPECT_TRUE(ProcessesOf(m_strClientTool).empty());
}

TEST_F(EndToEndWin32Test, RunValueWrittenWhenAbsent)
{
    DeleteValue(RUN_KEY, RUN_VALUE);
    ASSERT_FALSE(ReadValue(RUN_KEY, RUN_VALUE).bPresent);
    StartServing();
    const RegistryValue value = ReadValue(RUN_KEY, RUN_VALUE);
    ASSERT_TRUE(value.bPresent);
    EXPECT_EQ(static_cast<DWORD>(REG_SZ), value.dwType);
    const std::wstring strExpected = FullPath(Wide(m_strProgram));
    EXPECT_TRUE(EqualNoCase(strExpected, AsText(value)))
        << Language::Utf8FromWide(AsText(value)) << " is not " << Language::Utf8FromWide(strExpected);
    // Characters and terminator, two bytes each.
    EXPECT_EQ((AsText(value).size() + 1) * 2, value.vecData.size());
}

TEST_F(EndToEndWin32Test, RunValueLeftAloneWhenPresent)
{
    const std::wstring strElsewhere = L"C:\\Program Files\\Elsewhere\\OrvprintD.exe";
    ASSERT_TRUE(WriteText(RUN_KEY, RUN_VALUE, strElsewhere));
    const RegistryValue before = ReadValue(RUN_KEY, RUN_VALUE);
    StartServing();
    const RegistryValue after = ReadValue(RUN_KEY, RUN_VALUE);
    ASSERT_TRUE(after.bPresent);
    EXPECT_EQ(before.dwType, after.dwType);
    EXPECT_EQ(before.vecData, after.vecData);
    EXPECT_EQ(strElsewhere, AsText(after));
}

// ---------------------------------------------------------------------------
// The dialog

TEST_F(EndToEndWin32Test, EnterConfirmsThePreselectedChoiceAndSavesItAsDefault)
{
    StartServing();
    const Exchange first = SendAndAnswer(BuildRequest(TwoPrinters(), TwoProjects()), VK_RETURN);
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, first.uiSendResult);
    EXPECT_EQ(0u, first.reply.uiResultCode);
    EXPECT_EQ(44u, first.reply.uiResponseLength);
    ASSERT_EQ(44u, first.reply.vecResponse.size());
    EXPECT_EQ(0, ReplyResult(first.reply));
    EXPECT_EQ(L"P-3F", ReplyId(first.reply, 4));
    EXPECT_EQ(L"J-01", ReplyId(first.reply, 24));

    EXPECT_EQ(L"三楼彩色打印机", Setting(L"DefaultPrinter"));
    EXPECT_EQ(L"年度审计项目", Setting(L"DefaultProject"));

    // The next request lists the printers and projects the other way round:
    // the saved defaults are preselected, not the first items.
    std::vector<Printer> vecPrinters = TwoPrinters();
    std::swap(vecPrinters[0], vecPrinters[1]);
    Projects vecProjects = TwoProjects();
    std::swap(vecProjects[0], vecProjects[1]);
    const Exchange second = SendAndAnswer(BuildRequest(vecPrinters, vecProjects), VK_RETURN);
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, second.uiSendResult);
    EXPECT_EQ(0u, second.reply.uiResultCode);
    EXPECT_EQ(44u, second.reply.uiResponseLength);
    EXPECT_EQ(0, ReplyResult(second.reply));
    EXPECT_EQ(L"P-3F", ReplyId(second.reply, 4));
    EXPECT_EQ(L"J-01", ReplyId(second.reply, 24));
    PrintTimings("Enter");
}

TEST_F(EndToEndWin32Test, EscapeCancelsAndLeavesTheDefaultsAlone)
{
    WriteConfigIni(L"DisplayProjectSelection=1\r\nCanSelectNoPrinter=0\r\nCanSelectNoProject=0\r\n"
                   L"DefaultPrinter=五楼黑白打印机\r\nDefaultProject=市场推广\r\n");
    const std::string strBefore = ConfigIniBytes();
    StartServing();
    const Exchange exchange = SendAndAnswer(BuildRequest(TwoPrinters(), TwoProjects()), VK_ESCAPE);
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, exchange.uiSendResult);
    EXPECT_EQ(0u, exchange.reply.uiResultCode);
    EXPECT_EQ(44u, exchange.reply.uiResponseLength);
    EXPECT_EQ(1, ReplyResult(exchange.reply));
    EXPECT_EQ(L"", ReplyId(exchange.reply, 4));
    EXPECT_EQ(L"", ReplyId(exchange.reply, 24));
    EXPECT_EQ(strBefore, ConfigIniBytes());

    // The saved defaults are still what the next dialog preselects.
    const Exchange next = SendAndAnswer(BuildRequest(TwoPrinters(), TwoProjects()), VK_RETURN);
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, next.uiSendResult);
    EXPECT_EQ(0, ReplyResult(next.reply));
    EXPECT_EQ(L"P-5F", ReplyId(next.reply, 4));
    EXPECT_EQ(L"J-02", ReplyId(next.reply, 24));
    PrintTimings("key");
}

TEST_F(EndToEndWin32Test, EnterDoesNothingWhileNoPrinterIsChosen)
{
    // The saved default printer is gone: nothing is preselected and OK is
    // disabled, so Enter must not answer; Escape after it cancels.
    WriteConfigIni(L"DisplayProjectSelection=1\r\nCanSelectNoPrinter=0\r\nCanSelectNoProject=0\r\n"
                   L"DefaultPrinter=地下室打印机\r\n");
    const std::string strBefore = ConfigIniBytes();
    StartServing();
    const Clock::time_point tSent = Clock::now();
    std::future<Exchange> future = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    HWND hDlg = WaitForDialog(tSent);
    ASSERT_NE(nullptr, hDlg);
    EXPECT_FALSE(::IsWindowEnabled(::GetDlgItem(hDlg, IDOK)));
    PressKey(hDlg, VK_RETURN);
    PressKey(hDlg, VK_ESCAPE);
    const Exchange exchange = future.get();
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, exchange.uiSendResult);
    EXPECT_EQ(1, ReplyResult(exchange.reply));
    EXPECT_EQ(L"", ReplyId(exchange.reply, 4));
    EXPECT_EQ(strBefore, ConfigIniBytes());
}

TEST_F(EndToEndWin32Test, SendToolPrintsTheAnswer)
{
    StartServing();
    m_tmp.WriteFile("request.json",
                    "{\"printers\":[{\"id\":\"P-1\",\"name\":\"三楼打印机\",\"comment\":\"\",\"description\":\"\","
                    "\"status\":0,\"maxPagesPerJob\":10,\"pageTotal\":1,\"printTaskTotal\":1,\"tooManyPages\":false}],"
                    "\"projects\":[{\"id\":\"J-1\",\"name\":\"项目一\",\"comment\":\"\"}]}");
    const std::wstring strCommand = L"\"" + Wide(SendToolPath()) + L"\" --timeout 60 \"" +
                                    Wide(m_tmp.File("request.json")) + L"\"";
    const std::wstring strOutputFile = Wide(m_tmp.File("answer.txt"));
    const Clock::time_point tSent = Clock::now();
    auto output = std::async(std::launch::async, [&] {
        std::string strOutput;
        const int iCode = RunCaptured(strCommand, strOutputFile, strOutput, 90000);
        return std::make_pair(iCode, strOutput);
    });
    HWND hDlg = WaitForDialog(tSent);
    ASSERT_NE(nullptr, hDlg);
    const Clock::time_point tKey = Clock::now();
    PressKey(hDlg, VK_RETURN);
    EXPECT_TRUE(WaitForHidden(hDlg, tKey));
    const auto result = output.get();
    EXPECT_EQ(0, result.first) << result.second;
    const std::string& strJson = result.second;
    EXPECT_NE(std::string::npos, strJson.find("\"resultCode\":0")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"responseLength\":44")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"result\":0")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"printerId\":\"P-1\"")) << strJson;
    EXPECT_NE(std::string::npos, strJson.find("\"projectId\":\"J-1\"")) << strJson;
    EXPECT_EQ(L"三楼打印机", Setting(L"DefaultPrinter"));
    PrintTimings("Enter");
}

// ---------------------------------------------------------------------------
// The client-tool launcher

TEST_F(EndToEndWin32Test, LauncherKeepsTheClientToolRunning)
{
    // A tool of the same name in another folder does not count as running.
    ::CreateDirectoryW(Wide(m_tmp.File("elsewhere")).c_str(), nullptr);
    const std::string strCopy = m_tmp.File("elsewhere\\OrvClientTool.exe");
    ASSERT_TRUE(::CopyFileW(m_strClientTool.c_str(), Wide(strCopy).c_str(), FALSE));
    auto other = orvtest::ChildProcess::Start(strCopy, {});
    ASSERT_TRUE(other);
    ASSERT_TRUE(ProcessesOf(m_strClientTool).empty());

    const Clock::time_point tStart = Clock::now();
    StartServing();
    // The first check runs as soon as the launcher starts.
    std::vector<DWORD> vecFirst;
    ASSERT_TRUE(WaitFor([&] { return !(vecFirst = ProcessesOf(m_strClientTool)).empty(); }, START_TIMEOUT));
    std::printf("[   TIME   ] program start -> client tool running %.1f ms\n", Milliseconds(Clock::now() - tStart));
    EXPECT_EQ(1u, vecFirst.size());
    EXPECT_TRUE(other->IsRunning());

    // Ended by the user: back within one cycle.
    for (DWORD dwPid : vecFirst) {
        KillProcess(dwPid);
    }
    const Clock::time_point tKilled = Clock::now();
    std::vector<DWORD> vecNow;
    ASSERT_TRUE(WaitFor(
        [&] {
            vecNow = ProcessesOf(m_strClientTool);
            return !vecNow.empty() && vecNow != vecFirst;
        },
        RELAUNCH_TIMEOUT));
    std::printf("[   TIME   ] client tool killed -> running again %.1f ms\n", Milliseconds(Clock::now() - tKilled));
    std::fflush(stdout);
    EXPECT_EQ(1u, vecNow.size());
    other->Kill();
}

// ---------------------------------------------------------------------------
// The end

TEST_F(EndToEndWin32Test, QuitEndsTheProgramAndLeavesTheClientToolRunning)
{
    StartServing();
    std::vector<DWORD> vecTool;
    ASSERT_TRUE(WaitFor([&] { return !(vecTool = ProcessesOf(m_strClientTool)).empty(); }, START_TIMEOUT));

    auto quit = StartProgram({"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(0, WaitExit(*quit, std::chrono::seconds(90)));
    // --quit returns once the instance has exited.
    EXPECT_FALSE(m_pOrvprintD->IsRunning());
    EXPECT_EQ(0, WaitExit(*m_pOrvprintD));
    EXPECT_FALSE(IsServing());
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(EXISTENCE_MUTEX));
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
    // A program that the launcher started is not stopped with it.
    for (DWORD dwPid : vecTool) {
        EXPECT_TRUE(IsAlive(dwPid));
    }

    // The next start is the one instance again.
    StartServing();
}

TEST_F(EndToEndWin32Test, QuitWaitsForAnOpenDialogAndStopsTheLauncherAfterThePopupThread)
{
    StartServing();
    std::vector<DWORD> vecTool;
    ASSERT_TRUE(WaitFor([&] { return !(vecTool = ProcessesOf(m_strClientTool)).empty(); }, START_TIMEOUT));

    const Clock::time_point tSent = Clock::now();
    std::future<Exchange> future = SendAsync(BuildRequest(TwoPrinters(), TwoProjects()));
    HWND hDlg = WaitForDialog(tSent);
    ASSERT_NE(nullptr, hDlg);

    // The quit message, as --quit sends it, is in the main thread's queue
    // before anything else happens.
    const DWORD dwMainThread = MainThreadOf(Pid());
    ASSERT_NE(0u, dwMainThread);
    ASSERT_TRUE(::PostThreadMessageW(dwMainThread, WM_QUIT, 0, 0));

    // The popup thread waits for the user; the launcher, stopped only after
    // it, still brings the client tool back.
    for (DWORD dwPid : vecTool) {
        KillProcess(dwPid);
    }
    std::vector<DWORD> vecNow;
    EXPECT_TRUE(WaitFor(
        [&] {
            vecNow = ProcessesOf(m_strClientTool);
            return !vecNow.empty() && vecNow != vecTool;
        },
        RELAUNCH_TIMEOUT));
    EXPECT_TRUE(m_pOrvprintD->IsRunning());
    EXPECT_TRUE(::IsWindowVisible(hDlg));

    // The request is answered first, then the program ends.
    const Clock::time_point tKey = Clock::now();
    PressKey(hDlg, VK_RETURN);
    EXPECT_TRUE(WaitForHidden(hDlg, tKey));
    const Exchange exchange = future.get();
    m_vecAnswerTimes.push_back(Milliseconds(exchange.tAnswered - tKey));
    ASSERT_EQ(OrvUtility::CMsgQueueSender::SEND_ANSWERED, exchange.uiSendResult);
    // Right after the answer the loop sees the quit and, as it does for every
    // quit, writes "quitting" (6, no response) into the block and signals
    // again. A sender that reads the block only after that (a busy machine)
    // finds 6 in place of the answer: the channel has one slot and no
    // hand-back. The choice itself has been taken all the same (saved).
    if (exchange.reply.uiResultCode == 6) {
        std::printf("[   NOTE   ] the answer was overwritten by the quitting loop before the sender read it\n");
        EXPECT_EQ(0u, exchange.reply.uiResponseLength);
    } else {
        EXPECT_EQ(0u, exchange.reply.uiResultCode);
        EXPECT_EQ(0, ReplyResult(exchange.reply));
        EXPECT_EQ(L"P-3F", ReplyId(exchange.reply, 4));
    }
    EXPECT_EQ(L"三楼彩色打印机", Setting(L"DefaultPrinter"));
    EXPECT_EQ(0, WaitExit(*m_pOrvprintD));
    EXPECT_FALSE(IsServing());
    for (DWORD dwPid : vecNow) {
        EXPECT_TRUE(IsAlive(dwPid));
    }
    PrintTimings("Enter");
}

TEST_F(EndToEndWin32Test, QuitWhileThePrintProcessorBoxIsOpenEndsTheProgram)
{
    m_pOrvprintD = StartProgram();
    ASSERT_TRUE(m_pOrvprintD);
    bool bBox = false;
    ASSERT_TRUE(WaitFor(
        [&] {
            bBox = !DialogsOf(Pid(), STARTUP_BOX_CAPTION).empty();
            return bBox || IsServing() || !m_pOrvprintD->IsRunning();
        },
        START_TIMEOUT));
    if (!bBox) {
        GTEST_SKIP() << "the spooler loads the print processor here: no message box";
    }
    // The quit comes while start-up waits for the user: the box ends, and so
    // does the program, although its threads have only just been started.
    auto quit = StartProgram({"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(0, WaitExit(*quit, std::chrono::seconds(90)));
    EXPECT_EQ(0, WaitExit(*m_pOrvprintD));
    EXPECT_FALSE(IsServing());
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, OrvUtility::ProbeNamedMutex(INSTANCE_MUTEX));
}

TEST_F(EndToEndWin32Test, QuitWithoutRunningInstanceSaysSo)
{
    auto quit = StartProgram({"--quit"});
    ASSERT_TRUE(quit);
    EXPECT_EQ(3, WaitExit(*quit, std::chrono::seconds(90)));
}

TEST_F(EndToEndWin32Test, VersionAndHelpEndAtOnce)
{
    std::string strOutput;
    EXPECT_EQ(0, RunCaptured(L"\"" + Wide(m_strProgram) + L"\" --version", Wide(m_tmp.File("version.txt")), strOutput,
                             60000));
    EXPECT_EQ(0, RunCaptured(L"\"" + Wide(m_strProgram) + L"\" --help", Wide(m_tmp.File("help.txt")), strOutput,
                             60000));
    EXPECT_EQ(2, RunCaptured(L"\"" + Wide(m_strProgram) + L"\" --bogus", Wide(m_tmp.File("bogus.txt")), strOutput,
                             60000));
}

} // namespace
