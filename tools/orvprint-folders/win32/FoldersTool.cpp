#include "tools/orvprint-folders/win32/FoldersTool.h"

#include <windows.h>
#include "tools/orvprint-folders/win32/FolderPath.h"
#include "tools/orvprint-folders/win32/FolderRights.h"
#include "tools/orvprint-folders/win32/PinnedFolder.h"
#include "tools/orvprint-folders/win32/ScopedHandle.h"

namespace OrvprintFolders {

const wchar_t SET_ASIDE_SUFFIX[] = L".upgrade";

namespace {

const wchar_t PREFIX[] = L"orvprint-folders: ";

const wchar_t HELP[] =
    L"Usage: orvprint-folders prepare --root ROOT [--shared FOLDER]... [--private FOLDER]...\n"
    L"       orvprint-folders remove --root ROOT FILE...\n"
    L"       orvprint-folders set-aside --root ROOT FILE\n"
    L"       orvprint-folders put-back --root ROOT FILE\n"
    L"       orvprint-folders --help\n"
    L"\n"
    L"What the OrvprintD package does in its folders with the rights of SYSTEM,\n"
    L"on paths below ROOT (ProgramData, whose folders any user may create first)\n"
    L"or, for a path outside it, below its drive's root. Every part of a path\n"
    L"below the root is opened without following junctions or links, must be a\n"
    L"real folder (no reparse point), and stays open, so that it cannot be\n"
    L"swapped, while the tool acts on the handles it checked. A path may end in\n"
    L"\"\\.\" (the folder itself).\n"
    L"\n"
    L"  prepare    makes the folders and the ones above them that are missing;\n"
    L"             replaces an owner other than Administrators, SYSTEM or the\n"
    L"             running account by Administrators; gives each FOLDER the\n"
    L"             package's access list, protected from the folder above:\n"
    L"             Administrators and SYSTEM full control, and Users\n"
    L"             --shared:  modify what is in it (TempDir, LogDir)\n"
    L"             --private: read (DataDir; also the folders above, when made\n"
    L"                        here or taken over)\n"
    L"             One line per folder on standard output.\n"
    L"  remove     deletes each FILE (its name may hold * and ?) through its\n"
    L"             handle; a junction, link or folder by that name is refused\n"
    L"             and left; a missing file is nothing to do.\n"
    L"  set-aside  renames FILE to FILE.upgrade through its handle.\n"
    L"  put-back   renames FILE.upgrade back to FILE.\n"
    L"\n"
    L"A refusal or failure is one line on standard error, naming the file or\n"
    L"folder, and an error event of the source \"OrvprintD Setup\" in the\n"
    L"Application log.\n"
    L"\n"
    L"Exit codes: 0 done (or nothing to do), 1 bad command line or path,\n"
    L"2 refused (a junction, link or other reparse point, a file where a folder\n"
    L"belongs or a folder where a file does, an owner that could not be\n"
    L"replaced), 3 a system call failed.\n";

ExitCode Usage(const std::wstring& strText, std::vector<std::wstring>& vecErr)
{
    vecErr.push_back(strText + L" (see orvprint-folders --help)");
    return EXIT_USAGE;
}

std::wstring Quoted(const std::wstring& strPath)
{
    return L"\"" + strPath + L"\"";
}

// Deletes one file of a pinned folder.
ExitCode RemoveOne(const std::wstring& strFile, std::vector<std::wstring>& vecOut, std::vector<std::wstring>& vecErr)
{
    CScopedHandle file;
    const DWORD dwError = OpenWithoutFollowing(strFile, DELETE | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, file);
    if (IsNotFound(dwError)) {
        return EXIT_DONE;
    }
    if (dwError != ERROR_SUCCESS) {
        vecErr.push_back(WithError(L"cannot open " + Quoted(strFile), dwError));
        return EXIT_FAILED;
    }
    DWORD dwAttributes = 0;
    if (!ReadAttributes(file.Get(), dwAttributes)) {
        vecErr.push_back(WithError(L"cannot read the attributes of " + Quoted(strFile), GetLastError()));
        return EXIT_FAILED;
    }
    const std::wstring strRefusal = CheckKind(strFile, dwAttributes, false);
    if (!strRefusal.empty()) {
        vecErr.push_back(strRefusal);
        return EXIT_REFUSED;
    }
    FILE_DISPOSITION_INFO stuDisposition = {};
    stuDisposition.DeleteFile = TRUE;
    if (!SetFileInformationByHandle(file.Get(), FileDispositionInfo, &stuDisposition, sizeof(stuDisposition))) {
        vecErr.push_back(WithError(L"cannot delete " + Quoted(strFile), GetLastError()));
        return EXIT_FAILED;
    }
    vecOut.push_back(L"removed " + strFile);
    return EXIT_DONE;
}

// Renames strFrom (a name in the folder of strFile's path) to strTo, in the
// same folder, through the handle of strFrom.
ExitCode RenameInFolder(const std::wstring& strRoot, const std::wstring& strFile, bool bToSetAside,
                        std::vector<std::wstring>& vecOut, std::vector<std::wstring>& vecErr)
{
    CFolderPath path;
    std::wstring strError;
    if (!path.Parse(strRoot, strFile, false, strError)) {
        return Usage(strError, vecErr);
    }
    CPinnedFolder folder;
    const ExitCode eCode = folder.Open(path.GetParent(), strError);
    if (eCode != EXIT_DONE) {
        vecErr.push_back(strError);
        return eCode;
    }
    const std::wstring strName = path.GetPart(path.GetPartCount() - 1);
    const std::wstring strFromName = bToSetAside ? strName : strName + SET_ASIDE_SUFFIX;
    const std::wstring strToName = bToSetAside ? strName + SET_ASIDE_SUFFIX : strName;
    const std::wstring strFrom = folder.GetPath() + L"\\" + strFromName;
    const std::wstring strTo = folder.GetPath() + L"\\" + strToName;
    const wchar_t* szNothing = bToSetAside ? L"nothing to set aside: " : L"nothing to put back: ";
    if (folder.IsMissing()) {
        vecOut.push_back(szNothing + strFrom + L" does not exist");
        return EXIT_DONE;
    }
    CScopedHandle file;
    DWORD dwError = OpenWithoutFollowing(strFrom, DELETE | FILE_READ_ATTRIBUTES | SYNCHRONIZE,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, file);
    if (IsNotFound(dwError)) {
        vecOut.push_back(szNothing + strFrom + L" does not exist");
        return EXIT_DONE;
    }
    if (dwError != ERROR_SUCCESS) {
        vecErr.push_back(WithError(L"cannot open " + Quoted(strFrom), dwError));
        return EXIT_FAILED;
    }
    DWORD dwAttributes = 0;
    if (!ReadAttributes(file.Get(), dwAttributes)) {
        vecErr.push_back(WithError(L"cannot read the attributes of " + Quoted(strFrom), GetLastError()));
        return EXIT_FAILED;
    }
    const std::wstring strRefusal = CheckKind(strFrom, dwAttributes, false);
    if (!strRefusal.empty()) {
        vecErr.push_back(strRefusal);
        return EXIT_REFUSED;
    }
    // The new name as a full NT path through the pinned folders (a bare
    // name is not taken as "in the same folder" everywhere).
    const std::wstring strTarget = L"\\??\\" + strTo;
    std::vector<BYTE> vecInfo(sizeof(FILE_RENAME_INFO) + strTarget.size() * sizeof(wchar_t));
    FILE_RENAME_INFO* pInfo = reinterpret_cast<FILE_RENAME_INFO*>(vecInfo.data());
    pInfo->ReplaceIfExists = TRUE;
    pInfo->RootDirectory = nullptr;
    pInfo->FileNameLength = static_cast<DWORD>(strTarget.size() * sizeof(wchar_t));
    memcpy(pInfo->FileName, strTarget.data(), strTarget.size() * sizeof(wchar_t));
    if (!SetFileInformationByHandle(file.Get(), FileRenameInfo, pInfo, static_cast<DWORD>(vecInfo.size()))) {
        vecErr.push_back(WithError(L"cannot rename " + Quoted(strFrom) + L" to " + Quoted(strToName), GetLastError()));
        return EXIT_FAILED;
    }
    vecOut.push_back((bToSetAside ? L"set aside " : L"put back ") + strFrom + L" as " + strToName);
    return EXIT_DONE;
}

} // namespace

ExitCode PrepareFolders(const std::wstring& strRoot, const std::vector<std::wstring>& vecShared,
                        const std::vector<std::wstring>& vecPrivate, std::vector<std::wstring>& vecOut,
                        std::vector<std::wstring>& vecErr)
{
    struct TARGET {
        CFolderPath path;
        FolderKind eKind;
    };
    std::vector<TARGET> vecTargets;
    std::wstring strError;
    for (int iKind = 0; iKind < 2; ++iKind) {
        for (const std::wstring& strFolder : iKind == 0 ? vecShared : vecPrivate) {
            TARGET stuTarget = {CFolderPath(), iKind == 0 ? FOLDER_SHARED : FOLDER_PRIVATE};
            if (!stuTarget.path.Parse(strRoot, strFolder, false, strError)) {
                return Usage(strError, vecErr);
            }
            vecTargets.push_back(stuTarget);
        }
    }
    CFolderRights::EnablePrivileges();
    const CFolderRights rights;
    std::set<std::wstring> setDone;
    for (const TARGET& stuTarget : vecTargets) {
        CPinnedFolder folder;
        const ExitCode eCode = folder.Prepare(stuTarget.path, stuTarget.eKind, rights, setDone, vecOut, strError);
        if (eCode != EXIT_DONE) {
            vecErr.push_back(strError);
            return eCode;
        }
    }
    return EXIT_DONE;
}

ExitCode RemoveFiles(const std::wstring& strRoot, const std::vector<std::wstring>& vecFiles,
                     std::vector<std::wstring>& vecOut, std::vector<std::wstring>& vecErr)
{
    ExitCode eResult = EXIT_DONE;
    for (const std::wstring& strFile : vecFiles) {
        CFolderPath path;
        std::wstring strError;
        if (!path.Parse(strRoot, strFile, true, strError)) {
            eResult = WorseOf(eResult, Usage(strError, vecErr));
            continue;
        }
        CPinnedFolder folder;
        ExitCode eCode = folder.Open(path.GetParent(), strError);
        if (eCode != EXIT_DONE) {
            vecErr.push_back(strError);
            eResult = WorseOf(eResult, eCode);
            continue;
        }
        if (folder.IsMissing()) {
            continue;
        }
        const std::wstring strName = path.GetPart(path.GetPartCount() - 1);
        if (!path.IsPattern()) {
            eResult = WorseOf(eResult, RemoveOne(folder.GetPath() + L"\\" + strName, vecOut, vecErr));
            continue;
        }
        // The names first, then each deleted through its own handle.
        std::vector<std::wstring> vecNames;
        WIN32_FIND_DATAW stuFound;
        const std::wstring strPattern = folder.GetPath() + L"\\" + strName;
        HANDLE hFind = FindFirstFileExW(strPattern.c_str(), FindExInfoBasic, &stuFound, FindExSearchNameMatch,
                                        nullptr, 0);
        if (hFind == INVALID_HANDLE_VALUE) {
            const DWORD dwError = GetLastError();
            if (dwError != ERROR_FILE_NOT_FOUND && dwError != ERROR_NO_MORE_FILES) {
                vecErr.push_back(WithError(L"cannot list " + Quoted(strPattern), dwError));
                eResult = WorseOf(eResult, EXIT_FAILED);
            }
            continue;
        }
        do {
            const std::wstring strFound = stuFound.cFileName;
            if (strFound != L"." && strFound != L"..") {
                vecNames.push_back(strFound);
            }
        } while (FindNextFileW(hFind, &stuFound));
        FindClose(hFind);
        for (const std::wstring& strFound : vecNames) {
            eResult = WorseOf(eResult, RemoveOne(folder.GetPath() + L"\\" + strFound, vecOut, vecErr));
        }
    }
    return eResult;
}

ExitCode SetAside(const std::wstring& strRoot, const std::wstring& strFile, std::vector<std::wstring>& vecOut,
                  std::vector<std::wstring>& vecErr)
{
    return RenameInFolder(strRoot, strFile, true, vecOut, vecErr);
}

ExitCode PutBack(const std::wstring& strRoot, const std::wstring& strFile, std::vector<std::wstring>& vecOut,
                 std::vector<std::wstring>& vecErr)
{
    return RenameInFolder(strRoot, strFile, false, vecOut, vecErr);
}

int RunFoldersTool(const std::vector<std::wstring>& vecArgs, std::vector<std::wstring>& vecOut,
                   std::vector<std::wstring>& vecErr)
{
    std::vector<std::wstring> vecErrors;
    ExitCode eCode = EXIT_USAGE;
    do {
        if (vecArgs.empty()) {
            eCode = Usage(L"no verb given", vecErrors);
            break;
        }
        const std::wstring& strVerb = vecArgs[0];
        if (strVerb == L"--help" || strVerb == L"-h" || strVerb == L"/?") {
            std::wstring strHelp = HELP;
            size_t uiStart = 0;
            while (uiStart < strHelp.size()) {
                const size_t uiEnd = strHelp.find(L'\n', uiStart);
                vecOut.push_back(strHelp.substr(uiStart, uiEnd - uiStart));
                uiStart = uiEnd + 1;
            }
            eCode = EXIT_DONE;
            break;
        }
        std::wstring strRoot;
        std::vector<std::wstring> vecShared;
        std::vector<std::wstring> vecPrivate;
        std::vector<std::wstring> vecFiles;
        bool bBad = false;
        for (size_t i = 1; i < vecArgs.size() && !bBad; ++i) {
            const std::wstring& strArg = vecArgs[i];
            const bool bHasValue = i + 1 < vecArgs.size();
            if (strArg == L"--root" || strArg == L"--shared" || strArg == L"--private") {
                if (!bHasValue) {
                    eCode = Usage(strArg + L" needs a folder", vecErrors);
                    bBad = true;
                } else if (strArg == L"--root") {
                    strRoot = vecArgs[++i];
                } else if (strVerb != L"prepare") {
                    eCode = Usage(strArg + L" belongs to prepare", vecErrors);
                    bBad = true;
                } else {
                    (strArg == L"--shared" ? vecShared : vecPrivate).push_back(vecArgs[++i]);
                }
            } else if (strArg.compare(0, 2, L"--") == 0) {
                eCode = Usage(L"unknown option " + strArg, vecErrors);
                bBad = true;
            } else {
                vecFiles.push_back(strArg);
            }
        }
        if (bBad) {
            break;
        }
        if (strRoot.empty()) {
            eCode = Usage(L"--root is missing", vecErrors);
            break;
        }
        if (strVerb == L"prepare") {
            if (!vecFiles.empty() || (vecShared.empty() && vecPrivate.empty())) {
                eCode = Usage(L"prepare takes folders as --shared FOLDER and --private FOLDER", vecErrors);
                break;
            }
            eCode = PrepareFolders(strRoot, vecShared, vecPrivate, vecOut, vecErrors);
        } else if (strVerb == L"remove") {
            if (vecFiles.empty()) {
                eCode = Usage(L"remove needs at least one file", vecErrors);
                break;
            }
            eCode = RemoveFiles(strRoot, vecFiles, vecOut, vecErrors);
        } else if (strVerb == L"set-aside" || strVerb == L"put-back") {
            if (vecFiles.size() != 1) {
                eCode = Usage(strVerb + L" needs exactly one file", vecErrors);
                break;
            }
            eCode = strVerb == L"set-aside" ? SetAside(strRoot, vecFiles[0], vecOut, vecErrors)
                                            : PutBack(strRoot, vecFiles[0], vecOut, vecErrors);
        } else {
            eCode = Usage(L"unknown verb " + strVerb, vecErrors);
        }
    } while (false);
    for (const std::wstring& strError : vecErrors) {
        vecErr.push_back(PREFIX + strError);
    }
    return eCode;
}

} // namespace OrvprintFolders
