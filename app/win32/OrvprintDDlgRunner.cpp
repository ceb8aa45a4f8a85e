#include "app/OrvprintDDlgRunner.h"

#include "app/OrvprintDDlg.h"

int RunOrvprintDDlg(uint8_t* pbyRequest, uint64_t* puiRequestLength, uint8_t* pbyResponse,
                    uint64_t* puiResponseLength)
{
    COrvprintDDlg dlg(pbyRequest, puiRequestLength, pbyResponse, puiResponseLength);
    ApplyOrvprintDDlgSetupHook(dlg);
    return dlg.DoModal();
}
