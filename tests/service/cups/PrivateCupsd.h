#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace orvtest {

// A CUPS scheduler of the test's own, in a temporary folder: its own
// cupsd.conf and cups-files.conf, a socket there (set as CUPS_SERVER for this
// process), its own cache, state, spool and logs, and a ServerBin made of
// links to /usr/lib/cups plus this build's orvprint backend (installed 0700:
// run as root) and the tests' capture backend (0755: run as lp), which copies
// each job into <folder>/capture/<queue>-<job id> and its arguments into
// <...>.args. Its cupsd.conf holds CUPS's stock <Policy default> and this
// service's <Policy orvprint> (service/orvprint-policy.conf). The machine's
// own CUPS is never touched. Ended by its pid.
class CPrivateCupsd {
public:
    // Empty when this machine can run one (root, cupsd, lpadmin, lp), else
    // the reason to skip.
    static std::string MissingReason();

    // vecSetEnv: more "NAME VALUE" pairs for SetEnv lines of cups-files.conf
    // (the backend's environment). With strNetworkHost it also listens on
    // strNetworkHost:iNetworkPort (host name lookups off) and lets in that
    // address and this computer's own (loopback, socket) only.
    explicit CPrivateCupsd(const std::string& strBackendPath, const std::vector<std::string>& vecSetEnv = {},
                           const std::string& strNetworkHost = std::string(), int iNetworkPort = 0);
    ~CPrivateCupsd();

    CPrivateCupsd(const CPrivateCupsd&) = delete;
    CPrivateCupsd& operator=(const CPrivateCupsd&) = delete;

    // Empty when the scheduler runs and answers, else what went wrong.
    const std::string& GetStartError() const { return m_strStartError; }
    const std::string& Folder() const { return m_strFolder; }
    std::string SocketPath() const { return m_strFolder + "/cups.sock"; }
    std::string ServiceConfPath() const { return m_strFolder + "/print-service.conf"; }
    // The backend's accounting log when the configuration names none (or
    // cannot be read): ORVPRINT_ACCOUNTING_LOG.
    std::string AccountingLogPath() const { return m_strFolder + "/accounting/accounting.jsonl"; }
    std::string CaptureFolder() const { return m_strFolder + "/capture"; }
    std::string PageLog() const;

    // lpadmin -p NAME -E -v URI -m raw [-o printer-op-policy=POLICY]; "" or
    // lpadmin's complaint.
    std::string AddQueue(const std::string& strName, const std::string& strUri,
                         const std::string& strPolicy = std::string()) const;
    std::string AddCaptureQueue(const std::string& strName) const;

    // lp -d QUEUE -t TITLE FILE run by the user itself (root: this process);
    // the job id, 0 on failure (strError says why).
    int Submit(const std::string& strUser, const std::string& strQueue, const std::string& strTitle,
               const std::string& strFile, std::string& strError) const;
    // lp ARGS... run by strUser itself, for a job on strQueue; as Submit.
    int SubmitWith(const std::string& strUser, const std::string& strQueue, const std::vector<std::string>& vecArgs,
                   std::string& strError) const;
    // /usr/bin/lp with these arguments (-U USER among them for a job in
    // somebody else's name) run by user strRunAs (empty or root: this
    // process) with CUPS_SERVER kept; lp's exit code, -1 when it could not be
    // started (strErr says why).
    int RunLp(const std::string& strRunAs, const std::vector<std::string>& vecArgs, std::string& strOut,
              std::string& strErr) const;

    struct JOB_STATE {
        int iState = 0;           // IPP job-state: 3 pending .. 9 completed; 0 unknown
        std::string strMessage;   // job-printer-state-message
    };
    JOB_STATE GetJobState(int iJobId) const;
    // Polls until the job's state is iState (at most iSeconds); the last state
    // seen.
    JOB_STATE WaitForJobState(int iJobId, int iState, int iSeconds) const;
    // Jobs of a queue in any state.
    int CountJobs(const std::string& strQueue) const;
    // The highest job id on a queue (any state), 0 when none.
    int LastJobId(const std::string& strQueue) const;
    // Polls until the queue has a job above iAfter (at most iSeconds); its id, 0
    // when none came.
    int WaitForJobAfter(const std::string& strQueue, int iAfter, int iSeconds) const;

private:
    std::string m_strFolder;
    pid_t m_pid = -1;
    std::string m_strStartError;
};

} // namespace orvtest
