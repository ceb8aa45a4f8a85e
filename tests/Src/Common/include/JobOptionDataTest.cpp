#include <cstring>
#include <string>
#include <vector>
#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"
#include "RecordLogLines.h"
#include "logging/FunctionParameters.h"
#include "support/JobRequestBuilder.h"
#include "support/LogCapture.h"

using recordtest::NormalizedLines;
using orvtest::CJobRequestBuilder;

namespace {

const char* const kFile = "Src/Common/include/JobOptionData.cpp(#) : ";

std::string Error(const std::string& strText)
{
    return std::string("[ThreadID:#] ERROR - ") + kFile + strText;
}

std::string Debug(const std::string& strText)
{
    return std::string("[ThreadID:#] DEBUG - ") + kFile + strText;
}

// Constructs a view and returns the code it threw, or 0.
uint32_t ConstructCode(const void* pBuffer, uint64_t uiSize)
{
    try {
        CJobOptionData data(pBuffer, uiSize, true);
        return 0;
    } catch (const CJobOptionDataException& e) {
        return e.GetCode();
    }
}

template <class T>
void FillPattern(T& stuRecord, uint8_t byValue)
{
    std::memset(&stuRecord, byValue, sizeof(stuRecord));
}

template <class T>
bool AllBytes(const T& stuRecord, uint8_t byValue)
{
    const uint8_t* pby = reinterpret_cast<const uint8_t*>(&stuRecord);
    for (size_t i = 0; i < sizeof(T); ++i) {
        if (pby[i] != byValue) return false;
    }
    return true;
}

} // namespace

TEST(JobOptionDataTest, ExceptionCodesAndBase)
{
    EXPECT_EQ(2u, static_cast<uint32_t>(CJobOptionDataException::OUT_OF_RANGE));
    EXPECT_EQ(3u, static_cast<uint32_t>(CJobOptionDataException::FORMAT_ERROR));
    EXPECT_EQ(4u, static_cast<uint32_t>(CJobOptionDataException::TOO_MANY_PRINTER));
    EXPECT_EQ(5u, static_cast<uint32_t>(CJobOptionDataException::TOO_MANY_PROJECT));
    EXPECT_EQ(6u, static_cast<uint32_t>(CJobOptionDataException::INVALID_PARAMETER));
    EXPECT_EQ(sizeof(OrvUtility::CBaseException), sizeof(CJobOptionDataException));

    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    try {
        CJobOptionData data(req.Data(), 7);
        FAIL() << "no exception";
    } catch (const OrvUtility::CBaseException& e) {
        EXPECT_EQ(2u, e.GetCode());
    }
}

TEST(JobOptionDataTest, WireSizesAndConstants)
{
    EXPECT_EQ(6204u, sizeof(CJobOptionData::PRINTER_INFO));
    EXPECT_EQ(4136u, sizeof(CJobOptionData::PROJECT_INFO));
    EXPECT_EQ(2688408u, CJobOptionData::MAX_BUFFER_SIZE);
    EXPECT_EQ(101, CJobOptionData::TOO_MANY_PRINTER);
    EXPECT_EQ(501, CJobOptionData::TOO_MANY_PROJECT);
}

TEST(JobOptionDataTest, EmptyRequestOfEightBytesIsValid)
{
    orvtest::LogCapture cap;
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(0, 0);
    CJobOptionData data(req.Data(), 8, true);
    EXPECT_EQ(0, data.GetPrinterCount());
    EXPECT_EQ(0, data.GetProjectCount());
    EXPECT_TRUE(data.IsAttached());
    EXPECT_EQ(req.Data(), data.GetBuffer());
    EXPECT_EQ(8u, data.GetSize());
    if (cap.Available()) {
        EXPECT_TRUE(NormalizedLines(cap).empty());
    }
}

TEST(JobOptionDataTest, AttachedFlagIsAlwaysSetAndNothingIsFreed)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(0, 0);
    {
        CJobOptionData data(req.Data(), 8, false);
        EXPECT_TRUE(data.IsAttached());
    }
    // The area is still ours and intact.
    EXPECT_EQ(0, req.GetInt32(0));
}

TEST(JobOptionDataTest, FieldsAreReadFromTheirWireOffsets)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(2, 2);
    req.PutPrinter(0, u"P01", u"Printer A", u"first", u"desc A", 1, 50, 12, 3, 0);
    req.PutPrinter(1, u"P02", u"Printer B", u"second", u"desc B", -7, 2147483647, -1, 0, 1);
    req.PutProject(2, 0, u"J01", u"Project X", u"px");
    req.PutProject(2, 1, u"J02", u"Project Y", u"py");
    CJobOptionData data(req.Data(), CJobRequestBuilder::RequestSize(2, 2));
    ASSERT_EQ(2, data.GetPrinterCount());
    ASSERT_EQ(2, data.GetProjectCount());

    CJobOptionData::PRINTER_INFO stuPrinter;
    data.GetPrinterInfo(1, stuPrinter);
    EXPECT_EQ(std::u16string(u"P02"), std::u16string(stuPrinter.szPrinterId));
    EXPECT_EQ(std::u16string(u"Printer B"), std::u16string(stuPrinter.szPrinterName));
    EXPECT_EQ(std::u16string(u"second"), std::u16string(stuPrinter.szComment));
    EXPECT_EQ(std::u16string(u"desc B"), std::u16string(stuPrinter.szDescription));
    EXPECT_EQ(-7, stuPrinter.iStatus);
    EXPECT_EQ(2147483647, stuPrinter.iMaxPagesPerJob);
    EXPECT_EQ(-1, stuPrinter.iPageTotal);
    EXPECT_EQ(0, stuPrinter.iPrintTaskTotal);
    EXPECT_TRUE(stuPrinter.bTooMayPages);
    // The whole record is copied byte for byte.
    EXPECT_EQ(0, std::memcmp(&stuPrinter, req.Data() + CJobRequestBuilder::PrinterAt(1), 6204));

    data.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(std::u16string(u"P01"), std::u16string(stuPrinter.szPrinterId));
    EXPECT_FALSE(stuPrinter.bTooMayPages);

    CJobOptionData::PROJECT_INFO stuProject;
    data.GetProjectInfo(1, stuProject);
    EXPECT_EQ(std::u16string(u"J02"), std::u16string(stuProject.szProjectId));
    EXPECT_EQ(std::u16string(u"Project Y"), std::u16string(stuProject.szProjectName));
    EXPECT_EQ(std::u16string(u"py"), std::u16string(stuProject.szComment));
    EXPECT_EQ(0, std::memcmp(&stuProject, req.Data() + CJobRequestBuilder::ProjectAt(2, 1), 4136));
}

TEST(JobOptionDataTest, LargestRequestIsValid)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(100, 500);
    req.PutPrinter(99, u"P100", u"last printer", u"", u"", 0, 0, 0, 0, 1);
    req.PutProject(100, 499, u"J500", u"last project", u"end");
    ASSERT_EQ(2688408u, CJobRequestBuilder::RequestSize(100, 500));
    CJobOptionData data(req.Data(), 2688408);
    EXPECT_EQ(100, data.GetPrinterCount());
    EXPECT_EQ(500, data.GetProjectCount());
    CJobOptionData::PRINTER_INFO stuPrinter;
    data.GetPrinterInfo(99, stuPrinter);
    EXPECT_EQ(std::u16string(u"P100"), std::u16string(stuPrinter.szPrinterId));
    CJobOptionData::PROJECT_INFO stuProject;
    data.GetProjectInfo(499, stuProject);
    EXPECT_EQ(std::u16string(u"J500"), std::u16string(stuProject.szProjectId));
    EXPECT_EQ(std::u16string(u"end"), std::u16string(stuProject.szComment));
}

TEST(JobOptionDataTest, OneByteOverTheLargestIsOutOfRangeBeforeAnyCount)
{
    orvtest::LogCapture cap;
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    // Counts that would be refused if they were read.
    req.SetCounts(101, 501);
    EXPECT_EQ(2u, ConstructCode(req.Data(), 2688409));
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Error("Parameter error."),
            Error("throw CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, TooShortOrNullIsOutOfRange)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(0, 0);
    EXPECT_EQ(2u, ConstructCode(req.Data(), 7));
    EXPECT_EQ(2u, ConstructCode(req.Data(), 0));
    EXPECT_EQ(2u, ConstructCode(req.Data(), 0xFFFFFFFFFFFFFFFFull));
    EXPECT_EQ(2u, ConstructCode(nullptr, 8));
}

TEST(JobOptionDataTest, TooManyPrintersEvenWhenTheSizeFits)
{
    orvtest::LogCapture cap;
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(101, 0);
    EXPECT_EQ(4u, ConstructCode(req.Data(), CJobRequestBuilder::RequestSize(101, 0)));
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Error("TOO_MANY_PRINTER. GetPrinterCount() = 101"),
            Error("throw CJobOptionDataException(CJobOptionDataException::TOO_MANY_PRINTER)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, TooManyProjects)
{
    orvtest::LogCapture cap;
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(100, 501);
    EXPECT_EQ(5u, ConstructCode(req.Data(), 2688408));
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Error("TOO_MANY_PROJECT. GetProjectCount() = 501"),
            Error("throw CJobOptionDataException(CJobOptionDataException::TOO_MANY_PROJECT)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, ProjectCountIsReadBeyondAShortSizeBeforeTheFormatCheck)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    // One printer announced, but only 8 bytes given: the project count is
    // read behind the given size, inside the area.
    req.SetCounts(1, 501);
    EXPECT_EQ(5u, ConstructCode(req.Data(), 8));
    req.SetCounts(1, 0);
    EXPECT_EQ(3u, ConstructCode(req.Data(), 8));
}

TEST(JobOptionDataTest, OnePrinterOneProjectNeedsTheExactSize)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    ASSERT_EQ(10348u, CJobRequestBuilder::RequestSize(1, 1));
    EXPECT_EQ(0u, ConstructCode(req.Data(), 10348));
    EXPECT_EQ(3u, ConstructCode(req.Data(), 10349));

    orvtest::LogCapture cap;
    EXPECT_EQ(3u, ConstructCode(req.Data(), 10347));
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Error("Shared memory buffer format error."),
            Error("throw CJobOptionDataException(CJobOptionDataException::FORMAT_ERROR)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, NegativePrinterCountIsAFormatError)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    // The project count would lie before the buffer: it is not read.
    req.PutInt32(0, -1);
    EXPECT_EQ(3u, ConstructCode(req.Data(), 8));
    req.PutInt32(0, -2);
    EXPECT_EQ(3u, ConstructCode(req.Data(), 8));
    req.PutInt32(0, static_cast<int32_t>(0x80000000u));
    EXPECT_EQ(3u, ConstructCode(req.Data(), 8));
}

TEST(JobOptionDataTest, NegativeProjectCountPassesWhenTheSumMatches)
{
    // 8 + 6204*2 + 4136*(-3) == 8: the signed comparisons let it through.
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(2, -3);
    CJobOptionData data(req.Data(), 8);
    EXPECT_EQ(2, data.GetPrinterCount());
    EXPECT_EQ(-3, data.GetProjectCount());
    CJobOptionData::PROJECT_INFO stuProject;
    try {
        data.GetProjectInfo(0, stuProject);
        FAIL() << "no exception";
    } catch (const CJobOptionDataException& e) {
        EXPECT_EQ(2u, e.GetCode());
    }
    // Otherwise a negative count fails the size check.
    req.SetCounts(1, -1);
    EXPECT_EQ(3u, ConstructCode(req.Data(), 8));
}

TEST(JobOptionDataTest, PrinterIndexEqualToTheCountIsAccepted)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    req.PutProject(1, 0, u"J01", u"Project", u"c");
    CJobOptionData data(req.Data(), 10348);
    CJobOptionData::PRINTER_INFO stuPrinter;
    FillPattern(stuPrinter, 0xAB);
    data.GetPrinterInfo(1, stuPrinter);
    // The bytes behind the last printer: the project count, then the project.
    EXPECT_EQ(0, std::memcmp(&stuPrinter, req.Data() + CJobRequestBuilder::PrinterAt(1), 6204));
    EXPECT_EQ(u'\x1', stuPrinter.szPrinterId[0]);
    EXPECT_EQ(std::u16string(u"J01"), std::u16string(stuPrinter.szPrinterId + 2));
}

TEST(JobOptionDataTest, PrinterIndexBeyondTheCountIsOutOfRange)
{
    orvtest::LogCapture cap("OutputParam.OrvprintD_exe=TRUE");
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    CJobOptionData data(req.Data(), 10348);
    CJobOptionData::PRINTER_INFO stuPrinter;
    FillPattern(stuPrinter, 0);
    uint32_t uiCode = 0;
    try {
        data.GetPrinterInfo(2, stuPrinter);
    } catch (const CJobOptionDataException& e) {
        uiCode = e.GetCode();
    }
    EXPECT_EQ(2u, uiCode);
    EXPECT_TRUE(AllBytes(stuPrinter, 0));
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Debug("iIndex = 2"),
            Debug("GetPrinterCount() = 1"),
            "[ThreadID:#] Param - CJobOptionData::GetPrinterInfo([iIndex] = 2, [stuPrinterInfo] = "
            "{szPrinterId = , szPrinterName = , szComment = , szDescription = , iStatus = 0, "
            "iMaxPagesPerJob = 0, iPageTotal = 0, iPrintTaskTotal = 0, bTooMayPages = 0, )",
            Error("throw CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, RefusedIndexLeavesTheRecordUntouched)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(0, 0);
    CJobOptionData data(req.Data(), 8);
    CJobOptionData::PRINTER_INFO stuPrinter;
    FillPattern(stuPrinter, 0xAB);
    data.GetPrinterInfo(0, stuPrinter); // one past the end of an empty list
    EXPECT_EQ(0, std::memcmp(&stuPrinter, req.Data() + 4, 6204));
    FillPattern(stuPrinter, 0xAB);
    EXPECT_THROW(data.GetPrinterInfo(1, stuPrinter), CJobOptionDataException);
    EXPECT_TRUE(AllBytes(stuPrinter, 0xAB));
}

TEST(JobOptionDataTest, IndexWithTheHighBitSetIsOutOfRange)
{
    orvtest::LogCapture cap;
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    CJobOptionData data(req.Data(), 10348);
    CJobOptionData::PRINTER_INFO stuPrinter;
    uint32_t uiCode = 0;
    try {
        data.GetPrinterInfo(0xFFFFFFFFu, stuPrinter);
    } catch (const CJobOptionDataException& e) {
        uiCode = e.GetCode();
    }
    EXPECT_EQ(2u, uiCode);
    CJobOptionData::PROJECT_INFO stuProject;
    EXPECT_THROW(data.GetProjectInfo(0x80000000u, stuProject), CJobOptionDataException);
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(" : iIndex = -1"));
        EXPECT_EQ(1, cap.Count(" : iIndex = -2147483648"));
    }
}

TEST(JobOptionDataTest, ProjectIndexEqualToTheCountIsAcceptedAndBeyondIsOutOfRange)
{
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    CJobOptionData data(req.Data(), 10348);
    CJobOptionData::PROJECT_INFO stuProject;
    FillPattern(stuProject, 0xCD);
    data.GetProjectInfo(1, stuProject);
    EXPECT_EQ(0, std::memcmp(&stuProject, req.Data() + CJobRequestBuilder::ProjectAt(1, 1), 4136));

    orvtest::LogCapture cap("OutputParam.OrvprintD_exe=TRUE");
    FillPattern(stuProject, 0);
    uint32_t uiCode = 0;
    try {
        data.GetProjectInfo(2, stuProject);
    } catch (const CJobOptionDataException& e) {
        uiCode = e.GetCode();
    }
    EXPECT_EQ(2u, uiCode);
    if (cap.Available()) {
        const std::vector<std::string> expected = {
            Debug("iIndex = 2"),
            Debug("GetProjectCount() = 1"),
            "[ThreadID:#] Param - CJobOptionData::GetProjectInfo([iIndex] = 2, [stuProjectInfo] = "
            "{szProjectId = , szProjectName = , szComment = }, )",
            Error("throw CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE)"),
        };
        EXPECT_EQ(expected, NormalizedLines(cap));
    }
}

TEST(JobOptionDataTest, OperationsOpenTheirTraceScopes)
{
    orvtest::LogCapture cap("OutputFunBeginInfo.OrvprintD_exe=TRUE");
    if (!cap.Available()) {
        GTEST_SKIP() << "logging is built disabled";
    }
    CJobRequestBuilder req(CJobOptionData::MAX_BUFFER_SIZE);
    req.SetCounts(1, 1);
    {
        CJobOptionData data(req.Data(), 10348);
        CJobOptionData::PRINTER_INFO stuPrinter;
        data.GetPrinterInfo(0, stuPrinter);
        CJobOptionData::PROJECT_INFO stuProject;
        data.GetProjectInfo(0, stuProject);
    }
    // Outermost scopes in call order; the count getters nest inside.
    std::vector<std::string> vecScopes;
    int iDepth = 0;
    for (const std::string& strLine : NormalizedLines(cap)) {
        if (strLine.find("OrvprintD_exe__CJobOptionData") == std::string::npos) {
            continue;
        }
        const bool bStart = strLine.find(":START......") != std::string::npos;
        if (bStart && iDepth++ == 0) {
            vecScopes.push_back(strLine);
        } else if (!bStart && --iDepth == 0) {
            vecScopes.push_back(strLine);
        }
    }
    const std::vector<std::string> expected = {
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::CJobOptionData :START......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::CJobOptionData :End  ......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::GetPrinterInfo :START......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::GetPrinterInfo :End  ......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::GetProjectInfo :START......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::GetProjectInfo :End  ......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::~CJobOptionData :START......",
        "[ThreadID:#] OrvprintD_exe__CJobOptionData::~CJobOptionData :End  ......",
    };
    EXPECT_EQ(expected, vecScopes);
    EXPECT_EQ(0, iDepth);
    // GetPrinterInfo asks for the printer count once; GetProjectInfo asks for
    // the project count (which reads the printer count) and the printer count.
    EXPECT_EQ(3, cap.Count("] OrvprintD_exe__CJobOptionData::GetPrinterCount :START......"));
    EXPECT_EQ(1, cap.Count("] OrvprintD_exe__CJobOptionData::GetProjectCount :START......"));
}

// Record dumps.

namespace {

CJobOptionData::PRINTER_INFO MakePrinter(const std::u16string& strId, const std::u16string& strName, bool bTooMany)
{
    CJobOptionData::PRINTER_INFO stuPrinter;
    std::memset(&stuPrinter, 0, sizeof(stuPrinter));
    std::memcpy(stuPrinter.szPrinterId, strId.c_str(), 2 * strId.size());
    std::memcpy(stuPrinter.szPrinterName, strName.c_str(), 2 * strName.size());
    std::memcpy(stuPrinter.szComment, u"2F east", 14);
    std::memcpy(stuPrinter.szDescription, u"mono A4", 14);
    stuPrinter.iStatus = 1;
    stuPrinter.iMaxPagesPerJob = 50;
    stuPrinter.iPageTotal = 120;
    stuPrinter.iPrintTaskTotal = -3;
    stuPrinter.bTooMayPages = bTooMany;
    return stuPrinter;
}

} // namespace

TEST(JobOptionDataDumpTest, PrinterDumpWithTheFlagSetEndsWithOneAndNoBrace)
{
    const CJobOptionData::PRINTER_INFO stuPrinter = MakePrinter(u"P001", u"HP LaserJet", true);
    EXPECT_EQ("{szPrinterId = P001, szPrinterName = HP LaserJet, szComment = 2F east, szDescription = mono A4, "
              "iStatus = 1, iMaxPagesPerJob = 50, iPageTotal = 120, iPrintTaskTotal = -3, bTooMayPages = 1",
              CJobOptionData::DumpPrinterInfo(stuPrinter));
}

TEST(JobOptionDataDumpTest, PrinterDumpWithTheFlagClear)
{
    const CJobOptionData::PRINTER_INFO stuPrinter = MakePrinter(u"P002", u"Canon", false);
    EXPECT_EQ("{szPrinterId = P002, szPrinterName = Canon, szComment = 2F east, szDescription = mono A4, "
              "iStatus = 1, iMaxPagesPerJob = 50, iPageTotal = 120, iPrintTaskTotal = -3, bTooMayPages = 0",
              CJobOptionData::DumpPrinterInfo(stuPrinter));
}

TEST(JobOptionDataDumpTest, FlagByteOtherThanOneDumpsAsOne)
{
    CJobOptionData::PRINTER_INFO stuPrinter = MakePrinter(u"P", u"N", false);
    const uint8_t byFlag = 2;
    std::memcpy(&stuPrinter.bTooMayPages, &byFlag, 1);
    const std::string strText = CJobOptionData::DumpPrinterInfo(stuPrinter);
    EXPECT_EQ(", bTooMayPages = 1", strText.substr(strText.size() - 18));
}

TEST(JobOptionDataDumpTest, UnterminatedTextsStopAtTheirField)
{
    CJobOptionData::PRINTER_INFO stuPrinter = MakePrinter(u"", u"Name", false);
    for (char16_t& ch : stuPrinter.szPrinterId) ch = u'A';
    const std::string strText = CJobOptionData::DumpPrinterInfo(stuPrinter);
    EXPECT_EQ(0u, strText.find("{szPrinterId = " + std::string(20, 'A') + ", szPrinterName = Name, "));

    CJobOptionData::PROJECT_INFO stuProject;
    std::memset(&stuProject, 0, sizeof(stuProject));
    for (char16_t& ch : stuProject.szProjectId) ch = u'7';
    std::memcpy(stuProject.szProjectName, u"X", 2);
    EXPECT_EQ("{szProjectId = " + std::string(20, '7') + ", szProjectName = X, szComment = }",
              CJobOptionData::DumpProjectInfo(stuProject));
}

TEST(JobOptionDataDumpTest, ProjectDumpHasItsClosingBrace)
{
    CJobOptionData::PROJECT_INFO stuProject;
    std::memset(&stuProject, 0, sizeof(stuProject));
    std::memcpy(stuProject.szProjectId, u"J01", 6);
    std::memcpy(stuProject.szProjectName, u"Research", 16);
    std::memcpy(stuProject.szComment, u"2024 budget", 22);
    EXPECT_EQ("{szProjectId = J01, szProjectName = Research, szComment = 2024 budget}",
              CJobOptionData::DumpProjectInfo(stuProject));
}

TEST(JobOptionDataDumpTest, ValueTextsAreTheDumps)
{
    const CJobOptionData::PRINTER_INFO stuPrinter = MakePrinter(u"P9", u"Ricoh", true);
    CJobOptionData::PROJECT_INFO stuProject;
    std::memset(&stuProject, 0, sizeof(stuProject));
    std::memcpy(stuProject.szProjectId, u"J9", 4);
    EXPECT_EQ(CJobOptionData::DumpPrinterInfo(stuPrinter),
              paramtrace::ValueText<CJobOptionData::PRINTER_INFO>::Text(stuPrinter));
    EXPECT_EQ(CJobOptionData::DumpPrinterInfo(stuPrinter),
              paramtrace::ValueText<const CJobOptionData::PRINTER_INFO>::Text(stuPrinter));
    EXPECT_EQ("{szProjectId = J9, szProjectName = , szComment = }",
              paramtrace::ValueText<const CJobOptionData::PROJECT_INFO>::Text(stuProject));

    FunctionParameters params("X::Y");
    params.Add("stuProjectInfo", &stuProject);
    EXPECT_EQ("X::Y([stuProjectInfo] = {szProjectId = J9, szProjectName = , szComment = }, )", params.Text());
}
