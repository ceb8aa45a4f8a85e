#include <cstring>
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "Src/Common/include/JobSelectedData.h"
#include "RecordLogLines.h"
#include "support/LogCapture.h"

using recordtest::NormalizedLines;

namespace {

std::vector<uint8_t> Bytes(const uint8_t* pby, size_t uiCount)
{
    return std::vector<uint8_t>(pby, pby + uiCount);
}

std::vector<uint8_t> Utf16Bytes(const std::u16string& strText, size_t uiChars)
{
    std::vector<uint8_t> vec(2 * uiChars, 0);
    for (size_t i = 0; i < strText.size() && i < uiChars; ++i) {
        vec[2 * i] = static_cast<uint8_t>(strText[i] & 0xFF);
        vec[2 * i + 1] = static_cast<uint8_t>(strText[i] >> 8);
    }
    return vec;
}

} // namespace

TEST(JobSelectedDataTest, BufferOf43BytesIsInvalidParameter)
{
    orvtest::LogCapture cap;
    std::vector<uint8_t> vecBuffer(43, 0x5A);
    uint32_t uiCode = 0;
    try {
        CJobSelectedData answer(vecBuffer.data(), 43);
    } catch (const CJobOptionDataException& e) {
        uiCode = e.GetCode();
    }
    EXPECT_EQ(6u, uiCode);
    EXPECT_EQ(std::vector<uint8_t>(43, 0x5A), vecBuffer);
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            "[ThreadID:#] DEBUG - Src/Common/include/JobSelectedData.cpp(#) : uiSize = 43",
            "[ThreadID:#] DEBUG - Src/Common/include/JobSelectedData.cpp(#) : TOTAL_BUFFER_SIZE = 44",
            "[ThreadID:#] ERROR - Src/Common/include/JobSelectedData.cpp(#) : "
            "throw CJobOptionDataException(CJobOptionDataException::INVALID_PARAMETER)",
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobSelectedDataTest, LargerBufferIsAcceptedAndTheSizeReads44)
{
    std::vector<uint8_t> vecBuffer(100, 0x5A);
    CJobSelectedData answer(vecBuffer.data(), 100);
    EXPECT_EQ(44u, answer.GetSize());
    EXPECT_TRUE(answer.IsAttached());
    EXPECT_EQ(vecBuffer.data(), answer.GetBuffer());
    // Construction writes nothing.
    EXPECT_EQ(std::vector<uint8_t>(100, 0x5A), vecBuffer);

    CJobSelectedData exact(vecBuffer.data(), 44, false);
    EXPECT_EQ(44u, exact.GetSize());
    EXPECT_TRUE(exact.IsAttached());
}

TEST(JobSelectedDataTest, NullBufferIsInvalidParameter)
{
    try {
        CJobSelectedData answer(nullptr, 44);
        FAIL() << "no exception";
    } catch (const OrvUtility::CBaseException& e) {
        EXPECT_EQ(6u, e.GetCode());
    }
}

TEST(JobSelectedDataTest, AnswerOfAConfirmedChoiceHasItsWireLayout)
{
    std::vector<uint8_t> vecBuffer(100, 0xEE);
    CJobSelectedData answer(vecBuffer.data(), 100);
    answer.SetResult(CJobSelectedData::RESULT_OK);
    answer.SetPrinterId(u"P001");
    answer.SetProjectId(std::wstring(L"J42"));

    EXPECT_EQ(std::vector<uint8_t>({0, 0, 0, 0}), Bytes(vecBuffer.data(), 4));
    EXPECT_EQ(Utf16Bytes(u"P001", 10), Bytes(vecBuffer.data() + 4, 20));
    EXPECT_EQ(Utf16Bytes(u"J42", 10), Bytes(vecBuffer.data() + 24, 20));
    // Nothing behind the 44 bytes.
    EXPECT_EQ(std::vector<uint8_t>(56, 0xEE), Bytes(vecBuffer.data() + 44, 56));

    EXPECT_EQ(0, answer.GetResult());
    EXPECT_EQ(std::u16string(u"P001"), answer.GetPrinterId());
    EXPECT_EQ(std::u16string(u"J42"), answer.GetProjectId());
}

TEST(JobSelectedDataTest, CancelWritesOnlyTheResult)
{
    std::vector<uint8_t> vecBuffer(44, 0xEE);
    CJobSelectedData answer(vecBuffer.data(), 44);
    answer.SetResult(CJobSelectedData::RESULT_CANCEL);
    EXPECT_EQ(std::vector<uint8_t>({1, 0, 0, 0}), Bytes(vecBuffer.data(), 4));
    EXPECT_EQ(std::vector<uint8_t>(40, 0xEE), Bytes(vecBuffer.data() + 4, 40));
    EXPECT_EQ(1, answer.GetResult());
}

TEST(JobSelectedDataTest, ClearIdsZeroesBothFields)
{
    std::vector<uint8_t> vecBuffer(44, 0xEE);
    CJobSelectedData answer(vecBuffer.data(), 44);
    answer.ClearIds();
    EXPECT_EQ(std::vector<uint8_t>(4, 0xEE), Bytes(vecBuffer.data(), 4));
    EXPECT_EQ(std::vector<uint8_t>(40, 0), Bytes(vecBuffer.data() + 4, 40));
    EXPECT_EQ(std::u16string(), answer.GetPrinterId());
    answer.SetPrinterId(u"X");
    answer.SetPrinterId(static_cast<const char16_t*>(nullptr));
    EXPECT_EQ(std::vector<uint8_t>(20, 0), Bytes(vecBuffer.data() + 4, 20));
}

TEST(JobSelectedDataTest, NineCharacterIdFillsItsField)
{
    std::vector<uint8_t> vecBuffer(44, 0xEE);
    CJobSelectedData answer(vecBuffer.data(), 44);
    answer.SetPrinterId(u"123456789");
    answer.SetProjectId(u"abcdefghi");
    EXPECT_EQ(Utf16Bytes(u"123456789", 10), Bytes(vecBuffer.data() + 4, 20));
    EXPECT_EQ(Utf16Bytes(u"abcdefghi", 10), Bytes(vecBuffer.data() + 24, 20));
}

TEST(JobSelectedDataTest, LongIdIsCutToNineCharactersInsideItsField)
{
    std::vector<uint8_t> vecBuffer(64, 0xEE);
    CJobSelectedData answer(vecBuffer.data(), 64);
    answer.SetProjectId(u"PROJ");
    // 20 characters, the full width of a request id.
    answer.SetPrinterId(u"ABCDEFGHIJKLMNOPQRST");
    EXPECT_EQ(Utf16Bytes(u"ABCDEFGHI", 10), Bytes(vecBuffer.data() + 4, 20));
    // The neighbour field is untouched.
    EXPECT_EQ(Utf16Bytes(u"PROJ", 10), Bytes(vecBuffer.data() + 24, 20));
    EXPECT_EQ(std::u16string(u"ABCDEFGHI"), answer.GetPrinterId());

    answer.SetProjectId(u"0123456789");
    EXPECT_EQ(Utf16Bytes(u"012345678", 10), Bytes(vecBuffer.data() + 24, 20));
    EXPECT_EQ(std::vector<uint8_t>(20, 0xEE), Bytes(vecBuffer.data() + 44, 20));
}

TEST(JobSelectedDataTest, ChineseIdIsStoredAsUtf16)
{
    std::vector<uint8_t> vecBuffer(44, 0);
    CJobSelectedData answer(vecBuffer.data(), 44);
    answer.SetPrinterId(std::wstring(L"\u6253\u5370"));
    EXPECT_EQ(std::vector<uint8_t>({0x53, 0x62, 0x70, 0x53, 0, 0}), Bytes(vecBuffer.data() + 4, 6));
}

TEST(JobSelectedDataTest, ConstructorAndDestructorOpenTheirTraceScopes)
{
    orvtest::LogCapture cap("OutputFunBeginInfo.OrvprintD_exe=TRUE");
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled";
    }
    {
        std::vector<uint8_t> vecBuffer(44, 0);
        CJobSelectedData answer(vecBuffer.data(), 44);
    }
    EXPECT_EQ(1, cap.Count("] OrvprintD_exe__CJobSelectedData::CJobSelectedData :START......"));
    EXPECT_EQ(1, cap.Count("] OrvprintD_exe__CJobSelectedData::CJobSelectedData :End  ......"));
    EXPECT_EQ(1, cap.Count("] OrvprintD_exe__CJobSelectedData::~CJobSelectedData :START......"));
    EXPECT_EQ(1, cap.Count("] OrvprintD_exe__CJobSelectedData::~CJobSelectedData :End  ......"));
}
