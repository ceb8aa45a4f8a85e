#include "logging/ThreadId.h"

#include <sys/syscall.h>
#include <unistd.h>

unsigned long LogThreadId()
{
    return static_cast<unsigned long>(syscall(SYS_gettid));
}
