#include <gtest/gtest.h>

#include <string>
#include "language/MachineRegistryTestStore.h"
#include "language/TextConvert.h"
#include "support/LogCapture.h"
#include "utility/PsFolder.h"

// GetClientFolder over the machine registry (Wine's on Windows, the
// stand-in file on Linux).

using namespace OrvUtility;

namespace {

// A folder path of exactly n characters.
std::wstring FolderOfLength(size_t n)
{
    std::wstring strPath = L"C:\\Orv\\";
    strPath += std::wstring(n - strPath.size(), L'f');
    return strPath;
}

class PsFolderTest : public testing::Test {
protected:
    void SetTempDir(const std::wstring& strValue) { m_store.Set(CLIENT_REGISTRY_KEY, L"TempDir", strValue); }

    orvtest::MachineRegistryTestStore m_store;
    wchar_t m_szFolder[256] = {0};
};

} // namespace

TEST_F(PsFolderTest, FolderIdsAndValueNames)
{
    EXPECT_EQ(2u, CLIENT_FOLDER_TEMP);
    EXPECT_STREQ(L"TempDir", GetClientFolderValueName(CLIENT_FOLDER_TEMP));
    EXPECT_STREQ(L"InstallDir", GetClientFolderValueName(CLIENT_FOLDER_INSTALL));
    EXPECT_STREQ(L"LogDir", GetClientFolderValueName(CLIENT_FOLDER_LOG));
    EXPECT_STREQ(L"DataDir", GetClientFolderValueName(CLIENT_FOLDER_DATA));
    EXPECT_EQ(nullptr, GetClientFolderValueName(4));
    EXPECT_STREQ(L"Software\\Orv-soft\\Client", CLIENT_REGISTRY_KEY);
}

TEST_F(PsFolderTest, ReadsTempDirWithDebugLines)
{
    SetTempDir(L"C:\\Orv\\Temp");
    orvtest::LogCapture cap;
    EXPECT_EQ(0u, GetClientFolder(2, m_szFolder, 256));
    EXPECT_EQ(std::wstring(L"C:\\Orv\\Temp"), m_szFolder);
    if (cap.Available()) {
        EXPECT_EQ(3, cap.Count("utility/PsFolder.cpp("));
        EXPECT_EQ(1, cap.Count(") : iFolderId = 2"));
        EXPECT_EQ(1, cap.Count(") : uiSize = 256"));
        EXPECT_EQ(1, cap.Count(") : szFolder = C:\\Orv\\Temp"));
        EXPECT_EQ(0, cap.Count("ERROR"));
    }
}

TEST_F(PsFolderTest, ReadsEachFolder)
{
    m_store.Set(CLIENT_REGISTRY_KEY, L"InstallDir", L"C:\\Orv");
    m_store.Set(CLIENT_REGISTRY_KEY, L"LogDir", L"C:\\Orv\\Log");
    m_store.Set(CLIENT_REGISTRY_KEY, L"DataDir", L"C:\\Orv\\Data");
    EXPECT_EQ(0u, GetClientFolder(CLIENT_FOLDER_INSTALL, m_szFolder, 256));
    EXPECT_EQ(std::wstring(L"C:\\Orv"), m_szFolder);
    EXPECT_EQ(0u, GetClientFolder(CLIENT_FOLDER_LOG, m_szFolder, 256));
    EXPECT_EQ(std::wstring(L"C:\\Orv\\Log"), m_szFolder);
    EXPECT_EQ(0u, GetClientFolder(CLIENT_FOLDER_DATA, m_szFolder, 256));
    EXPECT_EQ(std::wstring(L"C:\\Orv\\Data"), m_szFolder);
}

TEST_F(PsFolderTest, Folder127CharactersFits)
{
    const std::wstring strFolder = FolderOfLength(127);
    SetTempDir(strFolder);
    EXPECT_EQ(0u, GetClientFolder(2, m_szFolder, 256));
    EXPECT_EQ(strFolder, m_szFolder);
}

TEST_F(PsFolderTest, Folder128CharactersRefused)
{
    SetTempDir(FolderOfLength(128));
    orvtest::LogCapture cap;
    m_szFolder[0] = L'x';
    m_szFolder[1] = L'\0';
    EXPECT_EQ(16u, GetClientFolder(2, m_szFolder, 256));
    EXPECT_EQ(std::wstring(L"x"), m_szFolder);
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : dwDateLen = 258"));
        EXPECT_EQ(2, cap.Count(") : uiSize = 256"));   // the DEBUG line and the ERROR line
        EXPECT_EQ(2, cap.Count("ERROR - "));
    }
}

TEST_F(PsFolderTest, Folder259CharactersReadButRefused)
{
    SetTempDir(FolderOfLength(259));
    orvtest::LogCapture cap;
    EXPECT_EQ(16u, GetClientFolder(2, m_szFolder, 256));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : dwDateLen = 520"));
    }
}

TEST_F(PsFolderTest, FolderLongerThan259CharactersFailsAtQuery)
{
    SetTempDir(FolderOfLength(260));
    orvtest::LogCapture cap;
    EXPECT_EQ(1u, GetClientFolder(2, m_szFolder, 256));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : lRet = 234"));
        EXPECT_EQ(0, cap.Count("dwDateLen"));
    }
}

TEST_F(PsFolderTest, NullBufferBeforeRegistry)
{
    // No key at all: a registry access would fail with 1 and "lRet = 2".
    m_store.RemoveKey(CLIENT_REGISTRY_KEY, {L"TempDir", L"InstallDir", L"LogDir", L"DataDir"});
    orvtest::LogCapture cap;
    EXPECT_EQ(16u, GetClientFolder(2, nullptr, 256));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : szFolder = 0x00000000"));
        EXPECT_EQ(0, cap.Count("lRet"));
        EXPECT_EQ(1, cap.Count("ERROR - "));
    }
}

TEST_F(PsFolderTest, MissingKeyFails)
{
    m_store.RemoveKey(CLIENT_REGISTRY_KEY, {L"TempDir", L"InstallDir", L"LogDir", L"DataDir"});
    orvtest::LogCapture cap;
    EXPECT_EQ(1u, GetClientFolder(2, m_szFolder, 256));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : lRet = 2"));
    }
}

TEST_F(PsFolderTest, MissingValueFails)
{
    SetTempDir(L"C:\\Orv\\Temp");
    m_store.Remove(CLIENT_REGISTRY_KEY, L"LogDir");
    orvtest::LogCapture cap;
    EXPECT_EQ(1u, GetClientFolder(CLIENT_FOLDER_LOG, m_szFolder, 256));
    if (cap.Available()) {
        EXPECT_EQ(1, cap.Count(") : lRet = 2"));
    }
}

TEST_F(PsFolderTest, UnknownIdFails)
{
    SetTempDir(L"C:\\Orv\\Temp");
    orvtest::LogCapture cap;
    EXPECT_EQ(1u, GetClientFolder(9, m_szFolder, 256));
    if (cap.Available()) {
        EXPECT_EQ(2, cap.Count(") : iFolderId = 9"));   // DEBUG, then ERROR
    }
}

TEST_F(PsFolderTest, SizeComparedInBytes)
{
    SetTempDir(L"C:\\Orv\\Tmp");   // 10 characters: 22 bytes
    EXPECT_EQ(0u, GetClientFolder(2, m_szFolder, 22));
    EXPECT_EQ(std::wstring(L"C:\\Orv\\Tmp"), m_szFolder);
    EXPECT_EQ(16u, GetClientFolder(2, m_szFolder, 21));
}
