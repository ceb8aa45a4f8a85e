#include "language/LanguageTestHelpers.h"

#include <cstdint>
#include <string>
#include <windows.h>
#include "language/TextConvert.h"

namespace languagetest {

struct InheritableHandles::Impl {
    HANDLE hFile = INVALID_HANDLE_VALUE;
};

InheritableHandles::InheritableHandles(const std::string& strFile) : m_pImpl(new Impl())
{
    SECURITY_ATTRIBUTES sa = {sizeof(sa), nullptr, TRUE};
    m_pImpl->hFile = CreateFileW(Language::WideFromUtf8(strFile).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &sa,
                                 CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_bReady = m_pImpl->hFile != INVALID_HANDLE_VALUE;
    m_strToken = std::to_string(reinterpret_cast<uintptr_t>(m_pImpl->hFile)) + "|" + strFile;
}

InheritableHandles::~InheritableHandles()
{
    if (m_pImpl->hFile != INVALID_HANDLE_VALUE) {
        CloseHandle(m_pImpl->hFile);
    }
}

std::string DescribeInheritedHandles(const std::string& strToken)
{
    // The parent's handle value, looked at in this process: an inherited
    // handle is open here under the same value.
    const size_t uiBar = strToken.find('|');
    const HANDLE hParent = reinterpret_cast<HANDLE>(static_cast<uintptr_t>(std::stoull(strToken.substr(0, uiBar))));
    DWORD dwFlags = 0;
    BY_HANDLE_FILE_INFORMATION infoHeld = {};
    if (!GetHandleInformation(hParent, &dwFlags) || !GetFileInformationByHandle(hParent, &infoHeld)) {
        return "handle closed";
    }
    // A handle of this process may have the same value by chance: an
    // inherited one is the parent's file.
    const HANDLE hFile = CreateFileW(Language::WideFromUtf8(strToken.substr(uiBar + 1)).c_str(), 0,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr);
    BY_HANDLE_FILE_INFORMATION infoFile = {};
    const bool bSame = hFile != INVALID_HANDLE_VALUE && GetFileInformationByHandle(hFile, &infoFile) &&
                       infoFile.dwVolumeSerialNumber == infoHeld.dwVolumeSerialNumber &&
                       infoFile.nFileIndexHigh == infoHeld.nFileIndexHigh &&
                       infoFile.nFileIndexLow == infoHeld.nFileIndexLow;
    if (hFile != INVALID_HANDLE_VALUE) {
        CloseHandle(hFile);
    }
    return bSame ? "handle open" : "handle closed";
}

std::string NothingInherited()
{
    return "handle closed";
}

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
