#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include "language/MachineRegistry.h"
#include "language/MachineRegistryTestStore.h"
#include "language/TextConvert.h"

// The Linux stand-in of the machine registry: an INI file.

using Language::CMachineRegistryKey;
namespace Status = Language::MachineRegistryStatus;

TEST(MachineRegistryPosixTest, StoreNamedByEnvironment)
{
    orvtest::MachineRegistryTestStore store;
    EXPECT_EQ(Language::WideFromUtf8(store.StoreFile()), CMachineRegistryKey::StoreLocation());
}

TEST(MachineRegistryPosixTest, DefaultStoreInEtc)
{
    orvtest::MachineRegistryTestStore store;
    putenv(const_cast<char*>("ORVPRINT_MACHINE_CONFIG="));
    EXPECT_EQ(L"/etc/orv-soft/machine.ini", CMachineRegistryKey::StoreLocation());
}

TEST(MachineRegistryPosixTest, MissingFileFailsAtOpen)
{
    orvtest::MachineRegistryTestStore store;
    CMachineRegistryKey key;
    EXPECT_EQ(Status::NOT_FOUND, key.Open(L"Software\\Orv-soft\\Client"));
    EXPECT_EQ(Status::NOT_FOUND, key.Open(L""));
}

TEST(MachineRegistryPosixTest, SectionPerKeyEntryPerValue)
{
    orvtest::MachineRegistryTestStore store;
    store.Folder().WriteFile("machine.ini",
                             "; written by the installer\n"
                             "[software\\orv-soft\\CLIENT]\n"
                             "  TempDir = /var/lib/orv-soft/temp  \n"
                             "InstallDir=/opt/orv-soft\n");
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(L"Software\\Orv-soft\\Client"));
    wchar_t szBuffer[260] = {0};
    uint32_t uiBytes = 520;
    ASSERT_EQ(Status::OK, key.QueryValue(L"TempDir", szBuffer, &uiBytes));
    EXPECT_EQ(std::wstring(L"/var/lib/orv-soft/temp"), szBuffer);
    EXPECT_EQ(46u, uiBytes);
    EXPECT_EQ(Status::NOT_FOUND, key.QueryValueSize(L"LogDir"));

    CMachineRegistryKey other;
    EXPECT_EQ(Status::OK, other.Open(L"Software"));
    EXPECT_EQ(Status::NOT_FOUND, other.Open(L"Software\\Orv"));
    EXPECT_EQ(Status::NOT_FOUND, other.Open(L"Software\\Orv-soft\\Server"));
}

TEST(MachineRegistryPosixTest, WritesKeepOtherLines)
{
    orvtest::MachineRegistryTestStore store;
    store.Folder().WriteFile("machine.ini",
                             "; written by the installer\n"
                             "[Software\\Orv-soft\\Client]\n"
                             "InstallDir=/opt/orv-soft\n");
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Create(L"Software\\Orv-soft\\Client"));
    EXPECT_EQ(Status::OK, key.SetStringValue(L"TempDir", L"/tmp/\u5BA2\u6237"));
    EXPECT_EQ("; written by the installer\n"
              "[Software\\Orv-soft\\Client]\n"
              "InstallDir=/opt/orv-soft\n"
              "TempDir=/tmp/\xE5\xAE\xA2\xE6\x88\xB7\n",
              store.Folder().ReadFile("machine.ini"));
}

TEST(MachineRegistryPosixTest, CreateMakesFileAndSection)
{
    orvtest::MachineRegistryTestStore store;
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Create(L"Software\\Orv-soft\\Client"));
    EXPECT_EQ(Status::OK, key.SetStringValue(L"TempDir", L"/var/tmp/orv"));
    EXPECT_EQ("[Software\\Orv-soft\\Client]\nTempDir=/var/tmp/orv\n", store.Folder().ReadFile("machine.ini"));
}

TEST(MachineRegistryPosixTest, LengthCountsUtf16UnitsOfNonBmpCharacters)
{
    orvtest::MachineRegistryTestStore store;
    store.Set(L"Software\\Orv-soft\\Client", L"TempDir", L"/x/\U0001F5A8");
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(L"Software\\Orv-soft\\Client"));
    uint32_t uiBytes = 0;
    EXPECT_EQ(Status::OK, key.QueryValueSize(L"TempDir", &uiBytes));
    EXPECT_EQ((3u + 2u + 1u) * 2u, uiBytes);
}
