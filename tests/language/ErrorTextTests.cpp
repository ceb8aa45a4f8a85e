#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include "language/ErrorText.h"

namespace {

const uint32_t g_uiUnknownCode = 987654321u;

} // namespace

// Code 2 is "file not found" on Windows and ENOENT on Linux: both have a
// system sentence, which appears in parentheses without line breaks.
TEST(FormatWin32ErrorTest, KnownCodeWithoutContextHasSystemSentence)
{
    const std::wstring strText = Language::FormatWin32Error(L"RegOpenKey", 2);
    const std::wstring strHead = L"RegOpenKey failed. last error = 2 (";
    ASSERT_GT(strText.size(), strHead.size() + 1);
    EXPECT_EQ(strHead, strText.substr(0, strHead.size()));
    EXPECT_EQ(L')', strText.back());
    const std::wstring strSentence = strText.substr(strHead.size(), strText.size() - strHead.size() - 1);
    EXPECT_NE(L"unknown", strSentence);
    EXPECT_EQ(std::wstring::npos, strText.find_first_of(L"\r\n"));
    EXPECT_NE(L' ', strSentence.front());
    EXPECT_NE(L' ', strSentence.back());
}

TEST(FormatWin32ErrorTest, UnknownCode)
{
    EXPECT_EQ(L"RegOpenKey failed. last error = 987654321 (unknown)",
              Language::FormatWin32Error(L"RegOpenKey", g_uiUnknownCode));
}

TEST(FormatWin32ErrorTest, LargestCodeIsUnknown)
{
    EXPECT_EQ(L"Process32First failed. last error = 4294967295 (unknown)",
              Language::FormatWin32Error(L"Process32First", 0xFFFFFFFFu));
}

TEST(FormatWin32ErrorTest, ContextComesFirstWithOneBlank)
{
    EXPECT_EQ(L"检查注册表值InstallDir失败 RegOpenKey failed. last error = 987654321 (unknown)",
              Language::FormatWin32Error(L"RegOpenKey", g_uiUnknownCode, L"检查注册表值InstallDir失败"));
}

TEST(FormatWin32ErrorTest, ContextWithKnownCode)
{
    const std::wstring strPlain = Language::FormatWin32Error(L"RegOpenKey", 2);
    EXPECT_EQ(L"打开注册表键Software\\Orv-soft\\Client失败 " + strPlain,
              Language::FormatWin32Error(L"RegOpenKey", 2, L"打开注册表键Software\\Orv-soft\\Client失败"));
}

TEST(FormatWin32ErrorTest, EmptyContextStillGivesTheBlank)
{
    EXPECT_EQ(L" GetUserNameW failed. last error = 987654321 (unknown)",
              Language::FormatWin32Error(L"GetUserNameW", g_uiUnknownCode, L""));
}

TEST(FormatWin32ErrorTest, NullContextIsNoContext)
{
    EXPECT_EQ(L"GetUserNameW failed. last error = 987654321 (unknown)",
              Language::FormatWin32Error(L"GetUserNameW", g_uiUnknownCode, nullptr));
}
