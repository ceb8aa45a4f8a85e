#pragma once

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <regex>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include "Src/Common/include/JobOptionData.h"
#include "service/AccountingLog.h"
#include "service/PrivilegeDrop.h"
#include "service/UserAccount.h"
#include "tests/service/TestPdf.h"
#include "tests/service/cups/CupsServiceTest.h"
#include "tests/tools/ToolProcess.h"

namespace orvtest {

// The lines of an accounting log for one job, each with its time (checked
// for its form) replaced by "T"; "" when there is none.
inline std::string AccountingLinesOf(const std::string& strLog, int iJob)
{
    const std::regex reTime("\"time\":\"[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}[+-][0-9]{2}:[0-9]{2}\"");
    const std::string strJob = ",\"job\":" + std::to_string(iJob) + ",";
    const std::string strText = ReadAll(strLog);
    std::string strLines;
    size_t uiAt = 0;
    while (uiAt < strText.size()) {
        size_t uiEnd = strText.find('\n', uiAt);
        uiEnd = uiEnd == std::string::npos ? strText.size() : uiEnd + 1;
        const std::string strLine = strText.substr(uiAt, uiEnd - uiAt);
        if (strLine.find(strJob) != std::string::npos) {
            strLines += std::regex_replace(strLine, reTime, "\"time\":\"T\"");
        }
        uiAt = uiEnd;
    }
    return strLines;
}

// The line expected for stuEntry, its time "T".
inline std::string ExpectedAccountingLine(const OrvService::CAccountingLog::ENTRY& stuEntry)
{
    const std::string strLine = OrvService::CAccountingLog::FormatLine(stuEntry, 0);
    return std::regex_replace(strLine, std::regex("\"time\":\"[^\"]*\""), "\"time\":\"T\"");
}

// The entry of a job of the test user as the fixture submits it.
inline OrvService::CAccountingLog::ENTRY TestJobEntry(int iJob, const std::string& strTitle, const std::string& strType,
                                                      OrvService::CAccountingLog::EOutcome eOutcome)
{
    OrvService::CAccountingLog::ENTRY stuEntry;
    stuEntry.llJob = iJob;
    stuEntry.strUser = USER;
    stuEntry.strTitle = strTitle;
    stuEntry.strType = strType;
    stuEntry.eOutcome = eOutcome;
    return stuEntry;
}

// The recorded request N of a test's receiver.
inline CJobOptionData::PRINTER_INFO RequestPrinter(const std::string& strRequest, int iIndex)
{
    const CJobOptionData objRequest(strRequest.data(), strRequest.size());
    CJobOptionData::PRINTER_INFO stuPrinter = {};
    objRequest.GetPrinterInfo(static_cast<uint32_t>(iIndex), stuPrinter);
    return stuPrinter;
}

// Runs a program as the user for good (as CPrivilegeDrop makes the
// worker), its output into strOutputFile; its exit code, -1 when it could
// not be run.
inline int RunAsUser(const OrvService::CUserAccount& objAccount, const std::vector<std::string>& vecArgs,
                     const std::string& strOutputFile)
{
    const int iOut = open(strOutputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (iOut < 0) {
        return -1;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(iOut, STDOUT_FILENO);
        dup2(iOut, STDERR_FILENO);
        std::string strProblem;
        if (!OrvService::CPrivilegeDrop::DropTo(objAccount, strProblem)) {
            _exit(120);
        }
        std::vector<char*> vecArgv;
        for (const std::string& strArg : vecArgs) {
            vecArgv.push_back(const_cast<char*>(strArg.c_str()));
        }
        vecArgv.push_back(nullptr);
        execv(vecArgv[0], vecArgv.data());
        _exit(127);
    }
    close(iOut);
    if (pid < 0) {
        return -1;
    }
    int iStatus = 0;
    while (waitpid(pid, &iStatus, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -1;
}

} // namespace orvtest
