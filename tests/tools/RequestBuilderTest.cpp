#include <cstring>
#include <gtest/gtest.h>
#include "Src/Common/include/JobOptionData.h"
#include "tools/orvprint-send/RequestBuilder.h"

using OrvprintSend::BuildRequestFromJson;
using OrvprintSend::CRequestError;

TEST(RequestBuilderTest, EmptyDescriptionIsTheEmptyRequest)
{
    const std::string strRequest = BuildRequestFromJson("{}");
    EXPECT_EQ(std::string(8, '\0'), strRequest);
}

TEST(RequestBuilderTest, RecordsCarryEveryField)
{
    const std::string strRequest = BuildRequestFromJson(
        R"({"printers":[{"id":"P1","name":"彩色","comment":"c","description":"d","status":-3,)"
        R"("maxPagesPerJob":200,"pageTotal":12,"printTaskTotal":2,"tooManyPages":true}],)"
        R"("projects":[{"id":"J1","name":"研究","comment":"x"},{"id":"J2","name":"n"}]})");
    ASSERT_EQ(8u + 6204u + 2u * 4136u, strRequest.size());
    CJobOptionData request(strRequest.data(), strRequest.size());
    ASSERT_EQ(1, request.GetPrinterCount());
    ASSERT_EQ(2, request.GetProjectCount());
    CJobOptionData::PRINTER_INFO stuPrinter;
    request.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(std::u16string(u"P1"), std::u16string(stuPrinter.szPrinterId));
    EXPECT_EQ(std::u16string(u"彩色"), std::u16string(stuPrinter.szPrinterName));
    EXPECT_EQ(std::u16string(u"c"), std::u16string(stuPrinter.szComment));
    EXPECT_EQ(std::u16string(u"d"), std::u16string(stuPrinter.szDescription));
    EXPECT_EQ(-3, stuPrinter.iStatus);
    EXPECT_EQ(200, stuPrinter.iMaxPagesPerJob);
    EXPECT_EQ(12, stuPrinter.iPageTotal);
    EXPECT_EQ(2, stuPrinter.iPrintTaskTotal);
    EXPECT_TRUE(stuPrinter.bTooMayPages);
    EXPECT_EQ(0, stuPrinter.abyReserved[0] | stuPrinter.abyReserved[1] | stuPrinter.abyReserved[2]);
    // Unused characters are zero.
    EXPECT_EQ(0, stuPrinter.szPrinterName[2]);
    EXPECT_EQ(0, stuPrinter.szPrinterName[1023]);
    CJobOptionData::PROJECT_INFO stuProject;
    request.GetProjectInfo(1, stuProject);
    EXPECT_EQ(std::u16string(u"J2"), std::u16string(stuProject.szProjectId));
    EXPECT_EQ(std::u16string(u""), std::u16string(stuProject.szComment));
}

TEST(RequestBuilderTest, LongestTextsFit)
{
    const std::string strName(1023, 'n');
    const std::string strRequest =
        BuildRequestFromJson(R"({"printers":[{"id":"123456789","name":")" + strName + R"("}]})");
    CJobOptionData request(strRequest.data(), strRequest.size());
    CJobOptionData::PRINTER_INFO stuPrinter;
    request.GetPrinterInfo(0, stuPrinter);
    EXPECT_EQ(u'n', stuPrinter.szPrinterName[1022]);
    EXPECT_EQ(0, stuPrinter.szPrinterName[1023]);
    EXPECT_THROW(BuildRequestFromJson(R"({"printers":[{"id":"P","name":")" + strName + "n" + R"("}]})"),
                 CRequestError);
}

TEST(RequestBuilderTest, ListLimits)
{
    std::string strPrinters = R"({"printers":[)";
    for (int i = 0; i < 101; ++i) {
        strPrinters += std::string(i ? "," : "") + R"({"id":"P","name":""})";
    }
    strPrinters += "]}";
    try {
        BuildRequestFromJson(strPrinters);
        FAIL() << "no exception";
    } catch (const CRequestError& e) {
        EXPECT_STREQ("printers: at most 100 entries, has 101", e.what());
    }
}

TEST(RequestBuilderTest, NumbersTooLargeForADoubleAreNotValidJson)
{
    for (const char* szJson : {"1e938", R"({"printers":[{"id":"P","name":"N","status":1e400}]})"}) {
        try {
            BuildRequestFromJson(szJson);
            ADD_FAILURE() << szJson << " was accepted";
        } catch (const CRequestError& e) {
            EXPECT_EQ(0u, std::string(e.what()).find("not valid JSON (")) << e.what();
        }
    }
}
