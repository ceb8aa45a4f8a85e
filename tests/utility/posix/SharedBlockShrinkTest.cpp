#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <gtest/gtest.h>
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/SharedBlock.h"

// Another local user cuts the block's file short while it is mapped.

using namespace OrvUtility;

namespace {

const uint64_t BLOCK_SIZE = 2688472;

class SharedBlockShrinkTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_strBase = orvtest::UniqueObjectBase("Shrink");
        m_strPath = m_shared.File(m_strBase);
        m_hBlock = CreateSharedBlock(orvtest::Wide("Global\\" + m_strBase), BLOCK_SIZE, EVERYONE_FILE_MAP_ALL_ACCESS);
        ASSERT_NE(nullptr, m_hBlock);
        m_pbyView = MapSharedBlock(m_hBlock, BLOCK_SIZE);
        ASSERT_NE(nullptr, m_pbyView);
    }
    void TearDown() override
    {
        if (m_pbyView) {
            UnmapSharedBlock(m_pbyView);
        }
        if (m_hBlock) {
            CloseNamedObject(m_hBlock);
        }
    }
    off_t FileSize()
    {
        struct stat st;
        EXPECT_EQ(0, stat(m_strPath.c_str(), &st));
        return st.st_size;
    }

    orvtest::ScopedSharedFolder m_shared;
    std::string m_strBase;
    std::string m_strPath;
    NamedHandle m_hBlock = nullptr;
    uint8_t* m_pbyView = nullptr;
};

} // namespace

TEST_F(SharedBlockShrinkTest, PagesPastTheCutReadAsZerosAndTheViewIsMarked)
{
    m_pbyView[100] = 0x11;
    m_pbyView[BLOCK_SIZE - 1] = 0x22;
    EXPECT_FALSE(IsSharedBlockViewBroken(m_pbyView));
    ASSERT_EQ(0, truncate(m_strPath.c_str(), 4096));

    // Without the guard this read ends the process with SIGBUS.
    EXPECT_EQ(0, m_pbyView[BLOCK_SIZE - 1]);
    m_pbyView[BLOCK_SIZE - 2] = 0x33; // a write goes to the private page
    EXPECT_EQ(0x33, m_pbyView[BLOCK_SIZE - 2]);
    EXPECT_EQ(0x11, m_pbyView[100]); // the part still in the file is shared
    EXPECT_TRUE(IsSharedBlockViewBroken(m_pbyView));
    EXPECT_FALSE(IsSharedBlockViewBroken(m_pbyView)); // the mark is taken once
}

TEST_F(SharedBlockShrinkTest, RestoreGivesTheFileItsSizeAndTheViewTheFile)
{
    m_pbyView[100] = 0x11;
    ASSERT_EQ(0, truncate(m_strPath.c_str(), 0));
    EXPECT_EQ(0, m_pbyView[100]);
    ASSERT_TRUE(IsSharedBlockViewBroken(m_pbyView));
    ASSERT_EQ(1, RestoreSharedBlockView(m_hBlock, m_pbyView));
    EXPECT_EQ(static_cast<off_t>(BLOCK_SIZE), FileSize());
    EXPECT_FALSE(IsSharedBlockViewBroken(m_pbyView));

    // The view shows the file again, at the same address.
    m_pbyView[BLOCK_SIZE - 1] = 0x44;
    const int iFd = open(m_strPath.c_str(), O_RDONLY);
    ASSERT_GE(iFd, 0);
    uint8_t byRead = 0;
    EXPECT_EQ(1, pread(iFd, &byRead, 1, static_cast<off_t>(BLOCK_SIZE - 1)));
    close(iFd);
    EXPECT_EQ(0x44, byRead);
}

TEST_F(SharedBlockShrinkTest, FaultsOutsideEveryBlockStillEndTheProcess)
{
#if defined(ORV_SANITIZED)
    GTEST_SKIP() << "the sanitizers report a fatal signal instead of dying of it";
#endif
    // A SIGBUS that is not about a block goes on to the default action.
    EXPECT_EXIT(
        {
            const std::string strFile = m_shared.File("plain");
            const int iFd = open(strFile.c_str(), O_CREAT | O_RDWR, 0600);
            if (iFd < 0 || ftruncate(iFd, 8192) != 0) _exit(3);
            volatile uint8_t* p =
                static_cast<uint8_t*>(mmap(nullptr, 8192, PROT_READ | PROT_WRITE, MAP_SHARED, iFd, 0));
            if (ftruncate(iFd, 0) != 0) _exit(4);
            (void)p[5000];
            _exit(0);
        },
        ::testing::KilledBySignal(SIGBUS), "");
}
