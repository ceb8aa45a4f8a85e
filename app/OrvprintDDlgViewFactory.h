#pragma once

#include <memory>
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"

// The print-option dialog's window of this platform (plain Win32 dialog 102
// on Windows, a Qt Widgets dialog on Linux), reporting to pEvents.
std::unique_ptr<IOrvprintDDlgView> CreateOrvprintDDlgView(IOrvprintDDlgEvents& objEvents);
