#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include "app/OrvConfig.h"
#include "language/MachineRegistryTestStore.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "logging/FunctionParameters.h"
#include "support/LogCapture.h"
#include "utility/PsFolder.h"

// COrvConfig over a Config.ini in a fresh "TempDir" folder.

namespace {

std::wstring Wide(const std::string& strText)
{
    return Language::WideFromUtf8(strText);
}

class OrvConfigTest : public testing::Test {
protected:
    void SetUp() override { m_store.Set(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir", Wide(m_tmp.Path())); }

    std::string ConfigFile() const { return m_tmp.File("Config.ini"); }
    void PutConfig(const std::string& strContent) const { m_tmp.WriteFile("Config.ini", strContent); }
    std::string Config() const { return m_tmp.ReadFile("Config.ini"); }
    std::wstring ReadValue(const wchar_t* szKey) const
    {
        wchar_t szBuffer[300];
        Language::PrivateProfileGetString(L"Setting", szKey, L"<none>", szBuffer, 300, Wide(ConfigFile()).c_str());
        return szBuffer;
    }
    // Dates the file back, so that any rewrite shows in its time stamp.
    std::filesystem::file_time_type AgeConfig() const
    {
        const auto tOld = std::filesystem::last_write_time(ConfigFile()) - std::chrono::hours(2);
        std::filesystem::last_write_time(ConfigFile(), tOld);
        return std::filesystem::last_write_time(ConfigFile());
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
};

const char* const EXAMPLE =
    "[Setting]\r\n"
    "DisplayProjectSelection=1\r\n"
    "CanSelectNoPrinter=0\r\n"
    "CanSelectNoProject=1\r\n"
    "DefaultPrinter=Printer on floor 3\r\n"
    "DefaultProject=Project A\r\n"
    "\r\n"
    "[ServerConfig]\r\n"
    "WaterPrintInstalled=0\r\n"
    "AuditInstalled=1\r\n"
    "SGIdentifyInstalled=0\r\n"
    "FilterIntalled=0\r\n";

} // namespace

TEST_F(OrvConfigTest, ReadsBothGroups)
{
    PutConfig(EXAMPLE);
    COrvConfig config;
    EXPECT_TRUE(config.Get_DisplayProjectSelection());
    EXPECT_FALSE(config.Get_CanSelectNoPrinter());
    EXPECT_TRUE(config.Get_CanSelectNoProject());
    EXPECT_EQ(L"Printer on floor 3", config.Get_DefaultPrinter());
    EXPECT_EQ(L"Project A", config.Get_DefaultProject());
}

TEST_F(OrvConfigTest, AnyNonZeroIsTrue)
{
    PutConfig("[Setting]\nDisplayProjectSelection=7\nCanSelectNoPrinter=-2\nCanSelectNoProject=0\n");
    COrvConfig config;
    EXPECT_TRUE(config.Get_DisplayProjectSelection());
    EXPECT_TRUE(config.Get_CanSelectNoPrinter());
    EXPECT_FALSE(config.Get_CanSelectNoProject());
}

TEST_F(OrvConfigTest, NoConfigIniGivesDefaultsAndNoFile)
{
    {
        COrvConfig config;
        EXPECT_TRUE(config.Get_DisplayProjectSelection());
        EXPECT_FALSE(config.Get_CanSelectNoPrinter());
        EXPECT_FALSE(config.Get_CanSelectNoProject());
        EXPECT_EQ(L"", config.Get_DefaultPrinter());
        EXPECT_EQ(L"", config.Get_DefaultProject());
    }
    EXPECT_FALSE(std::filesystem::exists(ConfigFile()));
}

TEST_F(OrvConfigTest, WithoutSetterFileUntouched)
{
    PutConfig(EXAMPLE);
    const auto tBefore = AgeConfig();
    {
        COrvConfig config;
        config.Get_DefaultPrinter();
        config.Get_DisplayProjectSelection();
    }
    EXPECT_EQ(EXAMPLE, Config());
    EXPECT_EQ(tBefore, std::filesystem::last_write_time(ConfigFile()));
}

TEST_F(OrvConfigTest, SettersWriteAtDestruction)
{
    PutConfig(EXAMPLE);
    {
        COrvConfig config;
        config.Set_DefaultPrinter(L"Printer in the hall");
        config.Set_DefaultProject(L"Project B");
        EXPECT_EQ(L"Printer in the hall", config.Get_DefaultPrinter());
        EXPECT_EQ(L"Project B", config.Get_DefaultProject());
        EXPECT_EQ(L"Printer on floor 3", ReadValue(L"DefaultPrinter"));
    }
    EXPECT_EQ(L"Printer in the hall", ReadValue(L"DefaultPrinter"));
    EXPECT_EQ(L"Project B", ReadValue(L"DefaultProject"));
    EXPECT_EQ(L"1", ReadValue(L"CanSelectNoProject"));
}

TEST_F(OrvConfigTest, SameValueStillWritesTheGroup)
{
    // The stored BOOL 2 shows the rewrite: it comes back as "1".
    PutConfig("[Setting]\nDisplayProjectSelection=2\nDefaultPrinter=Printer on floor 3\n");
    const auto tBefore = AgeConfig();
    {
        COrvConfig config;
        config.Set_DefaultPrinter(config.Get_DefaultPrinter());
    }
    EXPECT_EQ(L"1", ReadValue(L"DisplayProjectSelection"));
    EXPECT_EQ(L"Printer on floor 3", ReadValue(L"DefaultPrinter"));
    EXPECT_EQ(L"0", ReadValue(L"CanSelectNoPrinter"));
    EXPECT_EQ(L"", ReadValue(L"DefaultProject"));
    EXPECT_NE(tBefore, std::filesystem::last_write_time(ConfigFile()));
}

TEST_F(OrvConfigTest, NoTempDirThrowsBeforeReadingTheSettings)
{
    m_store.Remove(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir");
    orvtest::LogCapture cap;
    try {
        COrvConfig config;
        FAIL() << "no exception";
    } catch (const COrvConfigException& e) {
        EXPECT_EQ(0u, e.GetCode());
    }
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count("app/OrvConfig.cpp("));
        EXPECT_EQ(4, cap.Count("ERROR - ")) << testing::PrintToString(cap.Lines());   // lRet, folder, code, throw
        EXPECT_EQ(1, cap.Count(") : GetServerConfig returns 1"));
        EXPECT_EQ(1, cap.Count(") : throw COrvConfigException(0)"));
        EXPECT_EQ(1, cap.Count(") : GetClientFolder failed."));
        EXPECT_EQ(0, cap.Count("ReadClientSetting"));
    }
}

TEST_F(OrvConfigTest, CaughtAsBaseException)
{
    m_store.Remove(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir");
    bool bCaught = false;
    try {
        COrvConfig config;
    } catch (const OrvUtility::CBaseException& e) {
        bCaught = true;
        EXPECT_EQ(0u, e.GetCode());
    }
    EXPECT_TRUE(bCaught);
}

TEST_F(OrvConfigTest, FailedWriteAtDestructionOnlyWarns)
{
    std::filesystem::create_directory(ConfigFile());
    orvtest::LogCapture cap;
    EXPECT_NO_THROW({
        COrvConfig config;
        config.Set_DefaultPrinter(L"P");
    });
    EXPECT_TRUE(std::filesystem::is_directory(ConfigFile()));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("WARNING - "));
        EXPECT_EQ(1, cap.Count(") : WriteClientSetting returns 1"));
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileBOOL failed."));
    }
}

TEST_F(OrvConfigTest, FolderWithoutParentOnlyWarns)
{
    m_store.Set(OrvUtility::CLIENT_REGISTRY_KEY, L"TempDir", Wide(m_tmp.File("missing")) + L"/sub");
    orvtest::LogCapture cap;
    EXPECT_NO_THROW({
        COrvConfig config;
        EXPECT_TRUE(config.Get_DisplayProjectSelection());
        config.Set_DefaultProject(L"J");
    });
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("WARNING - "));
        EXPECT_EQ(1, cap.Count(") : WriteClientSetting returns 1"));
    }
}

TEST_F(OrvConfigTest, DumpAsTracedParameter)
{
    PutConfig(EXAMPLE);
    COrvConfig config;
    FunctionParameters params("COrvprintDDlg::OnInitDialog");
    params.Add("objConfig", &config);
    EXPECT_EQ("COrvprintDDlg::OnInitDialog([objConfig] = "
              "{m_stuServerConfig = {,blWaterPrintInstall = 0,blAuditInstall = 1,blSGIdentifyInstall = 0,"
              "blFilterInstall = 0},"
              "m_stuClientSetting = {,bDisplayProjectSelection = 1,bCanSelectNoPrinter = 0,bCanSelectNoProject = 1,"
              "szDefaultPrinter = Printer on floor 3,szDefaultProject = Project A},"
              "m_bClientSettingModified = false}, )",
              params.Text());
    config.Set_DefaultProject(L"Project A");
    EXPECT_NE(std::string::npos, params.Text().find(",m_bClientSettingModified = true}, )"));
}
