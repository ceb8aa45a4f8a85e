#include "logging/log4cpp/LogFileState.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include "logging/posix/NoFollowFile.h"

namespace LogFileState {

bool IsGone(const std::string& strPath, int iFd)
{
    if (iFd < 0) {
        return true;
    }
    struct stat stPath;
    struct stat stOpen;
    if (::stat(strPath.c_str(), &stPath) != 0 || ::fstat(iFd, &stOpen) != 0) {
        return true;
    }
    // A log folder made again holds another file under the same name.
    return stPath.st_dev != stOpen.st_dev || stPath.st_ino != stOpen.st_ino || stOpen.st_nlink == 0;
}

bool MakeFolderOf(const std::string& strPath)
{
    const size_t uiSlash = strPath.find_last_of('/');
    if (uiSlash == std::string::npos || uiSlash == 0) {
        return true;
    }
    const std::string strFolder = strPath.substr(0, uiSlash);
    for (size_t uiAt = 1; uiAt <= strFolder.size(); ++uiAt) {
        if (uiAt == strFolder.size() || strFolder[uiAt] == '/') {
            const std::string strPart = strFolder.substr(0, uiAt);
            if (::mkdir(strPart.c_str(), 0777) != 0 && errno != EEXIST) {
                return false;
            }
        }
    }
    struct stat st;
    return ::stat(strFolder.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

int OpenChecked(const std::string& strPath, const char** pszRefusal)
{
    *pszRefusal = nullptr;
    if (!MakeFolderOf(strPath)) {
        return -1;
    }
    // log4cpp's own mode for new log files.
    return NoFollowFile::Open(strPath, O_WRONLY | O_APPEND, true, 0644, pszRefusal);
}

void KeepCheckedFile(int iCheckedFd, int iAppenderFd)
{
    if (iCheckedFd < 0 || iAppenderFd < 0) {
        return;
    }
    struct stat stChecked;
    struct stat stAppender;
    if (::fstat(iCheckedFd, &stChecked) == 0 && ::fstat(iAppenderFd, &stAppender) == 0 &&
        stChecked.st_dev == stAppender.st_dev && stChecked.st_ino == stAppender.st_ino) {
        return;
    }
    // dup2 keeps iAppenderFd's number; log4cpp writes on through it.
    ::dup2(iCheckedFd, iAppenderFd);
}

void CloseChecked(int iFd)
{
    if (iFd >= 0) {
        ::close(iFd);
    }
}

std::string InMemoryFile(const std::string& strText, int* piFd)
{
    *piFd = ::memfd_create("LogConfig.conf", MFD_CLOEXEC);
    if (*piFd < 0) {
        return std::string();
    }
    if (!NoFollowFile::WriteAll(*piFd, strText)) {
        ::close(*piFd);
        *piFd = -1;
        return std::string();
    }
    return "/proc/self/fd/" + std::to_string(*piFd);
}

void ReportToConsole(const std::string& strLine)
{
    std::fprintf(stderr, "%s\n", strLine.c_str());
}

ENameKind KindOfName(const std::string& strName)
{
    return !strName.empty() && strName[0] == '/' ? NAME_FULL : NAME_RELATIVE;
}

std::string InFolder(const std::string& strFolder, const std::string& strName)
{
    if (!strFolder.empty() && strFolder.back() == '/') {
        return strFolder + strName;
    }
    return strFolder + "/" + strName;
}

} // namespace LogFileState
