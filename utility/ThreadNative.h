#pragma once

#include <cstdint>

namespace OrvUtility {

class CThread;

// The system side of CThread, one implementation per platform.
namespace ThreadNative {

const uint32_t WAIT_RESULT_SIGNALLED = 0;
const uint32_t WAIT_RESULT_ABANDONED = 0x80;
const uint32_t WAIT_RESULT_FAILED = 0xFFFFFFFF;

// Runs CThread::ThreadProc(pThread) on a new thread. Returns 0 with the handle
// and id filled, or the system's error code.
uint32_t StartThread(CThread* pThread, uintptr_t& hThread, uint32_t& uiThreadId);
// Waits without time-out for the thread's end.
uint32_t WaitThread(uintptr_t hThread);
// Releases the handle (a thread still running goes on, detached).
void CloseThread(uintptr_t hThread);
uint32_t CurrentThreadId();

} // namespace ThreadNative
} // namespace OrvUtility
