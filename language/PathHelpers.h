#pragma once

#include <string>
#include "language/PathParts.h"

namespace Language {

// The full (absolute) form of a path. Windows asks GetFullPathNameW (260
// characters at most); Linux makes the path absolute against the current
// folder and resolves "." and ".." by name, without touching the file system
// beyond the current folder. Throws Win32::Win32Exception for "GetFullPathName".
std::wstring GetFullPath(const std::wstring& strPath);

// Drive, folder, name and extension of a path as passed (not made full).
PathParts SplitPath(const std::wstring& strPath);

// Drive and folder of the path's full form, with the trailing separator.
// Throws as GetFullPath.
std::wstring GetFolderOfPath(const std::wstring& strPath);

// Name and extension of the path as passed.
std::wstring GetFileNameOfPath(const std::wstring& strPath);

} // namespace Language
