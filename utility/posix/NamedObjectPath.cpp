#include "utility/posix/NamedObjectPath.h"

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>
#include "language/TextConvert.h"
#include "logging/posix/NoFollowFile.h"
#include "logging/posix/UserHome.h"

namespace OrvUtility {

namespace {

const wchar_t GLOBAL_PREFIX[] = L"Global\\";
const wchar_t LOCAL_PREFIX[] = L"Local\\";
const size_t MAX_LEAF_BYTES = 255;
// Attempts of the open-or-create race (another process may create or remove
// the file between our two calls).
const int OPEN_ATTEMPTS = 8;

bool StartsWith(const std::wstring& strText, const wchar_t* szPrefix)
{
    return strText.compare(0, std::wcslen(szPrefix), szPrefix) == 0;
}

// Checks an opened file's kind; logs and closes it when it is not the one
// expected.
bool CheckKind(int iFd, const std::string& strPath, NamedObjectFileKind eKind)
{
    struct stat st;
    if (fstat(iFd, &st) != 0) {
        const int iErr = errno;
        close(iFd);
        errno = iErr;
        return false;
    }
    const bool bRight = eKind == NAMED_FILE_FIFO ? S_ISFIFO(st.st_mode) : S_ISREG(st.st_mode);
    if (!bRight) {
        LogRefusedObject(strPath, eKind == NAMED_FILE_FIFO ? "it is not a FIFO." : NoFollowFile::REFUSED_NOT_REGULAR);
        close(iFd);
        errno = EINVAL;
        return false;
    }
    // A second name of a file elsewhere (a hard link planted in the shared
    // folder) would make us write into that file.
    if (st.st_nlink != 1) {
        LogRefusedObject(strPath, NoFollowFile::REFUSED_HARD_LINK);
        close(iFd);
        errno = EMLINK;
        return false;
    }
    return true;
}

int OpenExisting(int iDirFd, const std::string& strLeaf, bool bAllowReadOnly)
{
    const int iFlags = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    int iFd = openat(iDirFd, strLeaf.c_str(), O_RDWR | iFlags);
    if (iFd < 0 && errno == EACCES && bAllowReadOnly) {
        iFd = openat(iDirFd, strLeaf.c_str(), O_RDONLY | iFlags);
    }
    return iFd;
}

} // namespace

namespace {

// The places that need no look-up in the user database.
std::vector<std::string> FixedPrivateFolders(uid_t uid)
{
    const std::string strUid = std::to_string(static_cast<unsigned long>(uid));
    return {"/run/user/" + strUid, "/tmp/orvprint-" + strUid};
}

// The place in the user's home; "" when the user has no home.
std::string HomePrivateFolder(uid_t uid)
{
    const std::string strHome = UserHome::Of(uid);
    return strHome.empty() ? std::string() : strHome + "/.cache/orv-soft/run";
}

} // namespace

std::vector<std::string> PrivateFolderCandidates(uid_t uid)
{
    std::vector<std::string> vecFolders = FixedPrivateFolders(uid);
    const std::string strHome = HomePrivateFolder(uid);
    if (!strHome.empty()) {
        vecFolders.push_back(strHome);
    }
    return vecFolders;
}

namespace {

enum EFolderState { FOLDER_MISSING, FOLDER_PRIVATE, FOLDER_REFUSED };

EFolderState CheckPrivateFolder(const std::string& strFolder, uid_t uid)
{
    struct stat st;
    if (lstat(strFolder.c_str(), &st) != 0) {
        return FOLDER_MISSING;
    }
    if (!S_ISDIR(st.st_mode) || st.st_uid != uid || (st.st_mode & 0077) != 0) {
        return FOLDER_REFUSED;
    }
    return FOLDER_PRIVATE;
}

// True the first time a folder is refused in this process: every named
// object is looked up through the list, and one ERROR line names it.
bool FirstRefusal(const std::string& strFolder)
{
    static std::mutex s_mutex;
    static std::set<std::string> s_setRefused;
    const std::lock_guard<std::mutex> lock(s_mutex);
    return s_setRefused.insert(strFolder).second;
}

// Makes each missing folder of the path with mode 0700 (the umask may only
// narrow it).
void MakeFolders(const std::string& strFolder)
{
    for (size_t uiAt = 1; uiAt <= strFolder.size(); ++uiAt) {
        if (uiAt == strFolder.size() || strFolder[uiAt] == '/') {
            mkdir(strFolder.substr(0, uiAt).c_str(), 0700);
        }
    }
}

// True when strFolder is (or, where this user may make it, becomes) the
// user's private folder; a refused one is logged once.
bool TakePrivateFolder(const std::string& strFolder, uid_t uid, bool bMayCreate)
{
    EFolderState eState = CheckPrivateFolder(strFolder, uid);
    if (eState == FOLDER_MISSING && bMayCreate && uid == geteuid()) {
        MakeFolders(strFolder);
        eState = CheckPrivateFolder(strFolder, uid);
    }
    if (eState == FOLDER_REFUSED && FirstRefusal(strFolder)) {
        LogRefusedObject(strFolder, "it is not a private folder of this user.");
    }
    return eState == FOLDER_PRIVATE;
}

} // namespace

bool PrivateObjectFolder(uid_t uid, bool bCreate, std::string& strFolder)
{
    const std::vector<std::string> vecFixed = FixedPrivateFolders(uid);
    for (size_t i = 0; i < vecFixed.size(); ++i) {
        // The session's runtime folder (the first) is the system's to make.
        if (TakePrivateFolder(vecFixed[i], uid, bCreate && i > 0)) {
            strFolder = vecFixed[i];
            return true;
        }
    }
    // The user database is asked for the home only when the fixed places
    // will not do: every object of the channel is looked up here.
    const std::string strHome = HomePrivateFolder(uid);
    if (!strHome.empty() && TakePrivateFolder(strHome, uid, bCreate)) {
        strFolder = strHome;
        return true;
    }
    errno = EACCES;
    return false;
}

bool SharedObjectFolder(std::string& strFolder)
{
    const char* szDir = std::getenv("ORVPRINT_SHM_DIR");
    if (szDir && *szDir) {
        strFolder = szDir;
        return true;
    }
    return PrivateObjectFolder(geteuid(), true, strFolder);
}

bool UserObjectFolder(std::string& strFolder)
{
    const char* szRuntime = std::getenv("XDG_RUNTIME_DIR");
    if (szRuntime && szRuntime[0] == '/') {
        strFolder = szRuntime;
        return true;
    }
    return PrivateObjectFolder(geteuid(), true, strFolder);
}

bool LocateNamedObject(const std::wstring& strName, CNamedObjectLocation& location)
{
    std::wstring strLeaf;
    if (StartsWith(strName, GLOBAL_PREFIX)) {
        location.bShared = true;
        const char* szDir = std::getenv("ORVPRINT_SHM_DIR");
        location.bPrivate = !(szDir && *szDir);
        if (!SharedObjectFolder(location.strFolder)) {
            return false;
        }
        strLeaf = strName.substr(std::wcslen(GLOBAL_PREFIX));
    } else {
        location.bShared = false;
        location.bPrivate = true;
        if (!UserObjectFolder(location.strFolder)) {
            return false;
        }
        strLeaf = StartsWith(strName, LOCAL_PREFIX) ? strName.substr(std::wcslen(LOCAL_PREFIX)) : strName;
    }
    if (strLeaf.empty() || strLeaf == L"." || strLeaf == L".." || strLeaf.find(L'/') != std::wstring::npos ||
        strLeaf.find(L'\0') != std::wstring::npos) {
        errno = EINVAL;
        return false;
    }
    location.strLeaf = Language::Utf8FromWide(strLeaf);
    if (location.strLeaf.size() > MAX_LEAF_BYTES) {
        errno = ENAMETOOLONG;
        return false;
    }
    return true;
}

mode_t NamedObjectMode(uint32_t uiEveryoneAccess)
{
    return uiEveryoneAccess != 0 ? 0666 : 0600;
}

void LogRefusedObject(const std::string& strPath, const char* szReason)
{
    NoFollowFile::LogRefused(strPath, szReason);
}

int OpenNamedObjectFile(const CNamedObjectLocation& location, NamedObjectFileKind eKind, bool bCreate,
                        mode_t uiMode, bool bAllowReadOnly, bool* pbCreated)
{
    if (pbCreated) {
        *pbCreated = false;
    }
    const int iDirFd = open(location.strFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (iDirFd < 0) {
        return -1;
    }
    const std::string strPath = location.Path();
    int iResult = -1;
    int iErr = ENOENT;
    for (int iAttempt = 0; iAttempt < OPEN_ATTEMPTS; ++iAttempt) {
        int iFd = OpenExisting(iDirFd, location.strLeaf, bAllowReadOnly);
        if (iFd >= 0) {
            if (CheckKind(iFd, strPath, eKind)) {
                iResult = iFd;
            }
            iErr = errno;
            break;
        }
        iErr = errno;
        if (iErr == ELOOP) {
            LogRefusedObject(strPath, NoFollowFile::REFUSED_LINK);
            break;
        }
        if (iErr != ENOENT || !bCreate) {
            break;
        }

        // Missing: create it exclusively, so that nothing planted in the
        // meantime is ever taken over.
        if (eKind == NAMED_FILE_FIFO) {
            if (mkfifoat(iDirFd, location.strLeaf.c_str(), 0600) != 0) {
                iErr = errno;
                if (iErr == EEXIST) {
                    continue;
                }
                break;
            }
            iFd = OpenExisting(iDirFd, location.strLeaf, false);
            if (iFd < 0) {
                iErr = errno;
                if (iErr == ENOENT) {
                    continue;
                }
                break;
            }
            if (!CheckKind(iFd, strPath, eKind)) {
                iErr = errno;
                break;
            }
        } else {
            iFd = openat(iDirFd, location.strLeaf.c_str(),
                         O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
            if (iFd < 0) {
                iErr = errno;
                if (iErr == EEXIST) {
                    continue;
                }
                break;
            }
        }
        // The umask does not narrow the mode asked for; in the user's own
        // folder nobody else is to open it anyway.
        if (fchmod(iFd, location.bPrivate ? (uiMode & 0600) : uiMode) != 0) {
            iErr = errno;
            close(iFd);
            break;
        }
        if (pbCreated) {
            *pbCreated = true;
        }
        iResult = iFd;
        break;
    }
    close(iDirFd);
    errno = iResult >= 0 ? 0 : iErr;
    return iResult;
}

} // namespace OrvUtility
