#pragma once

#include <cups/ipp.h>

namespace OrvService {

// Owner of an IPP request or response.
class CIppMessage {
public:
    explicit CIppMessage(ipp_t* pIpp)
        : m_pIpp(pIpp)
    {
    }
    ~CIppMessage() { ippDelete(m_pIpp); }
    CIppMessage(const CIppMessage&) = delete;
    CIppMessage& operator=(const CIppMessage&) = delete;
    // Null for a response that did not come.
    ipp_t* Get() const { return m_pIpp; }

private:
    ipp_t* m_pIpp;
};

} // namespace OrvService
