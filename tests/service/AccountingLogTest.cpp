#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include "service/AccountingLog.h"
#include "support/TempFolder.h"

using OrvService::CAccountingLog;

namespace {

// 2026-03-02 13:05:09 UTC.
const time_t TIME = 1772456709;

// Sets TZ for one test and restores it.
class CTimeZone {
public:
    explicit CTimeZone(const char* szZone)
    {
        const char* szOld = std::getenv("TZ");
        m_bHadOld = szOld != nullptr;
        m_strOld = szOld ? szOld : "";
        setenv("TZ", szZone, 1);
        tzset();
    }
    ~CTimeZone()
    {
        if (m_bHadOld) {
            setenv("TZ", m_strOld.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    CTimeZone(const CTimeZone&) = delete;
    CTimeZone& operator=(const CTimeZone&) = delete;

private:
    bool m_bHadOld = false;
    std::string m_strOld;
};

CAccountingLog::ENTRY Printed()
{
    CAccountingLog::ENTRY stuEntry;
    stuEntry.llJob = 12;
    stuEntry.strUser = "alice";
    stuEntry.strTitle = "Quarterly \"report\" \xE4\xB8\x89";
    stuEntry.strType = "application/pdf";
    stuEntry.oPages = 3;
    stuEntry.iCopies = 2;
    stuEntry.oPrinter = "P1";
    stuEntry.oQueue = "office";
    stuEntry.oProject = "J1";
    stuEntry.eOutcome = CAccountingLog::OUTCOME_PRINTED;
    stuEntry.oForwarded = 57;
    return stuEntry;
}

struct stat StatOf(const std::string& strPath)
{
    struct stat st = {};
    lstat(strPath.c_str(), &st);
    return st;
}

std::string ReadAll(const std::string& strPath)
{
    std::ifstream file(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

TEST(AccountingLogTest, TimeIsLocalWithItsOffset)
{
    {
        const CTimeZone objZone("ORV-05:30");
        EXPECT_EQ("2026-03-02T18:35:09+05:30", CAccountingLog::FormatTime(TIME));
    }
    {
        const CTimeZone objZone("ORV+03");
        EXPECT_EQ("2026-03-02T10:05:09-03:00", CAccountingLog::FormatTime(TIME));
    }
    {
        const CTimeZone objZone("UTC0");
        EXPECT_EQ("2026-03-02T13:05:09+00:00", CAccountingLog::FormatTime(TIME));
    }
}

TEST(AccountingLogTest, LineOfEachOutcome)
{
    const CTimeZone objZone("CET-1");
    EXPECT_EQ("{\"time\":\"2026-03-02T14:05:09+01:00\",\"job\":12,\"user\":\"alice\",\"title\":\"Quarterly "
              "\\\"report\\\" \xE4\xB8\x89\",\"type\":\"application/pdf\",\"pages\":3,\"copies\":2,\"printer\":\"P1\","
              "\"queue\":\"office\",\"project\":\"J1\",\"outcome\":\"printed\",\"reason\":null,\"forwarded\":57}\n",
              CAccountingLog::FormatLine(Printed(), TIME));

    CAccountingLog::ENTRY stuRoaming = Printed();
    stuRoaming.oPrinter.reset();
    stuRoaming.oProject.reset();
    stuRoaming.oQueue = "roaming";
    stuRoaming.eOutcome = CAccountingLog::OUTCOME_ROAMING;
    stuRoaming.oForwarded = 3;
    EXPECT_EQ("{\"time\":\"2026-03-02T14:05:09+01:00\",\"job\":12,\"user\":\"alice\",\"title\":\"Quarterly "
              "\\\"report\\\" \xE4\xB8\x89\",\"type\":\"application/pdf\",\"pages\":3,\"copies\":2,\"printer\":null,"
              "\"queue\":\"roaming\",\"project\":null,\"outcome\":\"roaming\",\"reason\":null,\"forwarded\":3}\n",
              CAccountingLog::FormatLine(stuRoaming, TIME));

    CAccountingLog::ENTRY stuCancelled;
    stuCancelled.llJob = 7;
    stuCancelled.strUser = "bob";
    stuCancelled.strTitle = "t";
    stuCancelled.strType = "text/plain";
    stuCancelled.eOutcome = CAccountingLog::OUTCOME_CANCELLED;
    EXPECT_EQ("{\"time\":\"2026-03-02T14:05:09+01:00\",\"job\":7,\"user\":\"bob\",\"title\":\"t\",\"type\":\"text/"
              "plain\",\"pages\":null,\"copies\":1,\"printer\":null,\"queue\":null,\"project\":null,\"outcome\":"
              "\"cancelled\",\"reason\":null,\"forwarded\":null}\n",
              CAccountingLog::FormatLine(stuCancelled, TIME));

    CAccountingLog::ENTRY stuHeld;
    stuHeld.llJob = 8;
    stuHeld.strUser = "bob";
    stuHeld.strTitle = "bad\x01\xFF";
    stuHeld.strType = "";
    stuHeld.oPages = 0;
    stuHeld.iCopies = 3;
    stuHeld.oPrinter = "P9";
    stuHeld.eOutcome = CAccountingLog::OUTCOME_HELD;
    stuHeld.oReason = "OrvprintD of user bob chose printer P9, which was not offered";
    EXPECT_EQ("{\"time\":\"2026-03-02T14:05:09+01:00\",\"job\":8,\"user\":\"bob\",\"title\":\"bad\\u0001\xEF\xBF\xBD\","
              "\"type\":\"\",\"pages\":0,\"copies\":3,\"printer\":\"P9\",\"queue\":null,\"project\":null,\"outcome\":"
              "\"held\",\"reason\":\"OrvprintD of user bob chose printer P9, which was not offered\",\"forwarded\":"
              "null}\n",
              CAccountingLog::FormatLine(stuHeld, TIME));
}

class AccountingLogFileTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (geteuid() != 0) {
            GTEST_SKIP() << "the accounting log is root's: needs root";
        }
        chmod(m_objFolder.Path().c_str(), 0755);
    }

    // Appends one line; "" or the problem.
    std::string Append(const std::string& strPath) const
    {
        std::string strProblem;
        CAccountingLog objLog(strPath);
        const bool bWritten = objLog.Append(Printed(), TIME, strProblem);
        EXPECT_EQ(bWritten, strProblem.empty());
        return strProblem;
    }

    orvtest::TempFolder m_objFolder;
};

TEST_F(AccountingLogFileTest, MakesFolderAndFileRootsWithTheirModes)
{
    const CTimeZone objZone("UTC0");
    const std::string strFolder = m_objFolder.File("log/orv-soft/print-service");
    const std::string strPath = strFolder + "/accounting.jsonl";
    const mode_t uiOldMask = umask(0);
    EXPECT_EQ("", Append(strPath));
    umask(0077);
    EXPECT_EQ("", Append(strPath));
    umask(uiOldMask);
    for (const std::string& strLevel : {m_objFolder.File("log"), m_objFolder.File("log/orv-soft"), strFolder}) {
        const struct stat st = StatOf(strLevel);
        EXPECT_TRUE(S_ISDIR(st.st_mode)) << strLevel;
        EXPECT_EQ(0750u, st.st_mode & 07777) << strLevel;
        EXPECT_EQ(0u, st.st_uid) << strLevel;
        EXPECT_EQ(0u, st.st_gid) << strLevel;
    }
    const struct stat st = StatOf(strPath);
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(0640u, st.st_mode & 07777);
    EXPECT_EQ(0u, st.st_uid);
    EXPECT_EQ(0u, st.st_gid);
    const std::string strLine = CAccountingLog::FormatLine(Printed(), TIME);
    EXPECT_EQ(strLine + strLine, ReadAll(strPath));
}

TEST_F(AccountingLogFileTest, EmptyPathKeepsNoLog)
{
    std::string strProblem;
    CAccountingLog objLog("");
    EXPECT_TRUE(objLog.Append(Printed(), TIME, strProblem));
    EXPECT_EQ("", strProblem);
}

TEST_F(AccountingLogFileTest, RefusesAPlantedLink)
{
    const std::string strTarget = m_objFolder.WriteFile("target", "target\n");
    mkdir(m_objFolder.File("log").c_str(), 0750);
    const std::string strPath = m_objFolder.File("log/accounting.jsonl");
    ASSERT_EQ(0, symlink(strTarget.c_str(), strPath.c_str()));
    EXPECT_EQ("the accounting log " + strPath + " is a link", Append(strPath));
    // A link to a folder in place of the log's folder.
    mkdir(m_objFolder.File("real").c_str(), 0750);
    ASSERT_EQ(0, symlink(m_objFolder.File("real").c_str(), m_objFolder.File("linked").c_str()));
    EXPECT_EQ("the accounting log folder " + m_objFolder.File("linked") + " is a link",
              Append(m_objFolder.File("linked/accounting.jsonl")));
    // A second name of another file.
    ASSERT_EQ(0, link(strTarget.c_str(), m_objFolder.File("log/hard.jsonl").c_str()));
    EXPECT_EQ("the accounting log " + m_objFolder.File("log/hard.jsonl") + " is a link (it has 2 names)",
              Append(m_objFolder.File("log/hard.jsonl")));
    EXPECT_EQ("target\n", ReadAll(strTarget));
    EXPECT_EQ("", ReadAll(m_objFolder.File("real/accounting.jsonl")));
}

TEST_F(AccountingLogFileTest, RefusesWhatIsNotRoots)
{
    mkdir(m_objFolder.File("log").c_str(), 0750);
    const std::string strPath = m_objFolder.WriteFile("log/accounting.jsonl", "");
    chmod(strPath.c_str(), 0640);
    ASSERT_EQ(0, chown(strPath.c_str(), 65534, 0));
    EXPECT_EQ("the accounting log " + strPath + " is not root's", Append(strPath));
    ASSERT_EQ(0, chown(strPath.c_str(), 0, 0));
    chmod(strPath.c_str(), 0660);
    EXPECT_EQ("the accounting log " + strPath + " may be written by group or others", Append(strPath));
    chmod(strPath.c_str(), 0646);
    EXPECT_EQ("the accounting log " + strPath + " may be written by group or others", Append(strPath));
    EXPECT_EQ("", ReadAll(strPath));

    const std::string strFolder = m_objFolder.File("foreign");
    mkdir(strFolder.c_str(), 0750);
    ASSERT_EQ(0, chown(strFolder.c_str(), 65534, 65534));
    EXPECT_EQ("the accounting log folder " + strFolder + " is not root's", Append(strFolder + "/accounting.jsonl"));
    const std::string strOpen = m_objFolder.File("open");
    mkdir(strOpen.c_str(), 0750);
    chmod(strOpen.c_str(), 0770);
    EXPECT_EQ("the accounting log folder " + strOpen + " may be written by group or others",
              Append(strOpen + "/accounting.jsonl"));
    chmod(strOpen.c_str(), 01777);
    EXPECT_EQ("the accounting log folder " + strOpen + " may be written by group or others",
              Append(strOpen + "/accounting.jsonl"));
    EXPECT_NE(0, access((strFolder + "/accounting.jsonl").c_str(), F_OK));
    EXPECT_NE(0, access((strOpen + "/accounting.jsonl").c_str(), F_OK));
    EXPECT_EQ("the accounting log relative.jsonl is not an absolute path of a file", Append("relative.jsonl"));
}

TEST_F(AccountingLogFileTest, RefusesAFifo)
{
    mkdir(m_objFolder.File("log").c_str(), 0750);
    const std::string strPath = m_objFolder.File("log/accounting.jsonl");
    ASSERT_EQ(0, mkfifo(strPath.c_str(), 0600));
    EXPECT_EQ("the accounting log " + strPath + " cannot be opened (No such device or address)", Append(strPath));
}

TEST_F(AccountingLogFileTest, ConcurrentAppendsGiveWholeLines)
{
    const CTimeZone objZone("UTC0");
    const std::string strPath = m_objFolder.File("log/accounting.jsonl");
    const int PROCESSES = 8;
    const int LINES = 200;
    std::vector<pid_t> vecPids;
    std::set<std::string> setExpected;
    for (int iProcess = 0; iProcess < PROCESSES; ++iProcess) {
        // Long lines, each process its own, so that a torn write would show.
        CAccountingLog::ENTRY stuEntry = Printed();
        stuEntry.llJob = iProcess;
        stuEntry.strTitle = std::string(3000 + iProcess * 500, static_cast<char>('a' + iProcess));
        setExpected.insert(CAccountingLog::FormatLine(stuEntry, TIME));
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            CAccountingLog objLog(strPath);
            int iFailed = 0;
            for (int i = 0; i < LINES; ++i) {
                std::string strProblem;
                iFailed += objLog.Append(stuEntry, TIME, strProblem) ? 0 : 1;
            }
            _exit(iFailed == 0 ? 0 : 1);
        }
        vecPids.push_back(pid);
    }
    for (pid_t pid : vecPids) {
        int iStatus = 0;
        ASSERT_EQ(pid, waitpid(pid, &iStatus, 0));
        EXPECT_TRUE(WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0);
    }
    const std::string strText = ReadAll(strPath);
    std::vector<int> vecCounts(PROCESSES, 0);
    size_t uiAt = 0;
    int iLines = 0;
    while (uiAt < strText.size()) {
        const size_t uiEnd = strText.find('\n', uiAt);
        ASSERT_NE(std::string::npos, uiEnd) << "the last line is not whole";
        const std::string strLine = strText.substr(uiAt, uiEnd + 1 - uiAt);
        ASSERT_EQ(1u, setExpected.count(strLine)) << "line " << iLines + 1 << " is not one whole line";
        ++vecCounts[strLine[strLine.find("\"job\":") + 6] - '0'];
        ++iLines;
        uiAt = uiEnd + 1;
    }
    EXPECT_EQ(PROCESSES * LINES, iLines);
    for (int iProcess = 0; iProcess < PROCESSES; ++iProcess) {
        EXPECT_EQ(LINES, vecCounts[iProcess]) << iProcess;
    }
}

} // namespace
