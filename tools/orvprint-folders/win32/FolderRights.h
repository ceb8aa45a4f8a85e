#pragma once

#include <string>
#include <vector>
#include <windows.h>

namespace OrvprintFolders {

// What the users of the machine may do in a folder of the package.
enum FolderKind {
    FOLDER_PRIVATE, // read and list (Orv-soft, Client, DataDir)
    FOLDER_SHARED,  // change what is in it (TempDir with Config.ini, LogDir)
};

// Access rights of the package's folders: who may own one, the access list
// the package gives it, and writing both to an open folder.
//
// Every folder: SYSTEM and Administrators full control, inherited by what is
// in it. FOLDER_PRIVATE: Users read and list, inherited. FOLDER_SHARED: Users
// may read, list, add files and folders in the folder itself (not delete or
// rename it), and modify (delete included) everything in it, by an
// inherit-only entry. The list is protected: nothing comes from the folder
// above (ProgramData lets every user create folders, and their creator owns
// them).
class CFolderRights {
public:
    CFolderRights();

    CFolderRights(const CFolderRights&) = delete;
    CFolderRights& operator=(const CFolderRights&) = delete;

    // Administrators, SYSTEM or the account this program runs as (under the
    // installer: SYSTEM).
    bool IsTrustedOwner(PSID pOwner) const;

    // The access list of a folder of the kind, as the bytes of an ACL.
    bool BuildAcl(FolderKind eKind, std::vector<BYTE>& vecAcl) const;

    // The owner of the object behind hObject (opened with READ_CONTROL), as
    // the bytes of its SID. ERROR_SUCCESS or the system's error.
    DWORD ReadOwner(HANDLE hObject, std::vector<BYTE>& vecOwner) const;

    // Writes the kind's access list and, with bSetOwner, Administrators as
    // owner to the object behind hObject (opened with WRITE_DAC, and
    // WRITE_OWNER for the owner). Only that object changes: what is already
    // in the folder keeps its own rights (no walk through the folder's
    // contents, which may hold links). ERROR_SUCCESS or the system's error.
    DWORD Apply(HANDLE hObject, FolderKind eKind, bool bSetOwner) const;

    PSID GetSystem() const { return Sid(m_vecSystem); }
    PSID GetAdministrators() const { return Sid(m_vecAdministrators); }
    PSID GetUsers() const { return Sid(m_vecUsers); }
    PSID GetSelf() const { return Sid(m_vecSelf); }

    // "S-1-5-32-544", or "?" when the SID cannot be shown.
    static std::wstring SidText(PSID pSid);

    // What the kind's list gives Users, as the tool reports it.
    static const wchar_t* Describe(FolderKind eKind);

    // Enables the backup, restore and take-ownership privileges of the
    // process's token where it holds them (SYSTEM and elevated
    // administrators do): a folder a user made, with a list that shuts
    // everyone else out, can then be opened, taken over and reset. Missing
    // privileges are no error here; opening the folder says so.
    static void EnablePrivileges();

private:
    static PSID Sid(const std::vector<BYTE>& vecSid)
    {
        return vecSid.empty() ? nullptr : const_cast<BYTE*>(vecSid.data());
    }

    std::vector<BYTE> m_vecSystem;
    std::vector<BYTE> m_vecAdministrators;
    std::vector<BYTE> m_vecUsers;
    std::vector<BYTE> m_vecSelf;
};

} // namespace OrvprintFolders
