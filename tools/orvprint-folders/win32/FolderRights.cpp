#include "tools/orvprint-folders/win32/FolderRights.h"

#include <aclapi.h>
#include <sddl.h>
#include "tools/orvprint-folders/win32/ScopedHandle.h"

namespace OrvprintFolders {

namespace {

const DWORD FOLDER_FULL_CONTROL = FILE_ALL_ACCESS;
const DWORD FOLDER_READ = FILE_GENERIC_READ | FILE_GENERIC_EXECUTE;
const DWORD FOLDER_MODIFY = FILE_GENERIC_READ | FILE_GENERIC_WRITE | FILE_GENERIC_EXECUTE | DELETE;
// Modify without deleting or renaming the shared folder itself.
const DWORD SHARED_FOLDER_ITSELF = FOLDER_MODIFY & ~static_cast<DWORD>(DELETE);
const BYTE INHERITED = OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE;

std::vector<BYTE> WellKnownSid(WELL_KNOWN_SID_TYPE eType)
{
    std::vector<BYTE> vecSid(SECURITY_MAX_SID_SIZE);
    DWORD dwSize = static_cast<DWORD>(vecSid.size());
    if (!CreateWellKnownSid(eType, nullptr, vecSid.data(), &dwSize)) {
        return std::vector<BYTE>();
    }
    vecSid.resize(dwSize);
    return vecSid;
}

std::vector<BYTE> ProcessUserSid()
{
    HANDLE hToken = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &hToken)) {
        return std::vector<BYTE>();
    }
    CScopedHandle token(hToken);
    DWORD dwSize = 0;
    GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &dwSize);
    std::vector<BYTE> vecBuffer(dwSize);
    if (dwSize == 0 || !GetTokenInformation(token.Get(), TokenUser, vecBuffer.data(), dwSize, &dwSize)) {
        return std::vector<BYTE>();
    }
    const PSID pSid = reinterpret_cast<TOKEN_USER*>(vecBuffer.data())->User.Sid;
    const BYTE* pBytes = static_cast<const BYTE*>(pSid);
    return std::vector<BYTE>(pBytes, pBytes + GetLengthSid(pSid));
}

bool SameSid(PSID pLeft, PSID pRight)
{
    return pLeft && pRight && IsValidSid(pLeft) && IsValidSid(pRight) && EqualSid(pLeft, pRight);
}

} // namespace

CFolderRights::CFolderRights()
    : m_vecSystem(WellKnownSid(WinLocalSystemSid)),
      m_vecAdministrators(WellKnownSid(WinBuiltinAdministratorsSid)),
      m_vecUsers(WellKnownSid(WinBuiltinUsersSid)),
      m_vecSelf(ProcessUserSid())
{
}

bool CFolderRights::IsTrustedOwner(PSID pOwner) const
{
    return SameSid(pOwner, GetAdministrators()) || SameSid(pOwner, GetSystem()) || SameSid(pOwner, GetSelf());
}

bool CFolderRights::BuildAcl(FolderKind eKind, std::vector<BYTE>& vecAcl) const
{
    struct ENTRY {
        PSID pSid;
        BYTE byFlags;
        DWORD dwMask;
    };
    std::vector<ENTRY> vecEntries = {
        {GetSystem(), INHERITED, FOLDER_FULL_CONTROL},
        {GetAdministrators(), INHERITED, FOLDER_FULL_CONTROL},
    };
    if (eKind == FOLDER_SHARED) {
        vecEntries.push_back({GetUsers(), 0, SHARED_FOLDER_ITSELF});
        vecEntries.push_back({GetUsers(), INHERITED | INHERIT_ONLY_ACE, FOLDER_MODIFY});
    } else {
        vecEntries.push_back({GetUsers(), INHERITED, FOLDER_READ});
    }
    DWORD dwSize = sizeof(ACL);
    for (const ENTRY& stuEntry : vecEntries) {
        if (!stuEntry.pSid) {
            return false;
        }
        dwSize += sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + GetLengthSid(stuEntry.pSid);
    }
    std::vector<BYTE> vecBuilt(dwSize);
    PACL pAcl = reinterpret_cast<PACL>(vecBuilt.data());
    if (!InitializeAcl(pAcl, dwSize, ACL_REVISION)) {
        return false;
    }
    for (const ENTRY& stuEntry : vecEntries) {
        if (!AddAccessAllowedAceEx(pAcl, ACL_REVISION, stuEntry.byFlags, stuEntry.dwMask, stuEntry.pSid)) {
            return false;
        }
    }
    vecAcl.swap(vecBuilt);
    return true;
}

DWORD CFolderRights::ReadOwner(HANDLE hObject, std::vector<BYTE>& vecOwner) const
{
    PSID pOwner = nullptr;
    PSECURITY_DESCRIPTOR pDescriptor = nullptr;
    const DWORD dwError = GetSecurityInfo(hObject, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &pOwner, nullptr,
                                          nullptr, nullptr, &pDescriptor);
    if (dwError != ERROR_SUCCESS) {
        return dwError;
    }
    DWORD dwResult = ERROR_INVALID_SID;
    if (pOwner && IsValidSid(pOwner)) {
        const BYTE* pBytes = static_cast<const BYTE*>(pOwner);
        vecOwner.assign(pBytes, pBytes + GetLengthSid(pOwner));
        dwResult = ERROR_SUCCESS;
    }
    LocalFree(pDescriptor);
    return dwResult;
}

DWORD CFolderRights::Apply(HANDLE hObject, FolderKind eKind, bool bSetOwner) const
{
    std::vector<BYTE> vecAcl;
    if (!BuildAcl(eKind, vecAcl)) {
        return GetLastError() != ERROR_SUCCESS ? GetLastError() : ERROR_INVALID_ACL;
    }
    SECURITY_DESCRIPTOR stuDescriptor;
    if (!InitializeSecurityDescriptor(&stuDescriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(&stuDescriptor, TRUE, reinterpret_cast<PACL>(vecAcl.data()), FALSE) ||
        !SetSecurityDescriptorControl(&stuDescriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
        return GetLastError();
    }
    SECURITY_INFORMATION uiWhat = DACL_SECURITY_INFORMATION;
    if (bSetOwner) {
        if (!SetSecurityDescriptorOwner(&stuDescriptor, GetAdministrators(), FALSE)) {
            return GetLastError();
        }
        uiWhat |= OWNER_SECURITY_INFORMATION;
    }
    // The kernel call on the handle: SetSecurityInfo would also carry the
    // inherited entries into everything the folder holds, through whatever
    // a user put there.
    if (!SetKernelObjectSecurity(hObject, uiWhat, &stuDescriptor)) {
        return GetLastError();
    }
    return ERROR_SUCCESS;
}

std::wstring CFolderRights::SidText(PSID pSid)
{
    LPWSTR szText = nullptr;
    if (!pSid || !ConvertSidToStringSidW(pSid, &szText)) {
        return L"?";
    }
    std::wstring strText(szText);
    LocalFree(szText);
    return strText;
}

const wchar_t* CFolderRights::Describe(FolderKind eKind)
{
    return eKind == FOLDER_SHARED ? L"Administrators and SYSTEM full control, Users modify what is in it"
                                  : L"Administrators and SYSTEM full control, Users read";
}

void CFolderRights::EnablePrivileges()
{
    HANDLE hToken = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &hToken)) {
        return;
    }
    CScopedHandle token(hToken);
    for (const wchar_t* szName : {SE_BACKUP_NAME, SE_RESTORE_NAME, SE_TAKE_OWNERSHIP_NAME}) {
        TOKEN_PRIVILEGES stuPrivileges = {};
        stuPrivileges.PrivilegeCount = 1;
        stuPrivileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
        if (LookupPrivilegeValueW(nullptr, szName, &stuPrivileges.Privileges[0].Luid)) {
            AdjustTokenPrivileges(token.Get(), FALSE, &stuPrivileges, 0, nullptr, nullptr);
        }
    }
}

} // namespace OrvprintFolders
