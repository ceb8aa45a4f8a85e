#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
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
#include "utility/ClientInfo.h"
#include "utility/PsFolder.h"
#include "utility/ScopeFileLock.h"

// The settings-file lock between processes: readers wait for a holder,
// a dead holder does not stop them, the writer does not take the lock.

using namespace OrvUtility;

namespace {

std::wstring Wide(const std::string& strText)
{
    return Language::WideFromUtf8(strText);
}

// Waits until a marker file exists (another process's signal).
bool WaitForFile(const std::string& strPath)
{
    const auto tEnd = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(strPath)) {
        if (std::chrono::steady_clock::now() > tEnd) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void Touch(const std::string& strPath)
{
    std::ofstream out(strPath, std::ios::binary);
}

// A call made on a thread of its own, so that the test can see whether it
// is still waiting.
class BackgroundCall {
public:
    template <class F>
    explicit BackgroundCall(F fn)
        : m_thread([this, fn]() {
              fn();
              std::lock_guard<std::mutex> lock(m_mutex);
              m_bDone = true;
              m_cv.notify_all();
          })
    {
    }
    ~BackgroundCall()
    {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    // True when the call ended within the time given.
    bool EndsWithin(std::chrono::milliseconds tWait)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_cv.wait_for(lock, tWait, [this]() { return m_bDone; });
    }
    void Join() { m_thread.join(); }

private:
    std::mutex m_mutex;
    std::condition_variable m_cv;
    bool m_bDone = false;
    std::thread m_thread;
};

class ClientInfoLockTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", Wide(m_tmp.Path()));
        m_tmp.WriteFile("Config.ini", "[Setting]\nDefaultPrinter=Before\n");
    }

    orvtest::MachineRegistryTestStore m_store;
    orvtest::TempFolder m_tmp;
};

} // namespace

// args: Config.ini path, "held" marker, "release" marker. Holds the file's
// lock until the release marker appears, and changes the file just before
// letting go.
ORV_CHILD_MAIN(ConfigLockHolder)
{
    const std::wstring strConfig = Wide(args.at(0));
    CScopeFileLock lock(strConfig.c_str());
    Touch(args.at(1));
    if (!WaitForFile(args.at(2))) {
        return 2;
    }
    if (!Language::PrivateProfileWriteString(L"Setting", L"DefaultPrinter", L"After", strConfig.c_str())) {
        return 3;
    }
    return 0;
}

TEST_F(ClientInfoLockTest, ReaderWaitsForTheHolder)
{
    auto child = orvtest::ChildProcess::StartSelf(
        "ConfigLockHolder", {m_tmp.File("Config.ini"), m_tmp.File("held"), m_tmp.File("release")});
    ASSERT_TRUE(child);
    ASSERT_TRUE(WaitForFile(m_tmp.File("held")));

    CLIENT_SETTING setting;
    uint32_t uiResult = 99;
    {
        BackgroundCall reader([&]() { uiResult = ReadClientSetting(setting); });
        // A reader that does not wait would be done long before this.
        EXPECT_FALSE(reader.EndsWithin(std::chrono::milliseconds(300)));
        Touch(m_tmp.File("release"));
        reader.Join();
    }
    EXPECT_EQ(0, child->Wait());
    EXPECT_EQ(0u, uiResult);
    // Read after the holder's last change: the wait ended with the release.
    EXPECT_EQ(L"After", setting.szDefaultPrinter);
}

TEST_F(ClientInfoLockTest, ServerConfigReaderWaitsToo)
{
    auto child = orvtest::ChildProcess::StartSelf(
        "ConfigLockHolder", {m_tmp.File("Config.ini"), m_tmp.File("held"), m_tmp.File("release")});
    ASSERT_TRUE(child);
    ASSERT_TRUE(WaitForFile(m_tmp.File("held")));
    SERVER_CONFIG config;
    {
        BackgroundCall reader([&]() { GetServerConfig(config); });
        EXPECT_FALSE(reader.EndsWithin(std::chrono::milliseconds(300)));
        Touch(m_tmp.File("release"));
        reader.Join();
    }
    EXPECT_EQ(0, child->Wait());
}

TEST_F(ClientInfoLockTest, DeadHolderDoesNotBlockReaders)
{
    auto child = orvtest::ChildProcess::StartSelf(
        "ConfigLockHolder", {m_tmp.File("Config.ini"), m_tmp.File("held"), m_tmp.File("release")});
    ASSERT_TRUE(child);
    ASSERT_TRUE(WaitForFile(m_tmp.File("held")));
    child->Kill();

    CLIENT_SETTING setting;
    uint32_t uiResult = 99;
    BackgroundCall reader([&]() { uiResult = ReadClientSetting(setting); });
    if (!reader.EndsWithin(std::chrono::seconds(30))) {
        ADD_FAILURE() << "the reader still waits for a dead holder";
        std::_Exit(1);
    }
    EXPECT_EQ(0u, uiResult);
    EXPECT_EQ(L"Before", setting.szDefaultPrinter);
}

TEST_F(ClientInfoLockTest, WriterTakesNoLock)
{
    auto child = orvtest::ChildProcess::StartSelf(
        "ConfigLockHolder", {m_tmp.File("Config.ini"), m_tmp.File("held"), m_tmp.File("release")});
    ASSERT_TRUE(child);
    ASSERT_TRUE(WaitForFile(m_tmp.File("held")));

    uint32_t uiResult = 99;
    {
        CLIENT_SETTING setting{1, 0, 0, L"Writer", L""};
        BackgroundCall writer([&]() { uiResult = WriteClientSetting(setting); });
        const bool bEnded = writer.EndsWithin(std::chrono::seconds(30));
        EXPECT_TRUE(bEnded) << "the writer waits for the lock";
        Touch(m_tmp.File("release"));
    }
    EXPECT_EQ(0, child->Wait());
    EXPECT_EQ(0u, uiResult);
}
