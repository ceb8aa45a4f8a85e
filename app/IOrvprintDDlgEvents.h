#pragma once

// What the print-option dialog's window reports to its presenter. The view
// calls these on the thread that runs the dialog, from inside its modal loop.
class IOrvprintDDlgEvents {
public:
    // The window and its controls exist and are not shown yet. Returns false
    // when initialisation failed (the dialog then stays open for Cancel).
    virtual bool OnInitDialog() = 0;
    // The user changed the selection of the printer list (control 1001).
    virtual void OnCbnSelchangePrinterSel() = 0;
    // The user changed the selection of the project list (control 1003).
    virtual void OnCbnSelchangeProjectSel() = 0;
    // The OK button (id 1) was clicked.
    virtual void OnBnClickedOk() = 0;
    // The Cancel button (id 2) was clicked, Escape was pressed or the window's
    // close box was used.
    virtual void OnBnClickedCancel() = 0;

protected:
    ~IOrvprintDDlgEvents() = default;
};
