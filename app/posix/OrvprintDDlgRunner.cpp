#include "app/OrvprintDDlgRunner.h"

#include <exception>
#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>
#include "app/OrvprintDDlg.h"

namespace {

int RunHere(uint8_t* pbyRequest, uint64_t* puiRequestLength, uint8_t* pbyResponse, uint64_t* puiResponseLength)
{
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
