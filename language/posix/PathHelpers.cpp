#include "language/PathHelpers.h"

#include <cerrno>
#include <unistd.h>
#include <vector>
#include "language/ErrorText.h"
#include "language/TextConvert.h"

namespace Language {

namespace {

std::wstring CurrentFolder()
{
    std::vector<char> vecBuffer(256);
    for (;;) {
        if (getcwd(vecBuffer.data(), vecBuffer.size())) {
            return WideFromUtf8(vecBuffer.data());
        }
        if (errno != ERANGE) {
            ThrowWin32Error(L"GetFullPathName", static_cast<uint32_t>(errno));
        }
        vecBuffer.resize(vecBuffer.size() * 2);
    }
}

} // namespace

std::wstring GetFullPath(const std::wstring& strPath)
{
    if (strPath.empty()) {
        ThrowWin32Error(L"GetFullPathName", ENOENT);
    }
    const std::wstring strAbsolute = strPath[0] == L'/' ? strPath : CurrentFolder() + L"/" + strPath;

    // Resolve "." and ".." by name; repeated separators count as one.
    std::vector<std::wstring> vecNames;
    size_t uiPos = 0;
    while (uiPos <= strAbsolute.size()) {
        size_t uiEnd = strAbsolute.find(L'/', uiPos);
        if (uiEnd == std::wstring::npos) {
            uiEnd = strAbsolute.size();
        }
        const std::wstring strName = strAbsolute.substr(uiPos, uiEnd - uiPos);
        if (strName == L"..") {
            if (!vecNames.empty()) {
                vecNames.pop_back();
            }
        } else if (!strName.empty() && strName != L".") {
            vecNames.push_back(strName);
        }
        uiPos = uiEnd + 1;
    }

    std::wstring strResult;
    for (const std::wstring& strName : vecNames) {
        strResult += L"/";
        strResult += strName;
    }
    // As on Windows, only a trailing separator in the input keeps the
    // folder form ("/a/b/" stays "/a/b/", "/a/b/.." becomes "/a").
    const bool bFolderForm = strAbsolute.back() == L'/';
    if (strResult.empty() || bFolderForm) {
        strResult += L"/";
    }
    return strResult;
}

PathParts SplitPath(const std::wstring& strPath)
{
    PathParts parts;
    const size_t uiSlash = strPath.rfind(L'/');
    const size_t uiNameStart = uiSlash == std::wstring::npos ? 0 : uiSlash + 1;
    parts.dir = strPath.substr(0, uiNameStart);
    const std::wstring strName = strPath.substr(uiNameStart);
    const size_t uiDot = strName.rfind(L'.');
    if (uiDot == std::wstring::npos) {
        parts.fname = strName;
    } else {
        parts.fname = strName.substr(0, uiDot);
        parts.ext = strName.substr(uiDot);
    }
    return parts;
}

} // namespace Language
