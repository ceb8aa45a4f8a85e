#include "utility/NamedMutexProbe.h"

namespace OrvUtility {

CNamedMutexProbe::CNamedMutexProbe(const std::wstring& strName) : m_strName(strName) {}

CNamedMutexProbe::~CNamedMutexProbe() = default;

NamedMutexState CNamedMutexProbe::Probe()
{
    return ProbeNamedMutex(m_strName);
}

} // namespace OrvUtility
