#include <gtest/gtest.h>

#include <windows.h>
#include <cstdlib>
#include <string>
#include "language/ErrorText.h"
#include "language/PathHelpers.h"
#include "language/ProcessHelpers.h"
#include "language/TextConvert.h"
#include "language/Win32Exception.h"

namespace {

std::wstring CurrentFolder()
{
    wchar_t szFolder[MAX_PATH] = {0};
    const DWORD dwLength = GetCurrentDirectoryW(MAX_PATH, szFolder);
    EXPECT_GT(dwLength, 0u);
    return std::wstring(szFolder, dwLength);
}

void ExpectParts(const std::wstring& strPath, const wchar_t* szDrive, const wchar_t* szDir,
                 const wchar_t* szName, const wchar_t* szExt)
{
    const Language::PathParts parts = Language::SplitPath(strPath);
    EXPECT_EQ(szDrive, parts.drive) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szDir, parts.dir) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szName, parts.fname) << Language::Utf8FromWide(strPath);
    EXPECT_EQ(szExt, parts.ext) << Language::Utf8FromWide(strPath);
}

} // namespace

TEST(SplitPathWin32Test, Parts)
{
    ExpectParts(L"C:\\Program Files\\Orv\\OrvClientTool.exe", L"C:", L"\\Program Files\\Orv\\", L"OrvClientTool", L".exe");
    ExpectParts(L"OrvClientTool", L"", L"", L"OrvClientTool", L"");
    ExpectParts(L"C:\\Orv\\", L"C:", L"\\Orv\\", L"", L"");
    ExpectParts(L"a.b.c", L"", L"", L"a.b", L".c");
    ExpectParts(L"D:rel/客户端.conf", L"D:", L"rel/", L"客户端", L".conf");
}

TEST(SplitPathWin32Test, PathLongerThanMaxPath)
{
    // Each part within the runtime library's limits, the whole past MAX_PATH.
    const std::wstring strDir = L"\\" + std::wstring(250, L'd') + L"\\";
    const std::wstring strName(200, L'n');
    ExpectParts(L"C:" + strDir + strName + L".exe", L"C:", strDir.c_str(), strName.c_str(), L".exe");
}

TEST(SplitPathWin32Test, OverlongPartsDoNotOverflow)
{
    // Parts past the runtime library's limits come back empty or cut, never
    // longer than the path itself.
    const std::wstring strPath = L"C:\\" + std::wstring(300, L'd') + L"\\" + std::wstring(300, L'n') + L".exe";
    const Language::PathParts parts = Language::SplitPath(strPath);
    EXPECT_LE(parts.drive.size() + parts.dir.size() + parts.fname.size() + parts.ext.size(), strPath.size());
}

TEST(GetFullPathWin32Test, Normalises)
{
    EXPECT_EQ(L"C:\\no\\such\\c.txt", Language::GetFullPath(L"C:\\no\\such\\.\\b\\..\\c.txt"));
    EXPECT_EQ(L"C:\\a\\c", Language::GetFullPath(L"C:/a/b/../c"));
    EXPECT_EQ(CurrentFolder() + L"\\x.exe", Language::GetFullPath(L"x.exe"));
}

TEST(GetFullPathWin32Test, TooLongForTheBufferThrows)
{
    const std::wstring strLong = L"C:\\" + std::wstring(300, L'x');
    try {
        Language::GetFullPath(strLong);
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(static_cast<uint32_t>(ERROR_INSUFFICIENT_BUFFER), e.GetErrorCode());
        EXPECT_EQ(Language::FormatWin32Error(L"GetFullPathName", ERROR_INSUFFICIENT_BUFFER), e.MessageW());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(GetFolderOfPathWin32Test, FolderWithTrailingBackslash)
{
    EXPECT_EQ(L"C:\\Orv\\", Language::GetFolderOfPath(L"C:\\Orv\\bin\\..\\OrvClientTool.exe"));
    EXPECT_EQ(CurrentFolder() + L"\\", Language::GetFolderOfPath(L"OrvClientTool.exe"));
}

TEST(GetFileNameOfPathWin32Test, NameAndExtension)
{
    EXPECT_EQ(L"OrvClientTool.exe", Language::GetFileNameOfPath(L"C:\\Orv\\OrvClientTool.exe"));
    EXPECT_EQ(L"OrvClientTool.exe", Language::GetFileNameOfPath(L"C:OrvClientTool.exe"));
    EXPECT_EQ(L"", Language::GetFileNameOfPath(L"C:\\Orv\\"));
}

TEST(EnablePrivilegeWin32Test, UnknownPrivilegeThrowsForLookup)
{
    try {
        Language::EnablePrivilege(GetCurrentProcess(), L"SeNoSuchOrvPrivilege");
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(static_cast<uint32_t>(ERROR_NO_SUCH_PRIVILEGE), e.GetErrorCode());
        EXPECT_EQ(Language::FormatWin32Error(L"LookupPrivilegeValue", ERROR_NO_SUCH_PRIVILEGE), e.MessageW());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(EnablePrivilegeWin32Test, InvalidProcessHandleThrowsForToken)
{
    try {
        Language::EnablePrivilege(nullptr, L"SeDebugPrivilege");
    } catch (const Win32::Win32Exception& e) {
        EXPECT_EQ(Language::FormatWin32Error(L"OpenProcessToken", e.GetErrorCode()), e.MessageW());
        EXPECT_NE(0u, e.GetErrorCode());
        return;
    }
    FAIL() << "no Win32Exception";
}

TEST(GetCurrentUserNameWin32Test, SameAsSystem)
{
    wchar_t szName[257] = {0};
    DWORD dwSize = 257;
    ASSERT_TRUE(GetUserNameW(szName, &dwSize));
    EXPECT_EQ(std::wstring(szName), Language::GetCurrentUserName());
}
