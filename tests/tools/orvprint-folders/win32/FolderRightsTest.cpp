#include <gtest/gtest.h>
#include <windows.h>
#include <sddl.h>
#include "tools/orvprint-folders/win32/FolderRights.h"

using OrvprintFolders::CFolderRights;

namespace {

std::vector<BYTE> SidFromText(const wchar_t* szSid)
{
    PSID pSid = nullptr;
    EXPECT_TRUE(ConvertStringSidToSidW(szSid, &pSid)) << szSid;
    if (!pSid) {
        return std::vector<BYTE>();
    }
    const BYTE* pBytes = static_cast<const BYTE*>(pSid);
    std::vector<BYTE> vecSid(pBytes, pBytes + GetLengthSid(pSid));
    LocalFree(pSid);
    return vecSid;
}

// "SID flags mask" of each entry, in order.
std::vector<std::string> Entries(const std::vector<BYTE>& vecAcl)
{
    std::vector<std::string> vecEntries;
    const ACL* pAcl = reinterpret_cast<const ACL*>(vecAcl.data());
    for (DWORD i = 0; i < pAcl->AceCount; ++i) {
        void* pAce = nullptr;
        if (!GetAce(const_cast<ACL*>(pAcl), i, &pAce)) {
            break;
        }
        const ACCESS_ALLOWED_ACE* pAllowed = static_cast<const ACCESS_ALLOWED_ACE*>(pAce);
        char szLine[160];
        const std::wstring strSid = CFolderRights::SidText(const_cast<DWORD*>(&pAllowed->SidStart));
        snprintf(szLine, sizeof(szLine), "%d %ls %02x %06lx", pAllowed->Header.AceType, strSid.c_str(),
                 pAllowed->Header.AceFlags, static_cast<unsigned long>(pAllowed->Mask));
        vecEntries.push_back(szLine);
    }
    return vecEntries;
}

} // namespace

TEST(FolderRightsTest, AdministratorsSystemAndTheRunningAccountAreTrustedOwners)
{
    const CFolderRights rights;
    EXPECT_TRUE(rights.IsTrustedOwner(SidFromText(L"S-1-5-32-544").data()));
    EXPECT_TRUE(rights.IsTrustedOwner(SidFromText(L"S-1-5-18").data()));
    ASSERT_NE(nullptr, rights.GetSelf());
    EXPECT_TRUE(rights.IsTrustedOwner(rights.GetSelf()));
    EXPECT_FALSE(rights.IsTrustedOwner(SidFromText(L"S-1-5-32-545").data()));  // Users
    EXPECT_FALSE(rights.IsTrustedOwner(SidFromText(L"S-1-1-0").data()));       // Everyone
    EXPECT_FALSE(rights.IsTrustedOwner(SidFromText(L"S-1-5-11").data()));      // Authenticated Users
    std::vector<BYTE> vecOther = SidFromText(L"S-1-5-21-1111-2222-3333-1001");
    if (!EqualSid(vecOther.data(), rights.GetSelf())) {
        EXPECT_FALSE(rights.IsTrustedOwner(vecOther.data()));
    }
    EXPECT_FALSE(rights.IsTrustedOwner(nullptr));
}

TEST(FolderRightsTest, ASharedFolderLetsUsersModifyWhatIsInItButNotDeleteTheFolder)
{
    const CFolderRights rights;
    std::vector<BYTE> vecAcl;
    ASSERT_TRUE(rights.BuildAcl(OrvprintFolders::FOLDER_SHARED, vecAcl));
    // 0x03: object and container inherit; 0x0b: and inherit-only.
    // 0x1f01ff full control; 0x1201bf read, write, execute; 0x1301bf the same and delete.
    EXPECT_EQ((std::vector<std::string>{"0 S-1-5-18 03 1f01ff", "0 S-1-5-32-544 03 1f01ff",
                                        "0 S-1-5-32-545 00 1201bf", "0 S-1-5-32-545 0b 1301bf"}),
              Entries(vecAcl));
}

TEST(FolderRightsTest, APrivateFolderLetsUsersRead)
{
    const CFolderRights rights;
    std::vector<BYTE> vecAcl;
    ASSERT_TRUE(rights.BuildAcl(OrvprintFolders::FOLDER_PRIVATE, vecAcl));
    // 0x1200a9: read and execute.
    EXPECT_EQ((std::vector<std::string>{"0 S-1-5-18 03 1f01ff", "0 S-1-5-32-544 03 1f01ff",
                                        "0 S-1-5-32-545 03 1200a9"}),
              Entries(vecAcl));
}
