#include "utility/win32/SecurityAttributeBuilder.h"

#include "logging/LogMacros.h"

CSecurityAttributeBuilder::CSecurityAttributeBuilder()
    : m_pAcl(nullptr)
{
    ORV_TRACE_SCOPE("CSecurityAttributeBuilder::CSecurityAttributeBuilder");
    ZeroMemory(&m_stuAttributes, sizeof(m_stuAttributes));
    ZeroMemory(&m_stuDescriptor, sizeof(m_stuDescriptor));
}

CSecurityAttributeBuilder::~CSecurityAttributeBuilder()
{
    ORV_TRACE_SCOPE("CSecurityAttributeBuilder::~CSecurityAttributeBuilder");
    FreeAcl();
}

void CSecurityAttributeBuilder::FreeAcl()
{
    if (m_pAcl) {
        HeapFree(GetProcessHeap(), 0, m_pAcl);
        m_pAcl = nullptr;
    }
}

bool CSecurityAttributeBuilder::BuildEveryone(DWORD dwAccessMask)
{
    ORV_TRACE_SCOPE("CSecurityAttributeBuilder::BuildEveryone");
    FreeAcl();

    bool bResult = false;
    PSID pEveryone = nullptr;
    SID_IDENTIFIER_AUTHORITY stuWorld = SECURITY_WORLD_SID_AUTHORITY;
    do {
        if (!InitializeSecurityDescriptor(&m_stuDescriptor, SECURITY_DESCRIPTOR_REVISION)) {
            break;
        }
        if (!AllocateAndInitializeSid(&stuWorld, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &pEveryone)) {
            break;
        }
        // The list header, one access-allowed entry without its SID field,
        // and the SID.
        const DWORD dwAclSize = GetLengthSid(pEveryone) + sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD);
        m_pAcl = static_cast<PACL>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, dwAclSize));
        if (!m_pAcl) {
            break;
        }
        if (!InitializeAcl(m_pAcl, dwAclSize, ACL_REVISION)) {
            break;
        }
        if (!AddAccessAllowedAce(m_pAcl, ACL_REVISION, dwAccessMask, pEveryone)) {
            break;
        }
        if (!SetSecurityDescriptorDacl(&m_stuDescriptor, TRUE, m_pAcl, FALSE)) {
            break;
        }
        m_stuAttributes.nLength = sizeof(SECURITY_ATTRIBUTES);
        m_stuAttributes.bInheritHandle = FALSE;
        m_stuAttributes.lpSecurityDescriptor = &m_stuDescriptor;
        bResult = true;
    } while (false);

    if (!bResult) {
        (void)GetLastError();
        FreeAcl();
    }
    if (pEveryone) {
        FreeSid(pEveryone);
    }
    return bResult;
}
