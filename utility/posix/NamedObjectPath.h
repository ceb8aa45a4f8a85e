#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// Where the named objects of this machine live on Linux, and how their files
// are opened: never through a symbolic link, always checked for their type.

namespace OrvUtility {

// The places where the private objects of the user uid may live, in the
// order they are tried:
//   /run/user/UID                 (the session's runtime folder; never made here)
//   /tmp/orvprint-UID             (made with mode 0700 by the user)
//   HOME/.cache/orv-soft/run      (HOME from the user database; made 0700)
std::vector<std::string> PrivateFolderCandidates(uid_t uid);

// The first of those places that is a folder (not a link) owned by uid
// with no access for group and others. The calling user makes the missing
// ones of its own (bCreate). A place that exists but belongs to another
// user or is open to others is refused with an ERROR line naming it, and
// the next one is tried: nobody can stop another user's channel by
// putting something there first. False (errno set) when none is usable.
bool PrivateObjectFolder(uid_t uid, bool bCreate, std::string& strFolder);

// The folder of "Global\" objects (the channel and the single-instance
// lock): $ORVPRINT_SHM_DIR when set, else this user's private folder.
// False (errno set) when there is none.
bool SharedObjectFolder(std::string& strFolder);

// The folder of every other name: $XDG_RUNTIME_DIR when set, else
// /tmp/orvprint-<uid>, created with mode 0700 and refused unless it is a
// directory (not a link) of this user that nobody else may enter.
// False (errno set, the reason logged) when there is none.
bool UserObjectFolder(std::string& strFolder);

// A name placed in its folder.
struct CNamedObjectLocation {
    std::string strFolder;
    std::string strLeaf; // UTF-8 file name
    bool bShared;        // in the "Global\" folder
    bool bPrivate;       // that folder is the user's own (no ORVPRINT_SHM_DIR)

    std::string Path() const { return strFolder + "/" + strLeaf; }
};

// "Global\X" goes to the shared folder as X; "Local\X" and plain X to the
// user's folder. False with errno EINVAL for an empty name or one that
// cannot be a file name ("/", ".", ".."), ENAMETOOLONG beyond 255 bytes.
bool LocateNamedObject(const std::wstring& strName, CNamedObjectLocation& location);

enum NamedObjectFileKind {
    NAMED_FILE_REGULAR,
    NAMED_FILE_FIFO,
};

// Opens the object's file read-write (and, with bAllowReadOnly, read-only
// when writing is not allowed), without following a symbolic link, non-
// blocking and close-on-exec. With bCreate a missing file is created
// exclusively and then given uiMode whatever the umask (*pbCreated true).
// In a private folder the file is made 0600 whatever uiMode says.
// A link or a file of another kind is refused: -1, errno ELOOP or EINVAL,
// and an ERROR line "Refused <path>: ...". Otherwise -1 with the errno of
// the failing call (ENOENT when missing and not to be created).
int OpenNamedObjectFile(const CNamedObjectLocation& location, NamedObjectFileKind eKind, bool bCreate,
                        mode_t uiMode, bool bAllowReadOnly, bool* pbCreated);

// Mode of the files: 0666 for Everyone access, else 0600.
mode_t NamedObjectMode(uint32_t uiEveryoneAccess);

// Logs the refusal of an object file: "%s(%d) : Refused %s: %s".
void LogRefusedObject(const std::string& strPath, const char* szReason);

} // namespace OrvUtility
