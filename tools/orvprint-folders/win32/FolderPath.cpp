#include "tools/orvprint-folders/win32/FolderPath.h"

#include <windows.h>

namespace OrvprintFolders {

namespace {

bool IsDriveLetter(wchar_t ch)
{
    return (ch >= L'A' && ch <= L'Z') || (ch >= L'a' && ch <= L'z');
}

std::wstring Quoted(const std::wstring& strPath)
{
    return L"\"" + strPath + L"\"";
}

} // namespace

bool SamePart(const std::wstring& strLeft, const std::wstring& strRight)
{
    return CompareStringOrdinal(strLeft.c_str(), static_cast<int>(strLeft.size()), strRight.c_str(),
                                static_cast<int>(strRight.size()), TRUE) == CSTR_EQUAL;
}

bool SplitAbsolutePath(const std::wstring& strPath, bool bPatternInLastPart, std::wstring& strDrive,
                       std::vector<std::wstring>& vecParts, std::wstring& strError)
{
    std::wstring strText = strPath;
    for (wchar_t& ch : strText) {
        if (ch == L'/') {
            ch = L'\\';
        }
    }
    if (strText.size() < 3 || !IsDriveLetter(strText[0]) || strText[1] != L':' || strText[2] != L'\\') {
        strError = Quoted(strPath) + L" is not an absolute path (X:\\...).";
        return false;
    }
    std::vector<std::wstring> vecFound;
    size_t uiStart = 3;
    while (uiStart <= strText.size()) {
        size_t uiEnd = strText.find(L'\\', uiStart);
        if (uiEnd == std::wstring::npos) {
            uiEnd = strText.size();
        }
        std::wstring strPart = strText.substr(uiStart, uiEnd - uiStart);
        if (!strPart.empty()) {
            vecFound.push_back(strPart);
        }
        uiStart = uiEnd + 1;
    }
    if (!vecFound.empty() && vecFound.back() == L".") {
        vecFound.pop_back();
    }
    for (size_t i = 0; i < vecFound.size(); ++i) {
        const std::wstring& strPart = vecFound[i];
        const bool bLast = i + 1 == vecFound.size();
        if (strPart == L"." || strPart == L"..") {
            strError = Quoted(strPath) + L" holds \"" + strPart + L"\": name every folder.";
            return false;
        }
        if (strPart.find(L':') != std::wstring::npos) {
            strError = Quoted(strPath) + L" holds \":\" in a name.";
            return false;
        }
        if (strPart.find_first_of(L"*?") != std::wstring::npos && !(bLast && bPatternInLastPart)) {
            strError = Quoted(strPath) + L" holds \"*\" or \"?\" where a folder is named.";
            return false;
        }
    }
    strDrive = std::wstring(1, strText[0]) + L":\\";
    vecParts.swap(vecFound);
    return true;
}

bool CFolderPath::Parse(const std::wstring& strRoot, const std::wstring& strPath, bool bPatternInLastPart,
                        std::wstring& strError)
{
    std::wstring strRootDrive;
    std::vector<std::wstring> vecRootParts;
    if (!SplitAbsolutePath(strRoot, false, strRootDrive, vecRootParts, strError)) {
        return false;
    }
    std::wstring strDrive;
    std::vector<std::wstring> vecParts;
    if (!SplitAbsolutePath(strPath, bPatternInLastPart, strDrive, vecParts, strError)) {
        return false;
    }
    if (vecParts.empty()) {
        strError = Quoted(strPath) + L" is a drive's root, not a folder of the package.";
        return false;
    }
    // Below the trusted folder when the drive and every part of the root
    // match and at least one part follows.
    bool bBelowRoot = SamePart(strRootDrive, strDrive) && vecParts.size() > vecRootParts.size();
    for (size_t i = 0; bBelowRoot && i < vecRootParts.size(); ++i) {
        bBelowRoot = SamePart(vecRootParts[i], vecParts[i]);
    }
    CFolderPath parsed;
    parsed.m_strRoot = strDrive;
    size_t uiFirst = 0;
    if (bBelowRoot) {
        // The root as given, whatever the case of the path.
        parsed.m_strRoot = strRootDrive;
        for (size_t i = 0; i < vecRootParts.size(); ++i) {
            parsed.m_strRoot += (i == 0 ? L"" : L"\\") + vecRootParts[i];
        }
        uiFirst = vecRootParts.size();
    }
    parsed.m_vecParts.assign(vecParts.begin() + static_cast<std::ptrdiff_t>(uiFirst), vecParts.end());
    *this = parsed;
    return true;
}

std::wstring CFolderPath::GetPrefix(size_t uiParts) const
{
    std::wstring strPath = m_strRoot;
    for (size_t i = 0; i < uiParts && i < m_vecParts.size(); ++i) {
        if (strPath.back() != L'\\') {
            strPath += L'\\';
        }
        strPath += m_vecParts[i];
    }
    return strPath;
}

CFolderPath CFolderPath::GetParent() const
{
    CFolderPath parent(*this);
    if (!parent.m_vecParts.empty()) {
        parent.m_vecParts.pop_back();
    }
    return parent;
}

bool CFolderPath::IsPattern() const
{
    return !m_vecParts.empty() && m_vecParts.back().find_first_of(L"*?") != std::wstring::npos;
}

} // namespace OrvprintFolders
