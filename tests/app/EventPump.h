#pragma once

#include <functional>

namespace orvtest {

// Waits until fnDone answers true while serving the calling thread's GUI
// events (Linux: the Qt GUI thread runs the dialogs that other threads hand
// to it; Windows: the popup thread has its own loop, nothing to serve).
void WaitServingEvents(const std::function<bool()>& fnDone);

} // namespace orvtest
