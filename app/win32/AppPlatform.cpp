#include "app/AppPlatform.h"

#include <cstdlib>
#include <windows.h>
#include <commctrl.h>
#include <tlhelp32.h>
#include <winspool.h>
#include <boost/bind/bind.hpp>
#include "app/ModulePath.h"
#include "language/ErrorText.h"
#include "language/ProcessHelpers.h"
#include "language/RegistryHelpers.h"
#include "language/scope_guard.h"

namespace AppPlatform {

namespace {

const wchar_t* const RUN_KEY = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Run";
const wchar_t* const RUN_VALUE = L"OrvprintD";

// The thread of a process that was created first: its main thread.
DWORD FindMainThread(DWORD dwProcessId)
{
    HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (hSnapshot == INVALID_HANDLE_VALUE) {
        return 0;
    }
    Language::scope_guard guard(boost::bind(&CloseHandle, hSnapshot));
    THREADENTRY32 te = {};
    te.dwSize = sizeof(te);
    DWORD dwBest = 0;
    ULONGLONG ullBest = ~0ULL;
    for (BOOL bMore = Thread32First(hSnapshot, &te); bMore; bMore = Thread32Next(hSnapshot, &te)) {
        if (te.th32OwnerProcessID != dwProcessId) {
            continue;
        }
        ULONGLONG ullCreated = ~0ULL - 1;
        HANDLE hThread = OpenThread(THREAD_QUERY_LIMITED_INFORMATION, FALSE, te.th32ThreadID);
        if (hThread) {
            FILETIME ftCreate, ftExit, ftKernel, ftUser;
            if (GetThreadTimes(hThread, &ftCreate, &ftExit, &ftKernel, &ftUser)) {
                ullCreated = (static_cast<ULONGLONG>(ftCreate.dwHighDateTime) << 32) | ftCreate.dwLowDateTime;
            }
            CloseHandle(hThread);
        }
        if (dwBest == 0 || ullCreated < ullBest) {
            dwBest = te.th32ThreadID;
            ullBest = ullCreated;
        }
    }
    return dwBest;
}

} // namespace

void SetUiThreadLocale()
{
    SetThreadLocale(2052);
}

void InitCommonControls()
{
    INITCOMMONCONTROLSEX icc;
    icc.dwSize = 8;
    icc.dwICC = 0xFF;
    InitCommonControlsEx(&icc);
}

uint32_t GetAccessDeniedError()
{
    return ERROR_ACCESS_DENIED;
}

bool AutorunValueExists()
{
    return Language::LocalMachineValueExists(RUN_KEY, RUN_VALUE);
}

void WriteAutorunValue(const std::wstring& strProgramPath)
{
    Language::RegistryKey hKey = Language::OpenLocalMachineKey(RUN_KEY);
    Language::scope_guard guard(boost::bind(&Language::CloseRegistryKey, hKey));
    const LONG lRet = RegSetValueExW(reinterpret_cast<HKEY>(hKey), RUN_VALUE, 0, REG_SZ,
                                     reinterpret_cast<const BYTE*>(strProgramPath.c_str()),
                                     static_cast<DWORD>((strProgramPath.size() + 1) * 2));
    if (lRet != ERROR_SUCCESS) {
        wchar_t szContext[256] = {0};
        _snwprintf(szContext, 255, L"设定注册表值%s失败", RUN_VALUE);
        Language::ThrowWin32Error(L"RegSetValueEx", static_cast<uint32_t>(lRet), szContext);
    }
}

std::wstring GetAutorunLocation()
{
    return std::wstring(L"HKEY_LOCAL_MACHINE\\") + RUN_KEY + L" : " + RUN_VALUE;
}

int ProbePrintProcessor(uint32_t* puiLastError)
{
    wchar_t szProcessor[] = L"orvprint";
    DWORD dwNeeded = 0;
    DWORD dwReturned = 0;
    EnumPrintProcessorDatatypesW(nullptr, szProcessor, 1, nullptr, 0, &dwNeeded, &dwReturned);
    BYTE* pbyBuffer = static_cast<BYTE*>(std::malloc(dwNeeded ? dwNeeded : 1));
    if (pbyBuffer) {
        ZeroMemory(pbyBuffer, dwNeeded ? dwNeeded : 1);
    }
    const int iResult =
        EnumPrintProcessorDatatypesW(nullptr, szProcessor, 1, pbyBuffer, dwNeeded, &dwNeeded, &dwReturned);
    *puiLastError = GetLastError();
    std::free(pbyBuffer);
    return iResult;
}

void CatchQuitSignals() {}

void EndInstance(OrvUtility::NamedHandle) {}

void ShowErrorMessageBox(const std::wstring& strText)
{
    MessageBoxW(nullptr, strText.c_str(), L"OrvprintD", MB_OK | MB_ICONERROR);
}

void RunMessageLoop()
{
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
}

uint32_t JoinFromMainThread(OrvUtility::CThread& objThread)
{
    return objThread.Join();
}

int QuitRunningInstance(uint32_t uiTimeoutMs)
{
    const std::wstring strSelf = GetProgramPath();
    const DWORD dwSelf = GetCurrentProcessId();
    int iFound = 0;
    int iResult = QUIT_ENDED;
    for (const Language::ProcessEntry& entry : Language::EnumProcesses()) {
        if (entry.uiProcessId == dwSelf || !Language::IsModuleLoadedInProcess(entry.uiProcessId, strSelf)) {
            continue;
        }
        ++iFound;
        HANDLE hProcess = OpenProcess(SYNCHRONIZE, FALSE, entry.uiProcessId);
        const DWORD dwOpenError = GetLastError();
        if (!hProcess) {
            if (dwOpenError != ERROR_INVALID_PARAMETER) {
                // Not ours to wait for (access denied): it runs on.
                iResult = WorseQuitResult(iResult, QUIT_NOT_ENDED);
            }
            continue;
        }
        const DWORD dwThread = FindMainThread(entry.uiProcessId);
        if (dwThread) {
            PostThreadMessageW(dwThread, WM_QUIT, 0, 0);
        }
        const DWORD dwWait = WaitForSingleObject(hProcess, uiTimeoutMs);
        CloseHandle(hProcess);
        iResult = WorseQuitResult(iResult, dwWait == WAIT_OBJECT_0 ? QUIT_ENDED : QUIT_NOT_IN_TIME);
    }
    return iFound == 0 ? NoInstanceFound() : iResult;
}

const wchar_t* GetPathSeparator()
{
    return L"\\";
}

} // namespace AppPlatform
