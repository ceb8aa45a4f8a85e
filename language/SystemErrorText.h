#pragma once

#include <cstdint>
#include <string>

namespace Language {

// The system's own sentence for a platform error code, as the system gives it
// (line break included). False when the system has no text for the code.
// Windows: the system message table; Linux: strerror for errno codes.
bool GetSystemErrorText(uint32_t uiCode, std::wstring& strText);

// The runtime library's text for an errno value (narrow, as the runtime
// library gives it).
std::string GetCrtErrorText(int iErrno);

} // namespace Language
