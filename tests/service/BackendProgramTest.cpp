#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>
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

// The accounting log of a configuration without the key: beside it.
std::string AccountingLogBeside(const std::string& strConf)
{
    return strConf.substr(0, strConf.rfind('/')) + "/accounting/accounting.jsonl";
}

// Runs the backend for job 12 of SecurePrint with the configuration named.
int RunJob(const std::string& strConf, const std::string& strUser, std::string& strOut, std::string& strErr,
           const char* szClock = nullptr)
{
    setenv("ORVPRINT_SERVICE_CONF", strConf.c_str(), 1);
    setenv("ORVPRINT_ACCOUNTING_LOG", AccountingLogBeside(strConf).c_str(), 1);
    setenv("PRINTER", "SecurePrint", 1);
    setenv("CONTENT_TYPE", "text/plain", 1);
    if (szClock) {
        setenv("ORVPRINT_SERVICE_CLOCK", szClock, 1);
    }
    const int iExit = orvtest::RunTool(ORVPRINT_BACKEND_PATH, {"12", strUser, "title", "1", "", "/dev/null"}, strOut, strErr);
    for (const char* szName :
         {"ORVPRINT_SERVICE_CONF", "ORVPRINT_ACCOUNTING_LOG", "PRINTER", "CONTENT_TYPE", "ORVPRINT_SERVICE_CLOCK"}) {
        unsetenv(szName);
    }
    return iExit;
}

// The accounting log's text with each line's time replaced by "T" (after
// checking its form).
std::string AccountingWithoutTime(const std::string& strPath)
{
    const std::string strText = orvtest::ReadWholeFile(strPath);
    const std::regex reTime("\"time\":\"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[+-][0-9]{2}:[0-9]{2}\"");
    return std::regex_replace(strText, reTime, "\"time\":\"T\"");
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
    // No configuration: the default accounting log.
    EXPECT_EQ("{\"time\":\"T\",\"job\":12,\"user\":\"root\",\"title\":\"title\",\"type\":\"text/plain\",\"pages\":null,"
              "\"copies\":1,\"printer\":null,\"queue\":null,\"project\":null,\"outcome\":\"held\",\"reason\":\"Print "
              "service configuration error: " +
                  strConf + ": cannot be read (No such file or directory)\",\"forwarded\":null}\n",
              AccountingWithoutTime(AccountingLogBeside(strConf)));
}

TEST(BackendProgramTest, MalformedClockIsIgnoredWithAWarning)
{
    orvtest::TempFolder objFolder;
    const std::string strConf = objFolder.File("missing.conf");
    std::string strOut, strErr;
    EXPECT_EQ(3, RunJob(strConf, "root", strOut, strErr, "7pm"));
    EXPECT_EQ("WARNING: ORVPRINT_SERVICE_CLOCK=\"7pm\" is not HH:MM; the local time of day is used\nERROR: Print "
              "service configuration error: " +
                  strConf +
                  ": cannot be read (No such file or directory); the job is held. Release it with: lp -i "
                  "SecurePrint-12 -H resume\nATTR: job-hold-until=indefinite\n",
              strErr);
}

TEST(BackendProgramTest, RefusedAccountingLogIsAWarningAndTheJobGoesOn)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "the accounting log is root's: needs root";
    }
    orvtest::TempFolder objFolder;
    chmod(objFolder.Path().c_str(), 0755);
    const std::string strOpen = objFolder.File("open");
    mkdir(strOpen.c_str(), 0777);
    chmod(strOpen.c_str(), 0777);
    const std::string strConf =
        objFolder.WriteFile("print-service.conf", "[Service]\nAccountingLog=" + strOpen +
                                                      "/accounting.jsonl\n[Printer:P1]\nName=n\nQueue=q\n");
    std::string strOut, strErr;
    EXPECT_EQ(3, RunJob(strConf, "orvtest-no-such-user", strOut, strErr));
    EXPECT_EQ("ERROR: Unknown user orvtest-no-such-user; the job is held. Release it with: lp -i SecurePrint-12 -H "
              "resume\nATTR: job-hold-until=indefinite\nWARNING: No accounting line was written for this job: the "
              "accounting log folder " +
                  strOpen + " may be written by group or others\n",
              strErr);
    EXPECT_NE(0, access((strOpen + "/accounting.jsonl").c_str(), F_OK));
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
    const std::string strLine = "{\"time\":\"T\",\"job\":12,\"user\":\"USER\",\"title\":\"title\",\"type\":\"text/"
                                "plain\",\"pages\":null,\"copies\":1,\"printer\":null,\"queue\":null,\"project\":null,"
                                "\"outcome\":\"held\",\"reason\":\"REASON\",\"forwarded\":null}\n";
    auto Line = [&](const std::string& strUser, const std::string& strReason) {
        return std::regex_replace(std::regex_replace(strLine, std::regex("USER"), strUser), std::regex("REASON"),
                                  strReason);
    };
    EXPECT_EQ(Line("orvtest-no-such-user", "Unknown user orvtest-no-such-user") +
                  Line("root", "Jobs of root are not sent to OrvprintD"),
              AccountingWithoutTime(AccountingLogBeside(strConf)));
}

} // namespace
