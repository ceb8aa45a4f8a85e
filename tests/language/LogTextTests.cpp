#include <cstdio>
#include <cwchar>
#include <string>
#include <gtest/gtest.h>
#include "language/LogText.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"

using Language::EscapePercent;

TEST(LogTextTest, TextWithoutPercentIsUnchanged)
{
    EXPECT_EQ("", EscapePercent(std::string()));
    EXPECT_EQ("Printer on floor 3", EscapePercent(std::string("Printer on floor 3")));
    EXPECT_EQ(L"", EscapePercent(std::wstring()));
    EXPECT_EQ(L"打印机 3", EscapePercent(std::wstring(L"打印机 3")));
}

TEST(LogTextTest, EveryPercentIsDoubled)
{
    EXPECT_EQ("%%", EscapePercent(std::string("%")));
    EXPECT_EQ("%%s%%s%%n", EscapePercent(std::string("%s%s%n")));
    EXPECT_EQ("100%%%% %%%%", EscapePercent(std::string("100%% %%")));
    EXPECT_EQ(L"%%S %%ls %%99999999d", EscapePercent(std::wstring(L"%S %ls %99999999d")));
    EXPECT_EQ(L"项目%%n", EscapePercent(std::wstring(L"项目%n")));
}

TEST(LogTextTest, EmbeddedNulIsKept)
{
    const std::string strText("a\0%", 3);
    EXPECT_EQ(std::string("a\0%%", 4), EscapePercent(strText));
}

// One more printf formatting of the escaped text gives the text back.
TEST(LogTextTest, OneFormattingRestoresTheText)
{
    const char* const aszTexts[] = {"%s%s%n", "%", "%%", "50% off", "%99999999d%-5.3ls%*d", "trailing %"};
    for (const char* szText : aszTexts) {
        const std::string strFormat = EscapePercent(std::string(szText));
        char szBuffer[128] = {};
        const int iLength = std::snprintf(szBuffer, sizeof(szBuffer), strFormat.c_str());
        EXPECT_EQ(std::string(szText), std::string(szBuffer)) << szText;
        EXPECT_EQ(static_cast<int>(std::string(szText).size()), iLength) << szText;
    }
}

// A request's printer and project names, logged the way the dialog logs the
// user's choice: the INFO record is formatted twice, and the record shows
// the names exactly.
TEST(LogTextTest, RequestNamesInAnInfoRecordAreLoggedLiterally)
{
    orvtest::LogCapture cap;
    const std::wstring strPrinterName = L"%s%s%n printer %S";
    const std::wstring strProjectName = L"100% project %99999999d";
    {
        ORV_TRACE_SCOPE("LogTextTest::Info");
        ORV_LOG_INFO_PLAIN("Selected printer : %S, selected project : %S", EscapePercent(strPrinterName).c_str(),
                           EscapePercent(strProjectName).c_str());
    }
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled here";
    }
    EXPECT_TRUE(cap.Contains(
        "] INFO - Selected printer : %s%s%n printer %S, selected project : 100% project %99999999d"))
        << cap.Text();
}

// The text of a "Param" record is the facade's format: an escaped value
// comes out as it is.
TEST(LogTextTest, ParameterTextWithEscapedValueIsLoggedLiterally)
{
    orvtest::LogCapture cap("OutputParam.OrvprintD_exe=true");
    {
        ORV_TRACE_SCOPE("LogTextTest::Param");
        const std::string strValue = "{szPrinterName = %s%n%s}";
        LogParam((std::string("LogTextTest::Param([stuPrinterInfo] = ") + EscapePercent(strValue) + ", )").c_str());
    }
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled here";
    }
    EXPECT_TRUE(cap.Contains("] Param - LogTextTest::Param([stuPrinterInfo] = {szPrinterName = %s%n%s}, )"))
        << cap.Text();
}

// Records are cut at their buffer's end, and a record ends before a name
// with a character the record's locale cannot write. Either can leave one "%" of an
// escaped "%%" at the end of the record; each call must still return and
// write its record, with the names' "%" signs coming out single.
TEST(LogTextTest, RecordsThatStopInsideAnEscapedPercentAreWritten)
{
    orvtest::LogCapture cap;
    // Runs of "%" longer than a record, starting at both parities of the cut.
    const std::vector<std::wstring> vecNames = {std::wstring(1023, L'%'), L"a" + std::wstring(1022, L'%'),
                                                L"%%%" + std::wstring(1, static_cast<wchar_t>(0xD800))};
    for (const std::wstring& strName : vecNames) {
        ORV_TRACE_SCOPE("LogTextTest::Cut");
        ORV_LOG_INFO_PLAIN("Selected printer : %S, selected project : %S", EscapePercent(strName).c_str(),
                           EscapePercent(std::wstring(L"P")).c_str());
    }
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled here";
    }
    const std::string strMarker = "] INFO - Selected printer : ";
    std::vector<std::string> vecRecords;
    for (const std::string& strLine : cap.Lines()) {
        const size_t uiAt = strLine.find(strMarker);
        if (uiAt != std::string::npos) {
            vecRecords.push_back(strLine.substr(uiAt + strMarker.size()));
        }
    }
    ASSERT_EQ(3u, vecRecords.size()) << cap.Text();
    // The record buffer holds 799 bytes: about half of them are the escaped
    // run, which comes out as single "%" signs.
    EXPECT_GT(vecRecords[0].size(), 300u);
    EXPECT_EQ(std::string::npos, vecRecords[0].find_first_not_of('%')) << vecRecords[0];
    ASSERT_FALSE(vecRecords[1].empty());
    EXPECT_EQ('a', vecRecords[1][0]);
    EXPECT_GT(vecRecords[1].size(), 300u);
    EXPECT_EQ(std::string::npos, vecRecords[1].find_first_not_of('%', 1)) << vecRecords[1];
    // Nothing of a name that cannot be converted, and nothing after it, on
    // every platform (the facade forms the record itself).
    EXPECT_EQ("", vecRecords[2]);
}

using Language::EscapeControls;

TEST(LogTextTest, TextWithoutControlCharactersIsUnchanged)
{
    // Backslashes, "%", Chinese and other characters beyond ASCII stay.
    const std::string strNarrow = "\\\\server\\Printer 3 %s 打印机 ä 😀 \xc2\xa0\xc2\xbf";
    EXPECT_EQ(strNarrow, EscapeControls(strNarrow));
    EXPECT_EQ("", EscapeControls(std::string()));
    const std::wstring strWide = L"\\\\server\\Printer 3 %s 打印机 ä \u00a0\u00ff";
    EXPECT_EQ(strWide, EscapeControls(strWide));
    EXPECT_EQ(L"", EscapeControls(std::wstring()));
}

TEST(LogTextTest, ControlCharactersAreWrittenAsText)
{
    EXPECT_EQ("A\\nFATAL forged", EscapeControls(std::string("A\nFATAL forged")));
    EXPECT_EQ("\\r\\n\\t", EscapeControls(std::string("\r\n\t")));
    EXPECT_EQ("\\x1b[31mred\\x1b[0m", EscapeControls(std::string("\x1b[31mred\x1b[0m")));
    EXPECT_EQ("\\x00\\x01\\x07\\x08\\x0b\\x0c\\x1f\\x7f", EscapeControls(std::string("\x00\x01\x07\x08\x0b\x0c\x1f\x7f", 8)));
    // C1 controls: two bytes in UTF-8.
    EXPECT_EQ("a\\u0080b\\u0085c\\u009bd\\u009f", EscapeControls(std::string("a\xc2\x80" "b\xc2\x85" "c\xc2\x9b" "d\xc2\x9f")));
    // The same in wide text.
    EXPECT_EQ(L"A\\nFATAL forged", EscapeControls(std::wstring(L"A\nFATAL forged")));
    EXPECT_EQ(L"\\x1b]0;title\\x07", EscapeControls(std::wstring(L"\x1b]0;title\x07")));
    EXPECT_EQ(L"\\x00\\x7f\\u0080\\u009b\\u009f", EscapeControls(std::wstring(L"\x00\x7f\u0080\u009b\u009f", 5)));
    EXPECT_EQ(L"打印机\\r\\n", EscapeControls(std::wstring(L"打印机\r\n")));
}

// After EscapePercent too, one formatting gives the escaped text: the two
// escapes do not meet.
TEST(LogTextTest, BothEscapesTogether)
{
    EXPECT_EQ("100%%\\n%%s", EscapePercent(EscapeControls(std::string("100%\n%s"))));
    EXPECT_EQ(EscapePercent(EscapeControls(std::string("100%\n%s"))),
              EscapeControls(EscapePercent(std::string("100%\n%s"))));
}
