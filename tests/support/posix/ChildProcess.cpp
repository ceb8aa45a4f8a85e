#include "support/ChildProcess.h"
#include "support/ChildMain.h"

#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <climits>

extern char** environ;

namespace orvtest {

struct ChildProcess::Impl {};

std::string SelfPath()
{
    char szPath[PATH_MAX] = {0};
    ssize_t n = readlink("/proc/self/exe", szPath, sizeof(szPath) - 1);
    return n > 0 ? std::string(szPath, n) : std::string();
}

std::unique_ptr<ChildProcess> ChildProcess::StartSelf(const std::string& strName, const std::vector<std::string>& args)
{
    std::vector<std::string> all{"--orv-child=" + strName};
    all.insert(all.end(), args.begin(), args.end());
    return Start(SelfPath(), all);
}

std::unique_ptr<ChildProcess> ChildProcess::Start(const std::string& strPath, const std::vector<std::string>& args)
{
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(strPath.c_str()));
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    // The child leads a process group of its own, which whatever it starts
    // joins (OrvprintD's client tool, for one): ending the group ends them
    // all, however far their start has come.
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attr, 0);
    pid_t pid = 0;
    const int iSpawned = posix_spawn(&pid, strPath.c_str(), nullptr, &attr, argv.data(), environ);
    posix_spawnattr_destroy(&attr);
    if (iSpawned != 0) {
        return nullptr;
    }
    std::unique_ptr<ChildProcess> p(new ChildProcess());
    p->m_ulPid = static_cast<unsigned long>(pid);
    return p;
}

ChildProcess::~ChildProcess()
{
    if (!m_bReaped) Kill();
    // What the child started and left running (also when the test failed).
    kill(-static_cast<pid_t>(m_ulPid), SIGKILL);
}

int ChildProcess::Wait()
{
    if (m_bReaped) return m_iExitCode;
    int status = 0;
    pid_t r;
    do {
        r = waitpid(static_cast<pid_t>(m_ulPid), &status, 0);
    } while (r < 0 && errno == EINTR);
    if (r < 0) return -1;
    m_bReaped = true;
    m_iExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return m_iExitCode;
}

void ChildProcess::Kill()
{
    if (m_bReaped) return;
    kill(static_cast<pid_t>(m_ulPid), SIGKILL);
    Wait();
}

bool ChildProcess::IsRunning()
{
    if (m_bReaped) return false;
    int status = 0;
    pid_t r = waitpid(static_cast<pid_t>(m_ulPid), &status, WNOHANG);
    if (r == 0) return true;
    if (r > 0) {
        m_bReaped = true;
        m_iExitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return false;
}

} // namespace orvtest
