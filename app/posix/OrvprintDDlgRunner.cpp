#include "app/OrvprintDDlgRunner.h"

#include <cerrno>
#include <exception>
#if defined(__GLIBC__)
#include <malloc.h>
#endif
#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>
#include "app/OrvprintDDlg.h"

namespace {

// Destroyed after the dialog (on every way out): hands the heap's free
// pages back to the system, so that the memory a dialog and its window used
// does not stay resident while the program waits for the next request.
class CReleaseFreeHeap {
public:
    CReleaseFreeHeap() = default;
    ~CReleaseFreeHeap()
    {
#if defined(__GLIBC__)
        const int iErrno = errno;
        malloc_trim(0);
        errno = iErrno;
#endif
    }
    CReleaseFreeHeap(const CReleaseFreeHeap&) = delete;
    CReleaseFreeHeap& operator=(const CReleaseFreeHeap&) = delete;
};

int RunHere(uint8_t* pbyRequest, uint64_t* puiRequestLength, uint8_t* pbyResponse, uint64_t* puiResponseLength)
{
    const CReleaseFreeHeap releaseFreeHeap;
    COrvprintDDlg dlg(pbyRequest, puiRequestLength, pbyResponse, puiResponseLength);
    ApplyOrvprintDDlgSetupHook(dlg);
    return dlg.DoModal();
}

} // namespace

int RunOrvprintDDlg(uint8_t* pbyRequest, uint64_t* puiRequestLength, uint8_t* pbyResponse,
                    uint64_t* puiResponseLength)
{
    QCoreApplication* pApp = QCoreApplication::instance();
    if (!pApp || QThread::currentThread() == pApp->thread()) {
        return RunHere(pbyRequest, puiRequestLength, pbyResponse, puiResponseLength);
    }

    // Hand the dialog to the GUI thread and wait there until it has closed,
    // so requests are still served one at a time and the answer is complete
    // before the queue signals it.
    int iResult = 0;
    std::exception_ptr pError;
    QMetaObject::invokeMethod(
        pApp,
        [&]() {
            try {
                iResult = RunHere(pbyRequest, puiRequestLength, pbyResponse, puiResponseLength);
            } catch (...) {
                pError = std::current_exception();
            }
        },
        Qt::BlockingQueuedConnection);
    if (pError) {
        std::rethrow_exception(pError);
    }
    return iResult;
}
