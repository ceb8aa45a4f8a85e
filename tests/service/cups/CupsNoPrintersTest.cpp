// A configuration without printers, as the package installs it (every key
// commented out): each job is held, with a message that says where to add
// the printers, and nothing is asked or printed.
#include "tests/service/cups/CupsServiceTest.h"
#include <gtest/gtest.h>

namespace {

using namespace orvtest;

class CupsNoPrintersTest : public CupsServiceTest {
protected:
    // Job iJob is held saying where to add printers, and OrvprintD was not asked.
    void ExpectHeldForWantOfPrinters(int iJob)
    {
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        EXPECT_EQ(IPP_HELD, stuState.iState);
        EXPECT_EQ(HeldMessage("The print service has no printers configured yet; add them to " +
                                  s_pCupsd->ServiceConfPath(),
                              iJob),
                  stuState.strMessage);
        EXPECT_EQ(0u, ReadAll(m_strRecords + "/request-1.bin").size()) << "OrvprintD was asked";
    }
};

TEST_F(CupsNoPrintersTest, ThePackagedExampleHoldsTheJobSayingWhereToAddPrinters)
{
    const std::string strExample = ReadAll(ORVPRINT_PACKAGED_SERVICE_CONF);
    ASSERT_FALSE(strExample.empty()) << ORVPRINT_PACKAGED_SERVICE_CONF;
    WriteServiceConf(strExample);
    // A receiver that would answer OK: it must never be asked.
    const auto pReceiver = StartReceiver(0, u"P1", u"J1");
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iJob = Submit("nowhere to go", WriteDocument("noprinters.txt", "no printers\n"));
    ExpectHeldForWantOfPrinters(iJob);
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
}

TEST_F(CupsNoPrintersTest, ServiceSectionAndProjectsWithoutPrintersHoldTheJobToo)
{
    WriteServiceConf("[Service]\nAnswerTimeoutSeconds=60\n\n[Project:J1]\nName=Research\n");
    const auto pReceiver = StartReceiver(0, u"P1", u"J1");
    const int iJob = Submit("still nowhere", WriteDocument("noprinters2.txt", "no printers\n"));
    ExpectHeldForWantOfPrinters(iJob);
}

TEST_F(CupsNoPrintersTest, ARoamingQueueAloneIsAPlaceToPrint)
{
    // No printer, but roaming: the user is asked, and a roaming answer
    // forwards the job, held, to the roaming queue.
    WriteServiceConf("[Service]\nAnswerTimeoutSeconds=60\nRoamingQueue=office\n");
    const auto pReceiver = StartReceiver(0, u"", u"");
    const int iOfficeLast = s_pCupsd->LastJobId("office");
    const int iJob = Submit("roaming only", WriteDocument("roaming.txt", "roaming\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_COMPLETED, WAIT_SECONDS);
    ASSERT_EQ(IPP_COMPLETED, stuState.iState) << stuState.strMessage;
    EXPECT_NE(0u, ReadAll(m_strRecords + "/request-1.bin").size()) << "OrvprintD was not asked";
    const int iForwarded = s_pCupsd->WaitForJobAfter("office", iOfficeLast, WAIT_SECONDS);
    ASSERT_GT(iForwarded, 0);
    EXPECT_EQ(IPP_HELD, s_pCupsd->WaitForJobState(iForwarded, IPP_HELD, WAIT_SECONDS).iState);
}

} // namespace
