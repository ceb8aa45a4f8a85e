#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include "utility/Thread.h"
#include "utility/ThreadEvent.h"

namespace OrvUtility {

// A thread that runs a periodic job. It waits on its quit event with the
// period as time-out; each time-out calls OnTimer unless the thread is
// paused. The first job runs at once, without waiting one period. Always
// owned through a boost::shared_ptr.
//
// ForceQuit, Pause and Resume may be called from any thread; they only write
// a flag (read at the next time-out) and signal the quit event.
//
// A subclass must have stopped the thread (ForceQuit, then Join) before its
// own destructor ends: the thread calls its OnTimer.
class CSimpleCycleThread : public CThread, public boost::enable_shared_from_this<CSimpleCycleThread> {
public:
    static constexpr uint32_t FORCE_QUIT_NOT_RUNNING = 9;

    // Called at every time-out of the cycle wait, after the job or the pause
    // line (not after a job that ended the thread). Set before Begin.
    typedef boost::function<void()> TimeoutHook;

    // Creates the quit and the started event; never throws. When the started
    // event cannot be made the status is STATUS_FAILED.
    CSimpleCycleThread(const std::wstring& strName, uint32_t uiPeriod);
    // Stops and joins a thread that is still running.
    ~CSimpleCycleThread() override;

    // 9 when the status is NOT_RUNNING or FAILED (nothing to stop); else sets
    // the quit flag, signals the quit event and returns 0.
    uint32_t ForceQuit() override;
    uint32_t Pause() override;  // 0
    uint32_t Resume() override; // 0
    uint32_t Run() override;    // 0 after a normal end, 1 after a start-up failure

    virtual std::wstring GetThreadName() const;
    // Start-up hook on the new thread; false ends the thread.
    virtual bool OnThreadInit();
    // Extension hooks, not called by this class.
    virtual bool OnThreadReserved1();
    virtual bool OnThreadReserved2();
    // End hook on the thread, after the cycle loop.
    virtual void OnThreadExit();
    // The periodic job; false stops the thread.
    virtual bool OnTimer() = 0;

    // Waits for the started event (signalled once the start-up hook has
    // succeeded, and also after it failed): a CThreadEvent wait result.
    uint32_t WaitStarted(uint32_t uiMilliseconds);

    void SetTimeoutHook(const TimeoutHook& fnHook) { m_fnTimeoutHook = fnHook; }

    uint32_t GetPeriod() const { return m_uiPeriod; }
    bool IsPaused() const { return m_bPaused; }
    bool IsQuitRequested() const { return m_bQuit; }

protected:
    // The cycle loop.
    void DoCrycle();

private:
    std::atomic<bool> m_bQuit;
    CThreadEvent m_evtStarted;
    CThreadEvent m_evtQuit;
    uint32_t m_uiPeriod;
    std::atomic<bool> m_bPaused;
    std::wstring m_strName;
    TimeoutHook m_fnTimeoutHook;
};

} // namespace OrvUtility
