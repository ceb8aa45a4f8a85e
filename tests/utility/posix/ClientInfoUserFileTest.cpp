#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include "language/MachineRegistryTestStore.h"
#include "language/TextConvert.h"
#include "support/TempFolder.h"
#include "utility/ClientInfo.h"
#include "utility/PsFolder.h"

// On Linux each user's "Setting" group lives in a file of its own,
// $XDG_CONFIG_HOME/orv-soft/Config.ini; the machine's Config.ini in TempDir
// is the administrator's ("ServerConfig" and default settings) and is never
// written.

using namespace OrvUtility;

namespace {

mode_t ModeOf(const std::string& strPath)
{
    struct stat st;
    return stat(strPath.c_str(), &st) == 0 ? st.st_mode : 0;
}

class ClientInfoUserFileTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", Language::WideFromUtf8(m_machine.Path()));
        m_store.SeparateUserSettings();
    }

    void PutMachine(const std::string& strText) { m_machine.WriteFile("Config.ini", strText); }
    std::string Machine() const { return m_machine.ReadFile("Config.ini"); }
    std::string UserFile() const { return m_store.UserConfigFile(); }
    void PutUser(const std::string& strText)
    {
        std::filesystem::create_directories(std::filesystem::path(UserFile()).parent_path());
        std::ofstream(UserFile(), std::ios::binary) << strText;
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_machine;
};

const char* const MACHINE =
    "[Setting]\n"
    "CanSelectNoPrinter=1\n"
    "DefaultPrinter=Admin's printer\n"
    "DefaultProject=Admin's project\n"
    "\n"
    "[ServerConfig]\n"
    "AuditInstalled=1\n";

} // namespace

TEST_F(ClientInfoUserFileTest, TheUsersFileIsUnderXdgConfigHome)
{
    std::wstring strPath;
    ASSERT_TRUE(UserSettingFile(strPath, false));
    EXPECT_EQ(Language::WideFromUtf8(UserFile()), strPath);
}

TEST_F(ClientInfoUserFileTest, WithoutAFileOfItsOwnTheUserGetsTheMachinesSettings)
{
    PutMachine(MACHINE);
    CLIENT_SETTING setting;
    ASSERT_EQ(CLIENT_INFO_OK, ReadClientSetting(setting));
    EXPECT_EQ(1, setting.bDisplayProjectSelection);
    EXPECT_EQ(1, setting.bCanSelectNoPrinter);
    EXPECT_EQ(0, setting.bCanSelectNoProject);
    EXPECT_EQ(L"Admin's printer", setting.szDefaultPrinter);
    EXPECT_EQ(L"Admin's project", setting.szDefaultProject);
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
}

TEST_F(ClientInfoUserFileTest, EachKeyComesFromTheUsersFileWhenItHasIt)
{
    PutMachine(MACHINE);
    PutUser("[Setting]\nDefaultPrinter=Mine\nCanSelectNoProject=1\n");
    CLIENT_SETTING setting;
    ASSERT_EQ(CLIENT_INFO_OK, ReadClientSetting(setting));
    EXPECT_EQ(1, setting.bDisplayProjectSelection);
    EXPECT_EQ(1, setting.bCanSelectNoPrinter);
    EXPECT_EQ(1, setting.bCanSelectNoProject);
    EXPECT_EQ(L"Mine", setting.szDefaultPrinter);
    EXPECT_EQ(L"Admin's project", setting.szDefaultProject);
}

TEST_F(ClientInfoUserFileTest, ServerConfigComesFromTheMachineFileOnly)
{
    PutMachine(MACHINE);
    PutUser("[ServerConfig]\nAuditInstalled=0\nFilterIntalled=1\nAutoCancelSeconds=5\n");
    SERVER_CONFIG config;
    ASSERT_EQ(CLIENT_INFO_OK, GetServerConfig(config));
    EXPECT_EQ(1, config.blAuditInstall);
    EXPECT_EQ(0, config.blFilterInstall);
    EXPECT_EQ(0u, config.uiAutoCancelSeconds);
}

TEST_F(ClientInfoUserFileTest, WritesGoToTheUsersOwnFileAlone)
{
    PutMachine(MACHINE);
    CLIENT_SETTING setting;
    setting.bDisplayProjectSelection = 1;
    setting.bCanSelectNoPrinter = 0;
    setting.bCanSelectNoProject = 0;
    setting.szDefaultPrinter = L"Printer One";
    setting.szDefaultProject = L"Project A";
    ASSERT_EQ(CLIENT_INFO_OK, WriteClientSetting(setting));
    EXPECT_EQ(MACHINE, Machine());
    EXPECT_EQ("[Setting]\nDisplayProjectSelection=1\nCanSelectNoPrinter=0\nCanSelectNoProject=0\n"
              "DefaultPrinter=Printer One\nDefaultProject=Project A\n",
              orvtest::ReadWholeFile(UserFile()));
    EXPECT_EQ(0600u, ModeOf(UserFile()) & 07777);
    EXPECT_EQ(0700u, ModeOf(std::filesystem::path(UserFile()).parent_path().string()) & 07777);

    CLIENT_SETTING back;
    ASSERT_EQ(CLIENT_INFO_OK, ReadClientSetting(back));
    EXPECT_EQ(0, back.bCanSelectNoPrinter);
    EXPECT_EQ(L"Printer One", back.szDefaultPrinter);
}
