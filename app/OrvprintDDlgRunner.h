#pragma once

#include <cstdint>
#include <functional>

class COrvprintDDlg;

// Builds the print-option dialog on the four request/answer arguments, runs
// it modally where this platform's windows live and returns its result
// (1 OK, 2 Cancel). Windows: on the calling thread, which gets its own modal
// message loop. Linux: widgets belong to the Qt GUI thread, so a call from
// another thread is handed to it and waits until the dialog has closed; an
// exception thrown while the dialog is built passes back to the caller.
int RunOrvprintDDlg(uint8_t* pbyRequest, uint64_t* puiRequestLength, uint8_t* pbyResponse,
                    uint64_t* puiResponseLength);

// Called with every dialog after it is built and before it runs (tests give
// it a scripted window or settings). Empty by default.
typedef std::function<void(COrvprintDDlg&)> OrvprintDDlgSetupHook;
void SetOrvprintDDlgSetupHook(OrvprintDDlgSetupHook fnHook);
void ApplyOrvprintDDlgSetupHook(COrvprintDDlg& objDlg);
