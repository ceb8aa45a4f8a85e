#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;

// Printers' hours against the scheduler's injected time of day, 21:30.
class CupsHoursTest : public CupsServiceTest {
protected:
    static void SetUpTestSuite() { StartSuite({"ORVPRINT_SERVICE_CLOCK 21:30"}); }
};

TEST_F(CupsHoursTest, OutsideItsHoursAPrinterIsOfferedWithStatusOne)
{
    WriteServiceConf("[Printer:DAY]\nName=Day\nQueue=office\nHours=08:00-20:00\n"
                     "[Printer:NIGHT]\nName=Night\nQueue=office\nHours=20:00-08:00\n"
                     "[Printer:ALWAYS]\nName=Always\nQueue=basement\n"
                     "[Printer:LATE]\nName=Late\nQueue=basement\nHours=21:31-23:00\n"
                     "[Printer:UNTIL]\nName=Until\nQueue=basement\nHours=12:00-21:30\n"
                     "[Printer:FROM]\nName=From\nQueue=basement\nHours=21:30-21:31\n");
    const auto pReceiver = StartReceiver(1, u"", u"");
    const int iJob = Submit("Evening", WriteDocument("evening.txt", "evening\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_CANCELED, WAIT_SECONDS);
    ASSERT_EQ(IPP_CANCELED, stuState.iState) << stuState.strMessage;
    const std::string strRequest = ReadAll(m_strRecords + "/request-1.bin");
    ASSERT_EQ(6, CJobOptionData(strRequest.data(), strRequest.size()).GetPrinterCount());
    std::u16string strStates;
    for (int i = 0; i < 6; ++i) {
        const CJobOptionData::PRINTER_INFO stuPrinter = RequestPrinter(strRequest, i);
        strStates +=
            std::u16string(stuPrinter.szPrinterId) + u"=" + static_cast<char16_t>(u'0' + stuPrinter.iStatus) + u" ";
    }
    EXPECT_EQ(u"DAY=1 NIGHT=0 ALWAYS=0 LATE=1 UNTIL=1 FROM=0 ", strStates);
}

} // namespace
