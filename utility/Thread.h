#pragma once

#include <atomic>
#include <cstdint>

namespace OrvUtility {

// A native thread running an object. Subclasses say what the thread does
// through ForceQuit, Pause, Resume and Run; Begin starts it, Join waits for it.
//
// Status: STATUS_NOT_RUNNING before the start and again once Run has returned,
// STATUS_RUNNING while the thread is inside Run, STATUS_FAILED set by
// subclasses that could not get ready.
class CThread {
public:
    static constexpr uint32_t INVALID_THREAD_ID = 0xFFFFFFFF;

    static constexpr int32_t STATUS_RUNNING = 0;
    static constexpr int32_t STATUS_NOT_RUNNING = 2;
    static constexpr int32_t STATUS_FAILED = 3;

    // Join results.
    static constexpr uint32_t JOIN_ABANDONED = 0; // the wait reported an abandoned object
    static constexpr uint32_t JOIN_DONE = 1;      // any other outcome of the wait
    static constexpr uint32_t JOIN_SELF = 8;      // called on the thread itself; no wait

    CThread();
    virtual ~CThread();

    CThread(const CThread&) = delete;
    CThread& operator=(const CThread&) = delete;

    virtual uint32_t ForceQuit() = 0;
    virtual uint32_t Pause() = 0;
    virtual uint32_t Resume() = 0;
    virtual uint32_t Run() = 0;

    // Starts the thread on this object (no security attributes, default stack,
    // not suspended) and keeps its id and handle. 0, or the system's error code.
    uint32_t Begin();
    // Waits without time-out for the thread's end: JOIN_SELF, JOIN_ABANDONED or
    // JOIN_DONE (so a normal join, and a join of a thread never started,
    // return JOIN_DONE).
    uint32_t Join();

    // The thread's entry: status RUNNING and the running flag around Run,
    // then status NOT_RUNNING. pvThread is the CThread. Returns 0.
    static unsigned ThreadProc(void* pvThread);

    // The system's id of the calling thread (the kernel thread id on Linux).
    static uint32_t CurrentThreadId();

    uint32_t GetThreadId() const { return m_uiThreadId; }
    uintptr_t GetThreadHandle() const { return m_hThread; }
    int32_t GetStatus() const { return m_iStatus; }
    int32_t IsRunning() const { return m_iRunning; }

protected:
    void SetStatus(int32_t iStatus) { m_iStatus = iStatus; }

private:
    std::atomic<uint32_t> m_uiThreadId;
    uintptr_t m_hThread; // as returned by the system's thread start; 0 until started
    std::atomic<int32_t> m_iStatus;
    std::atomic<int32_t> m_iRunning;
};

} // namespace OrvUtility
