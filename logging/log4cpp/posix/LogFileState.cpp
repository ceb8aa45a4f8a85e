#include "logging/log4cpp/LogFileState.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include "logging/posix/NoFollowFile.h"
#include "logging/posix/UserHome.h"

namespace LogFileState {

namespace {

const char* const REFUSED_OTHER_OWNER = "it belongs to another user.";

} // namespace

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

void DefineUserFolders()
{
    const char* szState = std::getenv("XDG_STATE_HOME");
    if (szState && szState[0] == '/') {
        return;
    }
    const std::string strHome = UserHome::Current();
    if (!strHome.empty()) {
        ::setenv("XDG_STATE_HOME", (strHome + "/.local/state").c_str(), 1);
    }
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
            // Only this user's: a log tells what this user printed.
            if (::mkdir(strPart.c_str(), 0700) != 0 && errno != EEXIST) {
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
    // New log files are this user's alone; a file found in place must be
    // the user's own (in a folder that others can write, another user may
    // have put it there to read or stop what we log).
    const int iFd = NoFollowFile::Open(strPath, O_WRONLY | O_APPEND, true, 0600, pszRefusal);
    struct stat st;
    if (iFd >= 0 && (::fstat(iFd, &st) != 0 || st.st_uid != ::geteuid())) {
        ::close(iFd);
        *pszRefusal = REFUSED_OTHER_OWNER;
        errno = EACCES;
        return -1;
    }
    return iFd;
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
