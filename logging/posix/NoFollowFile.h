#pragma once

#include <string>
#include <sys/types.h>

// Files in folders that other users may write (the machine's TempDir, a
// shared log folder): such a folder can hold, under the name we expect, a
// symbolic link to a file of ours, a FIFO that blocks the opener, a folder,
// or a hard link to a file elsewhere. These functions open such a name
// without following a link and accept only a regular file with one link;
// everything else is refused with a reason and never written through.
namespace NoFollowFile {

// Reasons of a refusal, also used for the channel's named objects.
extern const char* const REFUSED_LINK;        // "it is a symbolic link."
extern const char* const REFUSED_NOT_REGULAR; // "it is not a regular file."
extern const char* const REFUSED_HARD_LINK;   // "it has more than one hard link."

// Opens strPath with iAccess (O_RDONLY, O_WRONLY | O_APPEND, ...), close-on-
// exec, never following a symbolic link in its last part and never blocking
// on a FIFO. With bCreate a missing file is created exclusively with
// uiMode (less the umask). Returns the descriptor; -1 with errno when the
// open failed for another reason, or with *pszRefusal set (errno ELOOP,
// EINVAL or EMLINK) when what lies there is not a regular file with one
// link. *pbCreated tells whether this call created the file.
int Open(const std::string& strPath, int iAccess, bool bCreate, mode_t uiMode, const char** pszRefusal,
         bool* pbCreated = nullptr);

// The same check for what is at iDirFd/strLeaf now, without opening it:
// null when nothing is there or a regular file with one link is, else the
// reason. errno is kept.
const char* CheckInPlace(int iDirFd, const std::string& strLeaf);

// The reason to refuse an open descriptor, or null when it is a regular
// file with one link.
const char* CheckDescriptor(int iFd);

// Creates a new file ".NAME.XXXXXX" (random letters) in the folder iDirFd,
// exclusively and without following links, mode 0600, for writing: the
// replacement of NAME, renamed over it once complete. Its descriptor, -1
// on failure; *pstrTemp is its name in the folder.
int CreateTemporary(int iDirFd, const std::string& strName, std::string* pstrTemp);

// Writes all of strData to iFd (again after EINTR); false with errno on
// failure.
bool WriteAll(int iFd, const std::string& strData);

// Logs a refusal at ERROR: "%s(%d) : Refused <path>: <reason>".
void LogRefused(const std::string& strPath, const char* szReason);

} // namespace NoFollowFile
