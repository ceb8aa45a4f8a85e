#pragma once

#include <string>

// This program's own full path (GetModuleFileNameW of the program's module,
// 260 characters at most; /proc/self/exe on Linux). Throws
// Win32::Win32Exception for "GetModuleFileName" when the system gives none.
std::wstring GetProgramPath();

// The file name of the client tool that lies beside this program:
// "OrvClientTool.exe" on Windows, "OrvClientTool" on Linux.
const wchar_t* GetClientToolFileName();
