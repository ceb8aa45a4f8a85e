#include "app/OrvprintDDlgViewFactory.h"

#include "app/win32/OrvprintDDlgWin32View.h"

std::unique_ptr<IOrvprintDDlgView> CreateOrvprintDDlgView(IOrvprintDDlgEvents& objEvents)
{
    return std::unique_ptr<IOrvprintDDlgView>(new COrvprintDDlgWin32View(objEvents));
}
