#pragma once

#include <string>

// What a log file appender needs of the file system to notice that its file
// went away (the folder was removed, or the file was deleted or replaced).
namespace LogFileState {

// True when the file at strPath is no longer the one open as iFd (no file
// there, another file there, or no open file at all).
bool IsGone(const std::string& strPath, int iFd);

// Creates the folder that holds strPath, and the folders above it, where
// they are missing. True when it exists afterwards.
bool MakeFolderOf(const std::string& strPath);

} // namespace LogFileState
