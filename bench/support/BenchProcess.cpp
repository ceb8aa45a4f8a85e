// Child processes of the benchmarks: re-launches of this binary, idle
// programs, and the pool of idle processes.
#include "support/BenchSupport.h"

#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace orvbench {

namespace {

std::string SelfPath()
{
    char szPath[PATH_MAX] = {0};
    const ssize_t n = readlink("/proc/self/exe", szPath, sizeof(szPath) - 1);
    return n > 0 ? std::string(szPath, static_cast<size_t>(n)) : std::string();
}

// In the forked child, before exec: die with the parent, hand the
// descriptors over as 3, 4, ... and close the rest. Only async-signal-safe
// calls here (the parent may have other threads).
void PrepareChild(pid_t pidParent, const std::vector<int>& vecPassFds)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != pidParent) {
        _exit(126);
    }
    // First out of the way of the target numbers, then into place.
    int aiHigh[16];
    const size_t uiCount = vecPassFds.size() < 16 ? vecPassFds.size() : 16;
    for (size_t i = 0; i < uiCount; ++i) {
        aiHigh[i] = fcntl(vecPassFds[i], F_DUPFD, 512);
    }
    for (size_t i = 0; i < uiCount; ++i) {
        dup2(aiHigh[i], static_cast<int>(3 + i));
    }
    close_range(static_cast<unsigned>(3 + uiCount), ~0U, 0);
}

pid_t ForkExec(const std::string& strPath, const std::vector<std::string>& vecArgv,
               const std::vector<int>& vecPassFds, bool bSearchPath)
{
    std::vector<char*> vecPointers;
    for (const std::string& strArg : vecArgv) {
        vecPointers.push_back(const_cast<char*>(strArg.c_str()));
    }
    vecPointers.push_back(nullptr);
    const pid_t pidParent = getpid();
    const pid_t pid = fork();
    if (pid == 0) {
        PrepareChild(pidParent, vecPassFds);
        if (bSearchPath) {
            execvp(strPath.c_str(), vecPointers.data());
        } else {
            execv(strPath.c_str(), vecPointers.data());
        }
        _exit(127);
    }
    return pid;
}

std::vector<pid_t>& IdlePool()
{
    static std::vector<pid_t> s_vec;
    return s_vec;
}

} // namespace

pid_t SpawnChild(const std::string& strName, const std::vector<std::string>& vecArgs,
                 const std::vector<int>& vecPassFds)
{
    const std::string strSelf = SelfPath();
    std::vector<std::string> vecArgv{strSelf, "--child=" + strName};
    vecArgv.insert(vecArgv.end(), vecArgs.begin(), vecArgs.end());
    return ForkExec(strSelf, vecArgv, vecPassFds, false);
}

pid_t SpawnProgram(const std::string& strProgram, const std::vector<std::string>& vecArgs)
{
    std::vector<std::string> vecArgv{strProgram};
    vecArgv.insert(vecArgv.end(), vecArgs.begin(), vecArgs.end());
    return ForkExec(strProgram, vecArgv, {}, strProgram.find('/') == std::string::npos);
}

void StopProcess(pid_t pid)
{
    if (pid <= 0) {
        return;
    }
    kill(pid, SIGKILL);
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

void EnsureIdleProcesses(size_t uiCount)
{
    static bool s_bCleanupRegistered = false;
    if (!s_bCleanupRegistered) {
        s_bCleanupRegistered = true;
        AtRunEnd([]() { EnsureIdleProcesses(0); });
    }
    std::vector<pid_t>& vecPool = IdlePool();
    while (vecPool.size() < uiCount) {
        const pid_t pid = SpawnProgram("sleep", {"infinity"});
        if (pid < 0) {
            break;
        }
        vecPool.push_back(pid);
    }
    while (vecPool.size() > uiCount) {
        StopProcess(vecPool.back());
        vecPool.pop_back();
    }
    // Let them reach exec, so that a scan sees what it will see later.
    for (int iTry = 0; iTry < 1000; ++iTry) {
        bool bAllExec = true;
        for (pid_t pid : vecPool) {
            char szLink[64];
            std::snprintf(szLink, sizeof(szLink), "/proc/%d/exe", static_cast<int>(pid));
            char szTarget[PATH_MAX];
            const ssize_t n = readlink(szLink, szTarget, sizeof(szTarget) - 1);
            if (n <= 0 || std::strstr(std::string(szTarget, static_cast<size_t>(n)).c_str(), "sleep") == nullptr) {
                bAllExec = false;
                break;
            }
        }
        if (bAllExec) {
            break;
        }
        usleep(10000);
    }
}

size_t IdleProcessCount()
{
    return IdlePool().size();
}

size_t CountListedProcesses()
{
    DIR* pDir = opendir("/proc");
    if (!pDir) {
        return 0;
    }
    size_t uiCount = 0;
    while (const dirent* pEntry = readdir(pDir)) {
        const char* p = pEntry->d_name;
        if (*p < '0' || *p > '9') {
            continue;
        }
        char szLink[300];
        std::snprintf(szLink, sizeof(szLink), "/proc/%s/exe", p);
        char szTarget[8];
        if (readlink(szLink, szTarget, sizeof(szTarget)) > 0) {
            ++uiCount;
        }
    }
    closedir(pDir);
    return uiCount;
}

} // namespace orvbench

namespace orvbench {

namespace {
std::string s_strStandInPath;
pid_t s_pidStandIn = -1;
} // namespace

std::string StartClientToolStandIn()
{
    std::string& s_strPath = s_strStandInPath;
    if (!s_strPath.empty()) {
        return s_strPath;
    }
    std::string strSleep;
    for (const char* szCandidate : {"/usr/bin/sleep", "/bin/sleep"}) {
        if (access(szCandidate, X_OK) == 0) {
            strSleep = szCandidate;
            break;
        }
    }
    if (strSleep.empty()) {
        return std::string();
    }
    const std::string strFolder = RunFile("tool");
    mkdir(strFolder.c_str(), 0755);
    const std::string strPath = strFolder + "/OrvClientTool";
    {
        std::ifstream in(strSleep, std::ios::binary);
        std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
        out << in.rdbuf();
        if (!in || !out) {
            return std::string();
        }
    }
    chmod(strPath.c_str(), 0755);
    const pid_t pid = SpawnProgram(strPath, {"infinity"});
    if (pid < 0) {
        return std::string();
    }
    s_pidStandIn = pid;
    AtRunEnd([pid]() {
        StopClientToolCopies();
        StopProcess(pid);
    });
    // Wait until it runs the copy (after exec).
    const std::string strLink = "/proc/" + std::to_string(pid) + "/exe";
    for (int iTry = 0; iTry < 5000; ++iTry) {
        char szTarget[PATH_MAX];
        const ssize_t n = readlink(strLink.c_str(), szTarget, sizeof(szTarget) - 1);
        if (n > 0 && std::string(szTarget, static_cast<size_t>(n)) == strPath) {
            break;
        }
        usleep(2000);
    }
    s_strPath = strPath;
    return s_strPath;
}

} // namespace orvbench

namespace orvbench {

size_t StopClientToolCopies()
{
    if (s_strStandInPath.empty()) {
        return 0;
    }
    size_t uiStopped = 0;
    for (uint32_t uiId : Language::FindProcessesRunning(Language::WideFromUtf8(s_strStandInPath))) {
        const pid_t pid = static_cast<pid_t>(uiId);
        if (pid != s_pidStandIn) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, WNOHANG);
            ++uiStopped;
        }
    }
    return uiStopped;
}

} // namespace orvbench
