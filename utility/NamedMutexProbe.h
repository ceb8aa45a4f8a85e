#pragma once

#include <string>
#include "utility/NamedMutex.h"

namespace OrvUtility {

// Repeated probes of one named mutex (a sender tests for the receiver on
// every request): the same answers as ProbeNamedMutex. Linux keeps the
// probe's descriptor between probes while the mutex is owned and opens the
// name afresh otherwise (a lock file that was replaced is found again).
// Windows opens the mutex for each probe: a handle kept open would keep the
// mutex alive after its owner ended, and the next owner's create would not
// own it.
class CNamedMutexProbe {
public:
    explicit CNamedMutexProbe(const std::wstring& strName);
    ~CNamedMutexProbe();

    CNamedMutexProbe(const CNamedMutexProbe&) = delete;
    CNamedMutexProbe& operator=(const CNamedMutexProbe&) = delete;

    NamedMutexState Probe();

private:
    std::wstring m_strName;
    int m_iFd = -1; // Linux: the kept descriptor
};

} // namespace OrvUtility
