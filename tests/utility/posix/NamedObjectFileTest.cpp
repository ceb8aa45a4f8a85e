#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <gtest/gtest.h>

#include <vector>
#include "logging/LogMacros.h"
#include "support/LogCapture.h"
#include "support/TempFolder.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/NamedEvent.h"
#include "utility/NamedMutex.h"
#include "utility/SharedBlock.h"
#include "utility/posix/NamedObjectPath.h"

// Linux placement and safety of the named objects' files.

using namespace OrvUtility;

namespace {

class NamedObjectFileTest : public ::testing::Test {
protected:
    std::string Base(const char* szPrefix) { return orvtest::UniqueObjectBase(szPrefix); }
    std::wstring Global(const std::string& strBase) { return orvtest::Wide("Global\\" + strBase); }
    mode_t ModeOf(const std::string& strPath)
    {
        struct stat st;
        EXPECT_EQ(0, lstat(strPath.c_str(), &st)) << strPath;
        return st.st_mode;
    }
    orvtest::ScopedSharedFolder m_shared;
};

class ScopedUmask {
public:
    explicit ScopedUmask(mode_t uiMask) : m_uiOld(umask(uiMask)) {}
    ~ScopedUmask() { umask(m_uiOld); }

private:
    mode_t m_uiOld;
};

} // namespace

TEST_F(NamedObjectFileTest, GlobalNamesLiveInTheSharedFolder)
{
    CNamedObjectLocation location;
    ASSERT_TRUE(LocateNamedObject(L"Global\\Orvprint_Popup_Dialog_SHM", location));
    EXPECT_TRUE(location.bShared);
    EXPECT_EQ(m_shared.Path(), location.strFolder);
    EXPECT_EQ("Orvprint_Popup_Dialog_SHM", location.strLeaf);
}

// Without ORVPRINT_SHM_DIR the channel and the single-instance lock are the
// user's own: they live in the user's private folder.
TEST(NamedObjectFolderTest, SharedFolderIsTheUsersPrivateFolderWithoutTheVariable)
{
    const char* szOld = std::getenv("ORVPRINT_SHM_DIR");
    if (szOld && *szOld) {
        GTEST_SKIP() << "ORVPRINT_SHM_DIR is set for this run";
    }
    std::string strShared;
    ASSERT_TRUE(SharedObjectFolder(strShared));
    std::string strPrivate;
    ASSERT_TRUE(PrivateObjectFolder(geteuid(), false, strPrivate));
    EXPECT_EQ(strPrivate, strShared);
    struct stat st;
    ASSERT_EQ(0, lstat(strShared.c_str(), &st));
    EXPECT_TRUE(S_ISDIR(st.st_mode));
    EXPECT_EQ(geteuid(), st.st_uid);
    EXPECT_EQ(0u, st.st_mode & 0077);
}

TEST(NamedObjectFolderTest, PrivateFoldersAreTriedInTheDocumentedOrder)
{
    const std::vector<std::string> vecFolders = PrivateFolderCandidates(1234);
    ASSERT_LE(2u, vecFolders.size());
    EXPECT_EQ("/run/user/1234", vecFolders[0]);
    EXPECT_EQ("/tmp/orvprint-1234", vecFolders[1]);
    const std::vector<std::string> vecOwn = PrivateFolderCandidates(geteuid());
    ASSERT_EQ(3u, vecOwn.size());
    EXPECT_EQ("/.cache/orv-soft/run", vecOwn[2].substr(vecOwn[2].size() - 20));
}

TEST_F(NamedObjectFileTest, OtherNamesLiveInTheUsersFolder)
{
    std::string strUser;
    ASSERT_TRUE(UserObjectFolder(strUser));
    CNamedObjectLocation location;
    ASSERT_TRUE(LocateNamedObject(L"C:|CLIENT|CONFIG.INI", location));
    EXPECT_FALSE(location.bShared);
    EXPECT_EQ(strUser, location.strFolder);
    EXPECT_EQ("C:|CLIENT|CONFIG.INI", location.strLeaf);
    ASSERT_TRUE(LocateNamedObject(L"Local\\Thing", location));
    EXPECT_EQ("Thing", location.strLeaf);
    const char* szRuntime = std::getenv("XDG_RUNTIME_DIR");
    if (szRuntime && szRuntime[0] == '/') {
        EXPECT_EQ(std::string(szRuntime), strUser);
    } else {
        std::string strPrivate;
        ASSERT_TRUE(PrivateObjectFolder(geteuid(), false, strPrivate));
        EXPECT_EQ(strPrivate, strUser);
        EXPECT_EQ(0700u, ModeOf(strUser) & 0777);
    }
}

TEST_F(NamedObjectFileTest, UnusableNamesAreRefused)
{
    CNamedObjectLocation location;
    EXPECT_FALSE(LocateNamedObject(L"Global\\", location));
    EXPECT_FALSE(LocateNamedObject(L"Global\\..", location));
    EXPECT_FALSE(LocateNamedObject(L"Global\\a/b", location));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_FALSE(LocateNamedObject(L"Global\\" + std::wstring(256, L'x'), location));
    EXPECT_EQ(ENAMETOOLONG, errno);
}

TEST_F(NamedObjectFileTest, EveryoneObjectsAreMode0666WhateverTheUmask)
{
    ScopedUmask mask(077);
    const std::string strBase = Base("Mode");
    NamedHandle hEvent = CreateNamedEvent(Global(strBase + "_EVT_SEND").c_str(), EVERYONE_EVENT_ALL_ACCESS);
    NamedHandle hBlock = CreateSharedBlock(Global(strBase + "_SHM"), 4096, EVERYONE_FILE_MAP_ALL_ACCESS);
    NamedHandle hMutex = CreateNamedMutex(Global(strBase + "_MUTEX_EXISTANCE").c_str(), true, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hEvent);
    ASSERT_NE(nullptr, hBlock);
    ASSERT_NE(nullptr, hMutex);
    const mode_t uiEvent = ModeOf(m_shared.File(strBase + "_EVT_SEND"));
    const mode_t uiBlock = ModeOf(m_shared.File(strBase + "_SHM"));
    const mode_t uiMutex = ModeOf(m_shared.File(strBase + "_MUTEX_EXISTANCE"));
    EXPECT_TRUE(S_ISFIFO(uiEvent));
    EXPECT_EQ(0666u, uiEvent & 07777);
    EXPECT_TRUE(S_ISREG(uiBlock));
    EXPECT_EQ(0666u, uiBlock & 07777);
    EXPECT_TRUE(S_ISREG(uiMutex));
    EXPECT_EQ(0666u, uiMutex & 07777);
    struct stat st;
    ASSERT_EQ(0, stat(m_shared.File(strBase + "_SHM").c_str(), &st));
    EXPECT_EQ(4096, st.st_size);
    ReleaseNamedMutex(hMutex);
    CloseNamedObject(hMutex);
    CloseNamedObject(hBlock);
    CloseNamedObject(hEvent);
}

TEST_F(NamedObjectFileTest, DefaultSecurityIsOwnerOnly)
{
    ScopedUmask mask(0);
    const std::string strBase = Base("Private");
    NamedHandle hEvent = CreateNamedEvent(Global(strBase).c_str(), NAMED_DEFAULT_SECURITY);
    ASSERT_NE(nullptr, hEvent);
    EXPECT_EQ(0600u, ModeOf(m_shared.File(strBase)) & 07777);
    CloseNamedObject(hEvent);
}

TEST_F(NamedObjectFileTest, PlantedSymlinkIsRefusedAndNeverWrittenThrough)
{
    orvtest::LogCapture cap;
    ORV_TRACE_SCOPE("NamedObjectFileTest");
    orvtest::TempFolder victim;
    const std::string strTarget = victim.WriteFile("precious", "keep me");
    const mode_t uiTargetMode = ModeOf(strTarget);
    const std::string strBase = Base("Link");
    for (const char* szSuffix : {"_SHM", "_EVT_SEND", "_MUTEX_EXISTANCE"}) {
        ASSERT_EQ(0, symlink(strTarget.c_str(), m_shared.File(strBase + szSuffix).c_str()));
    }
    EXPECT_EQ(nullptr, OpenSharedBlock(Global(strBase + "_SHM"), 7));
    EXPECT_EQ(nullptr, CreateSharedBlock(Global(strBase + "_SHM"), 4096, EVERYONE_FILE_MAP_ALL_ACCESS));
    EXPECT_EQ(ELOOP, errno);
    EXPECT_EQ(nullptr, OpenNamedEvent(Global(strBase + "_EVT_SEND")));
    EXPECT_EQ(nullptr, CreateNamedEvent(Global(strBase + "_EVT_SEND").c_str(), EVERYONE_EVENT_ALL_ACCESS));
    EXPECT_EQ(nullptr,
              CreateNamedMutex(Global(strBase + "_MUTEX_EXISTANCE").c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
    EXPECT_EQ(NAMED_MUTEX_PROBE_FAILED, ProbeNamedMutex(Global(strBase + "_MUTEX_EXISTANCE")));

    EXPECT_EQ("keep me", victim.ReadFile("precious"));
    EXPECT_EQ(uiTargetMode, ModeOf(strTarget));
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : Refused " + m_shared.File(strBase + "_SHM") + ": it is a symbolic link."));
        EXPECT_TRUE(cap.Contains(") : Refused " + m_shared.File(strBase + "_EVT_SEND") + ": it is a symbolic link."));
        EXPECT_TRUE(
            cap.Contains(") : Refused " + m_shared.File(strBase + "_MUTEX_EXISTANCE") + ": it is a symbolic link."));
    }
}

TEST_F(NamedObjectFileTest, DanglingSymlinkIsNotFollowedOnCreate)
{
    orvtest::TempFolder victim;
    const std::string strTarget = victim.File("would-be-created");
    const std::string strBase = Base("Dangling");
    ASSERT_EQ(0, symlink(strTarget.c_str(), m_shared.File(strBase + "_SHM").c_str()));
    ASSERT_EQ(0, symlink(strTarget.c_str(), m_shared.File(strBase + "_EVT").c_str()));
    EXPECT_EQ(nullptr, CreateSharedBlock(Global(strBase + "_SHM"), 4096, EVERYONE_FILE_MAP_ALL_ACCESS));
    EXPECT_EQ(nullptr, CreateNamedEvent(Global(strBase + "_EVT").c_str(), EVERYONE_EVENT_ALL_ACCESS));
    EXPECT_NE(0, access(strTarget.c_str(), F_OK));
}

TEST_F(NamedObjectFileTest, WrongFileTypesAreRefused)
{
    orvtest::LogCapture cap;
    ORV_TRACE_SCOPE("NamedObjectFileTest");
    const std::string strBase = Base("Type");
    // A regular file where an event belongs, a FIFO where the block and the
    // mutex belong, a folder where an event belongs.
    ASSERT_EQ(0, close(open(m_shared.File(strBase + "_EVT_SEND").c_str(), O_CREAT | O_WRONLY, 0666)));
    ASSERT_EQ(0, mkfifo(m_shared.File(strBase + "_SHM").c_str(), 0666));
    ASSERT_EQ(0, mkfifo(m_shared.File(strBase + "_MUTEX_EXISTANCE").c_str(), 0666));
    ASSERT_EQ(0, mkdir(m_shared.File(strBase + "_EVT_RESPONSE").c_str(), 0777));

    EXPECT_EQ(nullptr, OpenNamedEvent(Global(strBase + "_EVT_SEND")));
    EXPECT_EQ(nullptr, CreateNamedEvent(Global(strBase + "_EVT_SEND").c_str(), EVERYONE_EVENT_ALL_ACCESS));
    EXPECT_EQ(EINVAL, errno);
    EXPECT_EQ(nullptr, CreateSharedBlock(Global(strBase + "_SHM"), 4096, EVERYONE_FILE_MAP_ALL_ACCESS));
    EXPECT_EQ(nullptr,
              CreateNamedMutex(Global(strBase + "_MUTEX_EXISTANCE").c_str(), true, EVERYONE_MUTEX_ALL_ACCESS));
    EXPECT_EQ(nullptr, CreateNamedEvent(Global(strBase + "_EVT_RESPONSE").c_str(), EVERYONE_EVENT_ALL_ACCESS));

    // Nothing was written into the planted regular file.
    struct stat st;
    ASSERT_EQ(0, stat(m_shared.File(strBase + "_EVT_SEND").c_str(), &st));
    EXPECT_EQ(0, st.st_size);
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : Refused " + m_shared.File(strBase + "_EVT_SEND") + ": it is not a FIFO."));
        EXPECT_TRUE(cap.Contains(") : Refused " + m_shared.File(strBase + "_SHM") + ": it is not a regular file."));
        EXPECT_TRUE(cap.Contains(") : Refused " + m_shared.File(strBase + "_MUTEX_EXISTANCE") +
                                 ": it is not a regular file."));
    }
}

TEST_F(NamedObjectFileTest, BlockOfAnotherSizeIsRefused)
{
    orvtest::LogCapture cap;
    ORV_TRACE_SCOPE("NamedObjectFileTest");
    const std::string strBase = Base("Size");
    const std::string strPath = m_shared.File(strBase + "_SHM");
    const int iFd = open(strPath.c_str(), O_CREAT | O_RDWR, 0666);
    ASSERT_GE(iFd, 0);
    ASSERT_EQ(0, ftruncate(iFd, 100));
    close(iFd);
    EXPECT_EQ(nullptr, OpenSharedBlock(Global(strBase + "_SHM"), 2688472));
    EXPECT_EQ(nullptr, CreateSharedBlock(Global(strBase + "_SHM"), 2688472, EVERYONE_FILE_MAP_ALL_ACCESS));
    struct stat st;
    ASSERT_EQ(0, stat(strPath.c_str(), &st));
    EXPECT_EQ(100, st.st_size);
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : Refused " + strPath + ": its size is 100 bytes, not 2688472."));
    }
}

TEST_F(NamedObjectFileTest, EmptyBlockTakesItsSize)
{
    // A block that its creator has not sized yet.
    const std::string strBase = Base("Empty");
    const std::string strPath = m_shared.File(strBase + "_SHM");
    ASSERT_EQ(0, close(open(strPath.c_str(), O_CREAT | O_RDWR, 0666)));
    NamedHandle hBlock = OpenSharedBlock(Global(strBase + "_SHM"), 8192);
    ASSERT_NE(nullptr, hBlock);
    struct stat st;
    ASSERT_EQ(0, stat(strPath.c_str(), &st));
    EXPECT_EQ(8192, st.st_size);
    CloseNamedObject(hBlock);
}

TEST_F(NamedObjectFileTest, AbandonedRecordHoldsTheOwnersPid)
{
    const std::string strBase = Base("Record");
    NamedHandle hMutex = CreateNamedMutex(Global(strBase).c_str(), true, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    // One line of 16 characters: the pid padded with blanks, then blanks.
    std::string strRecord = std::to_string(getpid());
    strRecord.resize(15, ' ');
    EXPECT_EQ(strRecord + "\n", orvtest::ReadWholeFile(m_shared.File(strBase)));
    ReleaseNamedMutex(hMutex);
    EXPECT_EQ(std::string(15, ' ') + "\n", orvtest::ReadWholeFile(m_shared.File(strBase)));
    // Taken again: the record is written over the blank line.
    ASSERT_EQ(NAMED_WAIT_OBJECT_0, WaitNamedMutex(hMutex, 0));
    EXPECT_EQ(strRecord + "\n", orvtest::ReadWholeFile(m_shared.File(strBase)));
    ReleaseNamedMutex(hMutex);
    CloseNamedObject(hMutex);
}

TEST_F(NamedObjectFileTest, RecordOfAnEarlierFormatMarksTheMutexAbandoned)
{
    // A dead holder's record as a bare "pid\n", and an empty file.
    const std::string strBase = Base("OldRecord");
    std::ofstream(m_shared.File(strBase), std::ios::binary) << "4242\n";
    NamedHandle hMutex = CreateNamedMutex(Global(strBase).c_str(), false, EVERYONE_MUTEX_ALL_ACCESS);
    ASSERT_NE(nullptr, hMutex);
    EXPECT_EQ(NAMED_WAIT_ABANDONED_0, WaitNamedMutex(hMutex, 0));
    ReleaseNamedMutex(hMutex);
    EXPECT_EQ(NAMED_WAIT_OBJECT_0, WaitNamedMutex(hMutex, 0));
    ReleaseNamedMutex(hMutex);
    CloseNamedObject(hMutex);
}

TEST_F(NamedObjectFileTest, HandleValuesAreSmallAndLogAsDescriptors)
{
    NamedHandle hEvent = CreateNamedEvent(nullptr, NAMED_DEFAULT_SECURITY);
    ASSERT_NE(nullptr, hEvent);
    EXPECT_EQ(0u, reinterpret_cast<uintptr_t>(hEvent) % 4);
    EXPECT_GT(NamedObjectLogValue(hEvent), 2u); // a descriptor beyond stdin/out/err
    EXPECT_EQ(0u, NamedObjectLogValue(nullptr));
    EXPECT_EQ(1, CloseNamedObject(hEvent));
    EXPECT_EQ(0, CloseNamedObject(hEvent));
    EXPECT_EQ(EBADF, errno);
}
