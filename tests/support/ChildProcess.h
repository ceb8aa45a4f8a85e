#pragma once

#include <memory>
#include <string>
#include <vector>

namespace orvtest {

// A real child process, by default this test binary re-launched with
// "--orv-child=NAME args...". Killed (if still running) when destroyed; on
// Linux with what it started (its process group), so that no program a test
// started outlives the test, also when the test fails.
class ChildProcess {
public:
    // Starts this test binary running the child entry NAME.
    static std::unique_ptr<ChildProcess> StartSelf(const std::string& strName,
                                                   const std::vector<std::string>& args = {});
    // Starts any program with the given arguments (argv[0] is the path).
    static std::unique_ptr<ChildProcess> Start(const std::string& strPath,
                                               const std::vector<std::string>& args);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Waits for the end and returns the exit code (128 + signal when killed
    // by a signal on Linux). -1 when the wait failed.
    int Wait();
    // Kills at once (SIGKILL / TerminateProcess) and reaps.
    void Kill();
    bool IsRunning();
    unsigned long GetPid() const { return m_ulPid; }

private:
    ChildProcess() = default;
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
    unsigned long m_ulPid = 0;
    bool m_bReaped = false;
    int m_iExitCode = -1;
};

} // namespace orvtest
