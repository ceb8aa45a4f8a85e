#include "service/PendingMarker.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OrvService {

namespace {

const char PENDING[] = "pending ";

std::string Failed(const std::string& strPath, const char* szWhat)
{
    return strPath + ": " + szWhat + " (" + std::strerror(errno) + ")";
}

} // namespace

bool CPendingMarker::Open(uid_t uidUser, std::string& strProblem)
{
    const char* szFolder = std::getenv(FOLDER_VARIABLE);
    const std::string strFolder = szFolder && *szFolder ? szFolder : DEFAULT_FOLDER;
    if (mkdir(strFolder.c_str(), 0700) != 0 && errno != EEXIST) {
        strProblem = Failed(strFolder, "cannot be made");
        return false;
    }
    const CScopedFd objFolder(open(strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!objFolder.IsValid() || fstat(objFolder.Get(), &st) != 0) {
        strProblem = Failed(strFolder, "cannot be opened");
        return false;
    }
    if (st.st_uid != geteuid() || (st.st_mode & 022) != 0) {
        strProblem = strFolder + ": not a folder of root's own";
        return false;
    }
    m_strPath = strFolder + "/pending-" + std::to_string(uidUser);
    m_objFd.Reset(openat(objFolder.Get(), ("pending-" + std::to_string(uidUser)).c_str(),
                         O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    if (!m_objFd.IsValid() || fstat(m_objFd.Get(), &st) != 0) {
        strProblem = Failed(m_strPath, "cannot be opened");
        m_objFd.Reset();
        return false;
    }
    if (!S_ISREG(st.st_mode) || st.st_uid != geteuid() || st.st_nlink != 1 || (st.st_mode & 077) != 0) {
        strProblem = m_strPath + ": not a file of root's own";
        m_objFd.Reset();
        return false;
    }
    return true;
}

bool CPendingMarker::TryLock() const
{
    return flock(m_objFd.Get(), LOCK_EX | LOCK_NB) == 0;
}

std::string CPendingMarker::ReadPending(int iFd)
{
    char szText[128] = {};
    const ssize_t iRead = pread(iFd, szText, sizeof(szText) - 1, 0);
    if (iRead <= 0 || std::strncmp(szText, PENDING, sizeof(PENDING) - 1) != 0) {
        return std::string();
    }
    std::string strReceiver(szText + sizeof(PENDING) - 1);
    const size_t uiEnd = strReceiver.find('\n');
    strReceiver = strReceiver.substr(0, uiEnd);
    return strReceiver.empty() ? "-" : strReceiver;
}

bool CPendingMarker::MarkPending(int iFd, const std::string& strReceiver)
{
    const std::string strText = PENDING + (strReceiver.empty() ? std::string("-") : strReceiver) + "\n";
    // Written over the old text before it is cut to length: a marker is
    // never empty on the way to pending.
    return pwrite(iFd, strText.data(), strText.size(), 0) == static_cast<ssize_t>(strText.size()) &&
           ftruncate(iFd, static_cast<off_t>(strText.size())) == 0;
}

bool CPendingMarker::Clear(int iFd)
{
    return ftruncate(iFd, 0) == 0;
}

} // namespace OrvService
