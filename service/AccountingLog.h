#pragma once

#include <ctime>
#include <optional>
#include <string>

namespace OrvService {

// The print service's accounting log: one JSON object per job and line
// (JSON Lines, UTF-8), appended by the backend's root part when a job's run
// ends, whatever its outcome:
//
//   {"time":"2026-03-02T14:05:09+01:00","job":12,"user":"alice","title":"Report",
//    "type":"application/pdf","pages":3,"copies":2,"printer":"P1","queue":"office",
//    "project":"J1","outcome":"printed","reason":null,"forwarded":57}
//
// The file is only ever opened by root: its folder is made when missing (mode
// 0750, root:root, missing parents too) and the file is created 0640
// root:root. A folder or file that is a link, is not root's or may be written
// by group or others is refused, and so is a file with more than one name.
// Each line is written with one write() on a descriptor opened with O_APPEND,
// so that backends running at the same time never mix their lines.
class CAccountingLog {
public:
    enum EOutcome { OUTCOME_PRINTED, OUTCOME_ROAMING, OUTCOME_CANCELLED, OUTCOME_HELD };

    struct ENTRY {
        long long llJob = 0;
        std::string strUser;
        std::string strTitle;
        std::string strType;       // CONTENT_TYPE
        std::optional<int> oPages; // per copy; none: not counted
        int iCopies = 1;
        std::optional<std::string> oPrinter; // the printer id answered
        std::optional<std::string> oQueue;   // the queue the job went to
        std::optional<std::string> oProject;
        EOutcome eOutcome = OUTCOME_HELD;
        std::optional<std::string> oReason;  // why it is held
        std::optional<long long> oForwarded; // the job id on oQueue
    };

    explicit CAccountingLog(const std::string& strPath);

    CAccountingLog(const CAccountingLog&) = delete;
    CAccountingLog& operator=(const CAccountingLog&) = delete;

    // The line of one job at tTime (local time), with its "\n". Text that is
    // not valid UTF-8 is written with U+FFFD in its place.
    static std::string FormatLine(const ENTRY& stuEntry, time_t tTime);
    // "2026-03-02T14:05:09+01:00": local time with its offset, to the second.
    static std::string FormatTime(time_t tTime);

    // Appends the line of stuEntry at tTime. An empty path keeps no log
    // (true). False, with strProblem saying why, when nothing was written.
    bool Append(const ENTRY& stuEntry, time_t tTime, std::string& strProblem) const;

private:
    // Opens the log's folder, making it (and missing parents) when missing;
    // -1 with the problem when it is missing and cannot be made, or refused.
    int OpenFolder(const std::string& strFolder, std::string& strProblem) const;
    int OpenFile(int iFolderFd, const std::string& strName, std::string& strProblem) const;

    std::string m_strPath;
};

} // namespace OrvService
