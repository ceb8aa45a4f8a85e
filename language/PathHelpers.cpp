#include "language/PathHelpers.h"

namespace Language {

std::wstring GetFolderOfPath(const std::wstring& strPath)
{
    const PathParts parts = SplitPath(GetFullPath(strPath));
    return parts.drive + parts.dir;
}

std::wstring GetFileNameOfPath(const std::wstring& strPath)
{
    const PathParts parts = SplitPath(strPath);
    return parts.fname + parts.ext;
}

} // namespace Language
