#include <sys/stat.h>
#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;
using OrvService::CAccountingLog;

// The answer with the empty printer id: roaming printing, through the
// queue RoamingQueue names, where the job waits until its user releases it.
class CupsRoamingTest : public CupsServiceTest {
protected:
    static void SetUpTestSuite()
    {
        StartSuite({});
        if (s_strSkip.empty() && s_strSetupError.empty()) {
            s_strSetupError = s_pCupsd->AddCaptureQueue("roaming");
        }
    }

    static std::string WithRoamingQueue()
    {
        std::string strConf = SERVICE_CONF;
        strConf.replace(strConf.find("[Service]\n"), 10, "[Service]\nRoamingQueue=roaming\n");
        return strConf;
    }
};

TEST_F(CupsRoamingTest, ForwardedHeldOnTheRoamingQueueAndPrintedWhenReleased)
{
    WriteServiceConf(WithRoamingQueue());
    const auto pReceiver = StartReceiver(0, u"", u"J1");
    const int iRoamingLast = s_pCupsd->LastJobId("roaming");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const std::string strBytes = "Roaming document\n\x01\x02\xFF end\n";
    const int iJob = Submit("Roaming", WriteDocument("roaming.txt", strBytes));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    const int iForwarded = s_pCupsd->WaitForJobAfter("roaming", iRoamingLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_HELD, s_pCupsd->GetJobState(iForwarded).iState);
    const std::string strCaptured = s_pCupsd->CaptureFolder() + "/roaming-" + std::to_string(iForwarded);
    EXPECT_NE(0, access(strCaptured.c_str(), F_OK));
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));

    CAccountingLog::ENTRY stuEntry = TestJobEntry(iJob, "Roaming", "text/plain", CAccountingLog::OUTCOME_ROAMING);
    stuEntry.oQueue = "roaming";
    stuEntry.oProject = "J1";
    stuEntry.oForwarded = iForwarded;
    EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));

    // Its user releases it at the printer.
    const std::string strOutput = s_pCupsd->Folder() + "/release.out";
    EXPECT_EQ(0, RunAsUser(s_objUser, {"/usr/bin/lp", "-i", "roaming-" + std::to_string(iForwarded), "-H", "resume"},
                           strOutput))
        << ReadAll(strOutput);
    const CPrivateCupsd::JOB_STATE stuReleased = s_pCupsd->WaitForJobState(iForwarded, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuReleased.iState) << stuReleased.strMessage;
    EXPECT_EQ(strBytes, ReadAll(strCaptured));
    EXPECT_EQ("user=orvtest-cups-alice\ntitle=Roaming\ncopies=1\ncontent=text/plain\n", ReadAll(strCaptured + ".args"));
}

TEST_F(CupsRoamingTest, WithoutRoamingQueueTheJobIsHeldAndNothingPrinted)
{
    const auto pReceiver = StartReceiver(0, u"", u"");
    const int iRoamingJobs = s_pCupsd->CountJobs("roaming");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iBasementJobs = s_pCupsd->CountJobs("basement");
    const int iJob = Submit("Roaming refused", WriteDocument("refused.pdf", MakePdf(2)));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    const std::string strReason = "OrvprintD of user orvtest-cups-alice chose roaming printing, which is not offered";
    EXPECT_EQ(HeldMessage(strReason, iJob), stuState.strMessage);
    EXPECT_EQ(iRoamingJobs, s_pCupsd->CountJobs("roaming"));
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    EXPECT_EQ(iBasementJobs, s_pCupsd->CountJobs("basement"));

    CAccountingLog::ENTRY stuEntry =
        TestJobEntry(iJob, "Roaming refused", "application/pdf", CAccountingLog::OUTCOME_HELD);
    stuEntry.oPages = 2;
    stuEntry.oReason = strReason;
    EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
}

} // namespace
