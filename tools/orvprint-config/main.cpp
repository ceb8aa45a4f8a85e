// orvprint-config: prints the client folders recorded in the machine
// registry and the two groups of Config.ini exactly as OrvprintD reads them,
// and says which registry value or file is missing.
//
//   orvprint-config          report; exit code 0 when OrvprintD could read
//                            its settings, 1 when it could not
//   orvprint-config --help

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include "language/MachineRegistry.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "tools/orvprint-config/ConsoleOutput.h"
#include "utility/ClientInfo.h"
#include "utility/PsFolder.h"

namespace {

using Language::CMachineRegistryKey;
namespace Status = Language::MachineRegistryStatus;

// The program's folder buffer: 256 wide characters.
const uint32_t FOLDER_CHARS = 256;

std::wstring Number(long long llValue)
{
    return std::to_wstring(llValue);
}

std::wstring ValuePath(const wchar_t* szValueName)
{
    return std::wstring(L"HKEY_LOCAL_MACHINE\\") + OrvUtility::CLIENT_REGISTRY_KEY + L"\\" + szValueName;
}

// Where the registry is, when it is a file (Linux).
std::wstring StoreSuffix()
{
    const std::wstring strStore = CMachineRegistryKey::StoreLocation();
    return strStore == L"HKEY_LOCAL_MACHINE" ? std::wstring() : L" (in " + strStore + L")";
}

// Why the registry value could not be had, in words.
std::wstring ExplainFolderFailure(const wchar_t* szValueName, uint32_t uiResult)
{
    const std::wstring strStore = CMachineRegistryKey::StoreLocation();
    CMachineRegistryKey root;
    if (root.Open(L"") != Status::OK) {
        return L"MISSING: the machine configuration " + strStore + L" does not exist or cannot be read";
    }
    CMachineRegistryKey key;
    const uint32_t uiOpen = key.Open(OrvUtility::CLIENT_REGISTRY_KEY);
    if (uiOpen == Status::NOT_FOUND) {
        return std::wstring(L"MISSING: registry key HKEY_LOCAL_MACHINE\\") + OrvUtility::CLIENT_REGISTRY_KEY +
               L" does not exist" + StoreSuffix();
    }
    if (uiOpen != Status::OK) {
        return std::wstring(L"registry key HKEY_LOCAL_MACHINE\\") + OrvUtility::CLIENT_REGISTRY_KEY +
               L" cannot be opened, error " + Number(uiOpen);
    }
    uint32_t uiBytes = 0;
    const uint32_t uiQuery = key.QueryValueSize(szValueName, &uiBytes);
    if (uiQuery == Status::NOT_FOUND) {
        return L"MISSING: registry value " + ValuePath(szValueName) + L" does not exist" + StoreSuffix();
    }
    if (uiQuery != Status::OK) {
        return L"registry value " + ValuePath(szValueName) + L" cannot be read, error " + Number(uiQuery);
    }
    const uint32_t uiChars = uiBytes / CMachineRegistryKey::CHAR_BYTES - 1;
    if (uiResult == OrvUtility::CLIENT_FOLDER_REGISTRY_FAILED) {
        return L"TOO LONG: registry value " + ValuePath(szValueName) + L" has " + Number(uiChars) +
               L" characters; at most 259 can be read";
    }
    return L"TOO LONG: registry value " + ValuePath(szValueName) + L" has " + Number(uiChars) +
           L" characters; OrvprintD takes folders of at most 127 characters";
}

std::wstring YesNo(int32_t bValue)
{
    return Number(bValue) + (bValue ? L" (yes)" : L" (no)");
}

void PrintUsage()
{
    PrintLine(L"Usage: orvprint-config");
    PrintLine(L"Shows the client folders of the machine registry and the settings of Config.ini");
    PrintLine(L"as OrvprintD reads them, and names any registry value or file that is missing.");
    PrintLine(L"Exit code 0: OrvprintD can read its settings; 1: it cannot.");
    PrintLine(L"On Linux the machine registry is the file named by ORVPRINT_MACHINE_CONFIG,");
    PrintLine(L"by default /etc/orv-soft/machine.ini.");
    PrintLine(L"Control characters in values are shown as text: \\r, \\n, \\t, \\xHH, \\u00HH.");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1) {
        PrintUsage();
        return (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) ? 0 : 2;
    }

    PrintLine(L"Machine registry: " + CMachineRegistryKey::StoreLocation());
    PrintLine(std::wstring(L"Client folders (HKEY_LOCAL_MACHINE\\") + OrvUtility::CLIENT_REGISTRY_KEY + L"):");
    std::wstring strTempDir;
    bool bTempDir = false;
    for (uint32_t uiId : {OrvUtility::CLIENT_FOLDER_INSTALL, OrvUtility::CLIENT_FOLDER_LOG,
                          OrvUtility::CLIENT_FOLDER_TEMP, OrvUtility::CLIENT_FOLDER_DATA}) {
        const wchar_t* szName = OrvUtility::GetClientFolderValueName(uiId);
        wchar_t szFolder[FOLDER_CHARS] = {0};
        const uint32_t uiResult = OrvUtility::GetClientFolder(uiId, szFolder, FOLDER_CHARS);
        std::wstring strLine = L"  " + std::wstring(szName) + L" (id " + Number(uiId) + L"): ";
        if (uiResult == OrvUtility::CLIENT_FOLDER_OK) {
            strLine += szFolder;
            if (uiId == OrvUtility::CLIENT_FOLDER_TEMP) {
                strTempDir = szFolder;
                bTempDir = true;
            }
        } else {
            strLine += ExplainFolderFailure(szName, uiResult);
        }
        PrintLine(strLine);
    }

    PrintLine(L"");
    if (!bTempDir) {
        PrintLine(L"Settings file: unknown, because TempDir cannot be read. OrvprintD cannot read its settings;");
        PrintLine(L"its print-option dialog fails with \"Failed to read config file.\"");
        return 1;
    }
    const std::wstring strConfig = OrvUtility::MakeConfigFilePath(strTempDir.c_str());
    std::error_code ec;
    const std::filesystem::path pathConfig(strConfig);
    std::wstring strState = L" (present)";
    if (std::filesystem::is_directory(pathConfig, ec)) {
        strState = L" (NOT A FILE: a folder of that name; settings cannot be saved)";
    } else if (!std::filesystem::exists(pathConfig, ec)) {
        strState = L" (MISSING: the defaults apply; the first saved choice creates it)";
    }
    PrintLine(L"Settings file: " + strConfig + strState);
    std::wstring strUserConfig;
    const bool bUserFile = OrvUtility::UserSettingFile(strUserConfig, false);
    if (bUserFile) {
        // Linux: the machine's file is the administrator's; each user's
        // [Setting] is a file of its own, key by key over the machine's.
        std::wstring strUserState = L" (present)";
        if (strUserConfig.empty()) {
            strUserState = L"(unknown: no home folder; choices are not saved)";
        } else if (!std::filesystem::exists(std::filesystem::path(strUserConfig), ec)) {
            strUserState = L" (MISSING: the machine file's [Setting] applies; the first saved choice creates it)";
        }
        PrintLine(L"User settings file: " + strUserConfig + strUserState);
    }
    // Where a [Setting] value comes from, where the user has a file of its own.
    const auto Source = [&](const wchar_t* szKey) -> std::wstring {
        if (!bUserFile) {
            return L"";
        }
        const wchar_t* const szMissing = L"\x01missing";
        for (const std::wstring* pFile : std::initializer_list<const std::wstring*>{&strUserConfig, &strConfig}) {
            wchar_t szValue[16] = {0};
            if (!pFile->empty()) {
                Language::PrivateProfileGetString(L"Setting", szKey, szMissing, szValue, 16, pFile->c_str());
                if (std::wstring(szValue) != szMissing) {
                    return pFile == &strUserConfig ? L"   (user's file)" : L"   (machine file)";
                }
            }
        }
        return L"   (default)";
    };

    CLIENT_SETTING stuSetting;
    const uint32_t uiSetting = OrvUtility::ReadClientSetting(stuSetting);
    SERVER_CONFIG stuServer;
    const uint32_t uiServer = OrvUtility::GetServerConfig(stuServer);

    PrintLine(L"");
    PrintLine(L"[Setting] (read result " + Number(uiSetting) + L")");
    if (uiSetting == 0) {
        PrintLine(L"  DisplayProjectSelection = " + YesNo(stuSetting.bDisplayProjectSelection) + Source(L"DisplayProjectSelection"));
        PrintLine(L"  CanSelectNoPrinter      = " + YesNo(stuSetting.bCanSelectNoPrinter) + Source(L"CanSelectNoPrinter"));
        PrintLine(L"  CanSelectNoProject      = " + YesNo(stuSetting.bCanSelectNoProject) + Source(L"CanSelectNoProject"));
        PrintLine(L"  DefaultPrinter          = \"" + stuSetting.szDefaultPrinter + L"\"" + Source(L"DefaultPrinter"));
        PrintLine(L"  DefaultProject          = \"" + stuSetting.szDefaultProject + L"\"" + Source(L"DefaultProject"));
    }
    PrintLine(L"[ServerConfig] (read result " + Number(uiServer) + L")");
    if (uiServer == 0) {
        PrintLine(L"  WaterPrintInstalled     = " + YesNo(stuServer.blWaterPrintInstall));
        PrintLine(L"  AuditInstalled          = " + YesNo(stuServer.blAuditInstall));
        PrintLine(L"  SGIdentifyInstalled     = " + YesNo(stuServer.blSGIdentifyInstall));
        PrintLine(L"  FilterIntalled          = " + YesNo(stuServer.blFilterInstall));
        PrintLine(L"  AutoCancelSeconds       = " +
                  (stuServer.uiAutoCancelSeconds == 0
                       ? std::wstring(L"never (the dialog waits for the user)")
                       : Number(stuServer.uiAutoCancelSeconds) + L" (the dialog cancels printing after " +
                             Number(stuServer.uiAutoCancelSeconds) + L" s without input)"));
    }
    return (uiSetting == 0 && uiServer == 0) ? 0 : 1;
}
