#include <gtest/gtest.h>

#include "utility/ClientInfo.h"

// Config.ini beside the folder, "\" between them when the folder lacks one
// (as _wmakepath composes it).

TEST(ClientInfoPathWin32Test, BackslashAddedWhenMissing)
{
    EXPECT_EQ(L"C:\\Program Files\\Client\\Temp\\Config.ini",
              OrvUtility::MakeConfigFilePath(L"C:\\Program Files\\Client\\Temp"));
}

TEST(ClientInfoPathWin32Test, SeparatorNotDoubled)
{
    EXPECT_EQ(L"C:\\Client\\Temp\\Config.ini", OrvUtility::MakeConfigFilePath(L"C:\\Client\\Temp\\"));
    EXPECT_EQ(L"C:/Client/Temp/Config.ini", OrvUtility::MakeConfigFilePath(L"C:/Client/Temp/"));
}

TEST(ClientInfoPathWin32Test, EmptyFolderGivesTheBareName)
{
    EXPECT_EQ(L"Config.ini", OrvUtility::MakeConfigFilePath(L""));
}
