#include "language/MachineRegistry.h"

#include <windows.h>

namespace Language {

struct CMachineRegistryKey::Impl {
    HKEY hKey = nullptr;
};

CMachineRegistryKey::CMachineRegistryKey() = default;

CMachineRegistryKey::~CMachineRegistryKey()
{
    Close();
}

CMachineRegistryKey::CMachineRegistryKey(CMachineRegistryKey&& other) noexcept = default;

CMachineRegistryKey& CMachineRegistryKey::operator=(CMachineRegistryKey&& other) noexcept
{
    if (this != &other) {
        Close();
        m_pImpl = std::move(other.m_pImpl);
    }
    return *this;
}

uint32_t CMachineRegistryKey::Open(const wchar_t* szSubKey, EAccess eAccess)
{
    Close();
    REGSAM samDesired = KEY_READ;
    if (eAccess == ACCESS_WRITE) {
        samDesired = KEY_READ | KEY_WRITE;
    } else if (eAccess == ACCESS_MAXIMUM) {
        samDesired = MAXIMUM_ALLOWED;
    }
    HKEY hKey = nullptr;
    const LONG lRet = RegOpenKeyExW(HKEY_LOCAL_MACHINE, szSubKey, 0, samDesired, &hKey);
    if (lRet != ERROR_SUCCESS) {
        return static_cast<uint32_t>(lRet);
    }
    m_pImpl.reset(new Impl());
    m_pImpl->hKey = hKey;
    return MachineRegistryStatus::OK;
}

uint32_t CMachineRegistryKey::Create(const wchar_t* szSubKey)
{
    Close();
    HKEY hKey = nullptr;
    const LONG lRet = RegCreateKeyExW(HKEY_LOCAL_MACHINE, szSubKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                      KEY_READ | KEY_WRITE, nullptr, &hKey, nullptr);
    if (lRet != ERROR_SUCCESS) {
        return static_cast<uint32_t>(lRet);
    }
    m_pImpl.reset(new Impl());
    m_pImpl->hKey = hKey;
    return MachineRegistryStatus::OK;
}

bool CMachineRegistryKey::IsOpen() const
{
    return m_pImpl && m_pImpl->hKey;
}

void CMachineRegistryKey::Close()
{
    if (m_pImpl && m_pImpl->hKey) {
        RegCloseKey(m_pImpl->hKey);
    }
    m_pImpl.reset();
}

uint32_t CMachineRegistryKey::QueryValue(const wchar_t* szValueName, wchar_t* pBuffer, uint32_t* puiBytes,
                                         uint32_t* puiType) const
{
    HKEY hKey = m_pImpl ? m_pImpl->hKey : nullptr;
    DWORD dwType = puiType ? *puiType : 0;
    DWORD dwBytes = puiBytes ? *puiBytes : 0;
    const LONG lRet = RegQueryValueExW(hKey, szValueName, nullptr, puiType ? &dwType : nullptr,
                                       reinterpret_cast<LPBYTE>(pBuffer), puiBytes ? &dwBytes : nullptr);
    if (puiType) {
        *puiType = dwType;
    }
    if (puiBytes) {
        *puiBytes = dwBytes;
    }
    return static_cast<uint32_t>(lRet);
}

uint32_t CMachineRegistryKey::QueryValueSize(const wchar_t* szValueName, uint32_t* puiBytes) const
{
    HKEY hKey = m_pImpl ? m_pImpl->hKey : nullptr;
    DWORD dwBytes = 0;
    const LONG lRet = RegQueryValueExW(hKey, szValueName, nullptr, nullptr, nullptr, puiBytes ? &dwBytes : nullptr);
    if (puiBytes) {
        *puiBytes = dwBytes;
    }
    return static_cast<uint32_t>(lRet);
}

uint32_t CMachineRegistryKey::SetStringValue(const wchar_t* szValueName, const std::wstring& strData)
{
    HKEY hKey = m_pImpl ? m_pImpl->hKey : nullptr;
    const DWORD dwBytes = static_cast<DWORD>((strData.size() + 1) * sizeof(wchar_t));
    return static_cast<uint32_t>(RegSetValueExW(hKey, szValueName, 0, REG_SZ,
                                                reinterpret_cast<const BYTE*>(strData.c_str()), dwBytes));
}

uint32_t CMachineRegistryKey::DeleteValue(const wchar_t* szValueName)
{
    HKEY hKey = m_pImpl ? m_pImpl->hKey : nullptr;
    return static_cast<uint32_t>(RegDeleteValueW(hKey, szValueName));
}

uint32_t CMachineRegistryKey::DeleteKey(const wchar_t* szSubKey)
{
    return static_cast<uint32_t>(RegDeleteKeyW(HKEY_LOCAL_MACHINE, szSubKey));
}

std::wstring CMachineRegistryKey::StoreLocation()
{
    return L"HKEY_LOCAL_MACHINE";
}

} // namespace Language
