#include <gtest/gtest.h>
#include "tools/orvprint-folders/win32/FolderPath.h"

using OrvprintFolders::CFolderPath;

namespace {

std::wstring ParseError(const std::wstring& strRoot, const std::wstring& strPath, bool bPattern = false)
{
    CFolderPath path;
    std::wstring strError;
    EXPECT_FALSE(path.Parse(strRoot, strPath, bPattern, strError)) << strPath;
    return strError;
}

} // namespace

TEST(FolderPathTest, PartsBelowTheRootAreSplitOff)
{
    CFolderPath path;
    std::wstring strError;
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData\\.", L"C:\\ProgramData\\Orv-soft\\Client\\Temp\\.", false, strError));
    EXPECT_EQ(L"C:\\ProgramData", path.GetRoot());
    ASSERT_EQ(3u, path.GetPartCount());
    EXPECT_EQ(L"Orv-soft", path.GetPart(0));
    EXPECT_EQ(L"Client", path.GetPart(1));
    EXPECT_EQ(L"Temp", path.GetPart(2));
    EXPECT_EQ(L"C:\\ProgramData", path.GetPrefix(0));
    EXPECT_EQ(L"C:\\ProgramData\\Orv-soft", path.GetPrefix(1));
    EXPECT_EQ(L"C:\\ProgramData\\Orv-soft\\Client\\Temp", path.GetFull());
    EXPECT_EQ(L"C:\\ProgramData\\Orv-soft\\Client", path.GetParent().GetFull());
}

TEST(FolderPathTest, TheRootIsMatchedWithoutRegardToCaseOrSeparators)
{
    CFolderPath path;
    std::wstring strError;
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData\\", L"c:/programdata//Orv-soft/Client/", false, strError));
    EXPECT_EQ(L"C:\\ProgramData", path.GetRoot());
    EXPECT_EQ(L"C:\\ProgramData\\Orv-soft\\Client", path.GetFull());
}

TEST(FolderPathTest, APathOutsideTheRootLiesBelowItsDrivesRoot)
{
    CFolderPath path;
    std::wstring strError;
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData\\.", L"C:\\Orv Logs\\.", false, strError));
    EXPECT_EQ(L"C:\\", path.GetRoot());
    ASSERT_EQ(1u, path.GetPartCount());
    EXPECT_EQ(L"C:\\Orv Logs", path.GetFull());

    ASSERT_TRUE(path.Parse(L"C:\\ProgramData\\.", L"D:\\Logs\\OrvprintD", false, strError));
    EXPECT_EQ(L"D:\\", path.GetRoot());
    EXPECT_EQ(2u, path.GetPartCount());
    EXPECT_EQ(L"D:\\Logs", path.GetPrefix(1));

    // A name that only begins like the root is not below it.
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData", L"C:\\ProgramDataX\\Orv-soft", false, strError));
    EXPECT_EQ(L"C:\\", path.GetRoot());
    EXPECT_EQ(2u, path.GetPartCount());
    // The root itself is no folder of the package: it lies below the drive.
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData", L"C:\\ProgramData\\.", false, strError));
    EXPECT_EQ(L"C:\\", path.GetRoot());
    EXPECT_EQ(1u, path.GetPartCount());
}

TEST(FolderPathTest, PathsThatCouldLeadElsewhereAreRefusedWithTheReason)
{
    const std::wstring strRoot = L"C:\\ProgramData\\.";
    EXPECT_EQ(L"\"Orv-soft\\Temp\" is not an absolute path (X:\\...).", ParseError(strRoot, L"Orv-soft\\Temp"));
    EXPECT_EQ(L"\"\\\\server\\share\\Temp\" is not an absolute path (X:\\...).",
              ParseError(strRoot, L"\\\\server\\share\\Temp"));
    EXPECT_EQ(L"\"\\\\?\\C:\\Temp\" is not an absolute path (X:\\...).", ParseError(strRoot, L"\\\\?\\C:\\Temp"));
    EXPECT_EQ(L"\"C:\\ProgramData\\Orv-soft\\..\\..\\Windows\" holds \"..\": name every folder.",
              ParseError(strRoot, L"C:\\ProgramData\\Orv-soft\\..\\..\\Windows"));
    EXPECT_EQ(L"\"C:\\ProgramData\\.\\Orv-soft\" holds \".\": name every folder.",
              ParseError(strRoot, L"C:\\ProgramData\\.\\Orv-soft"));
    EXPECT_EQ(L"\"C:\\ProgramData\\Orv-soft\\Config.ini:x\" holds \":\" in a name.",
              ParseError(strRoot, L"C:\\ProgramData\\Orv-soft\\Config.ini:x"));
    EXPECT_EQ(L"\"C:\\ProgramData\\Orv-*\\Temp\" holds \"*\" or \"?\" where a folder is named.",
              ParseError(strRoot, L"C:\\ProgramData\\Orv-*\\Temp", true));
    EXPECT_EQ(L"\"C:\\ProgramData\\Orv-soft\\Log\\OrvprintD.log*\" holds \"*\" or \"?\" where a folder is named.",
              ParseError(strRoot, L"C:\\ProgramData\\Orv-soft\\Log\\OrvprintD.log*"));
    EXPECT_EQ(L"\"C:\\.\" is a drive's root, not a folder of the package.", ParseError(strRoot, L"C:\\."));
    EXPECT_EQ(L"\"ProgramData\" is not an absolute path (X:\\...).", ParseError(L"ProgramData", L"C:\\Temp"));
}

TEST(FolderPathTest, AFilePatternIsAllowedInTheLastPartOnly)
{
    CFolderPath path;
    std::wstring strError;
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData", L"C:\\Orv Logs\\OrvprintD.log*", true, strError));
    EXPECT_TRUE(path.IsPattern());
    EXPECT_EQ(L"C:\\Orv Logs", path.GetParent().GetFull());
    ASSERT_TRUE(path.Parse(L"C:\\ProgramData", L"C:\\Orv Logs\\OrvprintD.log", true, strError));
    EXPECT_FALSE(path.IsPattern());
}
