#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>
#include "language/MachineRegistryTestStore.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "support/LogCapture.h"
#include "utility/ClientInfo.h"
#include "utility/PsFolder.h"

// Config.ini through ReadClientSetting, WriteClientSetting, GetServerConfig
// and WritePrivateProfileBOOL, with "TempDir" pointing at a fresh folder.

using namespace OrvUtility;

namespace {

std::wstring Wide(const std::string& strText)
{
    return Language::WideFromUtf8(strText);
}

// Profile writes seen by the replaceable writer, which fails for one key.
struct WriterLog {
    std::vector<std::wstring> vecKeys;
    std::wstring strFailingKey;
};

WriterLog& Writes()
{
    static WriterLog s_log;
    return s_log;
}

int32_t RecordingWriter(const wchar_t* szSection, const wchar_t* szKey, const wchar_t* szValue,
                        const wchar_t* szFileName)
{
    Writes().vecKeys.push_back(szKey);
    if (Writes().strFailingKey == szKey) {
        return 0;
    }
    return Language::PrivateProfileWriteString(szSection, szKey, szValue, szFileName);
}

class ClientInfoTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", Wide(m_tmp.Path()));
        Writes() = WriterLog();
    }
    void TearDown() override { SetProfileStringWriter(nullptr); }

    std::string Config() const { return m_tmp.ReadFile("Config.ini"); }
    void PutConfig(const std::string& strContent) const { m_tmp.WriteFile("Config.ini", strContent); }
    bool ConfigExists() const { return std::filesystem::exists(m_tmp.File("Config.ini")); }
    std::wstring ConfigPath() const { return Wide(m_tmp.File("Config.ini")); }
    std::wstring ReadValue(const wchar_t* szKey) const
    {
        wchar_t szBuffer[300];
        Language::PrivateProfileGetString(L"Setting", szKey, L"<none>", szBuffer, 300, ConfigPath().c_str());
        return szBuffer;
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
};

const char* const EXAMPLE =
    "[Setting]\n"
    "DisplayProjectSelection=1\n"
    "CanSelectNoPrinter=0\n"
    "CanSelectNoProject=0\n"
    "DefaultPrinter=Printer on floor 3\n"
    "DefaultProject=Project A\n"
    "\n"
    "[ServerConfig]\n"
    "WaterPrintInstalled=0\n"
    "AuditInstalled=1\n"
    "SGIdentifyInstalled=0\n"
    "FilterIntalled=0\n";

} // namespace

TEST_F(ClientInfoTest, ConfigFilePathInTempDir)
{
    EXPECT_EQ(ConfigPath(), MakeConfigFilePath(Wide(m_tmp.Path()).c_str()));
}

TEST_F(ClientInfoTest, NoConfigIniGivesDefaults)
{
    CLIENT_SETTING setting;
    setting.bCanSelectNoPrinter = 5;
    setting.szDefaultPrinter = L"stale";
    EXPECT_EQ(0u, ReadClientSetting(setting));
    EXPECT_EQ(1, setting.bDisplayProjectSelection);
    EXPECT_EQ(0, setting.bCanSelectNoPrinter);
    EXPECT_EQ(0, setting.bCanSelectNoProject);
    EXPECT_EQ(L"", setting.szDefaultPrinter);
    EXPECT_EQ(L"", setting.szDefaultProject);

    SERVER_CONFIG config;
    config.blAuditInstall = 3;
    EXPECT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0, config.blWaterPrintInstall);
    EXPECT_EQ(0, config.blAuditInstall);
    EXPECT_EQ(0, config.blSGIdentifyInstall);
    EXPECT_EQ(0, config.blFilterInstall);
    EXPECT_FALSE(ConfigExists());
}

TEST_F(ClientInfoTest, ReadsTheExampleFile)
{
    PutConfig(EXAMPLE);
    CLIENT_SETTING setting;
    ASSERT_EQ(0u, ReadClientSetting(setting));
    EXPECT_EQ(1, setting.bDisplayProjectSelection);
    EXPECT_EQ(L"Printer on floor 3", setting.szDefaultPrinter);
    EXPECT_EQ(L"Project A", setting.szDefaultProject);
    SERVER_CONFIG config;
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0, config.blWaterPrintInstall);
    EXPECT_EQ(1, config.blAuditInstall);
    EXPECT_EQ(0, config.blSGIdentifyInstall);
    EXPECT_EQ(0, config.blFilterInstall);
}

TEST_F(ClientInfoTest, ServerFieldsInOrder)
{
    PutConfig("[ServerConfig]\nWaterPrintInstalled=1\nAuditInstalled=2\nSGIdentifyInstalled=3\nFilterIntalled=4\n");
    SERVER_CONFIG config;
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(1, config.blWaterPrintInstall);
    EXPECT_EQ(2, config.blAuditInstall);
    EXPECT_EQ(3, config.blSGIdentifyInstall);
    EXPECT_EQ(4, config.blFilterInstall);
}

TEST_F(ClientInfoTest, AutoCancelSecondsReadWithTheServerValues)
{
    SERVER_CONFIG config;
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0u, config.uiAutoCancelSeconds); // no file: never
    PutConfig(EXAMPLE);
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0u, config.uiAutoCancelSeconds); // no key: never
    PutConfig("[ServerConfig]\nAuditInstalled=1\nAutoCancelSeconds=120\n");
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(120u, config.uiAutoCancelSeconds);
    EXPECT_EQ(1, config.blAuditInstall);
    // The dump keeps the four installed features only.
    EXPECT_EQ("{,blWaterPrintInstall = 0,blAuditInstall = 1,blSGIdentifyInstall = 0,blFilterInstall = 0}",
              paramtrace::ValueText<SERVER_CONFIG>::Text(config));
    PutConfig("[ServerConfig]\nAutoCancelSeconds=2x\n");
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0u, config.uiAutoCancelSeconds);
}

TEST(ClientInfoValueTest, AutoCancelSecondsValues)
{
    const struct {
        const wchar_t* szValue;
        uint32_t uiSeconds;
    } aCases[] = {
        {L"1", 1},      {L" 30 ", 30}, {L"86400", 86400}, {L"86401", 0}, {L"99999999999999999999", 0},
        {L"0", 0},      {L"", 0},      {L"-5", 0},        {L"+5", 0},    {L"5s", 0},
        {L"1 0", 0},    {L"abc", 0},
    };
    for (const auto& c : aCases) {
        EXPECT_EQ(c.uiSeconds, OrvUtility::ParseAutoCancelSeconds(c.szValue)) << Language::Utf8FromWide(c.szValue);
    }
}

TEST_F(ClientInfoTest, BoolKeepsTheIntegerAndWritesOne)
{
    PutConfig("[Setting]\nDisplayProjectSelection=2\nCanSelectNoPrinter=abc\nCanSelectNoProject=-1\n");
    CLIENT_SETTING setting;
    ASSERT_EQ(0u, ReadClientSetting(setting));
    EXPECT_EQ(2, setting.bDisplayProjectSelection);
    EXPECT_EQ(0, setting.bCanSelectNoPrinter);
    EXPECT_EQ(-1, setting.bCanSelectNoProject);
    ASSERT_EQ(0u, WriteClientSetting(setting));
    EXPECT_EQ(L"1", ReadValue(L"DisplayProjectSelection"));
    EXPECT_EQ(L"0", ReadValue(L"CanSelectNoPrinter"));
    EXPECT_EQ(L"1", ReadValue(L"CanSelectNoProject"));
}

TEST_F(ClientInfoTest, LongDefaultPrinterCutTo255)
{
    PutConfig("[Setting]\nDefaultPrinter=" + std::string(300, 'P') + "\nDefaultProject=" + std::string(255, 'J') + "\n");
    CLIENT_SETTING setting;
    ASSERT_EQ(0u, ReadClientSetting(setting));
    EXPECT_EQ(std::wstring(255, L'P'), setting.szDefaultPrinter);
    EXPECT_EQ(std::wstring(255, L'J'), setting.szDefaultProject);
}

TEST_F(ClientInfoTest, OnlyTheMisspeltFilterKeyCounts)
{
    PutConfig("[ServerConfig]\nFilterInstalled=1\n");
    SERVER_CONFIG config;
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0, config.blFilterInstall);
    PutConfig("[ServerConfig]\nFilterInstalled=0\nFilterIntalled=1\n");
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(1, config.blFilterInstall);
}

TEST_F(ClientInfoTest, FirstWriteCreatesTheFile)
{
    CLIENT_SETTING setting{1, 0, 1, L"Printer on floor 3", L"Project A"};
    ASSERT_EQ(0u, WriteClientSetting(setting));
    EXPECT_TRUE(ConfigExists());
    CLIENT_SETTING back;
    ASSERT_EQ(0u, ReadClientSetting(back));
    EXPECT_EQ(1, back.bDisplayProjectSelection);
    EXPECT_EQ(0, back.bCanSelectNoPrinter);
    EXPECT_EQ(1, back.bCanSelectNoProject);
    EXPECT_EQ(L"Printer on floor 3", back.szDefaultPrinter);
    EXPECT_EQ(L"Project A", back.szDefaultProject);
}

TEST_F(ClientInfoTest, NamesAreWrittenUpToTheirFirstLineBreak)
{
    // A name with line breaks would otherwise add a section of its own before
    // the real one, and that is the one the readers find.
    PutConfig("[ServerConfig]\nAuditInstalled=0\n");
    CLIENT_SETTING setting{1, 0, 1, L"Evil\r\n[ServerConfig]\r\nAuditInstalled=1", L"Project\nA\rB"};
    ASSERT_EQ(0u, WriteClientSetting(setting));
    CLIENT_SETTING back;
    ASSERT_EQ(0u, ReadClientSetting(back));
    EXPECT_EQ(L"Evil", back.szDefaultPrinter);
    EXPECT_EQ(L"Project", back.szDefaultProject);
    SERVER_CONFIG config{};
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(0, config.blAuditInstall);
    setting.szDefaultPrinter = L"\rLeading";
    ASSERT_EQ(0u, WriteClientSetting(setting));
    ASSERT_EQ(0u, ReadClientSetting(back));
    EXPECT_EQ(L"", back.szDefaultPrinter);
}

TEST_F(ClientInfoTest, WritesAllFiveInOrderAndLeavesServerConfig)
{
    PutConfig(EXAMPLE);
    SetProfileStringWriter(&RecordingWriter);
    // ASCII names: Windows keeps a new profile file in the ANSI code page.
    CLIENT_SETTING setting{0, 1, 1, L"Printer 3F", L"B"};
    ASSERT_EQ(0u, WriteClientSetting(setting));
    const std::vector<std::wstring> vecExpected = {L"DisplayProjectSelection", L"CanSelectNoPrinter",
                                                   L"CanSelectNoProject", L"DefaultPrinter", L"DefaultProject"};
    EXPECT_EQ(vecExpected, Writes().vecKeys);
    EXPECT_EQ(L"0", ReadValue(L"DisplayProjectSelection"));
    EXPECT_EQ(L"Printer 3F", ReadValue(L"DefaultPrinter"));
    SERVER_CONFIG config;
    ASSERT_EQ(0u, GetServerConfig(config));
    EXPECT_EQ(1, config.blAuditInstall);
}

TEST_F(ClientInfoTest, FailingBoolWriteStopsTheRest)
{
    PutConfig("[Setting]\nDisplayProjectSelection=0\nCanSelectNoPrinter=0\nCanSelectNoProject=0\n"
              "DefaultPrinter=Old\nDefaultProject=Old\n");
    SetProfileStringWriter(&RecordingWriter);
    Writes().strFailingKey = L"CanSelectNoPrinter";
    orvtest::LogCapture cap;
    CLIENT_SETTING setting{1, 1, 1, L"New", L"New"};
    EXPECT_EQ(1u, WriteClientSetting(setting));
    const std::vector<std::wstring> vecExpected = {L"DisplayProjectSelection", L"CanSelectNoPrinter"};
    EXPECT_EQ(vecExpected, Writes().vecKeys);
    EXPECT_EQ(L"1", ReadValue(L"DisplayProjectSelection"));
    EXPECT_EQ(L"0", ReadValue(L"CanSelectNoPrinter"));
    EXPECT_EQ(L"0", ReadValue(L"CanSelectNoProject"));
    EXPECT_EQ(L"Old", ReadValue(L"DefaultPrinter"));
    EXPECT_EQ(L"Old", ReadValue(L"DefaultProject"));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("utility/ClientInfo.cpp("));
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileBOOL failed."));
        EXPECT_EQ(1, cap.Count("ERROR - "));
    }
}

TEST_F(ClientInfoTest, FailingStringWriteStopsTheRest)
{
    PutConfig("[Setting]\nDefaultPrinter=Old\nDefaultProject=Old\n");
    SetProfileStringWriter(&RecordingWriter);
    Writes().strFailingKey = L"DefaultPrinter";
    orvtest::LogCapture cap;
    CLIENT_SETTING setting{1, 1, 1, L"New", L"New"};
    EXPECT_EQ(1u, WriteClientSetting(setting));
    EXPECT_EQ(4u, Writes().vecKeys.size());
    EXPECT_EQ(L"Old", ReadValue(L"DefaultProject"));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileString failed."));
        EXPECT_EQ(1, cap.Count("ERROR - "));
    }
}

TEST_F(ClientInfoTest, WriteFailsWhenTheFileCannotBeWritten)
{
    std::filesystem::create_directory(m_tmp.File("Config.ini"));
    orvtest::LogCapture cap;
    CLIENT_SETTING setting{1, 0, 0, L"", L""};
    EXPECT_EQ(1u, WriteClientSetting(setting));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileBOOL failed."));
    }
}

TEST_F(ClientInfoTest, NoTempDirFailsEveryCall)
{
    m_store.Remove(CLIENT_REGISTRY_KEY, L"TempDir");
    orvtest::LogCapture cap;
    CLIENT_SETTING setting;
    SERVER_CONFIG config;
    EXPECT_EQ(1u, ReadClientSetting(setting));
    EXPECT_EQ(1u, GetServerConfig(config));
    EXPECT_EQ(1u, WriteClientSetting(setting));
    EXPECT_FALSE(ConfigExists());
    if (cap.Available()) {
        EXPECT_EQ(3, cap.Count(") : GetClientFolder failed."));
        EXPECT_EQ(3, cap.Count(") : lRet = 2"));
    }
}

TEST_F(ClientInfoTest, TooLongTempDirFailsRead)
{
    m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", L"C:\\" + std::wstring(125, L't'));
    CLIENT_SETTING setting;
    EXPECT_EQ(1u, ReadClientSetting(setting));
}

TEST_F(ClientInfoTest, WritePrivateProfileBoolWritesOneOrZero)
{
    const std::wstring strPath = ConfigPath();
    EXPECT_NE(0, WritePrivateProfileBOOL(L"Setting", L"A", 5, strPath.c_str()));
    EXPECT_NE(0, WritePrivateProfileBOOL(L"Setting", L"B", 0, strPath.c_str()));
    EXPECT_NE(0, WritePrivateProfileBOOL(L"Setting", L"C", -1, strPath.c_str()));
    EXPECT_EQ(L"1", ReadValue(L"A"));
    EXPECT_EQ(L"0", ReadValue(L"B"));
    EXPECT_EQ(L"1", ReadValue(L"C"));
    std::filesystem::create_directory(m_tmp.File("Folder.ini"));
    EXPECT_EQ(0, WritePrivateProfileBOOL(L"Setting", L"A", 1, Wide(m_tmp.File("Folder.ini")).c_str()));
}

TEST(ClientInfoTextTest, ServerConfigDump)
{
    SERVER_CONFIG config{0, 1, 0, 0};
    EXPECT_EQ("{,blWaterPrintInstall = 0,blAuditInstall = 1,blSGIdentifyInstall = 0,blFilterInstall = 0}",
              paramtrace::ValueText<SERVER_CONFIG>::Text(config));
}

TEST(ClientInfoTextTest, ClientSettingDump)
{
    CLIENT_SETTING setting{7, 0, 1, L"Printer on floor 3", L"Project A"};
    EXPECT_EQ("{,bDisplayProjectSelection = 7,bCanSelectNoPrinter = 0,bCanSelectNoProject = 1,"
              "szDefaultPrinter = Printer on floor 3,szDefaultProject = Project A}",
              paramtrace::ValueText<CLIENT_SETTING>::Text(setting));
}

TEST(ClientInfoTextTest, ClientSettingDumpDoublesPercentSigns)
{
    // The names came from requests; the dump is formatted once more.
    CLIENT_SETTING setting{1, 0, 1, L"%s%s%n", L"100% %99999999999d"};
    EXPECT_EQ("{,bDisplayProjectSelection = 1,bCanSelectNoPrinter = 0,bCanSelectNoProject = 1,"
              "szDefaultPrinter = %%s%%s%%n,szDefaultProject = 100%% %%99999999999d}",
              paramtrace::ValueText<CLIENT_SETTING>::Text(setting));
}
