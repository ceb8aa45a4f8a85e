#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"
#include "language/TextConvert.h"
#include "service/JobRequest.h"
#include "service/ServiceConfig.h"

using OrvService::CJobRequest;
using OrvService::CServiceConfig;

namespace {

const char CONFIG[] = "[Printer:P1]\nName=\xE4\xB8\x89\xE6\xA5\xBC\nQueue=q1\nComment=c1\nDescription=d1\n"
                      "MaxPagesPerJob=50\nHours=08:00-20:00\n"
                      "[Printer:P2]\nName=Basement\nQueue=q2\n"
                      "[Project:J1]\nName=Research\nComment=rc\nUsers=alice\n"
                      "[Project:J2]\nName=Open\n";

std::u16string U16(const char16_t* sz)
{
    return std::u16string(sz);
}

TEST(JobRequestTest, EveryPrinterWithPagesLimitsAndState)
{
    const CServiceConfig objConfig = CServiceConfig::Parse(CONFIG, "test.conf");
    const CJobRequest objRequest(objConfig, objConfig.VisibleProjects("alice", {}), 60, {4, 0}, 21 * 60);
    const std::string strBytes = objRequest.Build();
    ASSERT_EQ(8u + 2 * 6204 + 2 * 4136, strBytes.size());
    const CJobOptionData objData(strBytes.data(), strBytes.size());
    ASSERT_EQ(2, objData.GetPrinterCount());
    ASSERT_EQ(2, objData.GetProjectCount());
    CJobOptionData::PRINTER_INFO stuPrinter;
    objData.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(u"P1", U16(stuPrinter.szPrinterId));
    EXPECT_EQ(u"\u4E09\u697C", U16(stuPrinter.szPrinterName));
    EXPECT_EQ(u"c1", U16(stuPrinter.szComment));
    EXPECT_EQ(u"d1", U16(stuPrinter.szDescription));
    EXPECT_EQ(CJobRequest::STATUS_OUTSIDE_HOURS, stuPrinter.iStatus);
    EXPECT_EQ(50, stuPrinter.iMaxPagesPerJob);
    EXPECT_EQ(60, stuPrinter.iPageTotal);
    EXPECT_EQ(4, stuPrinter.iPrintTaskTotal);
    EXPECT_TRUE(stuPrinter.bTooMayPages);
    objData.GetPrinterInfo(1, stuPrinter);
    EXPECT_EQ(u"P2", U16(stuPrinter.szPrinterId));
    EXPECT_EQ(CJobRequest::STATUS_READY, stuPrinter.iStatus);
    EXPECT_EQ(0, stuPrinter.iMaxPagesPerJob);
    EXPECT_EQ(60, stuPrinter.iPageTotal);
    EXPECT_EQ(0, stuPrinter.iPrintTaskTotal);
    EXPECT_FALSE(stuPrinter.bTooMayPages); // no limit
    CJobOptionData::PROJECT_INFO stuProject;
    objData.GetProjectInfo(0, stuProject);
    EXPECT_EQ(u"J1", U16(stuProject.szProjectId));
    EXPECT_EQ(u"Research", U16(stuProject.szProjectName));
    EXPECT_EQ(u"rc", U16(stuProject.szComment));
    objData.GetProjectInfo(1, stuProject);
    EXPECT_EQ(u"J2", U16(stuProject.szProjectId));
}

TEST(JobRequestTest, WithinHoursAndAtTheLimit)
{
    const CServiceConfig objConfig = CServiceConfig::Parse(CONFIG, "test.conf");
    const CJobRequest objRequest(objConfig, objConfig.VisibleProjects("bob", {}), 50, {}, 8 * 60);
    const std::string strBytes = objRequest.Build();
    const CJobOptionData objData(strBytes.data(), strBytes.size());
    ASSERT_EQ(1, objData.GetProjectCount()); // J1 is alice's
    CJobOptionData::PRINTER_INFO stuPrinter;
    objData.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(CJobRequest::STATUS_READY, stuPrinter.iStatus);
    EXPECT_FALSE(stuPrinter.bTooMayPages); // 50 of 50
    EXPECT_EQ(0, stuPrinter.iPrintTaskTotal);
}

} // namespace
