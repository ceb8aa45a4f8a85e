#include "language/RegistryHelpers.h"

#include <boost/bind/bind.hpp>
#include "language/scope_guard.h"

namespace Language {

std::wstring OpenKeyFailedContext(const std::wstring& strSubKey)
{
    return L"打开注册表键" + strSubKey + L"失败";
}

std::wstring CheckValueFailedContext(const std::wstring& strValueName)
{
    return L"检查注册表值" + strValueName + L"失败";
}

bool LocalMachineValueExists(const std::wstring& strSubKey, const std::wstring& strValueName)
{
    const RegistryKey hKey = OpenLocalMachineKey(strSubKey);
    scope_guard guardKey(boost::bind(CloseRegistryKey, hKey));
    return RegValueExists(hKey, strValueName);
}

} // namespace Language
