// Hostile texts outside the request: command lines and the bytes of files
// that other users can write (Config.ini is shared by every user).
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "language/CommandLine.h"
#include "language/LogText.h"
#include "language/TextConvert.h"

TEST(HostileTextTest, CommandLineWithNulsAndSurrogatesSplitsLikeAnyOther)
{
    std::wstring strLine = L"\"C:\\a b\\tool.exe\" x";
    strLine += L'\0';
    strLine += L"y ";
    strLine += static_cast<wchar_t>(0xD800);
    strLine += L" \"";
    strLine += static_cast<wchar_t>(0xDC00);
    strLine += L"\"";
    std::vector<std::wstring> vecParts;
    ASSERT_EQ(4u, Language::SplitCommandLine(strLine, vecParts));
    EXPECT_EQ(L"\"C:\\a b\\tool.exe\"", vecParts[0]);
    EXPECT_EQ(std::wstring(L"x\0y", 3), vecParts[1]);
    EXPECT_EQ(std::wstring(1, static_cast<wchar_t>(0xD800)), vecParts[2]);
    EXPECT_EQ(3u, vecParts[3].size());
}

TEST(HostileTextTest, VeryLongCommandLinesSplitInOnePass)
{
    std::wstring strLine;
    for (int i = 0; i < 200000; ++i) {
        strLine += L"a \"b c\" ";
    }
    std::vector<std::wstring> vecParts;
    EXPECT_EQ(400000u, Language::SplitCommandLine(strLine, vecParts));

    std::vector<std::wstring> vecOpen;
    EXPECT_EQ(0u, Language::SplitCommandLine(L"\"" + std::wstring(1000000, L'x'), vecOpen));
}

TEST(HostileTextTest, InvalidUtf8BecomesReplacementCharacters)
{
    const std::string aszBytes[] = {"\xFF", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\xB8", "a\x80" "b"};
    for (const std::string& strBytes : aszBytes) {
        const std::wstring strWide = Language::WideFromUtf8(strBytes);
        // Whatever was read goes back out as valid UTF-8.
        const std::string strAgain = Language::Utf8FromWide(strWide);
        EXPECT_EQ(strAgain, Language::Utf8FromWide(Language::WideFromUtf8(strAgain)));
        for (wchar_t ch : strWide) {
            EXPECT_FALSE(ch >= 0xD800 && ch <= 0xDFFF && sizeof(wchar_t) == 4);
        }
    }
}

TEST(HostileTextTest, EscapedTextsNeverLeaveAConversion)
{
    const std::string strText = "%%%s%%n%";
    const std::string strEscaped = Language::EscapePercent(strText);
    // Every "%" stands in a pair of its own.
    size_t uiRun = 0;
    for (char ch : strEscaped + "x") {
        if (ch == '%') {
            ++uiRun;
        } else {
            EXPECT_EQ(0u, uiRun % 2);
            uiRun = 0;
        }
    }
}
