#include "logging/log4cpp/ThreadSlots.h"

#include <windows.h>

size_t ThreadSlotCount()
{
    // The 64 slots of the thread block and the 1024 expansion slots.
    return TLS_MINIMUM_AVAILABLE + 1024;
}

void* GetThreadSlot(size_t uiSlot)
{
    return TlsGetValue(static_cast<DWORD>(uiSlot));
}

void ClearThreadSlot(size_t uiSlot)
{
    TlsSetValue(static_cast<DWORD>(uiSlot), nullptr);
}
