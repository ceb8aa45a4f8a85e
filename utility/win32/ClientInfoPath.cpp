#include "utility/ClientInfo.h"

namespace OrvUtility {

// As _wmakepath composes it: no drive, the folder, "Config.ini", no
// extension; a backslash goes between unless the folder ends with "\" or "/".
std::wstring MakeConfigFilePath(const wchar_t* szFolder)
{
    std::wstring strPath = szFolder ? szFolder : L"";
    if (!strPath.empty() && strPath.back() != L'\\' && strPath.back() != L'/') {
        strPath += L'\\';
    }
    return strPath + L"Config.ini";
}

} // namespace OrvUtility

namespace OrvUtility {

// Both groups share the machine's Config.ini.
bool UserSettingFile(std::wstring& strPath, bool bMakeFolder)
{
    (void)strPath;
    (void)bMakeFolder;
    return false;
}

} // namespace OrvUtility
