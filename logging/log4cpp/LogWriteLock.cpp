#include "logging/log4cpp/LogWriteLock.h"

std::shared_mutex& LogWriteLock::Mutex()
{
    // Never destroyed: threads may still log while the process ends.
    static std::shared_mutex* s_pMutex = new std::shared_mutex;
    return *s_pMutex;
}
