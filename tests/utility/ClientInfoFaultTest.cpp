// Config.ini when something around it has failed: the settings-file lock
// left behind by a process that was killed while it held it, and a
// "TempDir" that is not a folder.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include "language/MachineRegistryTestStore.h"
#include "language/PrivateProfile.h"
#include "language/TextConvert.h"
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/ClientInfo.h"
#include "utility/FileLocker.h"
#include "utility/NamedMutex.h"
#include "utility/PsFolder.h"

using namespace OrvUtility;

namespace {

const auto HOLDER_TIMEOUT = std::chrono::seconds(60);
const auto READER_TIMEOUT = std::chrono::seconds(30);

const char* const EXAMPLE =
    "[Setting]\n"
    "DisplayProjectSelection=0\n"
    "CanSelectNoPrinter=1\n"
    "CanSelectNoProject=1\n"
    "DefaultPrinter=Printer on floor 3\n"
    "DefaultProject=Project A\n"
    "\n"
    "[ServerConfig]\n"
    "WaterPrintInstalled=1\n"
    "AuditInstalled=0\n"
    "SGIdentifyInstalled=1\n"
    "FilterIntalled=1\n";

// Waits for a marker file that another process makes; false when it did not
// come in time.
bool WaitForFile(const std::string& strPath, std::chrono::seconds tTimeout)
{
    const auto tEnd = std::chrono::steady_clock::now() + tTimeout;
    while (!std::filesystem::exists(strPath)) {
        if (std::chrono::steady_clock::now() > tEnd) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Runs a call on a thread of its own and waits for it, bounded. A call that
// does not return in time leaves a thread that cannot be stopped: the
// process ends there with the reason.
template <class F>
void CallBounded(F fnCall, const char* szWhat)
{
    std::mutex mutexDone;
    std::condition_variable cvDone;
    bool bDone = false;
    std::thread worker([&]() {
        fnCall();
        std::lock_guard<std::mutex> lock(mutexDone);
        bDone = true;
        cvDone.notify_all();
    });
    std::unique_lock<std::mutex> lock(mutexDone);
    if (!cvDone.wait_for(lock, READER_TIMEOUT, [&]() { return bDone; })) {
        std::fprintf(stderr, "%s still waits after %lld s: the lock of a killed holder blocks it\n", szWhat,
                     static_cast<long long>(READER_TIMEOUT.count()));
        std::fflush(stderr);
        std::_Exit(1);
    }
    lock.unlock();
    worker.join();
}

OrvUtility::NamedMutexState ProbeFromOtherThread(const std::wstring& strName)
{
    OrvUtility::NamedMutexState eState = OrvUtility::NAMED_MUTEX_PROBE_FAILED;
    std::thread([&]() { eState = OrvUtility::ProbeNamedMutex(strName); }).join();
    return eState;
}

class ClientInfoFaultTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", orvtest::Wide(m_tmp.Path()));
        m_tmp.WriteFile("Config.ini", EXAMPLE);
    }

    std::string ConfigPath() const { return m_tmp.File("Config.ini"); }
    std::wstring LockName() const { return CFileLocker::MakeLockName(orvtest::Wide(ConfigPath()).c_str()); }

    // Starts a process that takes the settings-file lock, waits until it
    // holds it and kills it: the lock is left abandoned. The caller keeps a
    // locker of the file open meanwhile (on Windows a mutex that nobody has
    // open any more is gone rather than abandoned).
    void KillAHolder()
    {
        auto pHolder = orvtest::ChildProcess::StartSelf("SettingsLockHolder", {ConfigPath(), m_tmp.File("held")});
        ASSERT_TRUE(pHolder);
        ASSERT_TRUE(WaitForFile(m_tmp.File("held"), HOLDER_TIMEOUT)) << "the holder did not take the lock";
        ASSERT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(LockName()));
        pHolder->Kill();
        EXPECT_EQ(137, pHolder->Wait());
    }

    // Takes and gives back the file's lock on a thread of its own: it must
    // be acquired normally (1), not reported abandoned (0).
    void ExpectANormalLock()
    {
        int iLock = -1;
        int iUnlock = -1;
        CallBounded(
            [&]() {
                CFileLocker locker(orvtest::Wide(ConfigPath()).c_str());
                iLock = locker.Lock(0xFFFFFFFF);
                iUnlock = locker.Unlock();
            },
            "CFileLocker::Lock");
        EXPECT_EQ(1, iLock);
        EXPECT_EQ(1, iUnlock);
    }

    // Lock files of the file lock in a folder of this test (Linux).
    orvtest::ScopedUserFolder m_user;
    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
};

} // namespace

// args: Config.ini path, "held" marker. Takes the file's lock, says so, and
// keeps it until it is killed (bounded: it gives up on its own after a
// while, without releasing).
ORV_CHILD_MAIN(SettingsLockHolder)
{
    CFileLocker* pLocker = new CFileLocker(orvtest::Wide(args.at(0)).c_str());
    if (!pLocker->Lock(0xFFFFFFFF)) {
        return 1;
    }
    std::ofstream(args.at(1), std::ios::binary);
    WaitForFile(args.at(0) + ".never", HOLDER_TIMEOUT);
    std::_Exit(2);
}

// The first reader after the holder's death finds the lock abandoned; the
// read goes on all the same and gives every field of the file.
TEST_F(ClientInfoFaultTest, ReadClientSettingGivesTheSettingsUnderAnAbandonedLock)
{
    CFileLocker keeper(orvtest::Wide(ConfigPath()).c_str());
    KillAHolder();
    if (HasFatalFailure()) {
        return;
    }

    CLIENT_SETTING setting;
    uint32_t uiResult = 99;
    CallBounded([&]() { uiResult = ReadClientSetting(setting); }, "ReadClientSetting");
    EXPECT_EQ(0u, uiResult);
    EXPECT_EQ(0, setting.bDisplayProjectSelection);
    EXPECT_EQ(1, setting.bCanSelectNoPrinter);
    EXPECT_EQ(1, setting.bCanSelectNoProject);
    EXPECT_EQ(L"Printer on floor 3", setting.szDefaultPrinter);
    EXPECT_EQ(L"Project A", setting.szDefaultProject);
    // The reader took the abandoned lock over (a lock taken now is a normal
    // one: the first after the holder's death reports FALSE) and let go of it.
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(LockName()));
    ExpectANormalLock();

    // So the next reader takes it normally and reads the same.
    CLIENT_SETTING again;
    CallBounded([&]() { uiResult = ReadClientSetting(again); }, "ReadClientSetting");
    EXPECT_EQ(0u, uiResult);
    EXPECT_EQ(L"Printer on floor 3", again.szDefaultPrinter);
    EXPECT_EQ(L"Project A", again.szDefaultProject);
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(LockName()));
}

// The dialog's settings read the server group first: that reader meets the
// abandoned lock, and the user's group is read after it as usual.
TEST_F(ClientInfoFaultTest, BothGroupsAreReadInTheDialogsOrderUnderAnAbandonedLock)
{
    CFileLocker keeper(orvtest::Wide(ConfigPath()).c_str());
    KillAHolder();
    if (HasFatalFailure()) {
        return;
    }

    SERVER_CONFIG config;
    CLIENT_SETTING setting;
    uint32_t uiServer = 99;
    uint32_t uiClient = 99;
    CallBounded(
        [&]() {
            uiServer = GetServerConfig(config);
            uiClient = ReadClientSetting(setting);
        },
        "GetServerConfig and ReadClientSetting");
    EXPECT_EQ(0u, uiServer);
    EXPECT_EQ(1, config.blWaterPrintInstall);
    EXPECT_EQ(0, config.blAuditInstall);
    EXPECT_EQ(1, config.blSGIdentifyInstall);
    EXPECT_EQ(1, config.blFilterInstall);
    EXPECT_EQ(0u, uiClient);
    EXPECT_EQ(0, setting.bDisplayProjectSelection);
    EXPECT_EQ(L"Printer on floor 3", setting.szDefaultPrinter);
    EXPECT_EQ(L"Project A", setting.szDefaultProject);
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(LockName()));
    ExpectANormalLock();
}

// A settings write that cannot happen because "TempDir" names a regular
// file: the writer stops at its first key with one error line, and the file
// in the way is left as it was. Readers see the defaults.
TEST_F(ClientInfoFaultTest, TempDirThatIsAFileFailsTheWriteWithOneErrorLine)
{
    const std::string strFile = m_tmp.WriteFile("NotAFolder", "plain file\n");
    m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", orvtest::Wide(strFile));
    orvtest::LogCapture cap;
    CLIENT_SETTING setting{1, 0, 0, L"Printer on floor 5", L"Project B"};
    EXPECT_EQ(1u, WriteClientSetting(setting));
    EXPECT_EQ("plain file\n", m_tmp.ReadFile("NotAFolder"));

    CLIENT_SETTING back;
    back.szDefaultPrinter = L"stale";
    EXPECT_EQ(0u, ReadClientSetting(back));
    EXPECT_EQ(1, back.bDisplayProjectSelection);
    EXPECT_EQ(0, back.bCanSelectNoPrinter);
    EXPECT_EQ(0, back.bCanSelectNoProject);
    EXPECT_EQ(L"", back.szDefaultPrinter);
    EXPECT_EQ(L"", back.szDefaultProject);
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count("ERROR - ")) << cap.Text();
        EXPECT_EQ(1, cap.Count("ERROR - utility/ClientInfo.cpp(")) << cap.Text();
        EXPECT_EQ(1, cap.Count(") : WritePrivateProfileBOOL failed.")) << cap.Text();
        EXPECT_EQ(0, cap.Count("WARNING - ")) << cap.Text();
    }
}
