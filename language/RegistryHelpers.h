#pragma once

#include <string>

// The platform's registry key handle: on Windows the HKEY of the registry
// functions; on Linux an open key of the machine registry file.
struct HKEY__;

namespace Language {

typedef ::HKEY__* RegistryKey;

// Opens HKEY_LOCAL_MACHINE\strSubKey (RegOpenKeyW, default access). The caller
// owns the key and closes it with CloseRegistryKey (RegCloseKey on Windows).
// Throws Win32::Win32Exception for "RegOpenKey" with the context
// "打开注册表键<sub-key>失败".
RegistryKey OpenLocalMachineKey(const std::wstring& strSubKey);

// Closes a key of OpenLocalMachineKey; a null key is left alone.
void CloseRegistryKey(RegistryKey hKey);

// True when the open key has the value, false when the value is missing.
// Any other failure (a key that is not open, say) throws
// Win32::Win32Exception for "RegOpenKey" with the context
// "检查注册表值<value name>失败".
bool RegValueExists(RegistryKey hKey, const std::wstring& strValueName);

// OpenLocalMachineKey, then RegValueExists; the key is closed on every exit.
bool LocalMachineValueExists(const std::wstring& strSubKey, const std::wstring& strValueName);

// The context texts of the two failures above.
std::wstring OpenKeyFailedContext(const std::wstring& strSubKey);
std::wstring CheckValueFailedContext(const std::wstring& strValueName);

} // namespace Language
