#include "app/OrvprintDDlgRunner.h"

#include <mutex>

namespace {

std::mutex g_mutexHook;
OrvprintDDlgSetupHook g_fnHook;

} // namespace

void SetOrvprintDDlgSetupHook(OrvprintDDlgSetupHook fnHook)
{
    std::lock_guard<std::mutex> lock(g_mutexHook);
    g_fnHook = std::move(fnHook);
}

void ApplyOrvprintDDlgSetupHook(COrvprintDDlg& objDlg)
{
    OrvprintDDlgSetupHook fnHook;
    {
        std::lock_guard<std::mutex> lock(g_mutexHook);
        fnHook = g_fnHook;
    }
    if (fnHook) {
        fnHook(objDlg);
    }
}
