#include <cstring>
#include <string>
#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"

// Linux: record texts are converted to UTF-8.

TEST(JobOptionDataTextTest, ChinesePrinterNameDumpsAsUtf8)
{
    CJobOptionData::PRINTER_INFO stuPrinter;
    std::memset(&stuPrinter, 0, sizeof(stuPrinter));
    std::memcpy(stuPrinter.szPrinterId, u"P01", 6);
    std::memcpy(stuPrinter.szPrinterName, u"\u8d22\u52a1\u90e8\u6253\u5370\u673a", 12);
    EXPECT_EQ("{szPrinterId = P01, szPrinterName = \xe8\xb4\xa2\xe5\x8a\xa1\xe9\x83\xa8\xe6\x89\x93\xe5\x8d\xb0\xe6\x9c\xba, "
              "szComment = , szDescription = , iStatus = 0, iMaxPagesPerJob = 0, iPageTotal = 0, "
              "iPrintTaskTotal = 0, bTooMayPages = 0",
              paramtrace::ValueText<CJobOptionData::PRINTER_INFO>::Text(stuPrinter));
}

TEST(JobOptionDataTextTest, ChineseProjectNameDumpsAsUtf8)
{
    CJobOptionData::PROJECT_INFO stuProject;
    std::memset(&stuProject, 0, sizeof(stuProject));
    std::memcpy(stuProject.szProjectId, u"J01", 6);
    std::memcpy(stuProject.szProjectName, u"\u7814\u53d1\u4e2d\u5fc3", 8);
    EXPECT_EQ("{szProjectId = J01, szProjectName = \xe7\xa0\x94\xe5\x8f\x91\xe4\xb8\xad\xe5\xbf\x83, szComment = }",
              paramtrace::ValueText<CJobOptionData::PROJECT_INFO>::Text(stuProject));
}
