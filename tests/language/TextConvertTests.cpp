#include <gtest/gtest.h>

#include <string>
#include "language/TextConvert.h"

using Language::Utf16FromWide;
using Language::Utf8FromWide;
using Language::WideFromUtf16;
using Language::WideFromUtf8;

TEST(TextConvertTest, NarrowWideRoundTripAscii)
{
    EXPECT_EQ("C:\\Program Files\\a.exe", Language::NarrowFromWide(L"C:\\Program Files\\a.exe"));
    EXPECT_EQ(L"C:\\Program Files\\a.exe", Language::WideFromNarrow("C:\\Program Files\\a.exe"));
    EXPECT_EQ("", Language::NarrowFromWide(L""));
    EXPECT_EQ(L"", Language::WideFromNarrow(""));
}

TEST(TextConvertTest, WideFromUtf16StopsAtNul)
{
    const char16_t szText[8] = {u'a', u'b', u'c', 0, u'x', u'y', u'z', 0};
    EXPECT_EQ(L"abc", WideFromUtf16(szText, 8));
}

TEST(TextConvertTest, WideFromUtf16StopsAtMaxCount)
{
    const char16_t szText[4] = {u'a', u'b', u'c', u'd'};
    EXPECT_EQ(L"abcd", WideFromUtf16(szText, 4));
    EXPECT_EQ(L"ab", WideFromUtf16(szText, 2));
    EXPECT_EQ(L"", WideFromUtf16(szText, 0));
    EXPECT_EQ(L"", WideFromUtf16(nullptr, 4));
}

TEST(TextConvertTest, WideFromUtf16Chinese)
{
    const char16_t szText[] = u"请选择打印选项";
    EXPECT_EQ(L"请选择打印选项", WideFromUtf16(szText, sizeof(szText) / sizeof(szText[0])));
}

TEST(TextConvertTest, SurrogatePairRoundTrip)
{
    const char16_t szText[] = {0xD83D, 0xDDA8, u'!', 0};  // U+1F5A8 printer, then '!'
    const std::wstring strWide = WideFromUtf16(szText, 4);
    if (sizeof(wchar_t) == 2) {
        ASSERT_EQ(3u, strWide.size());
        EXPECT_EQ(static_cast<wchar_t>(0xD83D), strWide[0]);
        EXPECT_EQ(static_cast<wchar_t>(0xDDA8), strWide[1]);
    } else {
        ASSERT_EQ(2u, strWide.size());
        EXPECT_EQ(static_cast<wchar_t>(0x1F5A8), strWide[0]);
    }
    EXPECT_EQ(std::u16string(szText, 3), Utf16FromWide(strWide));
    EXPECT_EQ("\xF0\x9F\x96\xA8!", Utf8FromWide(strWide));
    EXPECT_EQ(strWide, WideFromUtf8("\xF0\x9F\x96\xA8!"));
}

TEST(TextConvertTest, UnpairedSurrogates)
{
    const char16_t szLoneHigh[] = {u'a', 0xD800, u'b', 0};
    const char16_t szLoneLow[] = {0xDC00, u'c', 0};
    const char16_t szHighAtLimit[] = {u'x', 0xD83D, 0xDDA8, 0};
    if (sizeof(wchar_t) == 2) {
        // Same encoding: the units are copied untouched.
        EXPECT_EQ(std::wstring({L'a', static_cast<wchar_t>(0xD800), L'b'}), WideFromUtf16(szLoneHigh, 4));
        EXPECT_EQ(std::wstring({static_cast<wchar_t>(0xDC00), L'c'}), WideFromUtf16(szLoneLow, 3));
    } else {
        EXPECT_EQ(std::wstring({L'a', static_cast<wchar_t>(0xFFFD), L'b'}), WideFromUtf16(szLoneHigh, 4));
        EXPECT_EQ(std::wstring({static_cast<wchar_t>(0xFFFD), L'c'}), WideFromUtf16(szLoneLow, 3));
        // The pair is cut by the count: the high half stands alone.
        EXPECT_EQ(std::wstring({L'x', static_cast<wchar_t>(0xFFFD)}), WideFromUtf16(szHighAtLimit, 2));
    }
}

TEST(TextConvertTest, Utf16FromWideChinese)
{
    EXPECT_EQ(u"找不到文件 : a.exe", Utf16FromWide(L"找不到文件 : a.exe"));
    EXPECT_EQ(u"", Utf16FromWide(L""));
}

TEST(TextConvertTest, Utf8RoundTripChinese)
{
    const std::string strUtf8 = "\xE5\x91\xBD\xE4\xBB\xA4 a\xC3\xA9";  // "命令 aé"
    EXPECT_EQ(L"命令 a\u00E9", WideFromUtf8(strUtf8));
    EXPECT_EQ(strUtf8, Utf8FromWide(L"命令 a\u00E9"));
}

TEST(TextConvertTest, Utf8MalformedBytesBecomeReplacement)
{
    const std::wstring strRep(1, static_cast<wchar_t>(0xFFFD));
    EXPECT_EQ(L"a" + strRep + L"b", WideFromUtf8("a\x80" "b"));
    EXPECT_EQ(L"a" + strRep + L"b", WideFromUtf8("a\xE5\x91" "b"));       // cut short
    EXPECT_EQ(strRep, WideFromUtf8("\xC0"));
    EXPECT_EQ(strRep + L"z", WideFromUtf8("\xE0\x80\x80z"));               // overlong
    EXPECT_EQ(strRep, WideFromUtf8("\xED\xA0\x80"));                        // surrogate
    EXPECT_EQ(L"x" + strRep, WideFromUtf8("x\xE5\x91"));                    // cut at the end
}
