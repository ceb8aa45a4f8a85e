#include "app/OrvprintDDlgViewFactory.h"

#include "app/posix/OrvprintDDlgQtView.h"

std::unique_ptr<IOrvprintDDlgView> CreateOrvprintDDlgView(IOrvprintDDlgEvents& objEvents)
{
    return std::unique_ptr<IOrvprintDDlgView>(new COrvprintDDlgQtView(objEvents));
}
