#include <gtest/gtest.h>

#include <string>
#include "language/ErrorText.h"
#include "language/Exception.h"
#include "language/RegistryHelpers.h"
#include "language/Win32Exception.h"
#include "language/LanguageTestHelpers.h"

namespace {

const wchar_t g_szTestKey[] = L"Software\\OrvTest";
const wchar_t g_szMissingKey[] = L"Software\\OrvTestNoSuchKey";

} // namespace

TEST(RegistryHelpersTest, ContextTexts)
{
    EXPECT_EQ(L"打开注册表键Software\\Orv-soft\\Client失败", Language::OpenKeyFailedContext(L"Software\\Orv-soft\\Client"));
    EXPECT_EQ(L"检查注册表值OrvprintD失败", Language::CheckValueFailedContext(L"OrvprintD"));
}

TEST(RegistryHelpersTest, ExistingAndMissingValue)
{
    languagetest::TestMachineKey testKey(g_szTestKey, L"Present", L"yes");
    ASSERT_TRUE(testKey.IsReady());

    const Language::RegistryKey hKey = Language::OpenLocalMachineKey(g_szTestKey);
    ASSERT_NE(nullptr, hKey);
    EXPECT_TRUE(Language::RegValueExists(hKey, L"Present"));
    EXPECT_FALSE(Language::RegValueExists(hKey, L"Missing"));
    Language::CloseRegistryKey(hKey);
}

TEST(RegistryHelpersTest, LocalMachineValueExists)
{
    languagetest::TestMachineKey testKey(g_szTestKey, L"OrvprintD", L"\"C:\\Orv\\OrvprintD.exe\"");
    ASSERT_TRUE(testKey.IsReady());
    EXPECT_TRUE(Language::LocalMachineValueExists(g_szTestKey, L"OrvprintD"));
    EXPECT_FALSE(Language::LocalMachineValueExists(g_szTestKey, L"OrvClientTool"));
}

TEST(RegistryHelpersTest, MissingKeyThrowsWithOpenContext)
{
    languagetest::TestMachineKey testKey(g_szTestKey, L"Present", L"yes");
    ASSERT_TRUE(testKey.IsReady());
    const std::wstring strContext = L"打开注册表键Software\\OrvTestNoSuchKey失败";
    try {
        Language::OpenLocalMachineKey(g_szMissingKey);
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(2u, e.GetErrorCode());
        EXPECT_EQ(strContext, e.GetContext());
        EXPECT_EQ(Language::FormatWin32Error(L"RegOpenKey", 2, strContext.c_str()), e.MessageW());
        const std::wstring strHead = strContext + L" RegOpenKey failed. last error = 2 (";
        EXPECT_EQ(strHead, e.MessageW().substr(0, strHead.size()));
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(RegistryHelpersTest, LocalMachineValueExistsOnMissingKeyThrows)
{
    languagetest::TestMachineKey testKey(g_szTestKey, L"Present", L"yes");
    ASSERT_TRUE(testKey.IsReady());
    try {
        Language::LocalMachineValueExists(g_szMissingKey, L"Present");
    } catch (const Language::Exception& e) {
        EXPECT_EQ(Language::FormatWin32Error(L"RegOpenKey", 2, L"打开注册表键Software\\OrvTestNoSuchKey失败"),
                  e.MessageW());
        return;
    }
    FAIL() << "no Language::Exception";
}

TEST(RegistryHelpersTest, ClosedKeyThrowsWithCheckContext)
{
    languagetest::TestMachineKey testKey(g_szTestKey, L"Present", L"yes");
    ASSERT_TRUE(testKey.IsReady());
    const Language::RegistryKey hKey = Language::OpenLocalMachineKey(g_szTestKey);
    Language::CloseRegistryKey(hKey);

    const std::wstring strContext = L"检查注册表值Present失败";
    try {
        Language::RegValueExists(hKey, L"Present");
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(languagetest::InvalidKeyCode(), e.GetErrorCode());
        EXPECT_EQ(strContext, e.GetContext());
        EXPECT_EQ(Language::FormatWin32Error(L"RegOpenKey", e.GetErrorCode(), strContext.c_str()), e.MessageW());
        const std::wstring strHead = strContext + L" RegOpenKey failed. last error = ";
        EXPECT_EQ(strHead, e.MessageW().substr(0, strHead.size()));
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(RegistryHelpersTest, NullKeyThrowsWithCheckContext)
{
    try {
        Language::RegValueExists(nullptr, L"OrvprintD");
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(languagetest::InvalidKeyCode(), e.GetErrorCode());
        EXPECT_EQ(L"检查注册表值OrvprintD失败", e.GetContext());
        EXPECT_EQ(Language::FormatWin32Error(L"RegOpenKey", e.GetErrorCode(), L"检查注册表值OrvprintD失败"),
                  e.MessageW());
        return;
    }
    FAIL() << "no Win32Exception";
}
