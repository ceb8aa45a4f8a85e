#include "language/PathHelpers.h"

#include <windows.h>
#include <cstdlib>
#include <vector>
#include "language/ErrorText.h"

namespace Language {

std::wstring GetFullPath(const std::wstring& strPath)
{
    wchar_t szFullPath[MAX_PATH] = {0};
    wchar_t* szFilePart = nullptr;
    const DWORD dwLength = GetFullPathNameW(strPath.c_str(), MAX_PATH, szFullPath, &szFilePart);
    if (dwLength == 0) {
        ThrowWin32Error(L"GetFullPathName", GetLastError());
    }
    if (dwLength >= MAX_PATH) {
        // The answer is the size the full path would need: it does not fit.
        ThrowWin32Error(L"GetFullPathName", ERROR_INSUFFICIENT_BUFFER);
    }
    return std::wstring(szFullPath, dwLength);
}

PathParts SplitPath(const std::wstring& strPath)
{
    // Each part is at most as long as the whole path.
    const size_t uiSize = strPath.size() + 1;
    std::vector<wchar_t> vecDrive(uiSize > _MAX_DRIVE ? uiSize : _MAX_DRIVE, L'\0');
    std::vector<wchar_t> vecDir(uiSize, L'\0');
    std::vector<wchar_t> vecName(uiSize, L'\0');
    std::vector<wchar_t> vecExt(uiSize, L'\0');
    _wsplitpath(strPath.c_str(), vecDrive.data(), vecDir.data(), vecName.data(), vecExt.data());

    PathParts parts;
    parts.drive = vecDrive.data();
    parts.dir = vecDir.data();
    parts.fname = vecName.data();
    parts.ext = vecExt.data();
    return parts;
}

} // namespace Language
