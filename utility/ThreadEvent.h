#pragma once

#include <cstdint>

namespace OrvUtility {

// An unnamed, auto-reset event for threads of this process, created not
// signalled with default security. A successful wait consumes the signal.
class CThreadEvent {
public:
    // Wait results (the system's values).
    static constexpr uint32_t WAIT_SIGNALLED = 0;
    static constexpr uint32_t WAIT_TIMED_OUT = 258;
    static constexpr uint32_t WAIT_ERROR = 0xFFFFFFFF;
    static constexpr uint32_t INFINITE_WAIT = 0xFFFFFFFF;

    // Never throws: when the event cannot be made, IsValid() is false and
    // GetCreateError() holds the system's error code.
    CThreadEvent();
    ~CThreadEvent();

    CThreadEvent(const CThreadEvent&) = delete;
    CThreadEvent& operator=(const CThreadEvent&) = delete;

    bool IsValid() const { return m_hEvent != nullptr; }
    uint32_t GetCreateError() const { return m_uiCreateError; }

    // Signals the event: 0, or the system's error code.
    uint32_t Set();
    // Waits up to uiMilliseconds (INFINITE_WAIT: no time-out): WAIT_SIGNALLED,
    // WAIT_TIMED_OUT or WAIT_ERROR.
    uint32_t Wait(uint32_t uiMilliseconds);

private:
    void* m_hEvent;
    uint32_t m_uiCreateError;
};

} // namespace OrvUtility
