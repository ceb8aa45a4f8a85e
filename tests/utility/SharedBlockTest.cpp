#include <cstring>
#include <gtest/gtest.h>
#include "support/ChildMain.h"
#include "support/ChildProcess.h"
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/SharedBlock.h"

using namespace OrvUtility;

namespace {

const uint64_t BLOCK_SIZE = 2688472;

class SharedBlockTest : public ::testing::Test {
protected:
    orvtest::ScopedSharedFolder m_shared;
};

} // namespace

// Writes "child" at the offset args[1] of the block named args[0].
ORV_CHILD_MAIN(SharedBlockWriter)
{
    NamedHandle hBlock = OpenSharedBlock(orvtest::Wide(args.at(0)), BLOCK_SIZE);
    if (!hBlock) {
        return 10;
    }
    uint8_t* pView = MapSharedBlock(hBlock, BLOCK_SIZE);
    if (!pView) {
        return 11;
    }
    std::memcpy(pView + std::stoull(args.at(1)), "child", 5);
    UnmapSharedBlock(pView);
    CloseNamedObject(hBlock);
    return 0;
}

TEST_F(SharedBlockTest, OpenFailsForAMissingBlock)
{
    EXPECT_EQ(nullptr, OpenSharedBlock(L"Global\\" + orvtest::Wide(orvtest::UniqueObjectBase("BlkMissing")), 64));
}

TEST_F(SharedBlockTest, CreatedZeroFilledAndSharedBetweenHandles)
{
    const std::wstring strName = L"Global\\" + orvtest::Wide(orvtest::UniqueObjectBase("BlkShared"));
    NamedHandle hCreated = CreateSharedBlock(strName, BLOCK_SIZE, EVERYONE_FILE_MAP_ALL_ACCESS);
    ASSERT_NE(nullptr, hCreated);
    EXPECT_EQ(0u, Language::GetLastPlatformError());
    uint8_t* pCreated = MapSharedBlock(hCreated, BLOCK_SIZE);
    ASSERT_NE(nullptr, pCreated);
    EXPECT_EQ(0, pCreated[0]);
    EXPECT_EQ(0, pCreated[BLOCK_SIZE - 1]);

    NamedHandle hOpened = OpenSharedBlock(strName, BLOCK_SIZE);
    ASSERT_NE(nullptr, hOpened);
    uint8_t* pOpened = MapSharedBlock(hOpened, BLOCK_SIZE);
    ASSERT_NE(nullptr, pOpened);
    pCreated[BLOCK_SIZE - 1] = 0x5A;
    EXPECT_EQ(0x5A, pOpened[BLOCK_SIZE - 1]);

    NamedHandle hAgain = CreateSharedBlock(strName, BLOCK_SIZE, EVERYONE_FILE_MAP_ALL_ACCESS);
    ASSERT_NE(nullptr, hAgain);
    EXPECT_EQ(NAMED_ERROR_ALREADY_EXISTS, Language::GetLastPlatformError());

    EXPECT_EQ(1, UnmapSharedBlock(pOpened));
    EXPECT_EQ(1, UnmapSharedBlock(pCreated));
    EXPECT_EQ(1, CloseNamedObject(hAgain));
    EXPECT_EQ(1, CloseNamedObject(hOpened));
    EXPECT_EQ(1, CloseNamedObject(hCreated));
}

TEST_F(SharedBlockTest, MapOfANullBlockFails)
{
    EXPECT_EQ(nullptr, MapSharedBlock(nullptr, BLOCK_SIZE));
}

TEST_F(SharedBlockTest, AnotherProcessWritesIntoTheBlock)
{
    const std::string strName = "Global\\" + orvtest::UniqueObjectBase("BlkProcess");
    NamedHandle hBlock = CreateSharedBlock(orvtest::Wide(strName), BLOCK_SIZE, EVERYONE_FILE_MAP_ALL_ACCESS);
    ASSERT_NE(nullptr, hBlock);
    uint8_t* pView = MapSharedBlock(hBlock, BLOCK_SIZE);
    ASSERT_NE(nullptr, pView);
    auto child = orvtest::ChildProcess::StartSelf("SharedBlockWriter", {strName, "2688416"});
    ASSERT_TRUE(child);
    ASSERT_EQ(0, child->Wait());
    EXPECT_EQ(0, std::memcmp(pView + 2688416, "child", 5));
    UnmapSharedBlock(pView);
    CloseNamedObject(hBlock);
}
