#pragma once

#include <unistd.h>

namespace OrvService {

// Owns one file descriptor and closes it when it goes.
class CScopedFd {
public:
    explicit CScopedFd(int iFd = -1) : m_iFd(iFd) {}
    ~CScopedFd() { Reset(); }

    CScopedFd(const CScopedFd&) = delete;
    CScopedFd& operator=(const CScopedFd&) = delete;

    int Get() const { return m_iFd; }
    bool IsValid() const { return m_iFd >= 0; }
    void Reset(int iFd = -1)
    {
        if (m_iFd >= 0) {
            close(m_iFd);
        }
        m_iFd = iFd;
    }
    int Release()
    {
        const int iFd = m_iFd;
        m_iFd = -1;
        return iFd;
    }

private:
    int m_iFd;
};

} // namespace OrvService
