#include "utility/posix/SharedBlockFaultGuard.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <sys/mman.h>
#include <unistd.h>

namespace OrvUtility {

namespace {

// Slots are read by the signal handler, so they are plain lock-free atomics.
// A process maps a block or two; tests map a few more at a time.
struct CGuardedView {
    std::atomic<uintptr_t> uiBegin{0};
    std::atomic<size_t> uiSize{0};
    std::atomic<bool> bBroken{false};
};

const size_t GUARDED_VIEWS = 64;
CGuardedView g_aViews[GUARDED_VIEWS];
struct sigaction g_stuPreviousAction;
// Views are added and removed under this lock; the handler only reads.
std::mutex g_mtxViews;

bool ReplaceFaultingPage(void* pAddress)
{
    const uintptr_t uiAddress = reinterpret_cast<uintptr_t>(pAddress);
    for (CGuardedView& view : g_aViews) {
        const uintptr_t uiBegin = view.uiBegin.load();
        if (uiBegin == 0 || uiAddress < uiBegin || uiAddress - uiBegin >= view.uiSize.load()) {
            continue;
        }
        const uintptr_t uiPageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
        void* pPage = reinterpret_cast<void*>(uiAddress & ~(uiPageSize - 1));
        if (mmap(pPage, uiPageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) ==
            MAP_FAILED) {
            return false;
        }
        view.bBroken.store(true);
        return true;
    }
    return false;
}

void OnBusError(int iSignal, siginfo_t* pInfo, void* pContext)
{
    const int iSavedErrno = errno;
    if (pInfo && pInfo->si_code > 0 && ReplaceFaultingPage(pInfo->si_addr)) {
        errno = iSavedErrno;
        return; // the access is made again and reads the zero page
    }
    errno = iSavedErrno;
    if ((g_stuPreviousAction.sa_flags & SA_SIGINFO) && g_stuPreviousAction.sa_sigaction) {
        g_stuPreviousAction.sa_sigaction(iSignal, pInfo, pContext);
        return;
    }
    if (g_stuPreviousAction.sa_handler != SIG_DFL && g_stuPreviousAction.sa_handler != SIG_IGN) {
        g_stuPreviousAction.sa_handler(iSignal);
        return;
    }
    // The default action: a fault happens again on return, a sent signal is
    // raised again.
    signal(iSignal, SIG_DFL);
    if (!pInfo || pInfo->si_code <= 0) {
        raise(iSignal);
    }
}

void InstallHandler()
{
    struct sigaction stuAction {};
    stuAction.sa_sigaction = OnBusError;
    stuAction.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigemptyset(&stuAction.sa_mask);
    sigaction(SIGBUS, &stuAction, &g_stuPreviousAction);
}

} // namespace

bool GuardSharedBlockView(void* pView, size_t uiSize)
{
    static std::once_flag s_installed;
    std::call_once(s_installed, InstallHandler);
    std::lock_guard<std::mutex> lock(g_mtxViews);
    for (CGuardedView& view : g_aViews) {
        if (view.uiBegin.load() == 0) {
            // The size goes in first: the handler looks at a slot only once
            // it has a beginning.
            view.uiSize.store(uiSize);
            view.bBroken.store(false);
            view.uiBegin.store(reinterpret_cast<uintptr_t>(pView));
            return true;
        }
    }
    return false;
}

bool UnguardSharedBlockView(void* pView, size_t& uiSize)
{
    std::lock_guard<std::mutex> lock(g_mtxViews);
    for (CGuardedView& view : g_aViews) {
        if (view.uiBegin.load() == reinterpret_cast<uintptr_t>(pView)) {
            view.uiBegin.store(0);
            uiSize = view.uiSize.load();
            return true;
        }
    }
    errno = EINVAL;
    return false;
}

bool FindGuardedSharedBlockView(void* pView, size_t& uiSize)
{
    std::lock_guard<std::mutex> lock(g_mtxViews);
    for (const CGuardedView& view : g_aViews) {
        if (view.uiBegin.load() == reinterpret_cast<uintptr_t>(pView)) {
            uiSize = view.uiSize.load();
            return true;
        }
    }
    errno = EINVAL;
    return false;
}

bool TakeSharedBlockViewBroken(void* pView)
{
    for (CGuardedView& view : g_aViews) {
        if (view.uiBegin.load() == reinterpret_cast<uintptr_t>(pView)) {
            return view.bBroken.exchange(false);
        }
    }
    return false;
}

} // namespace OrvUtility
