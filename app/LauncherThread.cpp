#include "app/LauncherThread.h"

#include "app/ModulePath.h"
#include "language/CommandLine.h"
#include "language/Exception.h"
#include "language/PathHelpers.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"

CLauncherThread::CLauncherThread() : CSimpleCycleThread(L"Launcher thread", LAUNCH_PERIOD)
{
    ORV_TRACE_SCOPE("CLauncherThread::CLauncherThread");
    const std::wstring strFolder = Language::GetFolderOfPath(GetProgramPath());
    AddEntry(strFolder + GetClientToolFileName());
}

CLauncherThread::CLauncherThread(const std::wstring& strProgramPath, uint32_t uiPeriod)
    : CSimpleCycleThread(L"Launcher thread", uiPeriod)
{
    ORV_TRACE_SCOPE("CLauncherThread::CLauncherThread");
    AddEntry(strProgramPath);
}

CLauncherThread::~CLauncherThread()
{
    ORV_TRACE_SCOPE("CLauncherThread::~CLauncherThread");
    // The thread calls OnTimer of this object: stop it before the object goes.
    if (GetStatus() != STATUS_NOT_RUNNING && GetStatus() != STATUS_FAILED) {
        ForceQuit();
        Join();
    }
}

void CLauncherThread::AddEntry(const std::wstring& strProgramPath)
{
    LaunchEntry entry;
    entry.strImagePath = strProgramPath;
    entry.strCommandLine = L"\"" + strProgramPath + L"\"";
    m_listLaunch.push_back(entry);
}

bool CLauncherThread::OnTimer()
{
    // Log files that went away since the last cycle are opened again first,
    // so that this cycle's records are written.
    ReopenMissingLogFiles();
    ORV_TRACE_SCOPE("CLauncherThread::OnTimer");
    try {
        for (const LaunchEntry& entry : m_listLaunch) {
            if (!Language::IsProcessRunning(entry.strImagePath)) {
                Language::RunCommand(entry.strCommandLine);
            }
        }
    } catch (const Language::Exception& e) {
        ORV_LOG_FATAL("%s(%d)Failed to launch apps. err = %s", e.Message().c_str());
    } catch (...) {
        ORV_LOG_FATAL("%s(%d) : %s", "Caught unexpected C++ exception.");
    }
    return true;
}
