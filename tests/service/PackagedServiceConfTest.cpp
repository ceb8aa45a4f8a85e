// The example print-service.conf that the package installs: as installed it
// is a valid configuration without printers or projects; with its example
// lines uncommented, a valid one with the values its comments describe.
#include "service/ServiceConfig.h"
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

using OrvService::CServiceConfig;

namespace {

std::string PackagedText()
{
    std::ifstream file(ORVPRINT_PACKAGED_SERVICE_CONF, std::ios::binary);
    std::stringstream stream;
    stream << file.rdbuf();
    return stream.str();
}

TEST(PackagedServiceConfTest, AsInstalledItConfiguresNothing)
{
    const std::string strText = PackagedText();
    ASSERT_FALSE(strText.empty()) << ORVPRINT_PACKAGED_SERVICE_CONF;
    const CServiceConfig objConfig = CServiceConfig::Parse(strText, "/etc/orv-soft/print-service.conf");
    EXPECT_TRUE(objConfig.GetPrinters().empty());
    EXPECT_TRUE(objConfig.GetProjects().empty());
    EXPECT_EQ("", objConfig.GetRoamingQueue());
    EXPECT_EQ(CServiceConfig::DEFAULT_ANSWER_TIMEOUT, objConfig.GetAnswerTimeoutSeconds());
}

TEST(PackagedServiceConfTest, ItsExampleLinesUncommentedAreAValidConfiguration)
{
    // ";[Section]" and ";Key=value" lines become the lines they show.
    const std::string strText =
        std::regex_replace(PackagedText(), std::regex("(^|\n);(\\[[A-Za-z]+(:[^\\]\n]*)?\\]|[A-Za-z]+=)"), "$1$2");
    ASSERT_NE(PackagedText(), strText);
    const CServiceConfig objConfig = CServiceConfig::Parse(strText, "/etc/orv-soft/print-service.conf");
    EXPECT_EQ(900, objConfig.GetAnswerTimeoutSeconds());
    EXPECT_EQ("SecureRelease", objConfig.GetRoamingQueue());
    EXPECT_EQ("/var/log/orv-soft/print-service/accounting.jsonl", objConfig.GetAccountingLog());
    ASSERT_EQ(1u, objConfig.GetPrinters().size());
    const CServiceConfig::PRINTER_ENTRY& stuPrinter = objConfig.GetPrinters()[0];
    EXPECT_EQ("P-3F-01", stuPrinter.strId);
    EXPECT_EQ("Third floor east, HP LaserJet", stuPrinter.strName);
    EXPECT_EQ("office-3f-east", stuPrinter.strQueue);
    EXPECT_EQ("A4 and A3, duplex, black and white, next to the kitchen", stuPrinter.strComment);
    EXPECT_EQ("HP LaserJet M608", stuPrinter.strDescription);
    EXPECT_EQ(50, stuPrinter.iMaxPagesPerJob);
    EXPECT_EQ(8 * 60, stuPrinter.iHoursFrom);
    EXPECT_EQ(20 * 60, stuPrinter.iHoursTo);
    ASSERT_EQ(1u, objConfig.GetProjects().size());
    const CServiceConfig::PROJECT_ENTRY& stuProject = objConfig.GetProjects()[0];
    EXPECT_EQ("PRJ-001", stuProject.strId);
    EXPECT_EQ("Product launch", stuProject.strName);
    EXPECT_EQ("marketing, until March", stuProject.strComment);
    EXPECT_EQ((std::vector<std::string>{"alice", "bob"}), stuProject.vecUsers);
    EXPECT_EQ((std::vector<std::string>{"staff"}), stuProject.vecGroups);
}

} // namespace
