#include "utility/Lockable.h"

#include <pthread.h>
#include "logging/LogMacros.h"

namespace OrvUtility {

namespace {

pthread_mutex_t* Section(unsigned char* pbyStorage)
{
    return reinterpret_cast<pthread_mutex_t*>(pbyStorage);
}

} // namespace

CLockable::CLockable()
{
    static_assert(sizeof(pthread_mutex_t) <= sizeof(m_abyCriticalSection), "pthread_mutex_t does not fit");
    static_assert(alignof(pthread_mutex_t) <= 16, "pthread_mutex_t alignment");
    ORV_TRACE_SCOPE("OrvUtility::CLockable::CLockable");
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(Section(m_abyCriticalSection), &attr);
    pthread_mutexattr_destroy(&attr);
}

CLockable::~CLockable()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::~CLockable");
    pthread_mutex_destroy(Section(m_abyCriticalSection));
}

void CLockable::Lock()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::Lock");
    pthread_mutex_lock(Section(m_abyCriticalSection));
}

void CLockable::Unlock()
{
    ORV_TRACE_SCOPE("OrvUtility::CLockable::Unlock");
    pthread_mutex_unlock(Section(m_abyCriticalSection));
}

} // namespace OrvUtility
