#include "language/ProcessHelpers.h"

#include <windows.h>
#include <tlhelp32.h>
#include <boost/bind/bind.hpp>
#include "language/ErrorText.h"
#include "language/scope_guard.h"

namespace Language {

ProcessHandle GetCurrentProcessHandle()
{
    return GetCurrentProcess();
}

void EnablePrivilege(ProcessHandle hProcess, const std::wstring& strPrivilege)
{
    HANDLE hToken = nullptr;
    if (!OpenProcessToken(hProcess, TOKEN_ADJUST_PRIVILEGES, &hToken)) {
        ThrowWin32Error(L"OpenProcessToken", GetLastError());
    }
    scope_guard guardToken(boost::bind(CloseHandle, hToken));

    LUID luid = {};
    if (!LookupPrivilegeValueW(nullptr, strPrivilege.c_str(), &luid)) {
        ThrowWin32Error(L"LookupPrivilegeValue", GetLastError());
    }

    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Luid = luid;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    // ERROR_NOT_ALL_ASSIGNED after success is not looked at: the caller goes
    // on without the privilege.
    if (!AdjustTokenPrivileges(hToken, FALSE, &privileges, sizeof(privileges), nullptr, nullptr)) {
        ThrowWin32Error(L"AdjustTokenPrivileges", GetLastError());
    }
}

std::vector<ProcessEntry> EnumProcesses()
{
    EnableDebugPrivilege(GetCurrentProcess());

    const HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    if (hSnapshot == INVALID_HANDLE_VALUE) {
        ThrowWin32Error(L"CreateToolhelp32Snapshot", GetLastError());
    }
    scope_guard guardSnapshot(boost::bind(CloseHandle, hSnapshot));

    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    if (!Process32FirstW(hSnapshot, &entry)) {
        ThrowWin32Error(L"Process32First", GetLastError());
    }
    std::vector<ProcessEntry> vecProcesses;
    do {
        ProcessEntry process;
        process.uiProcessId = entry.th32ProcessID;
        process.uiParentProcessId = entry.th32ParentProcessID;
        process.uiThreadCount = entry.cntThreads;
        process.iPriorityBase = entry.pcPriClassBase;
        process.strExeFile = entry.szExeFile;
        vecProcesses.push_back(process);
        entry.dwSize = sizeof(entry);
    } while (Process32NextW(hSnapshot, &entry));
    return vecProcesses;
}

std::vector<ModuleEntry> EnumModules(uint32_t uiProcessId)
{
    const HANDLE hSnapshot = CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, uiProcessId);
    if (hSnapshot == INVALID_HANDLE_VALUE) {
        ThrowWin32Error(L"CreateToolhelp32Snapshot", GetLastError());
    }
    scope_guard guardSnapshot(boost::bind(CloseHandle, hSnapshot));

    MODULEENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    if (!Module32FirstW(hSnapshot, &entry)) {
        ThrowWin32Error(L"Module32First", GetLastError());
    }
    std::vector<ModuleEntry> vecModules;
    do {
        ModuleEntry module;
        module.uiProcessId = entry.th32ProcessID;
        module.uiBaseAddress = reinterpret_cast<uintptr_t>(entry.modBaseAddr);
        module.uiBaseSize = entry.modBaseSize;
        module.strModule = entry.szModule;
        module.strExePath = entry.szExePath;
        vecModules.push_back(module);
        entry.dwSize = sizeof(entry);
    } while (Module32NextW(hSnapshot, &entry));
    return vecModules;
}

std::wstring GetCurrentUserName()
{
    wchar_t szName[257] = {0};  // UNLEN + 1
    DWORD dwSize = 257;
    if (!GetUserNameW(szName, &dwSize)) {
        ThrowWin32Error(L"GetUserNameW", GetLastError());
    }
    return szName;
}

} // namespace Language
