#include "utility/ClientInfo.h"

#include "language/LogText.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "logging/LogMacros.h"
#include "utility/PsFolder.h"
#include "utility/ScopeFileLock.h"

namespace OrvUtility {

namespace {

// The caller's folder buffer: GetClientFolder(2, buffer, 256).
const uint32_t FOLDER_CHARS = 256;
// Buffer of a string setting: 255 characters and the terminator.
const uint32_t VALUE_CHARS = 256;

const wchar_t* const SECTION_SETTING = L"Setting";
const wchar_t* const SECTION_SERVER_CONFIG = L"ServerConfig";

// A default name is written as one line of the file: a name that came with a
// line break (it came from a request) is kept up to the break, so that it
// cannot add lines, keys or sections to a file that other users read.
std::wstring FirstLine(const std::wstring& strName)
{
    return strName.substr(0, strName.find_first_of(L"\r\n"));
}

PFN_WRITE_PROFILE_STRING& ProfileStringWriter()
{
    static PFN_WRITE_PROFILE_STRING s_pfnWriter = &Language::PrivateProfileWriteString;
    return s_pfnWriter;
}

int32_t ReadBool(const wchar_t* szSection, const wchar_t* szKey, int32_t iDefault, const std::wstring& strPath)
{
    return static_cast<int32_t>(Language::PrivateProfileGetInt(szSection, szKey, iDefault, strPath.c_str()));
}

std::wstring ReadString(const wchar_t* szSection, const wchar_t* szKey, const std::wstring& strPath,
                        const std::wstring& strDefault = std::wstring())
{
    wchar_t szValue[VALUE_CHARS];
    szValue[0] = L'\0';
    Language::PrivateProfileGetString(szSection, szKey, strDefault.c_str(), szValue, VALUE_CHARS, strPath.c_str());
    return szValue;
}

// The path of Config.ini in the "TempDir" folder; false (after the ERROR
// line) when the folder cannot be found. Logs under the caller's scope.
bool FindConfigFile(std::wstring& strPath)
{
    wchar_t szFolder[FOLDER_CHARS] = {0};
    if (GetClientFolder(CLIENT_FOLDER_TEMP, szFolder, FOLDER_CHARS) != CLIENT_FOLDER_OK) {
        ORV_LOG_ERROR("%s(%d) : %s", "GetClientFolder failed.");
        return false;
    }
    strPath = MakeConfigFilePath(szFolder);
    return true;
}

} // namespace

PFN_WRITE_PROFILE_STRING SetProfileStringWriter(PFN_WRITE_PROFILE_STRING pfnWriter)
{
    PFN_WRITE_PROFILE_STRING pfnOld = ProfileStringWriter();
    ProfileStringWriter() = pfnWriter ? pfnWriter : &Language::PrivateProfileWriteString;
    return pfnOld;
}

int32_t WritePrivateProfileBOOL(const wchar_t* szSection, const wchar_t* szKey, int32_t bValue,
                                const wchar_t* szFileName)
{
    ORV_TRACE_SCOPE("OrvUtility::WritePrivateProfileBOOL");
    return ProfileStringWriter()(szSection, szKey, bValue ? L"1" : L"0", szFileName);
}

uint32_t ReadClientSetting(CLIENT_SETTING& setting)
{
    ORV_TRACE_SCOPE("OrvUtility::ReadClientSetting");
    std::wstring strPath;
    if (!FindConfigFile(strPath)) {
        return CLIENT_INFO_FAILED;
    }

    // Readers exclude each other and every other holder of the file's lock.
    // The wait's result does not matter: reading goes on in any case.
    {
        CScopeFileLock lock(strPath.c_str());
        setting.bDisplayProjectSelection = ReadBool(SECTION_SETTING, L"DisplayProjectSelection", 1, strPath);
        setting.bCanSelectNoPrinter = ReadBool(SECTION_SETTING, L"CanSelectNoPrinter", 0, strPath);
        setting.bCanSelectNoProject = ReadBool(SECTION_SETTING, L"CanSelectNoProject", 0, strPath);
        setting.szDefaultPrinter = ReadString(SECTION_SETTING, L"DefaultPrinter", strPath);
        setting.szDefaultProject = ReadString(SECTION_SETTING, L"DefaultProject", strPath);
    }

    // The user's own file, key by key over what the machine's file gave.
    std::wstring strUserPath;
    if (UserSettingFile(strUserPath, false) && !strUserPath.empty()) {
        CScopeFileLock lock(strUserPath.c_str());
        setting.bDisplayProjectSelection =
            ReadBool(SECTION_SETTING, L"DisplayProjectSelection", setting.bDisplayProjectSelection, strUserPath);
        setting.bCanSelectNoPrinter =
            ReadBool(SECTION_SETTING, L"CanSelectNoPrinter", setting.bCanSelectNoPrinter, strUserPath);
        setting.bCanSelectNoProject =
            ReadBool(SECTION_SETTING, L"CanSelectNoProject", setting.bCanSelectNoProject, strUserPath);
        setting.szDefaultPrinter = ReadString(SECTION_SETTING, L"DefaultPrinter", strUserPath, setting.szDefaultPrinter);
        setting.szDefaultProject = ReadString(SECTION_SETTING, L"DefaultProject", strUserPath, setting.szDefaultProject);
    }
    return CLIENT_INFO_OK;
}

uint32_t GetServerConfig(SERVER_CONFIG& config)
{
    ORV_TRACE_SCOPE("OrvUtility::GetServerConfig");
    std::wstring strPath;
    if (!FindConfigFile(strPath)) {
        return CLIENT_INFO_FAILED;
    }

    CScopeFileLock lock(strPath.c_str());
    config.blWaterPrintInstall = ReadBool(SECTION_SERVER_CONFIG, L"WaterPrintInstalled", 0, strPath);
    config.blAuditInstall = ReadBool(SECTION_SERVER_CONFIG, L"AuditInstalled", 0, strPath);
    config.blSGIdentifyInstall = ReadBool(SECTION_SERVER_CONFIG, L"SGIdentifyInstalled", 0, strPath);
    config.blFilterInstall = ReadBool(SECTION_SERVER_CONFIG, L"FilterIntalled", 0, strPath);
    config.uiAutoCancelSeconds = ParseAutoCancelSeconds(ReadString(SECTION_SERVER_CONFIG, L"AutoCancelSeconds", strPath));
    return CLIENT_INFO_OK;
}

uint32_t ParseAutoCancelSeconds(const std::wstring& strValue)
{
    const size_t uiFirst = strValue.find_first_not_of(L" \t");
    if (uiFirst == std::wstring::npos) {
        return 0;
    }
    const size_t uiLast = strValue.find_last_not_of(L" \t");
    uint32_t uiSeconds = 0;
    for (size_t i = uiFirst; i <= uiLast; ++i) {
        const wchar_t ch = strValue[i];
        if (ch < L'0' || ch > L'9') {
            return 0;
        }
        uiSeconds = uiSeconds * 10 + static_cast<uint32_t>(ch - L'0');
        if (uiSeconds > AUTO_CANCEL_MAX_SECONDS) {
            return 0;
        }
    }
    return uiSeconds;
}

uint32_t WriteClientSetting(const CLIENT_SETTING& setting)
{
    ORV_TRACE_SCOPE("OrvUtility::WriteClientSetting");
    std::wstring strPath;
    if (!FindConfigFile(strPath)) {
        return CLIENT_INFO_FAILED;
    }
    // The machine's file is the administrator's where the user has one.
    if (UserSettingFile(strPath, true) && strPath.empty()) {
        ORV_LOG_ERROR("%s(%d) : %s", "The user's settings folder is unknown.");
        return CLIENT_INFO_FAILED;
    }

    // No lock here: only the readers take it.
    if (!WritePrivateProfileBOOL(SECTION_SETTING, L"DisplayProjectSelection", setting.bDisplayProjectSelection,
                                 strPath.c_str()) ||
        !WritePrivateProfileBOOL(SECTION_SETTING, L"CanSelectNoPrinter", setting.bCanSelectNoPrinter,
                                 strPath.c_str()) ||
        !WritePrivateProfileBOOL(SECTION_SETTING, L"CanSelectNoProject", setting.bCanSelectNoProject,
                                 strPath.c_str())) {
        ORV_LOG_ERROR("%s(%d) : %s", "WritePrivateProfileBOOL failed.");
        return CLIENT_INFO_FAILED;
    }
    if (!ProfileStringWriter()(SECTION_SETTING, L"DefaultPrinter", FirstLine(setting.szDefaultPrinter).c_str(),
                               strPath.c_str()) ||
        !ProfileStringWriter()(SECTION_SETTING, L"DefaultProject", FirstLine(setting.szDefaultProject).c_str(),
                               strPath.c_str())) {
        ORV_LOG_ERROR("%s(%d) : %s", "WritePrivateProfileString failed.");
        return CLIENT_INFO_FAILED;
    }
    return CLIENT_INFO_OK;
}

} // namespace OrvUtility

namespace paramtrace {

std::string ValueText<SERVER_CONFIG>::Text(const SERVER_CONFIG& stuConfig)
{
    return "{"
           ",blWaterPrintInstall = " + std::to_string(stuConfig.blWaterPrintInstall) +
           ",blAuditInstall = " + std::to_string(stuConfig.blAuditInstall) +
           ",blSGIdentifyInstall = " + std::to_string(stuConfig.blSGIdentifyInstall) +
           ",blFilterInstall = " + std::to_string(stuConfig.blFilterInstall) +
           "}";
}

std::string ValueText<CLIENT_SETTING>::Text(const CLIENT_SETTING& stuSetting)
{
    // The default names were taken from earlier requests (and Config.ini may
    // be edited by hand): their control characters are shown as text, and as
    // the text becomes the format of a "Param" record, each "%" is doubled.
    return Language::EscapePercent("{"
           ",bDisplayProjectSelection = " + std::to_string(stuSetting.bDisplayProjectSelection) +
           ",bCanSelectNoPrinter = " + std::to_string(stuSetting.bCanSelectNoPrinter) +
           ",bCanSelectNoProject = " + std::to_string(stuSetting.bCanSelectNoProject) +
           ",szDefaultPrinter = " + Language::NarrowFromWide(Language::EscapeControls(stuSetting.szDefaultPrinter)) +
           ",szDefaultProject = " + Language::NarrowFromWide(Language::EscapeControls(stuSetting.szDefaultProject)) +
           "}");
}

} // namespace paramtrace
