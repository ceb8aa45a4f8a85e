#include "logging/posix/NoFollowFile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include "logging/LogMacros.h"

namespace NoFollowFile {

const char* const REFUSED_LINK = "it is a symbolic link.";
const char* const REFUSED_NOT_REGULAR = "it is not a regular file.";
const char* const REFUSED_HARD_LINK = "it has more than one hard link.";

namespace {

// Attempts of the open-or-create race (another process may create or
// remove the name between two calls).
const int OPEN_ATTEMPTS = 8;

const char* ReasonOf(const struct stat& st)
{
    if (S_ISLNK(st.st_mode)) {
        return REFUSED_LINK;
    }
    if (!S_ISREG(st.st_mode)) {
        return REFUSED_NOT_REGULAR;
    }
    if (st.st_nlink != 1) {
        return REFUSED_HARD_LINK;
    }
    return nullptr;
}

int ErrnoOf(const char* szReason)
{
    if (szReason == REFUSED_LINK) {
        return ELOOP;
    }
    return szReason == REFUSED_HARD_LINK ? EMLINK : EINVAL;
}

// Why an open without following links failed on what lies at strPath:
// the refusal when it is something we never open, else null.
const char* RefusalAfterFailedOpen(const std::string& strPath, int iErr)
{
    if (iErr == ELOOP) {
        return REFUSED_LINK;
    }
    if (iErr != ENXIO && iErr != EISDIR && iErr != ENOTDIR && iErr != EACCES) {
        return nullptr;
    }
    // A FIFO without a reader (ENXIO), a folder opened for writing
    // (EISDIR), or a file we may not open at all.
    struct stat st;
    if (lstat(strPath.c_str(), &st) != 0) {
        return nullptr;
    }
    return ReasonOf(st);
}

} // namespace

const char* CheckDescriptor(int iFd)
{
    struct stat st;
    if (fstat(iFd, &st) != 0) {
        return REFUSED_NOT_REGULAR;
    }
    return ReasonOf(st);
}

const char* CheckInPlace(int iDirFd, const std::string& strLeaf)
{
    const int iSaved = errno;
    struct stat st;
    const char* szReason = nullptr;
    if (fstatat(iDirFd, strLeaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0) {
        szReason = ReasonOf(st);
    }
    errno = iSaved;
    return szReason;
}

int Open(const std::string& strPath, int iAccess, bool bCreate, mode_t uiMode, const char** pszRefusal,
         bool* pbCreated)
{
    *pszRefusal = nullptr;
    if (pbCreated) {
        *pbCreated = false;
    }
    const int iFlags = iAccess | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOCTTY;
    int iErr = ENOENT;
    for (int iAttempt = 0; iAttempt < OPEN_ATTEMPTS; ++iAttempt) {
        bool bCreated = false;
        int iFd = open(strPath.c_str(), iFlags);
        if (iFd < 0 && errno == ENOENT && bCreate) {
            iFd = open(strPath.c_str(), iFlags | O_CREAT | O_EXCL, uiMode);
            if (iFd < 0 && errno == EEXIST) {
                continue; // made by another process meanwhile: open that one
            }
            bCreated = iFd >= 0;
        }
        if (iFd < 0) {
            iErr = errno;
            *pszRefusal = RefusalAfterFailedOpen(strPath, iErr);
            if (*pszRefusal) {
                iErr = ErrnoOf(*pszRefusal);
            }
            break;
        }
        *pszRefusal = CheckDescriptor(iFd);
        if (*pszRefusal) {
            close(iFd);
            iErr = ErrnoOf(*pszRefusal);
            break;
        }
        // Blocking again: writes to a regular file never wait anyway, but
        // the caller may hand the descriptor on.
        const int iStatus = fcntl(iFd, F_GETFL);
        if (iStatus >= 0) {
            fcntl(iFd, F_SETFL, iStatus & ~O_NONBLOCK);
        }
        if (pbCreated) {
            *pbCreated = bCreated;
        }
        return iFd;
    }
    errno = iErr;
    return -1;
}

int CreateTemporary(int iDirFd, const std::string& strName, std::string* pstrTemp)
{
    static const char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    for (int iAttempt = 0; iAttempt < 100; ++iAttempt) {
        unsigned char abyRandom[6];
        if (getrandom(abyRandom, sizeof(abyRandom), 0) != static_cast<ssize_t>(sizeof(abyRandom))) {
            return -1;
        }
        std::string strTemp = "." + strName + ".";
        for (unsigned char by : abyRandom) {
            strTemp += ALPHABET[by % (sizeof(ALPHABET) - 1)];
        }
        const int iFd = openat(iDirFd, strTemp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (iFd >= 0) {
            *pstrTemp = strTemp;
            return iFd;
        }
        if (errno != EEXIST) {
            return -1;
        }
    }
    errno = EEXIST;
    return -1;
}

bool WriteAll(int iFd, const std::string& strData)
{
    size_t uiDone = 0;
    while (uiDone < strData.size()) {
        const ssize_t n = write(iFd, strData.data() + uiDone, strData.size() - uiDone);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        uiDone += static_cast<size_t>(n);
    }
    return true;
}

void LogRefused(const std::string& strPath, const char* szReason)
{
    ORV_LOG_ERROR("%s(%d) : Refused %s: %s", strPath.c_str(), szReason);
}

} // namespace NoFollowFile
