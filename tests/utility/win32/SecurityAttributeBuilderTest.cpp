#include <windows.h>
#include <gtest/gtest.h>
#include "tests/utility/NamedObjectTestSupport.h"
#include "utility/win32/SecurityAttributeBuilder.h"

namespace {

// The one entry of the builder's list: its mask, and whether its SID is
// Everyone (S-1-1-0).
void ReadOnlyEntry(SECURITY_ATTRIBUTES* pAttributes, ACCESS_MASK& dwMask, bool& bEveryone, DWORD& dwAceCount)
{
    BOOL bPresent = FALSE;
    BOOL bDefaulted = TRUE;
    PACL pAcl = nullptr;
    ASSERT_TRUE(GetSecurityDescriptorDacl(static_cast<PSECURITY_DESCRIPTOR>(pAttributes->lpSecurityDescriptor),
                                          &bPresent, &pAcl, &bDefaulted));
    ASSERT_TRUE(bPresent);
    ASSERT_FALSE(bDefaulted);
    ASSERT_NE(nullptr, pAcl);
    dwAceCount = pAcl->AceCount;
    void* pAce = nullptr;
    ASSERT_TRUE(GetAce(pAcl, 0, &pAce));
    ACCESS_ALLOWED_ACE* pAllowed = static_cast<ACCESS_ALLOWED_ACE*>(pAce);
    ASSERT_EQ(ACCESS_ALLOWED_ACE_TYPE, pAllowed->Header.AceType);
    dwMask = pAllowed->Mask;

    SID_IDENTIFIER_AUTHORITY stuWorld = SECURITY_WORLD_SID_AUTHORITY;
    PSID pEveryone = nullptr;
    ASSERT_TRUE(AllocateAndInitializeSid(&stuWorld, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &pEveryone));
    bEveryone = EqualSid(pEveryone, reinterpret_cast<PSID>(&pAllowed->SidStart)) != FALSE;
    FreeSid(pEveryone);
}

} // namespace

TEST(SecurityAttributeBuilderTest, StartsEmpty)
{
    CSecurityAttributeBuilder builder;
    EXPECT_EQ(nullptr, builder.GetAcl());
}

TEST(SecurityAttributeBuilderTest, EveryoneWithMutexAllAccess)
{
    CSecurityAttributeBuilder builder;
    ASSERT_TRUE(builder.BuildEveryone(0x1F0001));
    SECURITY_ATTRIBUTES* pAttributes = builder.GetAttributes();
    EXPECT_EQ(24u, pAttributes->nLength);
    EXPECT_FALSE(pAttributes->bInheritHandle);
    EXPECT_EQ(static_cast<const void*>(builder.GetDescriptor()), pAttributes->lpSecurityDescriptor);

    ACCESS_MASK dwMask = 0;
    bool bEveryone = false;
    DWORD dwAceCount = 0;
    ReadOnlyEntry(pAttributes, dwMask, bEveryone, dwAceCount);
    EXPECT_EQ(1u, dwAceCount);
    EXPECT_EQ(static_cast<ACCESS_MASK>(MUTEX_ALL_ACCESS), dwMask);
    EXPECT_EQ(0x1F0001u, dwMask);
    EXPECT_TRUE(bEveryone);
    // The list is exactly as large as its header, one entry and the SID.
    EXPECT_EQ(8u + 8u + 12u, builder.GetAcl()->AclSize);
}

TEST(SecurityAttributeBuilderTest, ASecondBuildUsesTheNewMask)
{
    CSecurityAttributeBuilder builder;
    ASSERT_TRUE(builder.BuildEveryone(0x1F0001));
    ASSERT_TRUE(builder.BuildEveryone(0x1F0003));
    ACCESS_MASK dwMask = 0;
    bool bEveryone = false;
    DWORD dwAceCount = 0;
    ReadOnlyEntry(builder.GetAttributes(), dwMask, bEveryone, dwAceCount);
    EXPECT_EQ(1u, dwAceCount);
    EXPECT_EQ(0x1F0003u, dwMask);
    EXPECT_TRUE(bEveryone);
}

TEST(SecurityAttributeBuilderTest, AttributesCreateAnObjectThatOpensWithFullAccess)
{
    const std::wstring strName = L"Global\\" + orvtest::Wide(orvtest::UniqueObjectBase("SabEvent"));
    CSecurityAttributeBuilder builder;
    ASSERT_TRUE(builder.BuildEveryone(EVENT_ALL_ACCESS));
    HANDLE hEvent = CreateEventW(builder.GetAttributes(), FALSE, FALSE, strName.c_str());
    ASSERT_NE(nullptr, hEvent);
    HANDLE hOpened = OpenEventW(EVENT_ALL_ACCESS, FALSE, strName.c_str());
    EXPECT_NE(nullptr, hOpened);
    if (hOpened) {
        CloseHandle(hOpened);
    }
    CloseHandle(hEvent);
}
