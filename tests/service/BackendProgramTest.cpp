#include <gtest/gtest.h>
#include "tests/tools/ToolProcess.h"

namespace {

TEST(BackendProgramTest, WithoutArgumentsPrintsItsDeviceLine)
{
    std::string strOut, strErr;
    EXPECT_EQ(0, orvtest::RunTool(ORVPRINT_BACKEND_PATH, {}, strOut, strErr));
    EXPECT_EQ("direct orvprint \"Unknown\" \"Secure print (OrvprintD)\"\n", strOut);
    EXPECT_EQ("", strErr);
}

TEST(BackendProgramTest, WrongArgumentCountPrintsUsageAndFails)
{
    for (const std::vector<std::string>& vecArgs :
         {std::vector<std::string>{"1"}, {"1", "alice", "title", "1"}, {"1", "alice", "title", "1", "", "f", "x"}}) {
        std::string strOut, strErr;
        EXPECT_EQ(1, orvtest::RunTool(ORVPRINT_BACKEND_PATH, vecArgs, strOut, strErr));
        EXPECT_EQ("", strOut);
        EXPECT_NE(std::string::npos, strErr.find("Usage: ")) << strErr;
        EXPECT_NE(std::string::npos, strErr.find(" job-id user title copies options [file]\n")) << strErr;
    }
}

} // namespace
