// Requests that any local user can write into the shared block: every size
// and count the service would never send, texts without terminators, long
// ids, unpaired surrogates and printf conversions. Each request lies at
// offset 8 of a block of the shared block's full size, as in production, so
// that reads past the request area show up (under AddressSanitizer as
// reports, elsewhere as wrong bytes).
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"
#include "Src/Common/include/JobSelectedData.h"
#include "language/TextConvert.h"
#include "logging/LogMacros.h"
#include "support/LogCapture.h"

namespace {

const uint64_t REQUEST_CAPACITY = 2688408;
const size_t BLOCK_SIZE = 2688472;
const size_t REQUEST_AT = 8;
const size_t RESPONSE_LENGTH_AT = 8 + REQUEST_CAPACITY;
const size_t RESPONSE_AT = 16 + REQUEST_CAPACITY;
const size_t RESULT_AT = 16 + REQUEST_CAPACITY + 44;
const size_t PRINTER_SIZE = 6204;
const size_t PROJECT_SIZE = 4136;
const uint32_t VALID = 0;

uint64_t SizeOf(uint64_t uiPrinters, uint64_t uiProjects)
{
    return 8 + PRINTER_SIZE * uiPrinters + PROJECT_SIZE * uiProjects;
}

// The shared block, zeroed, with the request written at offset 8 through
// raw offsets.
class CSharedBlock {
public:
    CSharedBlock() : m_vecBlock(BLOCK_SIZE, 0) {}

    uint8_t* Request() { return m_vecBlock.data() + REQUEST_AT; }
    uint8_t* At(size_t uiOffset) { return m_vecBlock.data() + uiOffset; }

    void PutInt32(size_t uiRequestOffset, int32_t iValue) { std::memcpy(Request() + uiRequestOffset, &iValue, 4); }
    void PutUnits(size_t uiRequestOffset, const std::u16string& strUnits)
    {
        std::memcpy(Request() + uiRequestOffset, strUnits.data(), strUnits.size() * 2);
    }
    // Counts at their places for P printers (records left as they are).
    void SetCounts(int32_t iPrinters, int32_t iProjects)
    {
        PutInt32(0, iPrinters);
        PutInt32(4 + PRINTER_SIZE * static_cast<size_t>(iPrinters), iProjects);
    }
    static size_t PrinterAt(size_t uiIndex) { return 4 + PRINTER_SIZE * uiIndex; }
    static size_t ProjectAt(size_t uiPrinters, size_t uiIndex)
    {
        return 8 + PRINTER_SIZE * uiPrinters + PROJECT_SIZE * uiIndex;
    }

    // 0 when the request is accepted, else the refusal's code.
    uint32_t Decode(uint64_t uiSize)
    {
        try {
            CJobOptionData objOption(Request(), uiSize, true);
            return VALID;
        } catch (const CJobOptionDataException& e) {
            return e.GetCode();
        }
    }

private:
    std::vector<uint8_t> m_vecBlock;
};

std::u16string Repeat(char16_t ch, size_t uiCount)
{
    return std::u16string(uiCount, ch);
}

} // namespace

TEST(HostileRequestTest, SizesBelowTheSmallestRequestAreOutOfRange)
{
    CSharedBlock block;
    for (uint64_t uiSize = 0; uiSize < 8; ++uiSize) {
        EXPECT_EQ(CJobOptionDataException::OUT_OF_RANGE, block.Decode(uiSize)) << uiSize;
    }
    EXPECT_EQ(VALID, block.Decode(8));
}

TEST(HostileRequestTest, SizesBeyondTheRequestAreaAreOutOfRange)
{
    CSharedBlock block;
    block.SetCounts(100, 500);
    EXPECT_EQ(VALID, block.Decode(REQUEST_CAPACITY));
    const uint64_t aSizes[] = {REQUEST_CAPACITY + 1,
                               REQUEST_CAPACITY + 8,
                               BLOCK_SIZE,
                               0x100000000ull,
                               0x100000008ull,
                               0x8000000000000000ull,
                               std::numeric_limits<uint64_t>::max()};
    for (uint64_t uiSize : aSizes) {
        EXPECT_EQ(CJobOptionDataException::OUT_OF_RANGE, block.Decode(uiSize)) << uiSize;
    }
}

// Every size from 8 to a little beyond the valid one, for several counts:
// exactly one is accepted.
TEST(HostileRequestTest, EveryOtherSizeIsAFormatError)
{
    const int32_t aCounts[][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {2, 3}};
    for (const auto& counts : aCounts) {
        CSharedBlock block;
        block.SetCounts(counts[0], counts[1]);
        const uint64_t uiValid = SizeOf(static_cast<uint64_t>(counts[0]), static_cast<uint64_t>(counts[1]));
        int iAccepted = 0;
        for (uint64_t uiSize = 8; uiSize <= uiValid + PROJECT_SIZE; ++uiSize) {
            const uint32_t uiCode = block.Decode(uiSize);
            if (uiSize == uiValid) {
                EXPECT_EQ(VALID, uiCode);
            } else {
                ASSERT_EQ(CJobOptionDataException::FORMAT_ERROR, uiCode) << uiSize;
            }
            iAccepted += uiCode == VALID ? 1 : 0;
        }
        EXPECT_EQ(1, iAccepted);
    }
}

// A negative printer count would put the project count before the request
// (before the shared block): it is refused as a format error, whatever the
// size, without reading there.
TEST(HostileRequestTest, NegativePrinterCountsAreFormatErrors)
{
    const int32_t aPrinters[] = {-1, -2, -100, -433, std::numeric_limits<int32_t>::min()};
    for (int32_t iPrinters : aPrinters) {
        CSharedBlock block;
        block.PutInt32(0, iPrinters);
        for (uint64_t uiSize : {uint64_t(8), uint64_t(2076), uint64_t(10348), REQUEST_CAPACITY}) {
            EXPECT_EQ(CJobOptionDataException::FORMAT_ERROR, block.Decode(uiSize)) << iPrinters << " " << uiSize;
        }
    }
}

// A negative project count is no refusal by itself: the size decides. When
// the size matches 8 + 6204 P + 4136 Q the request is accepted and offers
// no project at all.
TEST(HostileRequestTest, NegativeProjectCountIsDecidedByTheSize)
{
    CSharedBlock block;
    block.SetCounts(1, -1);
    EXPECT_EQ(CJobOptionDataException::FORMAT_ERROR, block.Decode(8));
    EXPECT_EQ(CJobOptionDataException::FORMAT_ERROR, block.Decode(6212));
    ASSERT_EQ(VALID, block.Decode(8 + 6204 - 4136));

    CJobOptionData objOption(block.Request(), 8 + 6204 - 4136, true);
    EXPECT_EQ(1, objOption.GetPrinterCount());
    EXPECT_EQ(-1, objOption.GetProjectCount());
    CJobOptionData::PROJECT_INFO stuProject;
    for (uint32_t uiIndex : {0u, 1u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        uint32_t uiCode = VALID;
        try {
            objOption.GetProjectInfo(uiIndex, stuProject);
        } catch (const CJobOptionDataException& e) {
            uiCode = e.GetCode();
        }
        EXPECT_EQ(CJobOptionDataException::OUT_OF_RANGE, uiCode) << uiIndex;
    }

    block.SetCounts(0, std::numeric_limits<int32_t>::min());
    EXPECT_EQ(CJobOptionDataException::FORMAT_ERROR, block.Decode(8));
}

TEST(HostileRequestTest, TooManyPrintersOrProjectsAreRefusedWhateverTheSize)
{
    for (int32_t iPrinters : {101, 102, 1000, std::numeric_limits<int32_t>::max()}) {
        CSharedBlock block;
        block.PutInt32(0, iPrinters);
        EXPECT_EQ(CJobOptionDataException::TOO_MANY_PRINTER, block.Decode(8)) << iPrinters;
        EXPECT_EQ(CJobOptionDataException::TOO_MANY_PRINTER, block.Decode(REQUEST_CAPACITY)) << iPrinters;
    }
    for (int32_t iProjects : {501, 502, std::numeric_limits<int32_t>::max()}) {
        for (int32_t iPrinters : {0, 1, 100}) {
            CSharedBlock block;
            block.SetCounts(iPrinters, iProjects);
            EXPECT_EQ(CJobOptionDataException::TOO_MANY_PROJECT, block.Decode(8)) << iProjects;
            EXPECT_EQ(CJobOptionDataException::TOO_MANY_PROJECT, block.Decode(REQUEST_CAPACITY)) << iProjects;
        }
    }
}

// 100 printers and 500 projects fill the request area to its last byte. The
// record view accepts the index equal to the count; for the projects that
// record would lie behind the request area, past the shared block's end: it
// reads as zeros, and nothing outside the area is touched.
TEST(HostileRequestTest, LargestRequestIsReadInsideTheRequestArea)
{
    CSharedBlock block;
    block.SetCounts(100, 500);
    block.PutUnits(CSharedBlock::ProjectAt(100, 499), u"J500");
    // What follows the request area in the block.
    std::memset(block.At(RESPONSE_LENGTH_AT), 0xCC, BLOCK_SIZE - RESPONSE_LENGTH_AT);

    CJobOptionData objOption(block.Request(), REQUEST_CAPACITY, true);
    CJobOptionData::PRINTER_INFO stuPrinter;
    for (uint32_t i = 0; i <= 100; ++i) {
        objOption.GetPrinterInfo(i, stuPrinter);
    }
    CJobOptionData::PROJECT_INFO stuProject;
    objOption.GetProjectInfo(499, stuProject);
    EXPECT_EQ(std::wstring(L"J500"), Language::WideFromUtf16(stuProject.szProjectId, 20));

    std::memset(&stuProject, 0x5A, sizeof(stuProject));
    objOption.GetProjectInfo(500, stuProject);
    const std::vector<uint8_t> vecZero(sizeof(stuProject), 0);
    EXPECT_EQ(0, std::memcmp(&stuProject, vecZero.data(), sizeof(stuProject)));
}

// Texts that fill their whole field without a terminator are read to the
// field's end and no further.
TEST(HostileRequestTest, TextsWithoutTerminatorEndAtTheirField)
{
    CSharedBlock block;
    block.SetCounts(1, 1);
    const size_t uiPrinter = CSharedBlock::PrinterAt(0);
    block.PutUnits(uiPrinter, Repeat(u'I', 20));
    block.PutUnits(uiPrinter + 40, Repeat(u'N', 1024));
    block.PutUnits(uiPrinter + 2088, Repeat(u'C', 1024));
    block.PutUnits(uiPrinter + 4136, Repeat(u'D', 1024));
    block.PutInt32(uiPrinter + 6184, 0x41414141);
    const size_t uiProject = CSharedBlock::ProjectAt(1, 0);
    block.PutUnits(uiProject, Repeat(u'J', 20));
    block.PutUnits(uiProject + 40, Repeat(u'M', 1024));
    block.PutUnits(uiProject + 2088, Repeat(u'K', 1024));
    // The bytes behind the request are not zero either.
    std::memset(block.Request() + SizeOf(1, 1), 'Z', 64);

    CJobOptionData objOption(block.Request(), SizeOf(1, 1), true);
    CJobOptionData::PRINTER_INFO stuPrinter;
    objOption.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(std::wstring(20, L'I'), Language::WideFromUtf16(stuPrinter.szPrinterId, 20));
    EXPECT_EQ(std::wstring(1024, L'N'), Language::WideFromUtf16(stuPrinter.szPrinterName, 1024));
    EXPECT_EQ(std::wstring(1024, L'D'), Language::WideFromUtf16(stuPrinter.szDescription, 1024));
    const std::string strDump = CJobOptionData::DumpPrinterInfo(stuPrinter);
    EXPECT_NE(std::string::npos, strDump.find("szPrinterName = " + std::string(1024, 'N') + ", szComment = "));

    CJobOptionData::PROJECT_INFO stuProject;
    objOption.GetProjectInfo(0, stuProject);
    EXPECT_EQ(std::wstring(1024, L'K'), Language::WideFromUtf16(stuProject.szComment, 1024));
    EXPECT_EQ("{szProjectId = " + std::string(20, 'J') + ", szProjectName = " + std::string(1024, 'M') +
                  ", szComment = " + std::string(1024, 'K') + "}",
              CJobOptionData::DumpProjectInfo(stuProject));
}

// Ids of 10 and more characters (up to a full field with no terminator) go
// back cut to 9 characters and their terminator; the neighbouring field and
// the result code behind the answer stay as they were.
TEST(HostileRequestTest, LongIdsAreCutToNineCharactersInTheAnswer)
{
    for (size_t uiLength : {10u, 11u, 19u, 20u}) {
        CSharedBlock block;
        block.SetCounts(1, 1);
        block.PutUnits(CSharedBlock::PrinterAt(0), Repeat(u'P', uiLength));
        block.PutUnits(CSharedBlock::ProjectAt(1, 0), Repeat(u'J', uiLength));
        std::memset(block.At(RESULT_AT), 0xEE, 4);

        CJobOptionData objOption(block.Request(), SizeOf(1, 1), true);
        CJobSelectedData objSelected(block.At(RESPONSE_AT), 44, true);
        CJobOptionData::PRINTER_INFO stuPrinter;
        CJobOptionData::PROJECT_INFO stuProject;
        objOption.GetPrinterInfo(0, stuPrinter);
        objOption.GetProjectInfo(0, stuProject);
        objSelected.SetResult(CJobSelectedData::RESULT_OK);
        objSelected.SetProjectId(stuProject.szProjectId);
        objSelected.SetPrinterId(stuPrinter.szPrinterId);

        EXPECT_EQ(Repeat(u'P', 9), objSelected.GetPrinterId()) << uiLength;
        EXPECT_EQ(Repeat(u'J', 9), objSelected.GetProjectId()) << uiLength;
        char16_t aszField[10];
        std::memcpy(aszField, block.At(RESPONSE_AT + 4), sizeof(aszField));
        EXPECT_EQ(u'\0', aszField[9]);
        std::memcpy(aszField, block.At(RESPONSE_AT + 24), sizeof(aszField));
        EXPECT_EQ(u'\0', aszField[9]);
        const std::vector<uint8_t> vecMark(4, 0xEE);
        EXPECT_EQ(0, std::memcmp(block.At(RESULT_AT), vecMark.data(), 4));
    }
}

// Unpaired surrogates: the texts are read without harm (as U+FFFD where
// wchar_t is 32 bits), the dumps are made, and an id goes back unit for unit.
TEST(HostileRequestTest, UnpairedSurrogatesAreReadWithoutHarm)
{
    CSharedBlock block;
    block.SetCounts(1, 1);
    const std::u16string strName = {u'a', 0xD800, u'b', 0xDC00, 0xDBFF, 0xD83D, 0xDE00, 0xDFFF};
    block.PutUnits(CSharedBlock::PrinterAt(0), std::u16string{u'P', 0xD800});
    block.PutUnits(CSharedBlock::PrinterAt(0) + 40, strName);
    block.PutUnits(CSharedBlock::ProjectAt(1, 0), std::u16string{0xDC00});
    block.PutUnits(CSharedBlock::ProjectAt(1, 0) + 40, strName);

    CJobOptionData objOption(block.Request(), SizeOf(1, 1), true);
    CJobOptionData::PRINTER_INFO stuPrinter;
    objOption.GetPrinterInfo(0, stuPrinter);
    const std::wstring strWide = Language::WideFromUtf16(stuPrinter.szPrinterName, 1024);
    if (sizeof(wchar_t) == 2) {
        EXPECT_EQ(strName.size(), strWide.size());
    } else {
        const std::wstring strExpected = {L'a', 0xFFFD, L'b', 0xFFFD, 0xFFFD, static_cast<wchar_t>(0x1F600), 0xFFFD};
        EXPECT_EQ(strExpected, strWide);
    }
    EXPECT_EQ("a\xEF\xBF\xBD" "b\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD", Language::Utf8FromWide(strWide));
    CJobOptionData::DumpPrinterInfo(stuPrinter);

    CJobSelectedData objSelected(block.At(RESPONSE_AT), 44, true);
    objSelected.SetPrinterId(stuPrinter.szPrinterId);
    EXPECT_EQ((std::u16string{u'P', 0xD800}), objSelected.GetPrinterId());
}

// Names with printf conversions reach the log as the text of a "Param"
// record (the record dump is that record's format): they come out as they
// are, and nothing reads arguments that are not there.
TEST(HostileRequestTest, PrintfConversionsInNamesAreLoggedLiterally)
{
    orvtest::LogCapture cap("OutputParam.OrvprintD_exe=true");
    CSharedBlock block;
    block.SetCounts(1, 1);
    block.PutUnits(CSharedBlock::PrinterAt(0), u"%n%n");
    block.PutUnits(CSharedBlock::PrinterAt(0) + 40, u"%s%s%n%99999999d%S");
    block.PutUnits(CSharedBlock::ProjectAt(1, 0) + 40, u"100% %ls%n");

    CJobOptionData objOption(block.Request(), SizeOf(1, 1), true);
    CJobOptionData::PRINTER_INFO stuPrinter;
    CJobOptionData::PROJECT_INFO stuProject;
    objOption.GetPrinterInfo(0, stuPrinter);
    objOption.GetProjectInfo(0, stuProject);
    // Refused indexes log the record passed in with its texts.
    EXPECT_THROW(objOption.GetPrinterInfo(2, stuPrinter), CJobOptionDataException);
    EXPECT_THROW(objOption.GetProjectInfo(2, stuProject), CJobOptionDataException);
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled here";
    }
    EXPECT_TRUE(cap.Contains("] Param - CJobOptionData::GetPrinterInfo([iIndex] = 2, [stuPrinterInfo] = "
                             "{szPrinterId = %n%n, szPrinterName = %s%s%n%99999999d%S, szComment = , "))
        << cap.Text();
    EXPECT_TRUE(cap.Contains("[stuProjectInfo] = {szProjectId = , szProjectName = 100% %ls%n, szComment = }, )"))
        << cap.Text();
}

TEST(HostileRequestTest, AnswerAreasSmallerThanTheAnswerAreRefused)
{
    CSharedBlock block;
    for (uint64_t uiSize = 0; uiSize < 44; ++uiSize) {
        uint32_t uiCode = VALID;
        try {
            CJobSelectedData objSelected(block.At(RESPONSE_AT), uiSize, true);
        } catch (const CJobOptionDataException& e) {
            uiCode = e.GetCode();
        }
        EXPECT_EQ(CJobOptionDataException::INVALID_PARAMETER, uiCode) << uiSize;
    }
}
