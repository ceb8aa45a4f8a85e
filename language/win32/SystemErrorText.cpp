#include "language/SystemErrorText.h"

#include <windows.h>
#include <cstring>
#include <boost/bind/bind.hpp>
#include "language/ErrorText.h"
#include "language/scope_guard.h"

namespace Language {

bool GetSystemErrorText(uint32_t uiCode, std::wstring& strText)
{
    strText.clear();
    LPWSTR szBuffer = nullptr;
    const DWORD dwLength = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, uiCode, MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT),
        reinterpret_cast<LPWSTR>(&szBuffer), 128, nullptr);
    if (dwLength == 0 || szBuffer == nullptr) {
        return false;
    }
    scope_guard guardBuffer(boost::bind(LocalFree, static_cast<HLOCAL>(szBuffer)));
    strText.assign(szBuffer, dwLength);
    return true;
}

std::string GetCrtErrorText(int iErrno)
{
    // The runtime library keeps this text per thread.
    const char* szText = strerror(iErrno);
    return szText ? std::string(szText) : std::string();
}

uint32_t GetLastPlatformError()
{
    return GetLastError();
}

} // namespace Language
