#pragma once

#include <cstdint>
#include <windows.h>
#include "utility/win32/SecurityAttributeBuilder.h"

namespace OrvUtility {

// Runs one create call with attributes granting Everyone uiAccess (default
// security for 0). One builder per object, released right after the call;
// the call's last error is what the caller sees afterwards.
template <class F>
HANDLE CreateWithEveryone(uint32_t uiAccess, F fnCreate)
{
    if (uiAccess == 0) {
        return fnCreate(static_cast<SECURITY_ATTRIBUTES*>(nullptr));
    }
    HANDLE hObject = nullptr;
    DWORD dwError = 0;
    {
        CSecurityAttributeBuilder builder;
        SECURITY_ATTRIBUTES* pAttributes = builder.BuildEveryone(uiAccess) ? builder.GetAttributes() : nullptr;
        hObject = fnCreate(pAttributes);
        dwError = GetLastError();
    }
    SetLastError(dwError);
    return hObject;
}

} // namespace OrvUtility
