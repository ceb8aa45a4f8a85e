#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include "language/Exception.h"
#include "language/PathHelpers.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "language/Win32Exception.h"
#include "language/LanguageTestHelpers.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/TempFolder.h"

namespace {

// A process id that no process has.
const uint32_t g_uiNoProcess = 0xFFFFFFF0u;

using languagetest::OwnProcessId;

std::wstring Lower(std::wstring str)
{
    for (wchar_t& c : str) {
        if (c >= L'A' && c <= L'Z') {
            c = static_cast<wchar_t>(c - L'A' + L'a');
        }
    }
    return str;
}

std::wstring SelfPathW()
{
    return Language::WideFromNarrow(orvtest::SelfPath());
}

} // namespace

// Announces itself through the file named by its argument, then runs until
// it is killed.
ORV_CHILD_MAIN(RunUntilKilled)
{
    if (args.empty() || !languagetest::WriteFileAtOnce(args[0], "ready")) {
        return 2;
    }
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

TEST(EnablePrivilegeTest, DebugPrivilegeOnOwnProcess)
{
    EXPECT_NO_THROW(Language::EnableDebugPrivilege(Language::GetCurrentProcessHandle()));
    EXPECT_NO_THROW(Language::EnablePrivilege(Language::GetCurrentProcessHandle(), L"SeDebugPrivilege"));
}

TEST(EnumProcessesTest, ListsOwnProcessByFileName)
{
    const std::vector<Language::ProcessEntry> vecProcesses = Language::EnumProcesses();
    const std::wstring strOwnName = Language::GetFileNameOfPath(SelfPathW());
    bool bFound = false;
    for (const Language::ProcessEntry& process : vecProcesses) {
        if (process.uiProcessId == OwnProcessId()) {
            EXPECT_EQ(Lower(strOwnName), Lower(Language::GetFileNameOfPath(process.strExeFile)));
            bFound = true;
        }
    }
    EXPECT_TRUE(bFound);
    EXPECT_GT(vecProcesses.size(), 1u);
}

TEST(EnumModulesTest, OwnExecutableIsAModule)
{
    const std::vector<Language::ModuleEntry> vecModules = Language::EnumModules(OwnProcessId());
    ASSERT_FALSE(vecModules.empty());
    const std::wstring strSelf = Lower(Language::GetFullPath(SelfPathW()));
    EXPECT_EQ(strSelf, Lower(Language::GetFullPath(vecModules.front().strExePath)));
    EXPECT_EQ(OwnProcessId(), vecModules.front().uiProcessId);
    EXPECT_EQ(Lower(Language::GetFileNameOfPath(SelfPathW())), Lower(vecModules.front().strModule));
}

TEST(EnumModulesTest, NoSuchProcessThrowsForSnapshot)
{
    try {
        Language::EnumModules(g_uiNoProcess);
    } catch (const Win32::Win32Exception& e) {
        const std::wstring strHead = L"CreateToolhelp32Snapshot failed. last error = " +
                                     std::to_wstring(e.GetErrorCode()) + L" (";
        EXPECT_EQ(strHead, e.MessageW().substr(0, strHead.size()));
        EXPECT_NE(0u, e.GetErrorCode());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(IsModuleLoadedInProcessTest, OwnExecutable)
{
    EXPECT_TRUE(Language::IsModuleLoadedInProcess(OwnProcessId(), SelfPathW()));
}

TEST(IsModuleLoadedInProcessTest, FailuresGiveFalse)
{
    EXPECT_FALSE(Language::IsModuleLoadedInProcess(g_uiNoProcess, SelfPathW()));
    EXPECT_FALSE(Language::IsModuleLoadedInProcess(OwnProcessId(), L""));
}

TEST(IsProcessRunningTest, OwnProgramIsRunning)
{
    EXPECT_TRUE(Language::IsProcessRunning(SelfPathW()));
}

TEST(IsProcessRunningTest, ProgramThatNeverRanIsNotRunning)
{
    orvtest::TempFolder tmp;
    EXPECT_FALSE(Language::IsProcessRunning(Language::WideFromNarrow(tmp.File("OrvNeverRunTool.exe"))));
}

TEST(IsProcessRunningTest, SameNameFromAnotherFolderDoesNotCount)
{
    orvtest::TempFolder tmpRunning;
    orvtest::TempFolder tmpIdle;
    const std::string strName = Language::NarrowFromWide(Language::GetFileNameOfPath(SelfPathW()));
    const std::string strRunning = tmpRunning.File(strName);
    const std::string strIdle = tmpIdle.File(strName);
    ASSERT_TRUE(languagetest::CopyFileTo(orvtest::SelfPath(), strRunning));
    ASSERT_TRUE(languagetest::CopyFileTo(orvtest::SelfPath(), strIdle));

    const std::string strReady = tmpRunning.File("ready.txt");
    std::unique_ptr<orvtest::ChildProcess> pChild =
        orvtest::ChildProcess::Start(strRunning, {"--orv-child=RunUntilKilled", strReady});
    ASSERT_NE(nullptr, pChild);
    ASSERT_TRUE(languagetest::WaitForFile(strReady)) << "the copy did not start";

    const uint32_t uiChild = static_cast<uint32_t>(pChild->GetPid());
    EXPECT_TRUE(Language::IsModuleLoadedInProcess(uiChild, Language::WideFromNarrow(strRunning)));
    EXPECT_FALSE(Language::IsModuleLoadedInProcess(uiChild, Language::WideFromNarrow(strIdle)));

    EXPECT_TRUE(Language::IsProcessRunning(Language::WideFromNarrow(strRunning)));
    EXPECT_FALSE(Language::IsProcessRunning(Language::WideFromNarrow(strIdle)));

    pChild->Kill();
    EXPECT_FALSE(Language::IsProcessRunning(Language::WideFromNarrow(strRunning)));
}

TEST(GetCurrentUserNameTest, NotEmpty)
{
    const std::wstring strName = Language::GetCurrentUserName();
    EXPECT_FALSE(strName.empty());
    EXPECT_EQ(std::wstring::npos, strName.find(L'\0'));
}
