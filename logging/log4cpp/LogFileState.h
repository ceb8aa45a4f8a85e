#pragma once

#include <string>

// What a log file appender needs of the file system to notice that its file
// went away (the folder was removed, or the file was deleted or replaced).
namespace LogFileState {

// True when the file at strPath is no longer the one open as iFd (no file
// there, another file there, or no open file at all).
bool IsGone(const std::string& strPath, int iFd);

// Gives the variables that a log configuration may name for a user's own
// folders their standard values where the session did not set them:
// Linux sets XDG_STATE_HOME to HOME/.local/state (so that a file name of
// ${XDG_STATE_HOME}/orv-soft/log/OrvprintD.log always means the user's
// own log). Windows: nothing.
void DefineUserFolders();

// Creates the folder that holds strPath, and the folders above it, where
// they are missing. True when it exists afterwards.
bool MakeFolderOf(const std::string& strPath);

// Opens the log file at strPath for appending before log4cpp does, creating
// it (and its folder) where missing: never through a symbolic link, never a
// FIFO, a folder, a second name of another file, or (Linux) a file of
// another user (*pszRefusal then says why). Linux makes folders 0700 and
// files 0600. The descriptor, or -1. Windows: -1 without a refusal (log4cpp opens
// the file itself).
int OpenChecked(const std::string& strPath, const char** pszRefusal);

// Makes iAppenderFd refer to the file open as iCheckedFd when it refers to
// another one (the name was replaced between the two opens).
void KeepCheckedFile(int iCheckedFd, int iAppenderFd);

// Closes a descriptor of OpenChecked.
void CloseChecked(int iFd);

// A readable path of strText, held in memory until CloseChecked(*piFd);
// empty when none could be made.
std::string InMemoryFile(const std::string& strText, int* piFd);

// Writes one line to standard error (a refusal that no log file may show).
void ReportToConsole(const std::string& strLine);

// How a file name of the configuration is taken: NAME_FULL as it stands,
// NAME_RELATIVE inside the log folder. NAME_DRIVE_RELATIVE (Windows "C:name",
// relative to the current folder of that drive) cannot be taken in the log
// folder and is refused.
enum ENameKind { NAME_FULL, NAME_RELATIVE, NAME_DRIVE_RELATIVE };
ENameKind KindOfName(const std::string& strName);

// strName inside strFolder (one separator between them).
std::string InFolder(const std::string& strFolder, const std::string& strName);

} // namespace LogFileState
