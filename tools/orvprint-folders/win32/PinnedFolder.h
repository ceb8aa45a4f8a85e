#pragma once

#include <set>
#include <string>
#include <vector>
#include <windows.h>
#include "tools/orvprint-folders/win32/ExitCode.h"
#include "tools/orvprint-folders/win32/FolderPath.h"
#include "tools/orvprint-folders/win32/FolderRights.h"
#include "tools/orvprint-folders/win32/ScopedHandle.h"

namespace OrvprintFolders {

// A folder held open with every folder above it, down from the trusted
// root: each part is opened by itself without following a reparse point
// (FILE_FLAG_OPEN_REPARSE_POINT), the handle is checked to be a folder and
// no reparse point, and kept open without FILE_SHARE_DELETE, so that no part
// can be renamed, deleted or swapped for a junction while the handles live.
// A path below the pinned folder is then resolved through exactly the
// folders that were checked.
class CPinnedFolder {
public:
    CPinnedFolder() = default;

    CPinnedFolder(const CPinnedFolder&) = delete;
    CPinnedFolder& operator=(const CPinnedFolder&) = delete;

    // Pins an existing folder. A part that does not exist is no error:
    // EXIT_DONE with IsMissing() true, nothing pinned.
    ExitCode Open(const CFolderPath& path, std::wstring& strMessage);

    // Pins the folder, making the parts that do not exist. Every part below
    // the root that setDone does not yet hold (upper-case full paths) gets
    // the package's rights: the folder itself those of eKind, the folders
    // above it FOLDER_PRIVATE when they were made here or had an owner
    // other than Administrators, SYSTEM or this account; such an owner is
    // replaced by Administrators. A folder above with a trusted owner keeps
    // its rights (it may be an administrator's). One line per part done
    // goes to vecReport.
    ExitCode Prepare(const CFolderPath& path, FolderKind eKind, const CFolderRights& rights,
                     std::set<std::wstring>& setDone, std::vector<std::wstring>& vecReport, std::wstring& strMessage);

    bool IsMissing() const { return m_bMissing; }
    const std::wstring& GetPath() const { return m_strPath; }

private:
    struct PREPARE {
        FolderKind eKind;
        const CFolderRights* pRights;
        std::set<std::wstring>* pDone;
        std::vector<std::wstring>* pReport;
    };

    ExitCode Walk(const CFolderPath& path, const PREPARE* pPrepare, std::wstring& strMessage);
    ExitCode SecurePart(HANDLE hFolder, const std::wstring& strFolder, FolderKind eKind, bool bMade,
                        bool bTarget, const PREPARE& stuPrepare, std::wstring& strMessage);

    std::vector<CScopedHandle> m_vecHandles;
    std::wstring m_strPath;
    bool m_bMissing = false;
};

// Opens a file or folder without following a reparse point (with backup
// semantics, so folders open too). ERROR_SUCCESS or the system's error.
DWORD OpenWithoutFollowing(const std::wstring& strPath, DWORD dwAccess, DWORD dwShare, CScopedHandle& handle);

// The attributes of the object behind the handle; false when they cannot be
// read.
bool ReadAttributes(HANDLE hObject, DWORD& dwAttributes);

// "refused "PATH": it is a junction or symbolic link (a reparse point)..."
// for an attribute set that is not what is wanted, "" when it is.
std::wstring CheckKind(const std::wstring& strPath, DWORD dwAttributes, bool bWantFolder);

// "... (Windows error N)."
std::wstring WithError(const std::wstring& strText, DWORD dwError);

bool IsNotFound(DWORD dwError);

} // namespace OrvprintFolders
