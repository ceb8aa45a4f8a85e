#pragma once

#include <cstdint>
#include "utility/NamedObject.h"

namespace OrvUtility {

// A kernel mutex, named or unnamed, created (or opened) with default security
// and not owned. Lock waits without a time limit.
class CBaseMutex {
public:
    // Creates the mutex, or opens the existing one of that name. A failure is
    // logged and leaves the object without a handle; Lock then fails.
    explicit CBaseMutex(const wchar_t* szName = nullptr);
    // Releases the mutex (harmless when not owned), then closes the handle.
    virtual ~CBaseMutex();

    CBaseMutex(const CBaseMutex&) = delete;
    CBaseMutex& operator=(const CBaseMutex&) = delete;

    // Waits for the mutex. The wait always uses INFINITE: uiTimeout does not
    // shorten it. TRUE only for a normal acquisition; FALSE for a failed wait
    // and for an abandoned mutex (the previous owner died holding it), which
    // is owned by the caller all the same.
    int Lock(uint32_t uiTimeout);
    // Releases the mutex; the platform call's result.
    int Unlock();

    NamedHandle GetHandle() const { return m_hMutex; }

private:
    NamedHandle m_hMutex;
};

} // namespace OrvUtility
