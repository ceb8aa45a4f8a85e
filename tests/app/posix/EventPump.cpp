#include "../EventPump.h"

#include <chrono>
#include <thread>
#include <QCoreApplication>
#include <QEventLoop>

namespace orvtest {

void WaitServingEvents(const std::function<bool()>& fnDone)
{
    while (!fnDone()) {
        if (QCoreApplication::instance()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace orvtest
