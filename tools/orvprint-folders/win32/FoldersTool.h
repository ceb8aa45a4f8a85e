#pragma once

#include <string>
#include <vector>
#include "tools/orvprint-folders/win32/ExitCode.h"

namespace OrvprintFolders {

// Runs the tool on its arguments (without the program name). vecOut gets
// one line per thing done, vecErr one line per refusal or failure (each
// begins with "orvprint-folders: " and names the file or folder).
int RunFoldersTool(const std::vector<std::wstring>& vecArgs, std::vector<std::wstring>& vecOut,
                   std::vector<std::wstring>& vecErr);

// The verbs, for a trusted root folder (ProgramData) and paths below it (or
// below their drive's root). Lines as above, without the prefix.

// Makes and checks each folder, gives it and the package's folders above it
// their owner and rights (see CPinnedFolder::Prepare); stops at the first
// refusal or failure. Shared folders first, then private ones.
ExitCode PrepareFolders(const std::wstring& strRoot, const std::vector<std::wstring>& vecShared,
                        const std::vector<std::wstring>& vecPrivate, std::vector<std::wstring>& vecOut,
                        std::vector<std::wstring>& vecErr);

// Deletes each file (the last part may be a pattern with "*" and "?") through
// a handle opened without following links; a reparse point or a folder is
// refused and left, a missing file or folder is nothing to do. Goes on after
// a refusal; the highest code is returned.
ExitCode RemoveFiles(const std::wstring& strRoot, const std::vector<std::wstring>& vecFiles,
                     std::vector<std::wstring>& vecOut, std::vector<std::wstring>& vecErr);

// Renames FILE to FILE.upgrade (SetAside) or back (PutBack) through a handle,
// in its pinned folder, replacing what has the new name. Nothing to do when
// the file or its folder is not there.
ExitCode SetAside(const std::wstring& strRoot, const std::wstring& strFile, std::vector<std::wstring>& vecOut,
                  std::vector<std::wstring>& vecErr);
ExitCode PutBack(const std::wstring& strRoot, const std::wstring& strFile, std::vector<std::wstring>& vecOut,
                 std::vector<std::wstring>& vecErr);

// The name a set-aside file has: "Config.ini" -> "Config.ini.upgrade".
extern const wchar_t SET_ASIDE_SUFFIX[];

} // namespace OrvprintFolders
