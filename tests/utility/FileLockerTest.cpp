#include <atomic>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <gtest/gtest.h>
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/FileLocker.h"
#include "utility/NamedMutex.h"
#include "utility/ScopeFileLock.h"

using OrvUtility::CFileLocker;
using OrvUtility::CScopeFileLock;

namespace {

OrvUtility::NamedMutexState ProbeFromOtherThread(const std::wstring& strName)
{
    OrvUtility::NamedMutexState eState = OrvUtility::NAMED_MUTEX_PROBE_FAILED;
    std::thread([&]() { eState = OrvUtility::ProbeNamedMutex(strName); }).join();
    return eState;
}

std::wstring Upper(std::wstring strText)
{
    for (wchar_t& ch : strText) {
        ch = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(ch)));
    }
    return strText;
}

// Runs a test body with a given current folder, restoring the old one.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::string& strPath) : m_pathOld(std::filesystem::current_path())
    {
        std::filesystem::current_path(strPath);
    }
    ~CurrentFolder() { std::filesystem::current_path(m_pathOld); }

private:
    std::filesystem::path m_pathOld;
};

// Lock files of this test's names go to a folder of its own (Linux).
class FileLockerTest : public ::testing::Test {
protected:
    orvtest::ScopedUserFolder m_user;
};

} // namespace

// Takes the file lock and ends without releasing it.
ORV_CHILD_MAIN(FileLockHolderDies)
{
    const std::wstring strFile = orvtest::Wide(args.at(0));
    CFileLocker* pLocker = new CFileLocker(strFile.c_str());
    if (!pLocker->Lock(0xFFFFFFFF)) {
        return 1;
    }
    std::_Exit(0);
}

TEST_F(FileLockerTest, LockNameOfAFullPath)
{
    const std::wstring strName = CFileLocker::MakeLockName(orvtest::Wide(
        std::filesystem::absolute("Client/Temp/Config.ini").lexically_normal().string()).c_str());
    const std::wstring strCwd = orvtest::Wide(std::filesystem::absolute(".").lexically_normal().string());
    // Upper case, separators turned into "|", no namespace prefix.
    EXPECT_EQ(std::wstring::npos, strName.find(L'\\'));
    EXPECT_EQ(std::wstring::npos, strName.find(L'/'));
    EXPECT_NE(std::wstring::npos, strName.find(L"|CLIENT|TEMP|CONFIG.INI"));
    EXPECT_EQ(strName, Upper(strName));
    EXPECT_NE(0u, strName.compare(0, 7, L"Global\\"));
    EXPECT_EQ(std::wstring::npos, strName.find(L"Client"));
}

TEST_F(FileLockerTest, RelativeAndAbsoluteNamesGiveOneLockName)
{
    orvtest::TempFolder folder;
    CurrentFolder cwd(folder.Path());
    const std::wstring strRelative = L"config.ini";
    const std::wstring strAbsolute =
        Upper(orvtest::Wide((std::filesystem::current_path() / "config.ini").string()));
    const std::wstring strName = CFileLocker::MakeLockName(strRelative.c_str());
    ASSERT_FALSE(strName.empty());
    EXPECT_EQ(strName, CFileLocker::MakeLockName(strAbsolute.c_str()));
    EXPECT_EQ(strName, CFileLocker::MakeLockName(L"./sub/../config.ini"));
}

TEST_F(FileLockerTest, LowerRelativeAndUpperAbsoluteExcludeEachOther)
{
    orvtest::TempFolder folder;
    CurrentFolder cwd(folder.Path());
    const std::wstring strAbsolute =
        Upper(orvtest::Wide((std::filesystem::current_path() / "config.ini").string()));
    const std::wstring strLockName = CFileLocker::MakeLockName(L"config.ini");

    CFileLocker relative(L"config.ini");
    ASSERT_EQ(1, relative.Lock(0xFFFFFFFF));
    EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));

    std::atomic<bool> bReleased(false);
    std::atomic<bool> bSawRelease(false);
    std::atomic<int> iLock(-1);
    std::thread other([&]() {
        CFileLocker absolute(strAbsolute.c_str());
        iLock = absolute.Lock(0xFFFFFFFF);
        bSawRelease = bReleased.load();
        absolute.Unlock();
    });
    bReleased = true;
    EXPECT_EQ(1, relative.Unlock());
    other.join();
    EXPECT_EQ(1, iLock.load());
    EXPECT_TRUE(bSawRelease.load());
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
}

TEST_F(FileLockerTest, NullNameThrowsAndLogs)
{
    orvtest::LogCapture cap;
    try {
        CFileLocker locker(nullptr);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("CFileLocker", e.what());
    }
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("utility/FileLocker.cpp("));
        EXPECT_TRUE(cap.Contains(") : szFilename = 0x00000000"));
    }
}

TEST_F(FileLockerTest, EmptyNameThrowsAndLogs)
{
    orvtest::LogCapture cap;
    try {
        CFileLocker locker(L"");
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ("CFileLocker", e.what());
    }
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : szName = "));
    }
    EXPECT_THROW(CScopeFileLock lock(L""), std::runtime_error);
}

TEST_F(FileLockerTest, AbandonedLockGivesFalseYetTheReaderGoesOn)
{
    orvtest::TempFolder folder;
    const std::string strFile = folder.WriteFile("Config.ini", "[Setting]\n");
    const std::wstring strWide = orvtest::Wide(strFile);
    const std::wstring strLockName = CFileLocker::MakeLockName(strWide.c_str());
    {
        // Open before the holder dies: on Windows a mutex nobody has open
        // any more is gone, not abandoned.
        CFileLocker locker(strWide.c_str());
        auto child = orvtest::ChildProcess::StartSelf("FileLockHolderDies", {strFile});
        ASSERT_TRUE(child);
        ASSERT_EQ(0, child->Wait());
        EXPECT_EQ(0, locker.Lock(0xFFFFFFFF));
        // The lock is held all the same and released cleanly.
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
        EXPECT_EQ(1, locker.Unlock());
    }
    {
        // The next reader locks normally and reads.
        CFileLocker locker(strWide.c_str());
        EXPECT_EQ(1, locker.Lock(0xFFFFFFFF));
        EXPECT_EQ("[Setting]\n", folder.ReadFile("Config.ini"));
        EXPECT_EQ(1, locker.Unlock());
    }
}

TEST_F(FileLockerTest, ScopeLockGoesOnAfterAnAbandonedLock)
{
    orvtest::TempFolder folder;
    const std::string strFile = folder.WriteFile("Config.ini", "[Setting]\nDefaultPrinter=P1\n");
    const std::wstring strWide = orvtest::Wide(strFile);
    const std::wstring strLockName = CFileLocker::MakeLockName(strWide.c_str());
    CFileLocker keeper(strWide.c_str()); // keeps the mutex in existence
    auto child = orvtest::ChildProcess::StartSelf("FileLockHolderDies", {strFile});
    ASSERT_TRUE(child);
    ASSERT_EQ(0, child->Wait());
    {
        CScopeFileLock lock(strWide.c_str());
        EXPECT_EQ("[Setting]\nDefaultPrinter=P1\n", folder.ReadFile("Config.ini"));
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
    }
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
}

TEST_F(FileLockerTest, ScopeLockHoldsForItsScope)
{
    orvtest::TempFolder folder;
    const std::wstring strFile = orvtest::Wide(folder.File("Config.ini"));
    const std::wstring strLockName = CFileLocker::MakeLockName(strFile.c_str());
    {
        CScopeFileLock lock(strFile.c_str());
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
    }
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
}

TEST_F(FileLockerTest, NestedScopeLockOfOneThreadEndsTheOuterOneToo)
{
    // The mutex is recursive, so a nested lock of the owner does not block;
    // but its end releases twice (Unlock, then the mutex's destructor), which
    // also gives up the outer lock. Callers do not nest the lock of a file.
    orvtest::TempFolder folder;
    const std::wstring strFile = orvtest::Wide(folder.File("Config.ini"));
    const std::wstring strLockName = CFileLocker::MakeLockName(strFile.c_str());
    CScopeFileLock lock(strFile.c_str());
    {
        CScopeFileLock nested(strFile.c_str());
        EXPECT_EQ(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
    }
    EXPECT_NE(OrvUtility::NAMED_MUTEX_OWNED, ProbeFromOtherThread(strLockName));
}

TEST_F(FileLockerTest, ScopeLockExcludesAnotherProcess)
{
    orvtest::TempFolder folder;
    const std::string strFile = folder.File("Config.ini");
    const std::wstring strWide = orvtest::Wide(strFile);
    {
        CScopeFileLock lock(strWide.c_str());
        auto child = orvtest::ChildProcess::StartSelf("FileLockProbe", {strFile});
        ASSERT_TRUE(child);
        EXPECT_EQ(static_cast<int>(OrvUtility::NAMED_MUTEX_OWNED), child->Wait());
    }
    auto child = orvtest::ChildProcess::StartSelf("FileLockProbe", {strFile});
    ASSERT_TRUE(child);
    // Free, or (Windows) gone with its last handle.
    EXPECT_NE(static_cast<int>(OrvUtility::NAMED_MUTEX_OWNED), child->Wait());
}

// Exit code: the state of the file's lock seen from this process.
ORV_CHILD_MAIN(FileLockProbe)
{
    const std::wstring strFile = orvtest::Wide(args.at(0));
    return static_cast<int>(OrvUtility::ProbeNamedMutex(CFileLocker::MakeLockName(strFile.c_str())));
}
