#include "utility/NamedEvent.h"

#include <windows.h>
#include "utility/win32/EveryoneCreate.h"

namespace OrvUtility {

NamedHandle OpenNamedEvent(const std::wstring& strName)
{
    return OpenEventW(EVENT_ALL_ACCESS, FALSE, strName.c_str());
}

NamedHandle CreateNamedEvent(const wchar_t* szName, uint32_t uiEveryoneAccess)
{
    return CreateWithEveryone(uiEveryoneAccess, [szName](SECURITY_ATTRIBUTES* pAttributes) {
        return CreateEventW(pAttributes, FALSE, FALSE, szName);
    });
}

int SetNamedEvent(NamedHandle hEvent)
{
    return SetEvent(hEvent);
}

uint32_t WaitForAnyNamedEvent(uint32_t uiCount, const NamedHandle* phEvents, uint32_t uiTimeoutMs)
{
    return WaitForMultipleObjects(uiCount, phEvents, FALSE, uiTimeoutMs);
}

uint32_t WaitForNamedEvent(NamedHandle hEvent, uint32_t uiTimeoutMs)
{
    return WaitForSingleObject(hEvent, uiTimeoutMs);
}

} // namespace OrvUtility
