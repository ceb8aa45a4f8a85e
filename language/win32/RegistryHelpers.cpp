#include "language/RegistryHelpers.h"

#include <windows.h>
#include "language/ErrorText.h"

namespace Language {

RegistryKey OpenLocalMachineKey(const std::wstring& strSubKey)
{
    HKEY hKey = nullptr;
    const LONG lStatus = RegOpenKeyW(HKEY_LOCAL_MACHINE, strSubKey.c_str(), &hKey);
    if (lStatus != ERROR_SUCCESS) {
        const std::wstring strContext = OpenKeyFailedContext(strSubKey);
        ThrowWin32Error(L"RegOpenKey", static_cast<uint32_t>(lStatus), strContext.c_str());
    }
    return hKey;
}

void CloseRegistryKey(RegistryKey hKey)
{
    if (hKey) {
        RegCloseKey(hKey);
    }
}

bool RegValueExists(RegistryKey hKey, const std::wstring& strValueName)
{
    DWORD dwSize = 0;
    const LONG lStatus = RegQueryValueExW(hKey, strValueName.c_str(), nullptr, nullptr, nullptr, &dwSize);
    if (lStatus == ERROR_SUCCESS) {
        return true;
    }
    if (lStatus == ERROR_FILE_NOT_FOUND) {
        return false;
    }
    // The value query failed, but the text names the key-open call.
    const std::wstring strContext = CheckValueFailedContext(strValueName);
    ThrowWin32Error(L"RegOpenKey", static_cast<uint32_t>(lStatus), strContext.c_str());
}

} // namespace Language
