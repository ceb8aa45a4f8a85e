#include "logging/log4cpp/LogFileState.h"

#include <cerrno>
#include <sys/stat.h>

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

} // namespace LogFileState
