#pragma once

#include <cups/cups.h>

namespace OrvService {

// Owner of a connection of its own to the scheduler that runs this backend
// (CUPS_SERVER: its socket), closed with the owner: a worker forked later
// never shares it.
class CSchedulerConnection {
public:
    CSchedulerConnection()
        : m_pHttp(httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, 30000, nullptr))
    {
    }
    ~CSchedulerConnection()
    {
        if (m_pHttp) {
            httpClose(m_pHttp);
        }
    }
    CSchedulerConnection(const CSchedulerConnection&) = delete;
    CSchedulerConnection& operator=(const CSchedulerConnection&) = delete;
    // Null when the scheduler cannot be reached.
    http_t* Get() const { return m_pHttp; }

private:
    http_t* m_pHttp;
};

} // namespace OrvService
