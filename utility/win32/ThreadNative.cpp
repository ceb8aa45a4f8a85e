#include "utility/ThreadNative.h"

#include <windows.h>
#include <process.h>
#include <cerrno>
#include "utility/Thread.h"

namespace OrvUtility {
namespace ThreadNative {

namespace {

unsigned __stdcall ThreadEntry(void* pvThread)
{
    return CThread::ThreadProc(pvThread);
}

} // namespace

uint32_t StartThread(CThread* pThread, uintptr_t& hThread, uint32_t& uiThreadId)
{
    unsigned uiId = 0;
    const uintptr_t hNew = _beginthreadex(nullptr, 0, &ThreadEntry, pThread, 0, &uiId);
    if (hNew == 0) {
        const DWORD dwError = GetLastError();
        return dwError != 0 ? dwError : static_cast<uint32_t>(errno);
    }
    hThread = hNew;
    uiThreadId = uiId;
    return 0;
}

uint32_t WaitThread(uintptr_t hThread)
{
    return WaitForSingleObject(reinterpret_cast<HANDLE>(hThread), INFINITE);
}

void CloseThread(uintptr_t hThread)
{
    CloseHandle(reinterpret_cast<HANDLE>(hThread));
}

uint32_t CurrentThreadId()
{
    return GetCurrentThreadId();
}

} // namespace ThreadNative
} // namespace OrvUtility
