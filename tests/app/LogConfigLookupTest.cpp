// Where start-up finds LogConfig.conf: the client key's InstallDir, else the
// server key's. The path is narrow text in the system's code page.
#include <gtest/gtest.h>

#include <cstdio>
#include "app/AppPlatform.h"
#include "app/OrvprintDApp.h"
#include "language/AnsiText.h"
#include "language/MachineRegistryTestStore.h"
#include "language/TextConvert.h"
#include "support/TempFolder.h"

namespace {

const wchar_t* const CLIENT_KEY = L"Software\\Orv-soft\\Client";
const wchar_t* const SERVER_KEY = L"Software\\Orv-soft\\Server";

class LogConfigLookupTest : public ::testing::Test {
protected:
    std::wstring Folder() const { return Language::WideFromUtf8(m_store.Folder().Path()); }
    std::string ConfigIn(const std::wstring& strFolder) const
    {
        return Language::AnsiFromWide(strFolder + AppPlatform::GetPathSeparator() + L"LogConfig.conf");
    }

    orvtest::MachineRegistryTestStore m_store;
};

} // namespace

TEST_F(LogConfigLookupTest, TheServerKeyIsUsedWhenTheClientKeyHasNoInstallDir)
{
    m_store.Folder().WriteFile("LogConfig.conf", "log4cpp.rootCategory=ERROR\n");
    m_store.Set(CLIENT_KEY, L"TempDir", Folder());
    m_store.Remove(CLIENT_KEY, L"InstallDir");
    m_store.Set(SERVER_KEY, L"InstallDir", Folder());
    EXPECT_EQ(ConfigIn(Folder()), FindLogConfigFile());
}

TEST_F(LogConfigLookupTest, TheClientKeyWinsWhenItsFolderHoldsTheFile)
{
    m_store.Folder().WriteFile("LogConfig.conf", "log4cpp.rootCategory=ERROR\n");
    m_store.Set(CLIENT_KEY, L"InstallDir", Folder());
    m_store.Set(SERVER_KEY, L"InstallDir", Folder() + L"-nonexistent");
    EXPECT_EQ(ConfigIn(Folder()), FindLogConfigFile());
}

TEST_F(LogConfigLookupTest, NoReadableFileGivesAnEmptyPath)
{
    m_store.Set(CLIENT_KEY, L"InstallDir", Folder());
    m_store.Remove(SERVER_KEY, L"InstallDir");
    EXPECT_EQ("", FindLogConfigFile());
}

// An installation folder with Chinese characters: the path comes back in the
// system's code page (936 on a Chinese Windows, UTF-8 on Linux), and the file
// opens under it. Under Wine this runs with LANG=zh_CN.UTF-8.
TEST_F(LogConfigLookupTest, AChineseInstallDirIsFoundInTheSystemCodePage)
{
    const std::string strGbk = "\xB0\xB2\xD7\xB0\xC4\xBF\xC2\xBC";                             // 安装目录
    const std::string strUtf8 = "\xE5\xAE\x89\xE8\xA3\x85\xE7\x9B\xAE\xE5\xBD\x95";             // 安装目录
    const std::string strAnsiName = Language::AnsiFromWide(L"安装目录");
    if (strAnsiName != strGbk && strAnsiName != strUtf8) {
        GTEST_SKIP() << "the system code page has no Chinese characters (run with LANG=zh_CN.UTF-8)";
    }
    const std::wstring strFolder = Folder() + AppPlatform::GetPathSeparator() + L"安装目录";
    ASSERT_TRUE(orvtest::MakeFolder(strFolder));
    {
        std::FILE* pFile = std::fopen(ConfigIn(strFolder).c_str(), "w");
        ASSERT_NE(nullptr, pFile);
        std::fputs("log4cpp.rootCategory=ERROR\n", pFile);
        std::fclose(pFile);
    }
    m_store.Set(CLIENT_KEY, L"InstallDir", strFolder);
    const std::string strFound = FindLogConfigFile();
    EXPECT_EQ(ConfigIn(strFolder), strFound);
    EXPECT_NE(std::string::npos, strFound.find(strAnsiName + (strAnsiName == strGbk ? "\\" : "/") + "LogConfig.conf"))
        << strFound;
    std::FILE* pFile = std::fopen(strFound.c_str(), "r");
    EXPECT_NE(nullptr, pFile);
    if (pFile) {
        std::fclose(pFile);
    }
}

TEST_F(LogConfigLookupTest, TheLogFolderIsTheClientKeysLogDir)
{
    const std::wstring strLogDir = Folder() + AppPlatform::GetPathSeparator() + L"logs";
    m_store.Set(CLIENT_KEY, L"LogDir", strLogDir);
    EXPECT_EQ(Language::AnsiFromWide(strLogDir), FindLogFolder());
    m_store.Remove(CLIENT_KEY, L"LogDir");
    EXPECT_EQ("", FindLogFolder());
}
