#include "language/LanguageTestHelpers.h"

#include <windows.h>

namespace languagetest {

uint32_t OwnProcessId()
{
    return GetCurrentProcessId();
}

uint32_t InvalidKeyCode()
{
    return ERROR_INVALID_HANDLE;
}

struct TestMachineKey::Impl {
    std::wstring strSubKey;
    bool bCreated = false;
};

TestMachineKey::TestMachineKey(const std::wstring& strSubKey, const std::wstring& strValueName,
                               const std::wstring& strData)
    : m_pImpl(new Impl())
{
    m_pImpl->strSubKey = strSubKey;
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, strSubKey.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &hKey,
                        &dwDisposition) != ERROR_SUCCESS) {
        return;
    }
    m_pImpl->bCreated = true;
    const DWORD dwBytes = static_cast<DWORD>((strData.size() + 1) * sizeof(wchar_t));
    m_bReady = RegSetValueExW(hKey, strValueName.c_str(), 0, REG_SZ,
                              reinterpret_cast<const BYTE*>(strData.c_str()), dwBytes) == ERROR_SUCCESS;
    RegCloseKey(hKey);
}

TestMachineKey::~TestMachineKey()
{
    if (m_pImpl->bCreated) {
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, m_pImpl->strSubKey.c_str());
    }
}

} // namespace languagetest
