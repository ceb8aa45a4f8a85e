#pragma once

#include <windows.h>
#include "utility/BaseObject.h"

// Security attributes for named kernel objects shared with processes of other
// accounts and sessions: a discretionary list with one entry that grants the
// Everyone group an access mask.
//
//   CSecurityAttributeBuilder builder;
//   builder.BuildEveryone(EVENT_ALL_ACCESS);
//   HANDLE h = CreateEventW(builder.GetAttributes(), FALSE, FALSE, szName);
//
// The builder must outlive every create call that uses its attributes.
class CSecurityAttributeBuilder : public CBaseObject {
public:
    CSecurityAttributeBuilder();
    ~CSecurityAttributeBuilder() override;

    CSecurityAttributeBuilder(const CSecurityAttributeBuilder&) = delete;
    CSecurityAttributeBuilder& operator=(const CSecurityAttributeBuilder&) = delete;

    // Builds (or rebuilds) the attributes granting dwAccessMask to Everyone.
    // False on any failure; the list is freed then.
    bool BuildEveryone(DWORD dwAccessMask);

    SECURITY_ATTRIBUTES* GetAttributes() { return &m_stuAttributes; }
    const SECURITY_DESCRIPTOR* GetDescriptor() const { return &m_stuDescriptor; }
    const ACL* GetAcl() const { return m_pAcl; }

private:
    void FreeAcl();

    SECURITY_ATTRIBUTES m_stuAttributes;
    SECURITY_DESCRIPTOR m_stuDescriptor;
    PACL m_pAcl;
};
