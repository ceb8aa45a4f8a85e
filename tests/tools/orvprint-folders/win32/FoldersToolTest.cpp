#include <gtest/gtest.h>
#include <filesystem>
#include <windows.h>
#include <aclapi.h>
#include <winioctl.h>
#include "support/TempFolder.h"
#include "tools/orvprint-folders/win32/FolderRights.h"
#include "tools/orvprint-folders/win32/FoldersTool.h"
#include "tools/orvprint-folders/win32/ScopedHandle.h"

using namespace OrvprintFolders;

namespace {

typedef std::vector<std::wstring> Lines;

// The layout of a junction's reparse data (the mount-point form).
struct MOUNT_POINT_DATA {
    DWORD dwReparseTag;
    WORD wReparseDataLength;
    WORD wReserved;
    WORD wSubstituteNameOffset;
    WORD wSubstituteNameLength;
    WORD wPrintNameOffset;
    WORD wPrintNameLength;
    WCHAR szPathBuffer[1];
};

class FoldersToolTest : public ::testing::Test {
protected:
    void SetUp() override { m_strRoot = std::filesystem::path(m_tmp.Path()).wstring(); }

    std::wstring In(const std::wstring& strRelative) const { return m_strRoot + L"\\" + strRelative; }

    bool Exists(const std::wstring& strRelative) const
    {
        return GetFileAttributesW(In(strRelative).c_str()) != INVALID_FILE_ATTRIBUTES;
    }
    bool IsFolder(const std::wstring& strRelative) const
    {
        const DWORD dwAttributes = GetFileAttributesW(In(strRelative).c_str());
        return dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY) &&
               !(dwAttributes & FILE_ATTRIBUTE_REPARSE_POINT);
    }
    void MakeFolder(const std::wstring& strRelative) const
    {
        ASSERT_TRUE(CreateDirectoryW(In(strRelative).c_str(), nullptr)) << GetLastError();
    }
    void WriteFile(const std::wstring& strRelative, const std::string& strContent) const
    {
        HANDLE hFile = CreateFileW(In(strRelative).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        ASSERT_NE(INVALID_HANDLE_VALUE, hFile) << GetLastError();
        CScopedHandle file(hFile);
        DWORD dwWritten = 0;
        ASSERT_TRUE(::WriteFile(file.Get(), strContent.data(), static_cast<DWORD>(strContent.size()), &dwWritten, nullptr));
    }
    std::string ReadFile(const std::wstring& strRelative) const
    {
        HANDLE hFile = CreateFileW(In(strRelative).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                                   nullptr);
        if (hFile == INVALID_HANDLE_VALUE) {
            return "<missing>";
        }
        CScopedHandle file(hFile);
        char szBuffer[256];
        DWORD dwRead = 0;
        ::ReadFile(file.Get(), szBuffer, sizeof(szBuffer), &dwRead, nullptr);
        return std::string(szBuffer, dwRead);
    }

    // Makes strRelative a junction to strTarget; the reason when this system
    // cannot (Wine 8 has no junctions), "" when it is made.
    std::wstring MakeJunction(const std::wstring& strRelative, const std::wstring& strTarget) const
    {
        if (!CreateDirectoryW(In(strRelative).c_str(), nullptr)) {
            return L"cannot make the folder";
        }
        HANDLE hFolder = CreateFileW(In(strRelative).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                     FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
        if (hFolder == INVALID_HANDLE_VALUE) {
            return L"cannot open the folder (error " + std::to_wstring(GetLastError()) + L")";
        }
        CScopedHandle folder(hFolder);
        const std::wstring strSubstitute = L"\\??\\" + strTarget;
        const size_t uiSubstituteBytes = strSubstitute.size() * sizeof(wchar_t);
        const size_t uiPrintBytes = strTarget.size() * sizeof(wchar_t);
        std::vector<BYTE> vecData(offsetof(MOUNT_POINT_DATA, szPathBuffer) + uiSubstituteBytes + uiPrintBytes + 4);
        MOUNT_POINT_DATA* pData = reinterpret_cast<MOUNT_POINT_DATA*>(vecData.data());
        pData->dwReparseTag = IO_REPARSE_TAG_MOUNT_POINT;
        pData->wReparseDataLength = static_cast<WORD>(vecData.size() - offsetof(MOUNT_POINT_DATA, wSubstituteNameOffset));
        pData->wSubstituteNameOffset = 0;
        pData->wSubstituteNameLength = static_cast<WORD>(uiSubstituteBytes);
        pData->wPrintNameOffset = static_cast<WORD>(uiSubstituteBytes + sizeof(wchar_t));
        pData->wPrintNameLength = static_cast<WORD>(uiPrintBytes);
        memcpy(pData->szPathBuffer, strSubstitute.data(), uiSubstituteBytes);
        memcpy(reinterpret_cast<BYTE*>(pData->szPathBuffer) + pData->wPrintNameOffset, strTarget.data(), uiPrintBytes);
        DWORD dwReturned = 0;
        if (!DeviceIoControl(folder.Get(), FSCTL_SET_REPARSE_POINT, pData, static_cast<DWORD>(vecData.size()), nullptr,
                             0, &dwReturned, nullptr)) {
            const DWORD dwError = GetLastError();
            folder.Close();
            RemoveDirectoryW(In(strRelative).c_str());
            return L"FSCTL_SET_REPARSE_POINT fails with error " + std::to_wstring(dwError);
        }
        return std::wstring();
    }

    orvtest::TempFolder m_tmp;
    std::wstring m_strRoot;
};

std::string Narrow(const std::wstring& strText)
{
    return std::filesystem::path(strText).string();
}

#define SKIP_WITHOUT_JUNCTIONS(reason)                                                                                \
    if (!(reason).empty()) {                                                                                          \
        GTEST_SKIP() << "this system cannot make a junction (" << Narrow(reason)                                      \
                     << "); the refusal is shown on Windows";                                                         \
    }

} // namespace

TEST_F(FoldersToolTest, PrepareMakesMissingFoldersWithTheirRightsAndSaysSo)
{
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, PrepareFolders(m_strRoot + L"\\.", {In(L"Orv-soft\\Client\\Temp\\.")},
                                        {In(L"Orv-soft\\Client\\Data\\.")}, vecOut, vecErr));
    EXPECT_EQ(Lines(), vecErr);
    EXPECT_EQ((Lines{In(L"Orv-soft") + L": made; Administrators and SYSTEM full control, Users read",
                     In(L"Orv-soft\\Client") + L": made; Administrators and SYSTEM full control, Users read",
                     In(L"Orv-soft\\Client\\Temp") +
                         L": made; Administrators and SYSTEM full control, Users modify what is in it",
                     In(L"Orv-soft\\Client\\Data") + L": made; Administrators and SYSTEM full control, Users read"}),
              vecOut);
    EXPECT_TRUE(IsFolder(L"Orv-soft\\Client\\Temp"));
    EXPECT_TRUE(IsFolder(L"Orv-soft\\Client\\Data"));

    // Again: every folder is there now.
    vecOut.clear();
    EXPECT_EQ(EXIT_DONE, PrepareFolders(m_strRoot, {In(L"Orv-soft\\Client\\Temp")}, {}, vecOut, vecErr));
    EXPECT_EQ((Lines{In(L"Orv-soft") + L": real folder; rights kept",
                     In(L"Orv-soft\\Client") + L": real folder; rights kept",
                     In(L"Orv-soft\\Client\\Temp") +
                         L": real folder; Administrators and SYSTEM full control, Users modify what is in it"}),
              vecOut);
}

TEST_F(FoldersToolTest, AFolderMadeBeforehandIsTakenWithWhatIsInIt)
{
    MakeFolder(L"Orv-soft");
    MakeFolder(L"Orv-soft\\Client");
    MakeFolder(L"Orv-soft\\Client\\Temp");
    WriteFile(L"Orv-soft\\Client\\Temp\\Config.ini", "[ClientSetting]\r\n");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, PrepareFolders(m_strRoot, {In(L"Orv-soft\\Client\\Temp\\.")}, {}, vecOut, vecErr));
    EXPECT_EQ(Lines(), vecErr);
    ASSERT_EQ(3u, vecOut.size());
    // Made by this account (under the installer: SYSTEM): its owner is kept.
    EXPECT_EQ(In(L"Orv-soft\\Client\\Temp") +
                  L": real folder; Administrators and SYSTEM full control, Users modify what is in it",
              vecOut[2]);
    EXPECT_EQ("[ClientSetting]\r\n", ReadFile(L"Orv-soft\\Client\\Temp\\Config.ini"));
}

TEST_F(FoldersToolTest, AFileWhereAFolderBelongsStopsPrepareNamingIt)
{
    MakeFolder(L"Orv-soft");
    WriteFile(L"Orv-soft\\Client", "");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, RunFoldersTool({L"prepare", L"--root", m_strRoot, L"--shared", In(L"Orv-soft\\Client\\Temp\\."),
                                            L"--private", In(L"Orv-soft\\Client\\Data\\.")},
                                           vecOut, vecErr));
    EXPECT_EQ((Lines{L"orvprint-folders: refused \"" + In(L"Orv-soft\\Client") + L"\": it is not a folder."}), vecErr);
    EXPECT_EQ((Lines{In(L"Orv-soft") + L": real folder; rights kept"}), vecOut);
    EXPECT_FALSE(Exists(L"Orv-soft\\Client\\Data"));
}

TEST_F(FoldersToolTest, AJunctionOnThePathStopsPrepareAndNothingChangesBehindIt)
{
    MakeFolder(L"Elsewhere");
    MakeFolder(L"Orv-soft");
    const std::wstring strReason = MakeJunction(L"Orv-soft\\Client", In(L"Elsewhere"));
    SKIP_WITHOUT_JUNCTIONS(strReason);
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, RunFoldersTool({L"prepare", L"--root", m_strRoot, L"--shared", In(L"Orv-soft\\Client\\Temp\\.")},
                                           vecOut, vecErr));
    EXPECT_EQ((Lines{L"orvprint-folders: refused \"" + In(L"Orv-soft\\Client") +
                     L"\": it is a junction or symbolic link (a reparse point), not a real folder."}),
              vecErr);
    EXPECT_FALSE(Exists(L"Elsewhere\\Temp"));
}

TEST_F(FoldersToolTest, AJunctionAsTheFolderItselfIsRefused)
{
    MakeFolder(L"Elsewhere");
    const std::wstring strReason = MakeJunction(L"Temp", In(L"Elsewhere"));
    SKIP_WITHOUT_JUNCTIONS(strReason);
    WriteFile(L"Elsewhere\\Config.ini", "x");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, PrepareFolders(m_strRoot, {In(L"Temp")}, {}, vecOut, vecErr));
    EXPECT_EQ((Lines{L"refused \"" + In(L"Temp") +
                     L"\": it is a junction or symbolic link (a reparse point), not a real folder."}),
              vecErr);
    vecErr.clear();
    EXPECT_EQ(EXIT_REFUSED, RemoveFiles(m_strRoot, {In(L"Temp\\Config.ini")}, vecOut, vecErr));
    vecErr.clear();
    EXPECT_EQ(EXIT_REFUSED, SetAside(m_strRoot, In(L"Temp\\Config.ini"), vecOut, vecErr));
    EXPECT_EQ("x", ReadFile(L"Elsewhere\\Config.ini"));
    EXPECT_FALSE(Exists(L"Elsewhere\\Config.ini.upgrade"));
}

TEST_F(FoldersToolTest, TheRightsReadBackAsTheyWereWritten)
{
    Lines vecOut, vecErr;
    ASSERT_EQ(EXIT_DONE, PrepareFolders(m_strRoot, {In(L"Temp")}, {In(L"Data")}, vecOut, vecErr));
    const CFolderRights rights;
    for (const auto& stuCase : {std::make_pair(L"Temp", FOLDER_SHARED), std::make_pair(L"Data", FOLDER_PRIVATE)}) {
        PACL pDacl = nullptr;
        PSECURITY_DESCRIPTOR pDescriptor = nullptr;
        ASSERT_EQ(static_cast<DWORD>(ERROR_SUCCESS),
                  GetNamedSecurityInfoW(In(stuCase.first).c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                        nullptr, &pDacl, nullptr, &pDescriptor));
        std::vector<BYTE> vecExpected;
        ASSERT_TRUE(rights.BuildAcl(stuCase.second, vecExpected));
        const ACL* pExpected = reinterpret_cast<const ACL*>(vecExpected.data());
        const bool bSame = pDacl && pDacl->AceCount == pExpected->AceCount &&
                           memcmp(reinterpret_cast<const BYTE*>(pDacl) + sizeof(ACL), vecExpected.data() + sizeof(ACL),
                                  vecExpected.size() - sizeof(ACL)) == 0;
        SECURITY_DESCRIPTOR_CONTROL uiControl = 0;
        DWORD dwRevision = 0;
        GetSecurityDescriptorControl(pDescriptor, &uiControl, &dwRevision);
        LocalFree(pDescriptor);
        if (!bSame && !(uiControl & SE_DACL_PROTECTED)) {
            GTEST_SKIP() << "this system does not keep access lists as written (Wine derives them from the "
                            "Unix mode); Windows shows them";
        }
        EXPECT_TRUE(bSame) << Narrow(stuCase.first);
        EXPECT_TRUE(uiControl & SE_DACL_PROTECTED) << Narrow(stuCase.first);
    }
}

TEST_F(FoldersToolTest, RemoveDeletesFilesAndPatternMatchesEachThroughItsHandle)
{
    MakeFolder(L"Temp");
    MakeFolder(L"Log");
    WriteFile(L"Temp\\Config.ini", "a");
    WriteFile(L"Log\\OrvprintD.log", "b");
    WriteFile(L"Log\\OrvprintD.log.1", "c");
    WriteFile(L"Log\\Other.log", "d");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, RemoveFiles(m_strRoot, {In(L"Temp\\Config.ini"), In(L"Log\\OrvprintD.log*")}, vecOut, vecErr));
    EXPECT_EQ(Lines(), vecErr);
    EXPECT_EQ((Lines{L"removed " + In(L"Temp\\Config.ini"), L"removed " + In(L"Log\\OrvprintD.log"),
                     L"removed " + In(L"Log\\OrvprintD.log.1")}),
              vecOut);
    EXPECT_FALSE(Exists(L"Temp\\Config.ini"));
    EXPECT_FALSE(Exists(L"Log\\OrvprintD.log"));
    EXPECT_FALSE(Exists(L"Log\\OrvprintD.log.1"));
    EXPECT_EQ("d", ReadFile(L"Log\\Other.log"));
}

TEST_F(FoldersToolTest, RemoveFindsNothingToDoWhereNothingIs)
{
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, RemoveFiles(m_strRoot, {In(L"Temp\\Config.ini"), In(L"Log\\OrvprintD.log*")}, vecOut, vecErr));
    MakeFolder(L"Log");
    EXPECT_EQ(EXIT_DONE, RemoveFiles(m_strRoot, {In(L"Log\\Config.ini"), In(L"Log\\OrvprintD.log*")}, vecOut, vecErr));
    EXPECT_EQ(Lines(), vecOut);
    EXPECT_EQ(Lines(), vecErr);
}

TEST_F(FoldersToolTest, RemoveRefusesAFolderByTheNameAndGoesOn)
{
    MakeFolder(L"Temp");
    MakeFolder(L"Temp\\Config.ini");
    WriteFile(L"Temp\\Config.ini\\keep", "k");
    MakeFolder(L"Log");
    WriteFile(L"Log\\OrvprintD.log", "b");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, RunFoldersTool({L"remove", L"--root", m_strRoot, In(L"Temp\\Config.ini"), In(L"Log\\OrvprintD.log*")},
                                           vecOut, vecErr));
    EXPECT_EQ((Lines{L"orvprint-folders: refused \"" + In(L"Temp\\Config.ini") + L"\": it is a folder, not a file."}),
              vecErr);
    EXPECT_EQ((Lines{L"removed " + In(L"Log\\OrvprintD.log")}), vecOut);
    EXPECT_EQ("k", ReadFile(L"Temp\\Config.ini\\keep"));
}

TEST_F(FoldersToolTest, AFileWhereTheFolderOfAFileBelongsIsRefused)
{
    WriteFile(L"Temp", "t");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, RemoveFiles(m_strRoot, {In(L"Temp\\Config.ini")}, vecOut, vecErr));
    EXPECT_EQ((Lines{L"refused \"" + In(L"Temp") + L"\": it is not a folder."}), vecErr);
    EXPECT_EQ("t", ReadFile(L"Temp"));
}

TEST_F(FoldersToolTest, SetAsideAndPutBackRenameTheFileAndBack)
{
    MakeFolder(L"Temp");
    WriteFile(L"Temp\\Config.ini", "settings");
    WriteFile(L"Temp\\Config.ini.upgrade", "an older copy");
    Lines vecOut, vecErr;
    EXPECT_EQ(0, RunFoldersTool({L"set-aside", L"--root", m_strRoot, In(L"Temp\\Config.ini")}, vecOut, vecErr));
    EXPECT_FALSE(Exists(L"Temp\\Config.ini"));
    EXPECT_EQ("settings", ReadFile(L"Temp\\Config.ini.upgrade"));
    EXPECT_EQ(0, RunFoldersTool({L"put-back", L"--root", m_strRoot, In(L"Temp\\Config.ini")}, vecOut, vecErr));
    EXPECT_FALSE(Exists(L"Temp\\Config.ini.upgrade"));
    EXPECT_EQ("settings", ReadFile(L"Temp\\Config.ini"));
    EXPECT_EQ(Lines(), vecErr);
    EXPECT_EQ((Lines{L"set aside " + In(L"Temp\\Config.ini") + L" as Config.ini.upgrade",
                     L"put back " + In(L"Temp\\Config.ini.upgrade") + L" as Config.ini"}),
              vecOut);
}

TEST_F(FoldersToolTest, NothingToSetAsideOrPutBackIsDone)
{
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, SetAside(m_strRoot, In(L"Temp\\Config.ini"), vecOut, vecErr));
    MakeFolder(L"Temp");
    EXPECT_EQ(EXIT_DONE, PutBack(m_strRoot, In(L"Temp\\Config.ini"), vecOut, vecErr));
    EXPECT_EQ(Lines(), vecErr);
    EXPECT_EQ((Lines{L"nothing to set aside: " + In(L"Temp\\Config.ini") + L" does not exist",
                     L"nothing to put back: " + In(L"Temp\\Config.ini.upgrade") + L" does not exist"}),
              vecOut);
}

TEST_F(FoldersToolTest, AFolderNamedLikeTheFileIsNotSetAside)
{
    MakeFolder(L"Temp");
    MakeFolder(L"Temp\\Config.ini");
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_REFUSED, SetAside(m_strRoot, In(L"Temp\\Config.ini"), vecOut, vecErr));
    EXPECT_EQ((Lines{L"refused \"" + In(L"Temp\\Config.ini") + L"\": it is a folder, not a file."}), vecErr);
    EXPECT_TRUE(IsFolder(L"Temp\\Config.ini"));
}

TEST(FoldersToolUsageTest, BadCommandLinesExitOneWithTheReason)
{
    const std::vector<std::pair<Lines, std::wstring>> vecCases = {
        {{}, L"no verb given"},
        {{L"prepare", L"--shared", L"C:\\ProgramData\\Orv-soft"}, L"--root is missing"},
        {{L"prepare", L"--root", L"C:\\ProgramData"}, L"prepare takes folders as --shared FOLDER and --private FOLDER"},
        {{L"remove", L"--root", L"C:\\ProgramData", L"--shared", L"C:\\x"}, L"--shared belongs to prepare"},
        {{L"remove", L"--root", L"C:\\ProgramData"}, L"remove needs at least one file"},
        {{L"set-aside", L"--root", L"C:\\ProgramData", L"C:\\a", L"C:\\b"}, L"set-aside needs exactly one file"},
        {{L"move", L"--root", L"C:\\ProgramData", L"C:\\a"}, L"unknown verb move"},
        {{L"remove", L"--force", L"C:\\a"}, L"unknown option --force"},
        {{L"remove", L"--root"}, L"--root needs a folder"},
        {{L"remove", L"--root", L"C:\\ProgramData", L"Temp\\Config.ini"},
         L"\"Temp\\Config.ini\" is not an absolute path (X:\\...)."},
    };
    for (const auto& stuCase : vecCases) {
        Lines vecOut, vecErr;
        EXPECT_EQ(EXIT_USAGE, RunFoldersTool(stuCase.first, vecOut, vecErr));
        EXPECT_EQ((Lines{L"orvprint-folders: " + stuCase.second + L" (see orvprint-folders --help)"}), vecErr);
        EXPECT_EQ(Lines(), vecOut);
    }
}

TEST(FoldersToolUsageTest, HelpNamesTheVerbsAndExitCodes)
{
    Lines vecOut, vecErr;
    EXPECT_EQ(EXIT_DONE, RunFoldersTool({L"--help"}, vecOut, vecErr));
    ASSERT_FALSE(vecOut.empty());
    EXPECT_EQ(L"Usage: orvprint-folders prepare --root ROOT [--shared FOLDER]... [--private FOLDER]...", vecOut[0]);
    EXPECT_EQ(L"Exit codes: 0 done (or nothing to do), 1 bad command line or path,", vecOut[vecOut.size() - 4]);
}
