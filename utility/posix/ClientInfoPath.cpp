#include "utility/ClientInfo.h"

namespace OrvUtility {

std::wstring MakeConfigFilePath(const wchar_t* szFolder)
{
    std::wstring strPath = szFolder ? szFolder : L"";
    if (!strPath.empty() && strPath.back() != L'/') {
        strPath += L'/';
    }
    return strPath + L"Config.ini";
}

} // namespace OrvUtility
