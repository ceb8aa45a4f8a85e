#include "language/RegistryHelpers.h"

#include <cerrno>
#include <mutex>
#include <set>
#include "language/ErrorText.h"
#include "language/MachineRegistry.h"

// An open key of the machine registry file.
struct HKEY__ {
    Language::CMachineRegistryKey key;
};

namespace Language {

namespace {

// Keys handed out and not yet closed: anything else is not a valid key.
std::mutex g_mutexKeys;
std::set<RegistryKey> g_setOpenKeys;

bool IsOpenKey(RegistryKey hKey)
{
    std::lock_guard<std::mutex> lock(g_mutexKeys);
    return g_setOpenKeys.count(hKey) != 0;
}

// The registry statuses as errno values, the codes of this platform.
uint32_t ErrnoFromStatus(uint32_t uiStatus)
{
    switch (uiStatus) {
    case MachineRegistryStatus::NOT_FOUND:
        return ENOENT;
    case MachineRegistryStatus::ACCESS_DENIED:
        return EACCES;
    case MachineRegistryStatus::INVALID_HANDLE:
        return EBADF;
    case MachineRegistryStatus::MORE_DATA:
        return EOVERFLOW;
    default:
        return uiStatus;
    }
}

} // namespace

RegistryKey OpenLocalMachineKey(const std::wstring& strSubKey)
{
    RegistryKey hKey = new HKEY__;
    const uint32_t uiStatus = hKey->key.Open(strSubKey.c_str(), CMachineRegistryKey::ACCESS_MAXIMUM);
    if (uiStatus != MachineRegistryStatus::OK) {
        delete hKey;
        const std::wstring strContext = OpenKeyFailedContext(strSubKey);
        ThrowWin32Error(L"RegOpenKey", ErrnoFromStatus(uiStatus), strContext.c_str());
    }
    std::lock_guard<std::mutex> lock(g_mutexKeys);
    g_setOpenKeys.insert(hKey);
    return hKey;
}

void CloseRegistryKey(RegistryKey hKey)
{
    {
        std::lock_guard<std::mutex> lock(g_mutexKeys);
        if (g_setOpenKeys.erase(hKey) == 0) {
            return;
        }
    }
    delete hKey;
}

bool RegValueExists(RegistryKey hKey, const std::wstring& strValueName)
{
    uint32_t uiStatus = MachineRegistryStatus::INVALID_HANDLE;
    if (IsOpenKey(hKey)) {
        uint32_t uiBytes = 0;
        uiStatus = hKey->key.QueryValueSize(strValueName.c_str(), &uiBytes);
    }
    if (uiStatus == MachineRegistryStatus::OK) {
        return true;
    }
    if (uiStatus == MachineRegistryStatus::NOT_FOUND) {
        return false;
    }
    // The value query failed, but the text names the key-open call.
    const std::wstring strContext = CheckValueFailedContext(strValueName);
    ThrowWin32Error(L"RegOpenKey", ErrnoFromStatus(uiStatus), strContext.c_str());
}

} // namespace Language
