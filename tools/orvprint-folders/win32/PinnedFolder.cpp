#include "tools/orvprint-folders/win32/PinnedFolder.h"

#include <algorithm>
#include <cwctype>

namespace OrvprintFolders {

namespace {

// Below the root no part may be deleted or renamed while it is pinned.
const DWORD PINNED_SHARE = FILE_SHARE_READ | FILE_SHARE_WRITE;
const DWORD ROOT_SHARE = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
const DWORD CHECK_ACCESS = FILE_READ_ATTRIBUTES | SYNCHRONIZE;
const DWORD PREPARE_ACCESS = CHECK_ACCESS | READ_CONTROL | WRITE_DAC | WRITE_OWNER;

std::wstring Quoted(const std::wstring& strPath)
{
    return L"\"" + strPath + L"\"";
}

std::wstring UpperKey(const std::wstring& strPath)
{
    std::wstring strKey = strPath;
    std::transform(strKey.begin(), strKey.end(), strKey.begin(), [](wchar_t ch) { return std::towupper(ch); });
    return strKey;
}

} // namespace

DWORD OpenWithoutFollowing(const std::wstring& strPath, DWORD dwAccess, DWORD dwShare, CScopedHandle& handle)
{
    HANDLE hObject = CreateFileW(strPath.c_str(), dwAccess, dwShare, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (hObject == INVALID_HANDLE_VALUE) {
        const DWORD dwError = GetLastError();
        return dwError != ERROR_SUCCESS ? dwError : ERROR_OPEN_FAILED;
    }
    handle = CScopedHandle(hObject);
    return ERROR_SUCCESS;
}

bool ReadAttributes(HANDLE hObject, DWORD& dwAttributes)
{
    FILE_BASIC_INFO stuInfo = {};
    if (!GetFileInformationByHandleEx(hObject, FileBasicInfo, &stuInfo, sizeof(stuInfo))) {
        return false;
    }
    dwAttributes = stuInfo.FileAttributes;
    return true;
}

std::wstring CheckKind(const std::wstring& strPath, DWORD dwAttributes, bool bWantFolder)
{
    if (dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT) {
        return L"refused " + Quoted(strPath) + L": it is a junction or symbolic link (a reparse point)" +
               (bWantFolder ? L", not a real folder." : L", not a file.");
    }
    const bool bFolder = (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (bWantFolder && !bFolder) {
        return L"refused " + Quoted(strPath) + L": it is not a folder.";
    }
    if (!bWantFolder && bFolder) {
        return L"refused " + Quoted(strPath) + L": it is a folder, not a file.";
    }
    return std::wstring();
}

std::wstring WithError(const std::wstring& strText, DWORD dwError)
{
    return strText + L" (Windows error " + std::to_wstring(dwError) + L").";
}

bool IsNotFound(DWORD dwError)
{
    return dwError == ERROR_FILE_NOT_FOUND || dwError == ERROR_PATH_NOT_FOUND;
}

ExitCode CPinnedFolder::Open(const CFolderPath& path, std::wstring& strMessage)
{
    return Walk(path, nullptr, strMessage);
}

ExitCode CPinnedFolder::Prepare(const CFolderPath& path, FolderKind eKind, const CFolderRights& rights,
                                std::set<std::wstring>& setDone, std::vector<std::wstring>& vecReport,
                                std::wstring& strMessage)
{
    const PREPARE stuPrepare = {eKind, &rights, &setDone, &vecReport};
    return Walk(path, &stuPrepare, strMessage);
}

ExitCode CPinnedFolder::Walk(const CFolderPath& path, const PREPARE* pPrepare, std::wstring& strMessage)
{
    m_vecHandles.clear();
    m_strPath = path.GetFull();
    m_bMissing = false;
    const size_t uiParts = path.GetPartCount();
    for (size_t i = 0; i <= uiParts; ++i) {
        const std::wstring strFolder = path.GetPrefix(i);
        const bool bRoot = i == 0;
        const bool bTarget = i == uiParts;
        const FolderKind eKind = (pPrepare && bTarget) ? pPrepare->eKind : FOLDER_PRIVATE;
        const DWORD dwAccess = (pPrepare && !bRoot) ? PREPARE_ACCESS : CHECK_ACCESS;
        const DWORD dwShare = bRoot ? ROOT_SHARE : PINNED_SHARE;

        CScopedHandle folder;
        bool bMade = false;
        DWORD dwError = OpenWithoutFollowing(strFolder, dwAccess, dwShare, folder);
        if (IsNotFound(dwError) && !bRoot) {
            if (!pPrepare) {
                m_vecHandles.clear();
                m_bMissing = true;
                return EXIT_DONE;
            }
            // Made with the package's rights from the start; the parent is
            // pinned, so the new folder lands in the folder just checked.
            std::vector<BYTE> vecAcl;
            SECURITY_DESCRIPTOR stuDescriptor;
            SECURITY_ATTRIBUTES stuAttributes = {sizeof(SECURITY_ATTRIBUTES), &stuDescriptor, FALSE};
            if (!pPrepare->pRights->BuildAcl(eKind, vecAcl) ||
                !InitializeSecurityDescriptor(&stuDescriptor, SECURITY_DESCRIPTOR_REVISION) ||
                !SetSecurityDescriptorDacl(&stuDescriptor, TRUE, reinterpret_cast<PACL>(vecAcl.data()), FALSE) ||
                !SetSecurityDescriptorControl(&stuDescriptor, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
                strMessage = WithError(L"cannot make the folder " + Quoted(strFolder), GetLastError());
                return EXIT_FAILED;
            }
            if (CreateDirectoryW(strFolder.c_str(), &stuAttributes)) {
                bMade = true;
            } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
                strMessage = WithError(L"cannot make the folder " + Quoted(strFolder), GetLastError());
                return EXIT_FAILED;
            }
            // Made now or by someone else a moment ago: checked the same way.
            dwError = OpenWithoutFollowing(strFolder, dwAccess, dwShare, folder);
        }
        if (dwError != ERROR_SUCCESS) {
            strMessage = WithError(L"cannot open " + Quoted(strFolder), dwError);
            return EXIT_FAILED;
        }
        DWORD dwAttributes = 0;
        if (!ReadAttributes(folder.Get(), dwAttributes)) {
            strMessage = WithError(L"cannot read the attributes of " + Quoted(strFolder), GetLastError());
            return EXIT_FAILED;
        }
        strMessage = CheckKind(strFolder, dwAttributes, true);
        if (!strMessage.empty()) {
            return EXIT_REFUSED;
        }
        if (pPrepare && !bRoot && pPrepare->pDone->insert(UpperKey(strFolder)).second) {
            const ExitCode eCode = SecurePart(folder.Get(), strFolder, eKind, bMade, bTarget, *pPrepare, strMessage);
            if (eCode != EXIT_DONE) {
                return eCode;
            }
        }
        m_vecHandles.push_back(std::move(folder));
    }
    return EXIT_DONE;
}

ExitCode CPinnedFolder::SecurePart(HANDLE hFolder, const std::wstring& strFolder, FolderKind eKind, bool bMade,
                                   bool bTarget, const PREPARE& stuPrepare, std::wstring& strMessage)
{
    const CFolderRights& rights = *stuPrepare.pRights;
    std::vector<BYTE> vecOwner;
    DWORD dwError = rights.ReadOwner(hFolder, vecOwner);
    if (dwError != ERROR_SUCCESS) {
        strMessage = WithError(L"cannot read the owner of " + Quoted(strFolder), dwError);
        return EXIT_FAILED;
    }
    const PSID pOwner = vecOwner.data();
    const std::wstring strState = bMade ? L"made" : L"real folder";
    if (!rights.IsTrustedOwner(pOwner)) {
        dwError = rights.Apply(hFolder, eKind, true);
        if (dwError != ERROR_SUCCESS) {
            strMessage = WithError(L"refused " + Quoted(strFolder) + L": its owner " + CFolderRights::SidText(pOwner) +
                                       L" is neither Administrators nor SYSTEM and could not be replaced",
                                   dwError);
            return EXIT_REFUSED;
        }
        stuPrepare.pReport->push_back(strFolder + L": " + strState + L"; owner " + CFolderRights::SidText(pOwner) +
                                      L" replaced by Administrators; " + CFolderRights::Describe(eKind));
        return EXIT_DONE;
    }
    if (!bTarget && !bMade) {
        stuPrepare.pReport->push_back(strFolder + L": " + strState + L"; rights kept");
        return EXIT_DONE;
    }
    dwError = rights.Apply(hFolder, eKind, false);
    if (dwError != ERROR_SUCCESS) {
        strMessage = WithError(L"cannot set the rights of " + Quoted(strFolder), dwError);
        return EXIT_FAILED;
    }
    stuPrepare.pReport->push_back(strFolder + L": " + strState + L"; " + CFolderRights::Describe(eKind));
    return EXIT_DONE;
}

} // namespace OrvprintFolders
