#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include "language/ModuleEntry.h"
#include "language/ProcessEntry.h"

namespace Language {

// A process handle as the platform's token calls take it (a HANDLE on
// Windows; not used on Linux, where processes have no privileges to enable).
typedef void* ProcessHandle;

// The current process (GetCurrentProcess() on Windows).
ProcessHandle GetCurrentProcessHandle();

// Enables a privilege ("SeDebugPrivilege", ...) in the process's token. A
// privilege the token does not hold is silently not enabled. Throws
// Win32::Win32Exception for "OpenProcessToken", "LookupPrivilegeValue" or
// "AdjustTokenPrivileges". Does nothing on Linux.
void EnablePrivilege(ProcessHandle hProcess, const std::wstring& strPrivilege);
void EnableDebugPrivilege(ProcessHandle hProcess);

// All running processes (enables the debug privilege first). Linux lists the
// processes of /proc whose executable can be read. Throws Win32Exception for
// "CreateToolhelp32Snapshot" or "Process32First".
std::vector<ProcessEntry> EnumProcesses();

// The modules loaded in a process. Linux: the executable, then every other
// file mapped into the process. Throws Win32Exception for
// "CreateToolhelp32Snapshot" or "Module32First".
std::vector<ModuleEntry> EnumModules(uint32_t uiProcessId);

// True when the program file (compared by full path, without regard to case)
// is loaded in the process. Every failure gives false.
bool IsModuleLoadedInProcess(uint32_t uiProcessId, const std::wstring& strProgramPath);

// True when a process runs the program file itself: a process of the same
// file name started from another folder does not count, nor does a process
// whose modules cannot be read. Throws as EnumProcesses.
bool IsProcessRunning(const std::wstring& strProgramPath);

// The ids of every process that runs the program file itself, by the same
// rule as IsProcessRunning. Throws as EnumProcesses.
std::vector<uint32_t> FindProcessesRunning(const std::wstring& strProgramPath);

// The user name of the current thread (Windows) or of the effective user id
// (Linux, from the password database). Throws Win32Exception for "GetUserNameW".
std::wstring GetCurrentUserName();

} // namespace Language
