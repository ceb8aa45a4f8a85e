#include "../EventPump.h"

#include <chrono>
#include <thread>

namespace orvtest {

void WaitServingEvents(const std::function<bool()>& fnDone)
{
    while (!fnDone()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace orvtest
