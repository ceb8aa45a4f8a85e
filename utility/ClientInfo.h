#pragma once

#include <cstdint>
#include <string>
#include "logging/ValueText.h"

// The settings file Config.ini in the client's "TempDir" folder:
//
//     [Setting]                      user's group, read and written here
//     DisplayProjectSelection=1      BOOL, default 1
//     CanSelectNoPrinter=0           BOOL, default 0
//     CanSelectNoProject=0           BOOL, default 0
//     DefaultPrinter=...             string, at most 255 characters, default ""
//     DefaultProject=...             string, at most 255 characters, default ""
//
//     [ServerConfig]                 installed server features, only read here
//     WaterPrintInstalled=0          BOOL, default 0
//     AuditInstalled=0               BOOL, default 0
//     SGIdentifyInstalled=0          BOOL, default 0
//     FilterIntalled=0               BOOL, default 0 (the key is spelt so)
//     AutoCancelSeconds=0            the print-option dialog cancels itself
//                                    after this many seconds without input;
//                                    1 to 86400, anything else means never
//
// BOOL fields keep whatever integer the file holds; any non-zero is true.

// The user's group.
struct CLIENT_SETTING {
    int32_t bDisplayProjectSelection = 0;
    int32_t bCanSelectNoPrinter = 0;
    int32_t bCanSelectNoProject = 0;
    std::wstring szDefaultPrinter;
    std::wstring szDefaultProject;
};

// The installed-features group.
struct SERVER_CONFIG {
    int32_t blWaterPrintInstall = 0;
    int32_t blAuditInstall = 0;
    int32_t blSGIdentifyInstall = 0;
    int32_t blFilterInstall = 0;
    // "AutoCancelSeconds": 0 = never (missing, 0 or invalid), else 1..86400.
    // Not part of the dump below, which keeps the four installed features.
    uint32_t uiAutoCancelSeconds = 0;
};

namespace OrvUtility {

// Results of the settings functions.
const uint32_t CLIENT_INFO_OK = 0;
const uint32_t CLIENT_INFO_FAILED = 1;

// The longest auto-cancel time: one day.
const uint32_t AUTO_CANCEL_MAX_SECONDS = 86400;

// The file of this user's own "Setting" group, when the platform keeps it
// apart from the machine's Config.ini: on Linux $XDG_CONFIG_HOME/orv-soft/
// Config.ini (default ~/.config/orv-soft/Config.ini), its folders made 0700
// with bMakeFolder; empty when the user's home is unknown. On Windows there
// is none (false): both groups share the machine's file.
bool UserSettingFile(std::wstring& strPath, bool bMakeFolder);

// Fills all five fields from "Setting". Where the user has a file of its
// own, each key comes from it, else from the machine file's "Setting". Readers hold the settings-file lock
// while they read. 0, or 1 when the folder is unknown; a missing file or
// key gives the defaults.
uint32_t ReadClientSetting(CLIENT_SETTING& setting);
// Writes all five fields to "Setting" of the user's own file where there is
// one, else of the machine's (without the lock), stopping at the
// first write that fails. 0, or 1.
uint32_t WriteClientSetting(const CLIENT_SETTING& setting);
// Fills the four fields and the auto-cancel seconds from "ServerConfig",
// under the lock. 0, or 1.
uint32_t GetServerConfig(SERVER_CONFIG& config);

// The auto-cancel seconds that a value of "AutoCancelSeconds" means: a whole
// decimal number from 1 to 86400 (spaces around it allowed) is taken as it
// is; empty, 0, negative, too large or not a number is 0 (never).
uint32_t ParseAutoCancelSeconds(const std::wstring& strValue);

// Writes "1" for a non-zero value, "0" for zero; returns the platform
// write's result (non-zero on success).
int32_t WritePrivateProfileBOOL(const wchar_t* szSection, const wchar_t* szKey, int32_t bValue,
                                const wchar_t* szFileName);

// Path of Config.ini in a folder: the folder, the platform's separator
// ("\" on Windows, "/" on Linux) unless the folder ends with one, and
// "Config.ini".
std::wstring MakeConfigFilePath(const wchar_t* szFolder);

// The platform's profile write, which the functions above use. Tests may put
// another in its place; a null pointer puts the platform's back. Returns
// the one replaced.
typedef int32_t (*PFN_WRITE_PROFILE_STRING)(const wchar_t* szSection, const wchar_t* szKey,
                                            const wchar_t* szValue, const wchar_t* szFileName);
PFN_WRITE_PROFILE_STRING SetProfileStringWriter(PFN_WRITE_PROFILE_STRING pfnWriter);

} // namespace OrvUtility

namespace paramtrace {

// "{,blWaterPrintInstall = 0,blAuditInstall = 1,blSGIdentifyInstall = 0,blFilterInstall = 0}"
template <>
struct ValueText<SERVER_CONFIG> {
    static std::string Text(const SERVER_CONFIG& stuConfig);
};

// "{,bDisplayProjectSelection = 1,bCanSelectNoPrinter = 0,bCanSelectNoProject = 0,
//   szDefaultPrinter = ...,szDefaultProject = ...}" (one line; names as narrow text
//   with their control characters shown as text (Language::EscapeControls),
//   each "%" doubled: the text is the format of a "Param" record)
template <>
struct ValueText<CLIENT_SETTING> {
    static std::string Text(const CLIENT_SETTING& stuSetting);
};

} // namespace paramtrace
