#include <cstring>
#include <string>
#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"

// Windows: record texts are converted in the Chinese (simplified) locale,
// code page 936.

TEST(JobOptionDataTextTest, ChinesePrinterNameDumpsInCodePage936)
{
    CJobOptionData::PRINTER_INFO stuPrinter;
    std::memset(&stuPrinter, 0, sizeof(stuPrinter));
    std::memcpy(stuPrinter.szPrinterId, u"P01", 6);
    std::memcpy(stuPrinter.szPrinterName, u"\u8d22\u52a1\u90e8\u6253\u5370\u673a", 12);
    EXPECT_EQ("{szPrinterId = P01, szPrinterName = \xb2\xc6\xce\xf1\xb2\xbf\xb4\xf2\xd3\xa1\xbb\xfa, "
              "szComment = , szDescription = , iStatus = 0, iMaxPagesPerJob = 0, iPageTotal = 0, "
              "iPrintTaskTotal = 0, bTooMayPages = 0",
              paramtrace::ValueText<CJobOptionData::PRINTER_INFO>::Text(stuPrinter));
}

TEST(JobOptionDataTextTest, ChineseProjectNameDumpsInCodePage936)
{
    CJobOptionData::PROJECT_INFO stuProject;
    std::memset(&stuProject, 0, sizeof(stuProject));
    std::memcpy(stuProject.szProjectId, u"J01", 6);
    std::memcpy(stuProject.szProjectName, u"\u7814\u53d1\u4e2d\u5fc3", 8);
    EXPECT_EQ("{szProjectId = J01, szProjectName = \xd1\xd0\xb7\xa2\xd6\xd0\xd0\xc4, szComment = }",
              paramtrace::ValueText<CJobOptionData::PROJECT_INFO>::Text(stuProject));
}
