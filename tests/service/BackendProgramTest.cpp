#include <cstdlib>
#include <gtest/gtest.h>
#include "support/TempFolder.h"
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

// Runs the backend for job 12 of SecurePrint with the configuration named.
int RunJob(const std::string& strConf, const std::string& strUser, std::string& strOut, std::string& strErr)
{
    setenv("ORVPRINT_SERVICE_CONF", strConf.c_str(), 1);
    setenv("PRINTER", "SecurePrint", 1);
    const int iExit = orvtest::RunTool(ORVPRINT_BACKEND_PATH, {"12", strUser, "title", "1", "", "/dev/null"}, strOut, strErr);
    unsetenv("ORVPRINT_SERVICE_CONF");
    unsetenv("PRINTER");
    return iExit;
}

TEST(BackendProgramTest, UnreadableConfigurationHoldsTheJob)
{
    orvtest::TempFolder objFolder;
    const std::string strConf = objFolder.File("missing.conf");
    std::string strOut, strErr;
    EXPECT_EQ(3, RunJob(strConf, "root", strOut, strErr));
    EXPECT_EQ("", strOut);
    EXPECT_EQ("ERROR: Print service configuration error: " + strConf +
                  ": cannot be read (No such file or directory); the job is held. Release it with: lp -i "
                  "SecurePrint-12 -H resume\nATTR: job-hold-until=indefinite\n",
              strErr);
}

TEST(BackendProgramTest, UnknownUserAndRootAreHeld)
{
    orvtest::TempFolder objFolder;
    const std::string strConf = objFolder.WriteFile("print-service.conf", "[Printer:P1]\nName=n\nQueue=q\n");
    std::string strOut, strErr;
    EXPECT_EQ(3, RunJob(strConf, "orvtest-no-such-user", strOut, strErr));
    EXPECT_EQ("ERROR: Unknown user orvtest-no-such-user; the job is held. Release it with: lp -i SecurePrint-12 -H "
              "resume\nATTR: job-hold-until=indefinite\n",
              strErr);
    strErr.clear();
    EXPECT_EQ(3, RunJob(strConf, "root", strOut, strErr));
    EXPECT_EQ("ERROR: Jobs of root are not sent to OrvprintD; the job is held. Release it with: lp -i SecurePrint-12 "
              "-H resume\nATTR: job-hold-until=indefinite\n",
              strErr);
}

} // namespace
