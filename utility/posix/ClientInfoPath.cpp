#include "utility/ClientInfo.h"

#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>
#include "language/TextConvert.h"
#include "logging/posix/UserHome.h"

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

namespace OrvUtility {

namespace {

// $XDG_CONFIG_HOME when it is an absolute path, else HOME/.config (HOME
// from the environment, else from the user database); "" when unknown.
std::string ConfigHome()
{
    const char* szConfig = std::getenv("XDG_CONFIG_HOME");
    if (szConfig && szConfig[0] == '/') {
        return szConfig;
    }
    const std::string strHome = UserHome::Current();
    return strHome.empty() ? strHome : strHome + "/.config";
}

} // namespace

bool UserSettingFile(std::wstring& strPath, bool bMakeFolder)
{
    const std::string strHome = ConfigHome();
    if (strHome.empty()) {
        strPath.clear();
        return true;
    }
    const std::string strFolder = strHome + "/orv-soft";
    if (bMakeFolder) {
        // Only this user's: folders 0700 (the umask may only narrow them).
        mkdir(strHome.c_str(), 0700);
        mkdir(strFolder.c_str(), 0700);
    }
    strPath = Language::WideFromUtf8(strFolder + "/Config.ini");
    return true;
}

} // namespace OrvUtility
