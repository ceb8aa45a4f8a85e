#pragma once

#include <functional>
#include <windows.h>

// A modal dialog made from a dialog template: DoModal runs DialogBoxParamW
// and hands every message, from WM_INITDIALOG on, to the message handler it
// was given. It knows nothing of the window it runs: the owner passes the
// handler in, so dependencies point from the dialog's owner to this class
// only.
class CModalDialog {
public:
    // As a dialog procedure: TRUE when the message was handled (with the
    // result in DWLP_MSGRESULT where one is needed), FALSE for the default.
    typedef std::function<INT_PTR(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)> MessageHandler;

    explicit CModalDialog(MessageHandler fnHandler) : m_fnHandler(std::move(fnHandler)), m_hWnd(nullptr) {}

    CModalDialog(const CModalDialog&) = delete;
    CModalDialog& operator=(const CModalDialog&) = delete;

    // Returns the value given to ::EndDialog, or -1 when the dialog could not
    // be created.
    INT_PTR DoModal(HINSTANCE hInstance, int iTemplateId, HWND hParent);

    // The dialog window while it exists, else null.
    HWND GetHwnd() const { return m_hWnd; }

private:
    static INT_PTR CALLBACK DlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);

    MessageHandler m_fnHandler;
    HWND m_hWnd;
};
