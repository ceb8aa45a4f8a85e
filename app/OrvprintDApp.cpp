#include "app/OrvprintDApp.h"

#include <cstdio>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include "app/AppPlatform.h"
#include "app/LauncherThread.h"
#include "app/ModulePath.h"
#include "app/PopupThread.h"
#include "language/ErrorText.h"
#include "language/AnsiText.h"
#include "language/Exception.h"
#include "language/MachineRegistry.h"
#include "language/ProcessHelpers.h"
#include "logging/LogMacros.h"
#include "utility/NamedMutex.h"
#include "utility/ThreadEvent.h"

const wchar_t* const COrvprintDApp::INSTANCE_MUTEX_NAME = L"Global\\{05D73725-23EF-4104-92F1-CE15A4115D6A}";
const wchar_t* const COrvprintDApp::AUTORUN_VALUE_NAME = L"OrvprintD";

namespace {

// The log configuration under one machine key: InstallDir + "LogConfig.conf",
// if that file exists and can be opened for reading.
std::string LogConfigUnder(const wchar_t* szKey)
{
    Language::CMachineRegistryKey objKey;
    if (objKey.Open(szKey, Language::CMachineRegistryKey::ACCESS_READ) != Language::MachineRegistryStatus::OK) {
        return std::string();
    }
    wchar_t szFolder[260] = {0};
    uint32_t uiBytes = sizeof(szFolder) / sizeof(szFolder[0]) * Language::CMachineRegistryKey::CHAR_BYTES;
    if (objKey.QueryValue(L"InstallDir", szFolder, &uiBytes) != Language::MachineRegistryStatus::OK) {
        return std::string();
    }
    szFolder[259] = L'\0';
    std::wstring strPath = szFolder;
    strPath += AppPlatform::GetPathSeparator();
    strPath += L"LogConfig.conf";
    // The value is read as narrow text: in the system's ANSI code page, the
    // one in which the file is opened too, whatever the C locale.
    const std::string strNarrow = Language::AnsiFromWide(strPath);
    FILE* pFile = std::fopen(strNarrow.c_str(), "r");
    if (!pFile) {
        return std::string();
    }
    std::fclose(pFile);
    return strNarrow;
}

} // namespace

std::string FindLogConfigFile()
{
    std::string strPath = LogConfigUnder(L"Software\\Orv-soft\\Client");
    if (strPath.empty()) {
        strPath = LogConfigUnder(L"Software\\Orv-soft\\Server");
    }
    return strPath;
}

std::string FindLogFolder()
{
    Language::CMachineRegistryKey objKey;
    if (objKey.Open(L"Software\\Orv-soft\\Client", Language::CMachineRegistryKey::ACCESS_READ) !=
        Language::MachineRegistryStatus::OK) {
        return std::string();
    }
    wchar_t szFolder[260] = {0};
    uint32_t uiBytes = sizeof(szFolder) / sizeof(szFolder[0]) * Language::CMachineRegistryKey::CHAR_BYTES;
    if (objKey.QueryValue(L"LogDir", szFolder, &uiBytes) != Language::MachineRegistryStatus::OK) {
        return std::string();
    }
    szFolder[259] = L'\0';
    return Language::AnsiFromWide(szFolder);
}

int CallUpPP()
{
    ORV_TRACE_SCOPE("CallUpPP");
    uint32_t uiError = 0;
    const int iResult = AppPlatform::ProbePrintProcessor(&uiError);
    ORV_LOG_DEBUG("%s(%d) : dwError = %u", uiError);
    if (iResult != 1) {
        AppPlatform::ShowErrorMessageBox(L"打印处理器激活失败，请重新启动计算机！");
    }
    return iResult;
}

int COrvprintDApp::InitInstance()
{
    ORV_TRACE_SCOPE("COrvprintDApp::InitInstance");
    ORV_LOG_INFO_PLAIN("OrvprintD exits.");

    AppPlatform::SetUiThreadLocale();
    AppPlatform::InitCommonControls();

    // Never as the system account.
    try {
        if (Language::GetCurrentUserName() == AppPlatform::GetSystemAccountName()) {
            return 0;
        }
    } catch (const Language::Exception& e) {
        ORV_LOG_ERROR("%s(%d) : %s", e.Message().c_str());
    }

    // One instance per machine. The mutex stays owned until the process ends.
    bool bAlreadyExists = false;
    OrvUtility::NamedHandle hInstanceMutex =
        OrvUtility::CreateNamedMutex(INSTANCE_MUTEX_NAME, true, OrvUtility::EVERYONE_EVENT_ALL_ACCESS, &bAlreadyExists);
    const uint32_t dwLastError = Language::GetLastPlatformError();
    ORV_LOG_DEBUG("%s(%d) : dwLastError = %u", dwLastError);
    if (dwLastError == OrvUtility::NAMED_ERROR_ALREADY_EXISTS || dwLastError == AppPlatform::GetAccessDeniedError() ||
        bAlreadyExists) {
        ORV_LOG_WARNING("%s(%d) : %s", "Another instance already running.");
        return 0;
    }
    (void)hInstanceMutex;

    // Start with every log-on.
    try {
        if (!AppPlatform::AutorunValueExists()) {
            AppPlatform::WriteAutorunValue(GetProgramPath());
        }
    } catch (const Language::Exception& e) {
        ORV_LOG_ERROR("%s(%d) : Failed to write autorun registry. err = %s", e.Message().c_str());
    }

    CallUpPP();

    CPopupThread objPopupThread;
    objPopupThread.Begin();

    boost::shared_ptr<CLauncherThread> spLauncher;
    bool bLauncherBegun = false;
    try {
        spLauncher = boost::make_shared<CLauncherThread>();
        bLauncherBegun = spLauncher->Begin() == 0;
    } catch (const Language::Exception& e) {
        ORV_LOG_FATAL("%s(%d)Failed to begin launch thread. err = %s", e.Message().c_str());
    } catch (...) {
        ORV_LOG_FATAL("%s(%d) : %s", "Caught unexpected C++ exception. Failed to begin launch thread.");
    }

    AppPlatform::RunMessageLoop();

    objPopupThread.ForceQuit();
    AppPlatform::JoinFromMainThread(objPopupThread);
    if (spLauncher) {
        // A quit that is already waiting when the loop starts (sent while the
        // print-processor message box was open) comes before the launcher
        // thread has begun to run: ForceQuit would find nothing to stop and
        // Join would wait for ever. Let it start first.
        if (bLauncherBegun) {
            spLauncher->WaitStarted(OrvUtility::CThreadEvent::INFINITE_WAIT);
        }
        spLauncher->ForceQuit();
        spLauncher->Join();
    }
    ORV_LOG_INFO_PLAIN("OrvprintD exits.");
    spLauncher.reset();
    AppPlatform::EndInstance(hInstanceMutex);
    return 0;
}
