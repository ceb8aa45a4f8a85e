#include <cstdio>
#include <sys/stat.h>
#include "tests/service/cups/CupsTestHelpers.h"

namespace {

using namespace orvtest;
using OrvService::CAccountingLog;

// Every problem the configuration's parser and reader report holds the job
// end to end with the file, the line and the problem, prints nothing and
// leaves a "held" accounting line: in the log the file named before the
// problem, else in the default one.
class CupsConfigErrorsTest : public CupsServiceTest {};

enum EFile { FILE_TEXT, FILE_MISSING, FILE_FOLDER, FILE_HUGE };

struct BAD_CONF {
    std::string strBody;    // the configuration, after the [Service] lines naming the log when bNamedLog
    bool bNamedLog;         // the file names its accounting log before the problem
    std::string strProblem; // after the file's name
    EFile eFile = FILE_TEXT;
};

std::string Printers(int iCount)
{
    std::string strText;
    for (int i = 0; i < iCount; ++i) {
        strText += "[Printer:P" + std::to_string(i) + "]\nName=n\nQueue=office\n";
    }
    return strText;
}

std::vector<BAD_CONF> BadConfigurations()
{
    const std::string strPrinter = "[Printer:P1]\nName=n\nQueue=office\n";
    std::vector<BAD_CONF> vecCases = {
        {"[Printers]\n", true, ", line 3: unknown section [Printers]"},
        {"Timeout=5\n", true, ", line 3: unknown key Timeout in [Service]"},
        {"[Printer:P1]\nColour=yes\n", true, ", line 4: unknown key Colour in [Printer:P1]"},
        {"[Project:J1]\nQueue=q\n", true, ", line 4: unknown key Queue in [Project:J1]"},
        {"[Printer:P123456789]\n", true, ", line 3: printer id P123456789 is longer than 9 characters"},
        {"[Project:J123456789]\n", true, ", line 3: project id J123456789 is longer than 9 characters"},
        {"[Printer:]\n", true, ", line 3: printer id is empty"},
        {"[Project:]\n", true, ", line 3: project id is empty"},
        {"[Printer:P,1]\n", true, ", line 3: printer id \"P,1\" has white space or a comma"},
        {"[Project: J1]\n", true, ", line 3: project id \" J1\" has white space or a comma"},
        {strPrinter + "[Printer:P1]\n", true, ", line 6: printer id P1 repeated"},
        {"[Project:J1]\nName=n\n[Project:J1]\n", true, ", line 5: project id J1 repeated"},
        {Printers(101), true, ", line 303: too many printers (at most 100)"},
        {strPrinter + "MaxPagesPerJob=-1\n", true, ", line 6: MaxPagesPerJob must be a whole number of 0 or more"},
        {strPrinter + "MaxPagesPerJob=2.5\n", true, ", line 6: MaxPagesPerJob must be a whole number of 0 or more"},
        {strPrinter + "MaxPagesPerJob=ten\n", true, ", line 6: MaxPagesPerJob must be a whole number of 0 or more"},
        {strPrinter + "MaxPagesPerJob=99999999999\n", true,
         ", line 6: MaxPagesPerJob must be a whole number of 0 or more"},
        {strPrinter + "Hours=8:00-20:00\n", true, ", line 6: Hours must be HH:MM-HH:MM"},
        {strPrinter + "Hours=08:00-24:00\n", true, ", line 6: Hours must be HH:MM-HH:MM"},
        {strPrinter + "Hours=08:00\n", true, ", line 6: Hours must be HH:MM-HH:MM"},
        {strPrinter + "Hours=08.00-20.00\n", true, ", line 6: Hours must be HH:MM-HH:MM"},
        {strPrinter + "Hours=08:00-08:00\n", true, ", line 6: Hours must not begin and end at the same time"},
        {"AnswerTimeoutSeconds=0\n", true, ", line 3: AnswerTimeoutSeconds must be a whole number from 1 to 86400"},
        {"AnswerTimeoutSeconds=86401\n", true, ", line 3: AnswerTimeoutSeconds must be a whole number from 1 to 86400"},
        {"AnswerTimeoutSeconds=abc\n", true, ", line 3: AnswerTimeoutSeconds must be a whole number from 1 to 86400"},
        {"[Project:J1]\nName=a\nName=b\n", true, ", line 5: key Name repeated"},
        {"RoamingQueue\n", true, ", line 3: not a section or a key=value line"},
        {"[Printer:P1\n", true, ", line 3: a section line must end with ']'"},
        {"[Service]\n", true, ", line 3: section [Service] repeated"},
        {"[Printer:P1]\nName=n\n", true, ", line 3: printer P1 has no Queue"},
        {"[Printer:P1]\nQueue=office\n", true, ", line 3: printer P1 has no Name"},
        {"[Project:J1]\nComment=c\n", true, ", line 3: project J1 has no Name"},
        {"[Printer:P1]\nName=n\nQueue=office 3\n", true, ", line 5: Queue \"office 3\" is not a CUPS queue name"},
        {"RoamingQueue=a/b\n", true, ", line 3: RoamingQueue \"a/b\" is not a CUPS queue name"},
        {"[Project:J1]\nUsers=alice,,bob\n", true,
         ", line 4: Users must be user names and @groups separated by commas"},
        {"[Project:J1]\nName=\xC0\xAF\n", true, ", line 4: not valid UTF-8"},
        {std::string("[Project:J1]\nName=a\0b\n", 21), true, ", line 4: contains a NUL character"},
        {"[Project:J1]\nName=" + std::string(1024, 'x') + "\n", true, ", line 4: Name is longer than 1023 characters"},
        // Before the log is named: the default log.
        {"[Service]\nAccountingLog=accounting.jsonl\n", false, ", line 2: AccountingLog must be an absolute path"},
        {"Name=a\n[Service]\nAccountingLog=/nonexistent/a.jsonl\n", false, ", line 1: key Name outside a section"},
        {"", false, ": cannot be read (No such file or directory)", FILE_MISSING},
        {"", false, ": is not a regular file", FILE_FOLDER},
        {"", false, ": is larger than 4 MiB", FILE_HUGE},
    };
    return vecCases;
}

TEST_F(CupsConfigErrorsTest, EveryBadValueHoldsTheJobWithFileLineAndProblem)
{
    // Were a configuration accepted, the job would go to office.
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const std::string strConf = s_pCupsd->ServiceConfPath();
    const std::string strNamedLog = s_pCupsd->Folder() + "/named/accounting.jsonl";
    const int iOfficeJobs = s_pCupsd->CountJobs("office");
    const int iBasementJobs = s_pCupsd->CountJobs("basement");
    int iCase = 0;
    for (const BAD_CONF& stuCase : BadConfigurations()) {
        ++iCase;
        unlink(strConf.c_str());
        if (stuCase.eFile == FILE_TEXT) {
            WriteServiceConf((stuCase.bNamedLog ? "[Service]\nAccountingLog=" + strNamedLog + "\n" : std::string()) +
                             stuCase.strBody);
        } else if (stuCase.eFile == FILE_FOLDER) {
            mkdir(strConf.c_str(), 0755);
        } else if (stuCase.eFile == FILE_HUGE) {
            WriteServiceConf(std::string(4 * 1024 * 1024, ';') + "\n[Printer:P1]\nName=n\nQueue=office\n");
        }
        const std::string strTitle = "Bad configuration " + std::to_string(iCase);
        const int iJob = Submit(strTitle, WriteDocument("conf.txt", "conf\n"));
        const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
        rmdir(strConf.c_str());
        const std::string strReason = "Print service configuration error: " + strConf + stuCase.strProblem;
        EXPECT_EQ(IPP_HELD, stuState.iState) << strReason;
        EXPECT_EQ(HeldMessage(strReason, iJob), stuState.strMessage);

        CAccountingLog::ENTRY stuEntry = TestJobEntry(iJob, strTitle, "text/plain", CAccountingLog::OUTCOME_HELD);
        stuEntry.oReason = strReason;
        const std::string strLog = stuCase.bNamedLog ? strNamedLog : s_pCupsd->AccountingLogPath();
        const std::string strOtherLog = stuCase.bNamedLog ? s_pCupsd->AccountingLogPath() : strNamedLog;
        EXPECT_EQ(ExpectedAccountingLine(stuEntry), AccountingLinesOf(strLog, iJob)) << strReason;
        EXPECT_EQ("", AccountingLinesOf(strOtherLog, iJob)) << strReason;
    }
    EXPECT_EQ(43, iCase);
    EXPECT_EQ(iOfficeJobs, s_pCupsd->CountJobs("office"));
    EXPECT_EQ(iBasementJobs, s_pCupsd->CountJobs("basement"));
}

TEST_F(CupsConfigErrorsTest, EmptyAccountingLogKeepsNoLineEvenForABadConfiguration)
{
    const auto pReceiver = StartReceiver(0, u"P1", u"");
    const std::string strConf = s_pCupsd->ServiceConfPath();
    WriteServiceConf("[Service]\nAccountingLog=\n[Printers]\n");
    const int iJob = Submit("No log", WriteDocument("nolog.txt", "no log\n"));
    const CPrivateCupsd::JOB_STATE stuState = s_pCupsd->WaitForJobState(iJob, IPP_HELD, WAIT_SECONDS);
    EXPECT_EQ(IPP_HELD, stuState.iState);
    EXPECT_EQ(
        HeldMessage("Print service configuration error: " + strConf + ", line 3: unknown section [Printers]", iJob),
        stuState.strMessage);
    EXPECT_EQ("", AccountingLinesOf(s_pCupsd->AccountingLogPath(), iJob));
}

} // namespace
