// The per-user marker of an open request: kept in a folder of root's own,
// never opened through a link, read and written by the worker through the
// descriptor it inherits.
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include "service/PendingMarker.h"
#include "service/ReceiverIdentity.h"

using OrvService::CPendingMarker;
using OrvService::CReceiverIdentity;

namespace {

class PendingMarkerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char szTemplate[] = "/tmp/orvtest-marker-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(szTemplate));
        m_strRoot = szTemplate;
        m_strFolder = m_strRoot + "/state";
        setenv(CPendingMarker::FOLDER_VARIABLE, m_strFolder.c_str(), 1);
    }

    void TearDown() override
    {
        unsetenv(CPendingMarker::FOLDER_VARIABLE);
        std::error_code ec;
        std::filesystem::remove_all(m_strRoot, ec);
    }

    std::string m_strRoot;
    std::string m_strFolder;
};

TEST_F(PendingMarkerTest, MadeInAPrivateFolderAndEmptyAtFirst)
{
    CPendingMarker objMarker;
    std::string strProblem;
    ASSERT_TRUE(objMarker.Open(1234, strProblem)) << strProblem;
    EXPECT_EQ(m_strFolder + "/pending-1234", objMarker.GetPath());
    struct stat st;
    ASSERT_EQ(0, stat(m_strFolder.c_str(), &st));
    EXPECT_EQ(0700u, st.st_mode & 07777);
    ASSERT_EQ(0, stat(objMarker.GetPath().c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ("", CPendingMarker::ReadPending(objMarker.GetFd()));
}

TEST_F(PendingMarkerTest, PendingUntilCleared)
{
    CPendingMarker objMarker;
    std::string strProblem;
    ASSERT_TRUE(objMarker.Open(1234, strProblem)) << strProblem;
    ASSERT_TRUE(CPendingMarker::MarkPending(objMarker.GetFd(), "4321 99887766"));
    EXPECT_EQ("4321 99887766", CPendingMarker::ReadPending(objMarker.GetFd()));
    // A shorter record over a longer one leaves nothing of the old behind.
    ASSERT_TRUE(CPendingMarker::MarkPending(objMarker.GetFd(), ""));
    EXPECT_EQ("-", CPendingMarker::ReadPending(objMarker.GetFd()));
    struct stat st;
    ASSERT_EQ(0, fstat(objMarker.GetFd(), &st));
    EXPECT_EQ(10, st.st_size); // "pending -\n"
    ASSERT_TRUE(CPendingMarker::Clear(objMarker.GetFd()));
    EXPECT_EQ("", CPendingMarker::ReadPending(objMarker.GetFd()));

    // What a job left behind is found by the next one.
    ASSERT_TRUE(CPendingMarker::MarkPending(objMarker.GetFd(), "4321 99887766"));
    CPendingMarker objNext;
    ASSERT_TRUE(objNext.Open(1234, strProblem)) << strProblem;
    EXPECT_EQ("4321 99887766", CPendingMarker::ReadPending(objNext.GetFd()));
}

TEST_F(PendingMarkerTest, OneHolderOfTheLockAtATime)
{
    CPendingMarker objFirst;
    CPendingMarker objSecond;
    std::string strProblem;
    ASSERT_TRUE(objFirst.Open(1234, strProblem)) << strProblem;
    ASSERT_TRUE(objSecond.Open(1234, strProblem)) << strProblem;
    ASSERT_TRUE(objFirst.TryLock());
    EXPECT_FALSE(objSecond.TryLock());
    CPendingMarker objOtherUser;
    ASSERT_TRUE(objOtherUser.Open(5678, strProblem)) << strProblem;
    EXPECT_TRUE(objOtherUser.TryLock());
}

TEST_F(PendingMarkerTest, FolderOpenToOthersIsRefused)
{
    ASSERT_EQ(0, mkdir(m_strFolder.c_str(), 0777));
    ASSERT_EQ(0, chmod(m_strFolder.c_str(), 0777));
    CPendingMarker objMarker;
    std::string strProblem;
    EXPECT_FALSE(objMarker.Open(1234, strProblem));
    EXPECT_EQ(m_strFolder + ": not a folder of root's own", strProblem);
}

TEST_F(PendingMarkerTest, FolderThatIsALinkIsRefused)
{
    ASSERT_EQ(0, mkdir((m_strRoot + "/elsewhere").c_str(), 0700));
    ASSERT_EQ(0, symlink((m_strRoot + "/elsewhere").c_str(), m_strFolder.c_str()));
    CPendingMarker objMarker;
    std::string strProblem;
    EXPECT_FALSE(objMarker.Open(1234, strProblem));
    EXPECT_EQ(0u, strProblem.find(m_strFolder + ": cannot be opened (")) << strProblem;
}

TEST_F(PendingMarkerTest, MarkerThatIsALinkIsRefusedAndItsTargetUntouched)
{
    ASSERT_EQ(0, mkdir(m_strFolder.c_str(), 0700));
    const std::string strTarget = m_strRoot + "/target";
    {
        const int iFd = open(strTarget.c_str(), O_CREAT | O_WRONLY, 0644);
        ASSERT_GE(iFd, 0);
        close(iFd);
    }
    ASSERT_EQ(0, symlink(strTarget.c_str(), (m_strFolder + "/pending-1234").c_str()));
    CPendingMarker objMarker;
    std::string strProblem;
    EXPECT_FALSE(objMarker.Open(1234, strProblem));
    EXPECT_EQ(0u, strProblem.find(m_strFolder + "/pending-1234: cannot be opened (")) << strProblem;
}

TEST_F(PendingMarkerTest, MarkerWithASecondNameIsRefused)
{
    ASSERT_EQ(0, mkdir(m_strFolder.c_str(), 0700));
    const std::string strOther = m_strRoot + "/other";
    {
        const int iFd = open(strOther.c_str(), O_CREAT | O_WRONLY, 0600);
        ASSERT_GE(iFd, 0);
        close(iFd);
    }
    ASSERT_EQ(0, link(strOther.c_str(), (m_strFolder + "/pending-1234").c_str()));
    CPendingMarker objMarker;
    std::string strProblem;
    EXPECT_FALSE(objMarker.Open(1234, strProblem));
    EXPECT_EQ(m_strFolder + "/pending-1234: not a file of root's own", strProblem);
}

TEST(ReceiverIdentityTest, ProcessIdAndStartTime)
{
    const std::string strSelf = CReceiverIdentity::OfProcess(getpid());
    ASSERT_EQ(0u, strSelf.find(std::to_string(getpid()) + " ")) << strSelf;
    const std::string strStart = strSelf.substr(strSelf.find(' ') + 1);
    EXPECT_FALSE(strStart.empty());
    EXPECT_EQ(std::string::npos, strStart.find_first_not_of("0123456789")) << strStart;
    EXPECT_EQ(strSelf, CReceiverIdentity::OfProcess(getpid()));
    EXPECT_NE(strSelf, CReceiverIdentity::OfProcess(getppid()));
    EXPECT_EQ("", CReceiverIdentity::OfProcess(0x7ffffff0));
}

} // namespace
