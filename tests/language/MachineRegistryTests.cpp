#include <gtest/gtest.h>

#include <string>
#include <utility>
#include "language/MachineRegistry.h"
#include "language/MachineRegistryTestStore.h"

// The machine registry through CMachineRegistryKey: the real registry on
// Windows (Wine prefix), the INI stand-in on Linux; the same results on both.

using Language::CMachineRegistryKey;
namespace Status = Language::MachineRegistryStatus;

namespace {

const wchar_t* const TEST_KEY = L"Software\\Orv-soft\\RegistryTest\\Inner";
const wchar_t* const TEST_PARENT = L"Software\\Orv-soft\\RegistryTest";

class MachineRegistryTest : public testing::Test {
protected:
    void SetUp() override { m_store.Set(TEST_KEY, L"TempDir", L"C:\\Orv\\Temp"); }

    orvtest::MachineRegistryTestStore m_store;
};

} // namespace

TEST_F(MachineRegistryTest, ReadsStringValueWithLengthAndType)
{
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    EXPECT_TRUE(key.IsOpen());
    wchar_t szBuffer[260] = {0};
    uint32_t uiBytes = sizeof(szBuffer) / sizeof(szBuffer[0]) * CMachineRegistryKey::CHAR_BYTES;
    uint32_t uiType = 0;
    ASSERT_EQ(Status::OK, key.QueryValue(L"TempDir", szBuffer, &uiBytes, &uiType));
    EXPECT_EQ(std::wstring(L"C:\\Orv\\Temp"), szBuffer);
    EXPECT_EQ(24u, uiBytes);
    EXPECT_EQ(CMachineRegistryKey::TYPE_STRING, uiType);
}

TEST_F(MachineRegistryTest, NamesWithoutRegardToCase)
{
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(L"SOFTWARE\\orv-soft\\registrytest\\INNER"));
    uint32_t uiBytes = 0;
    EXPECT_EQ(Status::OK, key.QueryValueSize(L"tempdir", &uiBytes));
    EXPECT_EQ(24u, uiBytes);
}

TEST_F(MachineRegistryTest, ParentKeyOpens)
{
    CMachineRegistryKey key;
    EXPECT_EQ(Status::OK, key.Open(TEST_PARENT));
    EXPECT_EQ(Status::NOT_FOUND, key.QueryValueSize(L"TempDir"));
}

TEST_F(MachineRegistryTest, MissingKeyAndValue)
{
    CMachineRegistryKey key;
    EXPECT_EQ(Status::NOT_FOUND, key.Open(L"Software\\Orv-soft\\RegistryTest\\Nowhere"));
    EXPECT_FALSE(key.IsOpen());
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    wchar_t szBuffer[16];
    uint32_t uiBytes = sizeof(szBuffer) / sizeof(szBuffer[0]) * CMachineRegistryKey::CHAR_BYTES;
    EXPECT_EQ(Status::NOT_FOUND, key.QueryValue(L"LogDir", szBuffer, &uiBytes));
    EXPECT_EQ(Status::NOT_FOUND, key.QueryValueSize(L"LogDir"));
}

TEST_F(MachineRegistryTest, ClosedKeyIsInvalidHandle)
{
    CMachineRegistryKey key;
    EXPECT_FALSE(key.IsOpen());
    EXPECT_EQ(Status::INVALID_HANDLE, key.QueryValueSize(L"TempDir"));
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    key.Close();
    EXPECT_EQ(Status::INVALID_HANDLE, key.QueryValueSize(L"TempDir"));
}

TEST_F(MachineRegistryTest, LengthsCountUtf16BytesWithTerminator)
{
    m_store.Set(TEST_KEY, L"L127", std::wstring(127, L'a'));
    m_store.Set(TEST_KEY, L"L128", std::wstring(128, L'a'));
    m_store.Set(TEST_KEY, L"L259", std::wstring(259, L'a'));
    m_store.Set(TEST_KEY, L"L260", std::wstring(260, L'a'));
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    wchar_t szBuffer[260];
    const uint32_t uiCapacity = 260 * CMachineRegistryKey::CHAR_BYTES;

    uint32_t uiBytes = uiCapacity;
    EXPECT_EQ(Status::OK, key.QueryValue(L"L127", szBuffer, &uiBytes));
    EXPECT_EQ(256u, uiBytes);
    uiBytes = uiCapacity;
    EXPECT_EQ(Status::OK, key.QueryValue(L"L128", szBuffer, &uiBytes));
    EXPECT_EQ(258u, uiBytes);
    uiBytes = uiCapacity;
    EXPECT_EQ(Status::OK, key.QueryValue(L"L259", szBuffer, &uiBytes));
    EXPECT_EQ(520u, uiBytes);
    EXPECT_EQ(std::wstring(259, L'a'), szBuffer);
    uiBytes = uiCapacity;
    EXPECT_EQ(Status::MORE_DATA, key.QueryValue(L"L260", szBuffer, &uiBytes));
    EXPECT_EQ(522u, uiBytes);
}

TEST_F(MachineRegistryTest, NullBufferAsksLength)
{
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    uint32_t uiBytes = 0;
    EXPECT_EQ(Status::OK, key.QueryValue(L"TempDir", nullptr, &uiBytes));
    EXPECT_EQ(24u, uiBytes);
}

TEST_F(MachineRegistryTest, ChineseValueRoundTrip)
{
    const std::wstring strValue = L"D:\\\u5BA2\u6237\u7AEF\\\u4E34\u65F6";
    m_store.Set(TEST_KEY, L"DataDir", strValue);
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    wchar_t szBuffer[64] = {0};
    uint32_t uiBytes = 64 * CMachineRegistryKey::CHAR_BYTES;
    ASSERT_EQ(Status::OK, key.QueryValue(L"DataDir", szBuffer, &uiBytes));
    EXPECT_EQ(strValue, szBuffer);
    EXPECT_EQ((strValue.size() + 1) * 2, uiBytes);
}

TEST_F(MachineRegistryTest, ReadOnlyKeyRefusesWrites)
{
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY, CMachineRegistryKey::ACCESS_READ));
    EXPECT_EQ(Status::ACCESS_DENIED, key.SetStringValue(L"TempDir", L"changed"));
    EXPECT_EQ(Status::ACCESS_DENIED, key.DeleteValue(L"TempDir"));
}

TEST_F(MachineRegistryTest, WritableKeySetsAndDeletes)
{
    m_store.Remove(TEST_KEY, L"LogDir");
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY, CMachineRegistryKey::ACCESS_WRITE));
    EXPECT_EQ(Status::OK, key.SetStringValue(L"LogDir", L"C:\\Orv\\Log"));
    uint32_t uiBytes = 0;
    EXPECT_EQ(Status::OK, key.QueryValueSize(L"LogDir", &uiBytes));
    EXPECT_EQ(22u, uiBytes);
    EXPECT_EQ(Status::OK, key.DeleteValue(L"LogDir"));
    EXPECT_EQ(Status::NOT_FOUND, key.QueryValueSize(L"LogDir"));
    EXPECT_EQ(Status::NOT_FOUND, key.DeleteValue(L"LogDir"));
}

TEST_F(MachineRegistryTest, MovedKeyStaysOpenInItsNewOwner)
{
    CMachineRegistryKey key;
    ASSERT_EQ(Status::OK, key.Open(TEST_KEY));
    CMachineRegistryKey other(std::move(key));
    EXPECT_FALSE(key.IsOpen());
    EXPECT_TRUE(other.IsOpen());
    EXPECT_EQ(Status::OK, other.QueryValueSize(L"TempDir"));
    CMachineRegistryKey third;
    third = std::move(other);
    EXPECT_EQ(Status::OK, third.QueryValueSize(L"TempDir"));
}

TEST_F(MachineRegistryTest, KeyWithSubKeysIsNotDeleted)
{
    EXPECT_NE(Status::OK, CMachineRegistryKey::DeleteKey(TEST_PARENT));
    CMachineRegistryKey key;
    EXPECT_EQ(Status::OK, key.Open(TEST_KEY));
}

TEST_F(MachineRegistryTest, DeletedKeyIsGone)
{
    m_store.RemoveKey(TEST_KEY, {L"TempDir"});
    CMachineRegistryKey key;
    EXPECT_EQ(Status::NOT_FOUND, key.Open(TEST_KEY));
    EXPECT_EQ(Status::NOT_FOUND, CMachineRegistryKey::DeleteKey(TEST_KEY));
}
