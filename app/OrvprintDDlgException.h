#pragma once

#include "language/BaseException.h"

// Thrown while the print-option dialog fills its controls; caught by
// COrvprintDDlg::OnInitDialog, which tells the user.
class COrvprintDDlgException : public OrvUtility::CBaseException {
public:
    enum { FAILED_TO_INIT = 0 };

    explicit COrvprintDDlgException(uint32_t uiCode) : OrvUtility::CBaseException(uiCode) {}
};
