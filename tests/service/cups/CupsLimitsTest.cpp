#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;
using OrvService::CAccountingLog;

const char LIMITS_CONF[] = "[Service]\n"
                           "AnswerTimeoutSeconds=60\n"
                           "[Printer:LIMIT50]\n"
                           "Name=Fifty pages at most\n"
                           "Queue=office\n"
                           "MaxPagesPerJob=50\n"
                           "[Printer:NOLIMIT]\n"
                           "Name=No limit\n"
                           "Queue=basement\n"
                           "MaxPagesPerJob=0\n";

// Page limits as the request shows them: the job's page total (pages times
// copies) on every printer, and whether it is beyond each printer's limit.
class CupsLimitsTest : public CupsServiceTest {};

TEST_F(CupsLimitsTest, SixtyPagesAreTooManyForALimitOfFifty)
{
    WriteServiceConf(LIMITS_CONF);
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iJob = Submit("Sixty pages", WriteDocument("sixty.pdf", MakePdf(60)));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS);
    ASSERT_EQ(IPP_CANCELED, stuState.iState) << stuState.strMessage;

    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    ASSERT_EQ(2, CJobOptionData(strRequest.data(), strRequest.size()).GetPrinterCount());
    const CJobOptionData::PRINTER_INFO stuLimited = RequestPrinter(strRequest, 0);
    EXPECT_EQ(u"LIMIT50", std::u16string(stuLimited.szPrinterId));
    EXPECT_EQ(60, stuLimited.iPageTotal);
    EXPECT_EQ(50, stuLimited.iMaxPagesPerJob);
    EXPECT_TRUE(stuLimited.bTooMayPages);
    const CJobOptionData::PRINTER_INFO stuFree = RequestPrinter(strRequest, 1);
    EXPECT_EQ(u"NOLIMIT", std::u16string(stuFree.szPrinterId));
    EXPECT_EQ(60, stuFree.iPageTotal);
    EXPECT_EQ(0, stuFree.iMaxPagesPerJob);
    EXPECT_FALSE(stuFree.bTooMayPages);

    CAccountingLog::ENTRY stuEntry =
        TestJobEntry(iJob, "Sixty pages", "application/pdf", CAccountingLog::OUTCOME_CANCELLED);
    stuEntry.oPages = 60;
    EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
}

TEST_F(CupsLimitsTest, CopiesMultiplyThePageTotal)
{
    WriteServiceConf(LIMITS_CONF);
    const auto pReceiver = StartReceiver(0, u"NOLIMIT", u"");
    const int iBasementLast = s_pCupsd->LastJobId("basement");
    const std::string strPdf = MakePdf(30);
    std::string strError;
    const int iJob = s_pCupsd->SubmitWith(
        USER, SECURE_QUEUE,
        {"-d", SECURE_QUEUE, "-t", "Thirty pages twice", "-n", "2", WriteDocument("thirty.pdf", strPdf)}, strError);
    ASSERT_GT(iJob, 0) << strError;
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("basement", iBasementLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_COMPLETED, s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS).iState);
    const std::string strCaptured = s_pCupsd->CaptureFolder() + "/basement-" + std::to_string(iForwarded);
    EXPECT_EQ(strPdf, ReadAll(strCaptured));
    EXPECT_EQ("user=orvtest-cups-alice\ntitle=Thirty pages twice\ncopies=2\ncontent=application/pdf\n",
              ReadAll(strCaptured + ".args"));

    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    const CJobOptionData::PRINTER_INFO stuLimited = RequestPrinter(strRequest, 0);
    EXPECT_EQ(60, stuLimited.iPageTotal);
    EXPECT_EQ(50, stuLimited.iMaxPagesPerJob);
    EXPECT_TRUE(stuLimited.bTooMayPages);
    const CJobOptionData::PRINTER_INFO stuFree = RequestPrinter(strRequest, 1);
    EXPECT_EQ(60, stuFree.iPageTotal);
    EXPECT_FALSE(stuFree.bTooMayPages);

    CAccountingLog::ENTRY stuEntry =
        TestJobEntry(iJob, "Thirty pages twice", "application/pdf", CAccountingLog::OUTCOME_PRINTED);
    stuEntry.oPages = 30;
    stuEntry.iCopies = 2;
    stuEntry.oPrinter = "NOLIMIT";
    stuEntry.oQueue = "basement";
    stuEntry.oForwarded = iForwarded;
    EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
}

} // namespace
