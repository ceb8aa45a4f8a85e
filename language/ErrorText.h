#pragma once

#include <cstdint>
#include <string>

namespace Language {

// "<context> <call> failed. last error = <code> (<system text>)"; the context
// and its blank only when a context is given; "(unknown)" when the system has
// no text for the code. Windows asks the system message table (language
// 0x0800); Linux uses strerror for errno codes.
std::wstring FormatWin32Error(const std::wstring& strCall, uint32_t uiCode,
                              const wchar_t* szContext = nullptr);

// The thread's last platform error: GetLastError() on Windows, errno on Linux.
uint32_t GetLastPlatformError();

// Throw pattern for a failed platform call: a Win32::Win32Exception with
// context, FormatWin32Error text and the code.
[[noreturn]] void ThrowWin32Error(const std::wstring& strCall, uint32_t uiCode,
                                  const wchar_t* szContext = nullptr);

} // namespace Language
