#include "tests/service/cups/PrivateCupsd.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cups/cups.h>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include "service/PrivilegeDrop.h"
#include "service/UserAccount.h"
#include "support/TempFolder.h"
#include "tests/service/StockCupsPolicy.h"
#include "tests/tools/ToolProcess.h"

namespace orvtest {

namespace {

const char CUPSD[] = "/usr/sbin/cupsd";
const char SYSTEM_SERVER_BIN[] = "/usr/lib/cups";

const char CAPTURE_BACKEND[] =
    "#!/bin/sh\n"
    "# Test printer: copies the job into the capture folder, whole or not at all.\n"
    "if [ $# -eq 0 ]; then echo 'direct capture \"Unknown\" \"Test capture\"'; exit 0; fi\n"
    "out=\"${DEVICE_URI#capture:}/$PRINTER-$1\"\n"
    "if [ -n \"$6\" ]; then cat \"$6\" >\"$out.part\" || exit 1; else cat >\"$out.part\" || exit 1; fi\n"
    "printf 'user=%s\\ntitle=%s\\ncopies=%s\\ncontent=%s\\n' \"$2\" \"$3\" \"$4\" \"$CONTENT_TYPE\" >\"$out.args\"\n"
    "mv \"$out.part\" \"$out\"\n"
    "exit 0\n";

void WriteText(const std::string& strPath, const std::string& strText, mode_t uiMode)
{
    std::ofstream file(strPath, std::ios::binary | std::ios::trunc);
    file << strText;
    file.close();
    chmod(strPath.c_str(), uiMode);
}

bool IsExecutable(const char* szPath)
{
    return access(szPath, X_OK) == 0;
}

long long NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

std::string CPrivateCupsd::MissingReason()
{
    if (geteuid() != 0) {
        return "a private cupsd that runs the backend as root needs root";
    }
    for (const char* szTool : {CUPSD, "/usr/sbin/lpadmin", "/usr/bin/lp"}) {
        if (!IsExecutable(szTool)) {
            return std::string(szTool) + " is missing (scripts/setup.sh installs cups-daemon and cups-client)";
        }
    }
    if (!IsExecutable((std::string(SYSTEM_SERVER_BIN) + "/daemon/cups-exec").c_str())) {
        return "/usr/lib/cups/daemon/cups-exec is missing";
    }
    return std::string();
}

CPrivateCupsd::CPrivateCupsd(const std::string& strBackendPath, const std::vector<std::string>& vecSetEnv,
                             const std::string& strNetworkHost, int iNetworkPort)
{
    char szTemplate[] = "/tmp/orvtest-cups.XXXXXX";
    if (!mkdtemp(szTemplate)) {
        m_strStartError = std::string("mkdtemp: ") + std::strerror(errno);
        return;
    }
    m_strFolder = szTemplate;
    const std::string& D = m_strFolder;
    chmod(D.c_str(), 0755); // the capture backend runs as lp
    for (const char* szSub : {"serverbin", "serverbin/backend", "serverbin/filter", "cache", "state", "spool",
                              "spool/tmp", "log", "capture"}) {
        mkdir((D + "/" + szSub).c_str(), 0755);
    }
    chmod((D + "/capture").c_str(), 01777);
    bool bLinked = true;
    for (const char* szSub : {"daemon", "notifier"}) {
        bLinked = symlink((std::string(SYSTEM_SERVER_BIN) + "/" + szSub).c_str(), (D + "/serverbin/" + szSub).c_str()) ==
                      0 &&
                  bLinked;
    }
    if (DIR* pDir = opendir((std::string(SYSTEM_SERVER_BIN) + "/backend").c_str())) {
        while (struct dirent* pEntry = readdir(pDir)) {
            if (pEntry->d_name[0] != '.') {
                bLinked = symlink((std::string(SYSTEM_SERVER_BIN) + "/backend/" + pEntry->d_name).c_str(),
                                  (D + "/serverbin/backend/" + pEntry->d_name).c_str()) == 0 &&
                          bLinked;
            }
        }
        closedir(pDir);
    }
    if (!bLinked) {
        m_strStartError = "cannot link /usr/lib/cups into ServerBin";
        return;
    }
    std::error_code ec;
    std::filesystem::copy_file(strBackendPath, D + "/serverbin/backend/orvprint", ec);
    if (ec) {
        m_strStartError = "cannot copy the backend: " + ec.message();
        return;
    }
    chmod((D + "/serverbin/backend/orvprint").c_str(), 0700);
    WriteText(D + "/serverbin/backend/capture", CAPTURE_BACKEND, 0755);
    const std::string strOrvprintPolicy = ReadWholeFile(ORVPRINT_POLICY_PATH);
    if (strOrvprintPolicy.find("<Policy orvprint>") == std::string::npos) {
        m_strStartError = std::string("cannot read the orvprint policy ") + ORVPRINT_POLICY_PATH;
        return;
    }
    // Only the socket, unless a test needs the network: then that address
    // and this computer's own (cupsd always lets "localhost" in).
    std::string strListen = "Listen " + D + "/cups.sock\n";
    std::string strAllow = "  Allow all\n";
    if (!strNetworkHost.empty()) {
        strListen += "Listen " + strNetworkHost + ":" + std::to_string(iNetworkPort) + "\nHostNameLookups Off\n";
        strAllow = "  Allow from " + strNetworkHost + "\n";
    }
    WriteText(D + "/cupsd.conf",
              strListen + "LogLevel debug\nMaxLogSize 0\n<Location />\n  Order allow,deny\n" + strAllow +
                  "</Location>\n" + STOCK_DEFAULT_POLICY + strOrvprintPolicy,
              0644);
    std::string strSetEnv;
    for (const std::string& strPair : vecSetEnv) {
        strSetEnv += "SetEnv " + strPair + "\n";
    }
    WriteText(D + "/cups-files.conf",
              "ServerRoot " + D + "\nServerBin " + D + "/serverbin\nDataDir /usr/share/cups\nCacheDir " + D +
                  "/cache\nStateDir " + D + "/state\nRequestRoot " + D + "/spool\nTempDir " + D +
                  "/spool/tmp\nAccessLog " + D + "/log/access_log\nErrorLog " + D + "/log/error_log\nPageLog " + D +
                  "/log/page_log\nSetEnv ORVPRINT_SERVICE_CONF " + D +
                  "/print-service.conf\nSetEnv ORVPRINT_SERVICE_STATE_DIR " + D +
                  "/service-state\nSetEnv ORVPRINT_ACCOUNTING_LOG " + AccountingLogPath() +
                  "\n"
                  // A sanitizer build's backend must end with its own exit code.
                  "SetEnv ASAN_OPTIONS detect_leaks=0\n" +
                  strSetEnv,
              0644);

    m_pid = fork();
    if (m_pid < 0) {
        m_strStartError = std::string("fork: ") + std::strerror(errno);
        return;
    }
    if (m_pid == 0) {
        const int iOut = open((D + "/cupsd.out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (iOut >= 0) {
            dup2(iOut, STDOUT_FILENO);
            dup2(iOut, STDERR_FILENO);
        }
        execl(CUPSD, CUPSD, "-f", "-c", (D + "/cupsd.conf").c_str(), "-s", (D + "/cups-files.conf").c_str(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    setenv("CUPS_SERVER", SocketPath().c_str(), 1);
    cupsSetServer(SocketPath().c_str());
    // Ready when it answers on its socket (at most 30 s).
    const long long llDeadline = NowMs() + 30000;
    for (;;) {
        http_t* pHttp = httpConnect2(SocketPath().c_str(), ippPort(), nullptr, AF_UNSPEC, HTTP_ENCRYPTION_NEVER, 0,
                                     1000, nullptr);
        if (pHttp) {
            httpClose(pHttp);
            break;
        }
        int iStatus = 0;
        if (waitpid(m_pid, &iStatus, WNOHANG) == m_pid) {
            m_pid = -1;
            m_strStartError = "cupsd ended at start; see " + D + "/cupsd.out";
            return;
        }
        if (NowMs() > llDeadline) {
            m_strStartError = "cupsd did not answer on its socket within 30 s";
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

CPrivateCupsd::~CPrivateCupsd()
{
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        const long long llDeadline = NowMs() + 15000;
        int iStatus = 0;
        while (waitpid(m_pid, &iStatus, WNOHANG) == 0) {
            if (NowMs() > llDeadline) {
                kill(m_pid, SIGKILL);
                waitpid(m_pid, &iStatus, 0);
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    if (!m_strFolder.empty() && std::getenv("ORV_KEEP_CUPS_FOLDER") == nullptr) {
        std::error_code ec;
        std::filesystem::remove_all(m_strFolder, ec);
    }
}

std::string CPrivateCupsd::PageLog() const
{
    std::ifstream file(m_strFolder + "/log/page_log", std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string CPrivateCupsd::AddQueue(const std::string& strName, const std::string& strUri,
                                    const std::string& strPolicy) const
{
    std::vector<std::string> vecArgs = {"-p", strName, "-E", "-v", strUri, "-m", "raw"};
    if (!strPolicy.empty()) {
        vecArgs.insert(vecArgs.end(), {"-o", "printer-op-policy=" + strPolicy});
    }
    std::string strOut, strErr;
    const int iExit = RunTool("/usr/sbin/lpadmin", vecArgs, strOut, strErr);
    return iExit == 0 ? std::string() : "lpadmin exited " + std::to_string(iExit) + ": " + strErr;
}

std::string CPrivateCupsd::AddCaptureQueue(const std::string& strName) const
{
    return AddQueue(strName, "capture:" + CaptureFolder());
}

int CPrivateCupsd::Submit(const std::string& strUser, const std::string& strQueue, const std::string& strTitle,
                          const std::string& strFile, std::string& strError) const
{
    return SubmitWith(strUser, strQueue, {"-d", strQueue, "-t", strTitle, strFile}, strError);
}

int CPrivateCupsd::SubmitWith(const std::string& strUser, const std::string& strQueue,
                              const std::vector<std::string>& vecArgs, std::string& strError) const
{
    std::string strOut, strErr;
    const int iExit = RunLp(strUser, vecArgs, strOut, strErr);
    const std::string strPrefix = "request id is " + strQueue + "-";
    const size_t uiAt = strOut.find(strPrefix);
    if (iExit != 0 || uiAt == std::string::npos) {
        strError = "lp exited " + std::to_string(iExit) + ": " + strOut + strErr;
        return 0;
    }
    return std::atoi(strOut.c_str() + uiAt + strPrefix.size());
}

int CPrivateCupsd::RunLp(const std::string& strRunAs, const std::vector<std::string>& vecArgs, std::string& strOut,
                         std::string& strErr) const
{
    static const char LP[] = "/usr/bin/lp";
    static const char LP_NAME[] = "lp"; // argv[0]: lp's messages start with it
    OrvService::CUserAccount objAccount;
    const bool bDrop = !strRunAs.empty() && strRunAs != "root";
    if (bDrop && !OrvService::CUserAccount::Lookup(strRunAs, objAccount)) {
        strErr = "no user " + strRunAs;
        return -1;
    }
    TempFolder folder;
    const std::string strOutPath = folder.File("stdout");
    const std::string strErrPath = folder.File("stderr");
    std::vector<char*> vecArgv = {const_cast<char*>(LP_NAME)};
    for (const std::string& strArg : vecArgs) {
        vecArgv.push_back(const_cast<char*>(strArg.c_str()));
    }
    vecArgv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid < 0) {
        strErr = std::string("fork: ") + std::strerror(errno);
        return -1;
    }
    if (pid == 0) {
        // Opened as root; lp then runs as the user, with this environment
        // (CUPS_SERVER) and the user's HOME, USER and LOGNAME.
        const int iIn = open("/dev/null", O_RDONLY);
        const int iOut = open(strOutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int iErr = open(strErrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (iIn < 0 || iOut < 0 || iErr < 0 || dup2(iIn, STDIN_FILENO) < 0 || dup2(iOut, STDOUT_FILENO) < 0 ||
            dup2(iErr, STDERR_FILENO) < 0) {
            _exit(125);
        }
        std::string strProblem;
        if (bDrop && !OrvService::CPrivilegeDrop::DropTo(objAccount, strProblem)) {
            const std::string strLine = "cannot become " + strRunAs + ": " + strProblem + "\n";
            (void)!write(STDERR_FILENO, strLine.data(), strLine.size());
            _exit(126);
        }
        execv(LP, vecArgv.data());
        _exit(127);
    }
    int iStatus = 0;
    pid_t r;
    do {
        r = waitpid(pid, &iStatus, 0);
    } while (r < 0 && errno == EINTR);
    strOut = ReadWholeFile(strOutPath);
    strErr = ReadWholeFile(strErrPath);
    if (r < 0) {
        return -1;
    }
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : 128 + WTERMSIG(iStatus);
}

CPrivateCupsd::JOB_STATE CPrivateCupsd::GetJobState(int iJobId) const
{
    JOB_STATE stuState;
    ipp_t* pRequest = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
    const std::string strUri = "ipp://localhost/jobs/" + std::to_string(iJobId);
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, strUri.c_str());
    ippAddString(pRequest, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, "root");
    static const char* const s_aszAttrs[] = {"job-state", "job-printer-state-message"};
    ippAddStrings(pRequest, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", 2, nullptr, s_aszAttrs);
    ipp_t* pResponse = cupsDoRequest(CUPS_HTTP_DEFAULT, pRequest, "/");
    if (pResponse) {
        if (ipp_attribute_t* pAttr = ippFindAttribute(pResponse, "job-state", IPP_TAG_ENUM)) {
            stuState.iState = ippGetInteger(pAttr, 0);
        }
        if (ipp_attribute_t* pAttr = ippFindAttribute(pResponse, "job-printer-state-message", IPP_TAG_TEXT)) {
            stuState.strMessage = ippGetString(pAttr, 0, nullptr);
        }
        ippDelete(pResponse);
    }
    return stuState;
}

CPrivateCupsd::JOB_STATE CPrivateCupsd::WaitForJobState(int iJobId, int iState, int iSeconds) const
{
    const long long llDeadline = NowMs() + iSeconds * 1000LL;
    for (;;) {
        const JOB_STATE stuState = GetJobState(iJobId);
        if (stuState.iState == iState || NowMs() > llDeadline) {
            return stuState;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

int CPrivateCupsd::CountJobs(const std::string& strQueue) const
{
    cups_job_t* pJobs = nullptr;
    const int iJobs = cupsGetJobs2(CUPS_HTTP_DEFAULT, &pJobs, strQueue.c_str(), 0, CUPS_WHICHJOBS_ALL);
    cupsFreeJobs(iJobs < 0 ? 0 : iJobs, pJobs);
    return iJobs;
}

int CPrivateCupsd::LastJobId(const std::string& strQueue) const
{
    cups_job_t* pJobs = nullptr;
    const int iJobs = cupsGetJobs2(CUPS_HTTP_DEFAULT, &pJobs, strQueue.c_str(), 0, CUPS_WHICHJOBS_ALL);
    int iLast = 0;
    for (int i = 0; i < iJobs; ++i) {
        iLast = pJobs[i].id > iLast ? pJobs[i].id : iLast;
    }
    cupsFreeJobs(iJobs < 0 ? 0 : iJobs, pJobs);
    return iLast;
}

int CPrivateCupsd::WaitForJobAfter(const std::string& strQueue, int iAfter, int iSeconds) const
{
    const long long llDeadline = NowMs() + iSeconds * 1000LL;
    for (;;) {
        const int iLast = LastJobId(strQueue);
        if (iLast > iAfter) {
            return iLast;
        }
        if (NowMs() > llDeadline) {
            return 0;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

} // namespace orvtest
