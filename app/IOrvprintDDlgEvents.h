#pragma once

#include <string>
#include "app/IOrvprintDDlgView.h"

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

    // Type to search, while a list has the focus (closed or open). Each
    // returns true when it took the input, which the list then must not see.
    // Committed text (keys, input-method results) in UTF-16 units; a
    // surrogate pair may come in two calls.
    virtual bool OnListText(IOrvprintDDlgView::EList eList, const std::u16string& strUnits) = 0;
    virtual bool OnListBackspace(IOrvprintDDlgView::EList eList) = 0;
    // Escape clears typed text first; false when there was none (Escape
    // then keeps its meaning).
    virtual bool OnListEscape(IOrvprintDDlgView::EList eList) = 0;
    // The open list closed (after the selection it made, if any, was
    // reported). The view reports it once its own handling is over.
    virtual void OnListCloseUp(IOrvprintDDlgView::EList eList) = 0;

    // The user pressed a key, clicked or opened a list.
    virtual void OnUserInput() = 0;
    // The timer started with IOrvprintDDlgView::StartTimer.
    virtual void OnTimer() = 0;

protected:
    ~IOrvprintDDlgEvents() = default;
};
