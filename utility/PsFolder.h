#pragma once

#include <cstdint>

namespace OrvUtility {

// The client's folders, recorded by the installer as string values of
// HKEY_LOCAL_MACHINE\Software\Orv-soft\Client (on Linux: the section
// [Software\Orv-soft\Client] of the machine configuration file).
const wchar_t* const CLIENT_REGISTRY_KEY = L"Software\\Orv-soft\\Client";

// Folder ids and the values that hold them.
const uint32_t CLIENT_FOLDER_INSTALL = 0;   // "InstallDir": installation folder
const uint32_t CLIENT_FOLDER_LOG = 1;       // "LogDir": log folder
const uint32_t CLIENT_FOLDER_TEMP = 2;      // "TempDir": folder of Config.ini
const uint32_t CLIENT_FOLDER_DATA = 3;      // "DataDir": data folder

// Results of GetClientFolder.
const uint32_t CLIENT_FOLDER_OK = 0;
const uint32_t CLIENT_FOLDER_REGISTRY_FAILED = 1;    // key not opened or value not read
const uint32_t CLIENT_FOLDER_BUFFER_TOO_SMALL = 16;  // no buffer, or the value does not fit

// The value name of a folder id; null for an unknown id.
const wchar_t* GetClientFolderValueName(uint32_t iFolderId);

// Copies the folder of iFolderId into szFolder (uiSize wide characters) and
// returns CLIENT_FOLDER_OK, or CLIENT_FOLDER_REGISTRY_FAILED, or
// CLIENT_FOLDER_BUFFER_TOO_SMALL. The value's length in bytes (UTF-16, with
// its terminator) is compared with uiSize, so a caller's buffer of 256
// characters takes folders of at most 127 characters; values longer than
// 259 characters cannot be read at all. An unknown id reads no value and
// gives CLIENT_FOLDER_REGISTRY_FAILED.
uint32_t GetClientFolder(uint32_t iFolderId, wchar_t* szFolder, uint32_t uiSize);

} // namespace OrvUtility
