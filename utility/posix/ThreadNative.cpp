#include "utility/ThreadNative.h"

#include <sys/syscall.h>
#include <unistd.h>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include "utility/Thread.h"

namespace OrvUtility {
namespace ThreadNative {

namespace {

// What the handle of a started thread points to. The thread is joined once;
// later waits find it joined and return at once.
struct PosixThread {
    std::thread thread;
    std::mutex mutexJoin;
    bool bJoined = false;
};

// Hand-over of the new thread's kernel id to the starting thread.
struct StartupState {
    std::mutex mutex;
    std::condition_variable cond;
    bool bReady = false;
    uint32_t uiThreadId = CThread::INVALID_THREAD_ID;
};

} // namespace

uint32_t CurrentThreadId()
{
    static thread_local uint32_t s_uiThreadId = static_cast<uint32_t>(syscall(SYS_gettid));
    return s_uiThreadId;
}

uint32_t StartThread(CThread* pThread, uintptr_t& hThread, uint32_t& uiThreadId)
{
    PosixThread* pPosix = new (std::nothrow) PosixThread;
    if (pPosix == nullptr) {
        return ENOMEM;
    }
    StartupState state;
    try {
        pPosix->thread = std::thread([pThread, &state]() {
            {
                std::lock_guard<std::mutex> lock(state.mutex);
                state.uiThreadId = CurrentThreadId();
                state.bReady = true;
                state.cond.notify_one();
            }
            CThread::ThreadProc(pThread);
        });
    } catch (const std::system_error& e) {
        delete pPosix;
        return e.code().value() != 0 ? static_cast<uint32_t>(e.code().value()) : EAGAIN;
    }
    {
        std::unique_lock<std::mutex> lock(state.mutex);
        state.cond.wait(lock, [&state]() { return state.bReady; });
    }
    hThread = reinterpret_cast<uintptr_t>(pPosix);
    uiThreadId = state.uiThreadId;
    return 0;
}

uint32_t WaitThread(uintptr_t hThread)
{
    PosixThread* pPosix = reinterpret_cast<PosixThread*>(hThread);
    if (pPosix == nullptr) {
        return WAIT_RESULT_FAILED;
    }
    std::lock_guard<std::mutex> lock(pPosix->mutexJoin);
    if (!pPosix->bJoined) {
        try {
            pPosix->thread.join();
        } catch (const std::system_error&) {
            return WAIT_RESULT_FAILED;
        }
        pPosix->bJoined = true;
    }
    return WAIT_RESULT_SIGNALLED;
}

void CloseThread(uintptr_t hThread)
{
    PosixThread* pPosix = reinterpret_cast<PosixThread*>(hThread);
    if (pPosix == nullptr) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(pPosix->mutexJoin);
        if (!pPosix->bJoined && pPosix->thread.joinable()) {
            pPosix->thread.detach();
        }
    }
    delete pPosix;
}

} // namespace ThreadNative
} // namespace OrvUtility
