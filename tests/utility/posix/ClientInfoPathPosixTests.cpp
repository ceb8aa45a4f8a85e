#include <gtest/gtest.h>

#include "utility/ClientInfo.h"

// Config.ini beside the folder, "/" between them when the folder lacks it.

TEST(ClientInfoPathPosixTest, SeparatorAddedWhenMissing)
{
    EXPECT_EQ(L"/var/lib/orv-soft/temp/Config.ini", OrvUtility::MakeConfigFilePath(L"/var/lib/orv-soft/temp"));
}

TEST(ClientInfoPathPosixTest, SeparatorNotDoubled)
{
    EXPECT_EQ(L"/var/lib/orv-soft/temp/Config.ini", OrvUtility::MakeConfigFilePath(L"/var/lib/orv-soft/temp/"));
}

TEST(ClientInfoPathPosixTest, BackslashIsAnOrdinaryCharacter)
{
    EXPECT_EQ(L"/tmp/a\\/Config.ini", OrvUtility::MakeConfigFilePath(L"/tmp/a\\"));
}

TEST(ClientInfoPathPosixTest, EmptyFolderGivesTheBareName)
{
    EXPECT_EQ(L"Config.ini", OrvUtility::MakeConfigFilePath(L""));
}
