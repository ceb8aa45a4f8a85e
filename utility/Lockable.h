#pragma once

namespace OrvUtility {

// A critical section for the threads of one process (recursive, like the
// Windows CRITICAL_SECTION it holds; a recursive pthread mutex on Linux).
class CLockable {
public:
    CLockable();
    ~CLockable();

    CLockable(const CLockable&) = delete;
    CLockable& operator=(const CLockable&) = delete;

    void Lock();   // enter
    void Unlock(); // leave

private:
    // Storage of the platform's critical section; each platform part checks
    // that its type fits.
    alignas(16) unsigned char m_abyCriticalSection[64];
};

} // namespace OrvUtility
