#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>
#include <climits>
#include <string>
#include "language/PathHelpers.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "language/Win32Exception.h"

namespace {

std::wstring CurrentFolder()
{
    char szFolder[PATH_MAX] = {0};
    EXPECT_NE(nullptr, getcwd(szFolder, sizeof(szFolder)));
    return Language::WideFromUtf8(szFolder);
}

void ExpectParts(const std::wstring& strPath, const wchar_t* szDir, const wchar_t* szName, const wchar_t* szExt)
{
    const Language::PathParts parts = Language::SplitPath(strPath);
    EXPECT_EQ(L"", parts.drive) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szDir, parts.dir) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szName, parts.fname) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szExt, parts.ext) << Language::Utf8FromWide(strPath);
}

} // namespace

TEST(SplitPathPosixTest, Parts)
{
    ExpectParts(L"/opt/orv/OrvClientTool.exe", L"/opt/orv/", L"OrvClientTool", L".exe");
    ExpectParts(L"OrvClientTool", L"", L"OrvClientTool", L"");
    ExpectParts(L"/opt/orv/", L"/opt/orv/", L"", L"");
    ExpectParts(L"a.b.c", L"", L"a.b", L".c");
    ExpectParts(L"/opt/v1.2/tool", L"/opt/v1.2/", L"tool", L"");
    ExpectParts(L"rel/客户端.conf", L"rel/", L"客户端", L".conf");
    ExpectParts(L"", L"", L"", L"");
}

TEST(GetFullPathPosixTest, NormalisesWithoutRequiringExistence)
{
    EXPECT_EQ(L"/no/such/c.txt", Language::GetFullPath(L"/no/such/./b/../c.txt"));
    EXPECT_EQ(L"/a/c", Language::GetFullPath(L"//a///b/../c"));
    EXPECT_EQ(L"/", Language::GetFullPath(L"/../.."));
    EXPECT_EQ(L"/a/b/", Language::GetFullPath(L"/a/b/"));
    EXPECT_EQ(L"/a", Language::GetFullPath(L"/a/b/.."));
}

TEST(GetFullPathPosixTest, RelativeAgainstCurrentFolder)
{
    const std::wstring strFolder = CurrentFolder();
    EXPECT_EQ(strFolder + L"/x.exe", Language::GetFullPath(L"x.exe"));
    EXPECT_EQ(strFolder + L"/x.exe", Language::GetFullPath(L"./sub/../x.exe"));
}

TEST(GetFullPathPosixTest, EmptyPathThrows)
{
    try {
        Language::GetFullPath(L"");
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(L"GetFullPathName failed. last error = 2 (No such file or directory)", e.MessageW());
        EXPECT_EQ(2u, e.GetErrorCode());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(GetFolderOfPathPosixTest, FolderWithTrailingSeparator)
{
    EXPECT_EQ(L"/opt/orv/", Language::GetFolderOfPath(L"/opt/orv/bin/../OrvClientTool.exe"));
    EXPECT_EQ(CurrentFolder() + L"/", Language::GetFolderOfPath(L"OrvClientTool.exe"));
}

TEST(GetFileNameOfPathPosixTest, NameAndExtension)
{
    EXPECT_EQ(L"OrvClientTool.exe", Language::GetFileNameOfPath(L"/opt/orv/OrvClientTool.exe"));
    EXPECT_EQ(L"OrvClientTool.exe", Language::GetFileNameOfPath(L"OrvClientTool.exe"));
    EXPECT_EQ(L"", Language::GetFileNameOfPath(L"/opt/orv/"));
}

TEST(GetCurrentUserNamePosixTest, PasswordDatabaseName)
{
    const passwd* pPwd = getpwuid(geteuid());
    ASSERT_NE(nullptr, pPwd);
    EXPECT_EQ(Language::WideFromUtf8(pPwd->pw_name), Language::GetCurrentUserName());
}
