#include "logging/log4cpp/LogFileState.h"

#include <cstdio>
#include <windows.h>

namespace LogFileState {

// An open log file cannot be removed on Windows (log4cpp opens it without
// FILE_SHARE_DELETE), nor can its folder: the file is gone only when it
// could not be opened at all, or when it is missing after all.
bool IsGone(const std::string& strPath, int iFd)
{
    return iFd < 0 || GetFileAttributesA(strPath.c_str()) == INVALID_FILE_ATTRIBUTES;
}

// The log configuration names the log folder itself on Windows.
void DefineUserFolders() {}

bool MakeFolderOf(const std::string& strPath)
{
    const size_t uiSlash = strPath.find_last_of("\\/");
    if (uiSlash == std::string::npos) {
        return true;
    }
    const std::string strFolder = strPath.substr(0, uiSlash);
    for (size_t uiAt = 1; uiAt <= strFolder.size(); ++uiAt) {
        if (uiAt == strFolder.size() || strFolder[uiAt] == '\\' || strFolder[uiAt] == '/') {
            const std::string strPart = strFolder.substr(0, uiAt);
            if (strPart.size() == 2 && strPart[1] == ':') {
                continue; // the drive
            }
            CreateDirectoryA(strPart.c_str(), nullptr);
        }
    }
    const DWORD dwAttributes = GetFileAttributesA(strFolder.c_str());
    return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// No planted links to guard against in the program's own folders on Windows:
// log4cpp opens its files itself.
int OpenChecked(const std::string&, const char** pszRefusal)
{
    *pszRefusal = nullptr;
    return -1;
}

void KeepCheckedFile(int, int) {}

void CloseChecked(int) {}

std::string InMemoryFile(const std::string&, int* piFd)
{
    *piFd = -1;
    return std::string();
}

void ReportToConsole(const std::string& strLine)
{
    std::fprintf(stderr, "%s\n", strLine.c_str());
}

// "C:\x", "C:/x", "\\server\share\x" and "\x" (the root of the current
// drive) are taken as they stand; "C:x" is relative to a current folder.
ENameKind KindOfName(const std::string& strName)
{
    if (strName.size() >= 2 && strName[1] == ':') {
        return strName.size() >= 3 && (strName[2] == '\\' || strName[2] == '/') ? NAME_FULL : NAME_DRIVE_RELATIVE;
    }
    return !strName.empty() && (strName[0] == '\\' || strName[0] == '/') ? NAME_FULL : NAME_RELATIVE;
}

std::string InFolder(const std::string& strFolder, const std::string& strName)
{
    if (!strFolder.empty() && (strFolder.back() == '\\' || strFolder.back() == '/')) {
        return strFolder + strName;
    }
    return strFolder + "\\" + strName;
}

} // namespace LogFileState
