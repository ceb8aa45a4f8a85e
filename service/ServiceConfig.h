#pragma once

#include <string>
#include <vector>
#include "service/ServiceConfigError.h"

namespace OrvService {

// The administrator's configuration of the printing service, a UTF-8 INI
// file (default /etc/orv-soft/print-service.conf, or $ORVPRINT_SERVICE_CONF):
//
//   [Service]
//   AnswerTimeoutSeconds=900   ; 1..86400, default 900
//   RoamingQueue=SecureRelease ; empty: roaming refused
//   AccountingLog=/var/log/orv-soft/print-service/accounting.jsonl
//                              ; missing: that file ($ORVPRINT_ACCOUNTING_LOG
//                              ; when set); empty: no accounting log
//
//   [Printer:P-3F-01]          ; id 1..9 characters, unique; at most 100 printers
//   Name=...                   ; required, shown in the dialog
//   Queue=office-3f-east       ; required, the CUPS queue the job goes to
//   Comment=... Description=...; optional
//   MaxPagesPerJob=50          ; 0 or missing: no limit
//   Hours=08:00-20:00          ; optional
//
//   [Project:PRJ-001]          ; id 1..9 characters, unique
//   Name=...                   ; required
//   Comment=...                ; optional
//   Users=alice, bob, @staff   ; missing or empty: everybody
//
// Lines starting with ';' or '#' are comments, and so is the rest of a line
// from a ';' that follows white space. The parser is strict: anything it
// does not know is an error naming the file and the line.
class CServiceConfig {
public:
    static constexpr const char* DEFAULT_PATH = "/etc/orv-soft/print-service.conf";
    static constexpr const char* PATH_VARIABLE = "ORVPRINT_SERVICE_CONF";
    static constexpr const char* DEFAULT_ACCOUNTING_LOG = "/var/log/orv-soft/print-service/accounting.jsonl";
    static constexpr const char* ACCOUNTING_LOG_VARIABLE = "ORVPRINT_ACCOUNTING_LOG";
    static constexpr size_t MAX_ID_UNITS = 9;      // UTF-16 units, as in the answer record
    static constexpr size_t MAX_TEXT_UNITS = 1023; // UTF-16 units, as in the request record
    static constexpr size_t MAX_PRINTERS = 100;
    static constexpr size_t MAX_PROJECTS = 500;   // offered to one user
    static constexpr int DEFAULT_ANSWER_TIMEOUT = 900;
    static constexpr int MAX_ANSWER_TIMEOUT = 86400;

    struct PRINTER_ENTRY {
        std::string strId;
        std::string strName;
        std::string strQueue;
        std::string strComment;
        std::string strDescription;
        int iMaxPagesPerJob = 0;    // 0: no limit
        int iHoursFrom = -1;        // minutes after midnight; -1: always
        int iHoursTo = -1;          // end of the span (exclusive); may be before iHoursFrom (overnight)
        int iLine = 0;              // the section's line

        // Whether the printer is within its hours at iMinuteOfDay (0..1439).
        bool IsWithinHours(int iMinuteOfDay) const;
    };

    struct PROJECT_ENTRY {
        std::string strId;
        std::string strName;
        std::string strComment;
        std::vector<std::string> vecUsers;  // user names
        std::vector<std::string> vecGroups; // group names (written "@group")
        int iLine = 0;

        // Everybody when neither users nor groups are named.
        bool IsVisibleTo(const std::string& strUser, const std::vector<std::string>& vecUserGroups) const;
    };

    CServiceConfig() = default;

    // The file named by $ORVPRINT_SERVICE_CONF, else DEFAULT_PATH.
    static std::string ConfiguredPath();
    // The accounting log of a configuration without the AccountingLog key,
    // or one that cannot be read: $ORVPRINT_ACCOUNTING_LOG (an absolute
    // path), else DEFAULT_ACCOUNTING_LOG.
    static std::string DefaultAccountingLog();

    // Reads and parses a file. Throws CServiceConfigError.
    static CServiceConfig Load(const std::string& strPath);
    // Parses the text of a file; strFile names it in errors. An error of
    // the text carries the accounting log as far as it was read (see
    // CServiceConfigError::GetAccountingLog).
    static CServiceConfig Parse(const std::string& strText, const std::string& strFile);

    int GetAnswerTimeoutSeconds() const { return m_iAnswerTimeoutSeconds; }
    const std::string& GetRoamingQueue() const { return m_strRoamingQueue; }
    // Empty: no accounting log.
    const std::string& GetAccountingLog() const { return m_strAccountingLog; }
    const std::vector<PRINTER_ENTRY>& GetPrinters() const { return m_vecPrinters; }
    const std::vector<PROJECT_ENTRY>& GetProjects() const { return m_vecProjects; }

    const PRINTER_ENTRY* FindPrinter(const std::string& strId) const;
    // The projects strUser may use, in file order, at most MAX_PROJECTS.
    std::vector<const PROJECT_ENTRY*> VisibleProjects(const std::string& strUser,
                                                      const std::vector<std::string>& vecUserGroups) const;

private:
    static void ParseInto(const std::string& strText, const std::string& strFile, CServiceConfig& objConfig);

    int m_iAnswerTimeoutSeconds = DEFAULT_ANSWER_TIMEOUT;
    std::string m_strRoamingQueue;
    std::string m_strAccountingLog = DefaultAccountingLog();
    std::vector<PRINTER_ENTRY> m_vecPrinters;
    std::vector<PROJECT_ENTRY> m_vecProjects;
};

} // namespace OrvService
