#include <clocale>
#include <cstring>
#include <string>
#include <gtest/gtest.h>
#include "logging/RecordFormat.h"
#include "logging/ValueText.h"
#include "support/RecordTextLocale.h"

namespace {

// Sets the C library's locale for one test and restores the one before.
class ScopedCLocale {
public:
    ScopedCLocale()
    {
        const char* szOld = setlocale(LC_ALL, nullptr);
        m_strOld = szOld ? szOld : "C";
    }
    ~ScopedCLocale() { setlocale(LC_ALL, m_strOld.c_str()); }
    ScopedCLocale(const ScopedCLocale&) = delete;
    ScopedCLocale& operator=(const ScopedCLocale&) = delete;

private:
    std::string m_strOld;
};

template <class... TArgs>
std::string Format(size_t uiSize, const char* szFormat, TArgs... args)
{
    std::string strBuffer(uiSize + 8, '#');
    const size_t uiLength = FormatRecord(&strBuffer[0], uiSize, szFormat, args...);
    EXPECT_EQ(uiLength, std::strlen(strBuffer.c_str()));
    return strBuffer.substr(0, uiLength);
}

const size_t kRecord = 800;

} // namespace

TEST(RecordFormatTest, TheProgramsConversions)
{
    EXPECT_EQ("Src/x.cpp(12) : text", Format(kRecord, "%s(%d) : %s", "Src/x.cpp", 12, "text"));
    EXPECT_EQ("hEvent = 0x00001A2B", Format(kRecord, "hEvent = 0x%08X", 0x1A2Bu));
    EXPECT_EQ("[ThreadID:4294967295] INFO - m", Format(kRecord, "[ThreadID:%lu] INFO - %s", 4294967295UL, "m"));
    EXPECT_EQ("dwIndex = -1", Format(kRecord, "dwIndex = %d", -1));
    EXPECT_EQ("uiSize = 4294967295", Format(kRecord, "uiSize = %u", 0xFFFFFFFFu));
    EXPECT_EQ("ffffffffffffffff 18446744073709551615",
              Format(kRecord, "%llx %llu", 0xFFFFFFFFFFFFFFFFULL, 0xFFFFFFFFFFFFFFFFULL));
    EXPECT_EQ("-42            |", Format(kRecord, "%-15ld|", -42L));
    EXPECT_EQ("   ab|ab   |", Format(kRecord, "%*s|%-*s|", 5, "ab", 5, "ab"));
    EXPECT_EQ(" 7 -7", Format(kRecord, "% i % i", 7, -7));
    EXPECT_EQ("100%", Format(kRecord, "100%%"));
    EXPECT_EQ("(null)", Format(kRecord, "%s", static_cast<const char*>(nullptr)));
    EXPECT_EQ("(null)", Format(kRecord, "%S", static_cast<const wchar_t*>(nullptr)));
}

TEST(RecordFormatTest, FlagsWidthsAndPrecisions)
{
    EXPECT_EQ("+5|-0005|00012|  0x1f|0X1F|017|0", Format(kRecord, "%+d|%05d|%.5u|%#6x|%#X|%#o|%#o", 5, -5, 12u,
                                                          0x1Fu, 0x1Fu, 15u, 0u));
    EXPECT_EQ("|", Format(kRecord, "%.0d|", 0));
    EXPECT_EQ("abc|ab", Format(kRecord, "%.3s|%.*s", "abcdef", 2, "abcdef"));
    EXPECT_EQ("x  |  x", Format(kRecord, "%-3c|%3c", 'x', 'x'));
    EXPECT_EQ("-128 65535 255", Format(kRecord, "%hhd %hu %hhu", 128, 0x1FFFF, 0x1FF));
    EXPECT_EQ("123 -9", Format(kRecord, "%zu %lld", static_cast<size_t>(123), -9LL));
    EXPECT_EQ("1.50", Format(kRecord, "%.2f", 1.5));
    EXPECT_EQ("0x1f", Format(kRecord, "%p", reinterpret_cast<void*>(0x1F)));
}

// What is not a conversion is copied; "%n" never writes.
TEST(RecordFormatTest, UnknownConversionsAndPercentAtTheEnd)
{
    int iWritten = 12345;
    EXPECT_EQ("a%yb", Format(kRecord, "a%yb"));
    EXPECT_EQ("ab", Format(kRecord, "a%nb", &iWritten));
    EXPECT_EQ(12345, iWritten);
    EXPECT_EQ("end %", Format(kRecord, "end %"));
    EXPECT_EQ("end %-", Format(kRecord, "end %-"));
}

TEST(RecordFormatTest, CutAtTheBufferEndAndAlwaysTerminated)
{
    EXPECT_EQ("abcdefg", Format(8, "%s", "abcdefghij"));
    EXPECT_EQ("abcdefg", Format(8, "abcdefghij"));
    EXPECT_EQ("1234567", Format(8, "%d", 123456789));
    EXPECT_EQ("    ", Format(5, "%10s", "x"));
    EXPECT_EQ("", Format(1, "%s", "x"));
    // A size of 0 writes nothing at all.
    char szBuffer[4] = {'#', '#', '#', '\0'};
    EXPECT_EQ(0u, FormatRecord(szBuffer, 0, "%s", "x"));
    EXPECT_STREQ("###", szBuffer);
    // Nothing written after the cut.
    EXPECT_EQ("abc", Format(4, "%s%s", "abcdef", "XYZ"));
}

// A record of the facade: 799 bytes at most, whatever the C library.
TEST(RecordFormatTest, ALongRecordIsCutAt799Bytes)
{
    const std::string strName(2000, 'n');
    const std::string strRecord = Format(kRecord, "Selected printer : %s, selected project : %s", strName.c_str(), "P");
    ASSERT_EQ(799u, strRecord.size());
    EXPECT_EQ("Selected printer : nnn", strRecord.substr(0, 22));
    EXPECT_EQ(std::string::npos, strRecord.find(", selected project"));
}

// A run of escaped "%%" cut at the record's end can leave one "%" last; the
// facade drops it, but the cut itself lands on the same byte everywhere.
TEST(RecordFormatTest, EscapedPercentRunsAreCutAtTheSameByteEverywhere)
{
    const std::string strRun(2046, '%');
    const std::string strRecord = Format(kRecord, "Selected printer : %s", strRun.c_str());
    EXPECT_EQ(799u, strRecord.size());
    EXPECT_EQ(780u, strRecord.size() - std::strlen("Selected printer : "));
}

// Wide text: whole characters only, and a text with a character the locale
// cannot express ends the record before it.
TEST(RecordFormatTest, WideTextInTheCLocale)
{
    ScopedCLocale restore;
    ASSERT_NE(nullptr, setlocale(LC_ALL, "C"));
    EXPECT_EQ("Selected printer : Printer 3, selected project : P",
              Format(kRecord, "Selected printer : %S, selected project : %ls", L"Printer 3", L"P"));
    EXPECT_EQ("Selected printer : ",
              Format(kRecord, "Selected printer : %S, selected project : %S", L"%%%\x4E00", L"P"));
    EXPECT_EQ("ab", Format(kRecord, "%.2S", L"abc"));
    EXPECT_EQ("  ab", Format(kRecord, "%4S", L"ab"));
    EXPECT_EQ("x", Format(kRecord, "%lc", static_cast<wint_t>(L'x')));
}

// Start-up sets the record locale before logging is configured: Chinese
// names convert from the first record on, in the platform's code page.
TEST(RecordFormatTest, StartUpLocaleConvertsChineseNames)
{
    orvtest::ScopedRecordTextLocale locale;
    EXPECT_EQ(std::string("Selected printer : ") + orvtest::kPrinterANarrow + ", selected project : " +
                  orvtest::kProject1Narrow,
              Format(kRecord, "Selected printer : %S, selected project : %S", L"打印机A", L"项目1"));
}

// Cut inside Chinese text: only whole characters of the code page.
TEST(RecordFormatTest, ChineseTextIsCutAtAWholeCharacter)
{
    orvtest::ScopedRecordTextLocale locale;
    const std::wstring strName(400, L'项');
    const std::string strRecord = Format(kRecord, "%S", strName.c_str());
    const size_t uiChar = std::strlen(orvtest::kXiangNarrow);
    EXPECT_EQ(0u, strRecord.size() % uiChar);
    EXPECT_GT(strRecord.size(), 799u - uiChar);
    EXPECT_EQ(std::string(orvtest::kXiangNarrow), strRecord.substr(strRecord.size() - uiChar));
}
