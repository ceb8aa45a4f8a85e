#include "logging/ThreadId.h"

#include <windows.h>

unsigned long LogThreadId()
{
    return GetCurrentThreadId();
}
