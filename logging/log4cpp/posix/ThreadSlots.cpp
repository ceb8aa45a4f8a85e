#include "logging/log4cpp/ThreadSlots.h"

#include <climits>
#include <pthread.h>

size_t ThreadSlotCount()
{
    return PTHREAD_KEYS_MAX;
}

void* GetThreadSlot(size_t uiSlot)
{
    // An unallocated key reads as null (glibc checks the key's sequence).
    return pthread_getspecific(static_cast<pthread_key_t>(uiSlot));
}

void ClearThreadSlot(size_t uiSlot)
{
    pthread_setspecific(static_cast<pthread_key_t>(uiSlot), nullptr);
}
