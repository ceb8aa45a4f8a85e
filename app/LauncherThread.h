#pragma once

#include <list>
#include <string>
#include "utility/SimpleCycleThread.h"

// Keeps the client tool, which lies in this program's folder, running: every
// 10 seconds (and once at once when the thread starts) each program of the
// list that is not running is started. Owned through a boost::shared_ptr.
class CLauncherThread : public OrvUtility::CSimpleCycleThread {
public:
    struct LaunchEntry {
        std::wstring strImagePath;   // full path, to recognise the running program
        std::wstring strCommandLine; // the path in double quotes, no arguments
    };

    static constexpr uint32_t LAUNCH_PERIOD = 10000;

    // Lists the client tool beside this program. Throws Win32::Win32Exception
    // when this program's own path cannot be found.
    CLauncherThread();
    // Lists the given program instead, with another period (tests).
    CLauncherThread(const std::wstring& strProgramPath, uint32_t uiPeriod);
    ~CLauncherThread() override;

    // Starts every listed program that is not running. Always true.
    bool OnTimer() override;

    const std::list<LaunchEntry>& GetLaunchList() const { return m_listLaunch; }

private:
    void AddEntry(const std::wstring& strProgramPath);

    std::list<LaunchEntry> m_listLaunch;
};
