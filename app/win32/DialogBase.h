#pragma once

#include <windows.h>

// A modal dialog made from a dialog template: DoModal runs DialogBoxParamW
// and hands every message, from WM_INITDIALOG on, to RunDlgProc of the
// object that started it.
class CDialogBase {
public:
    CDialogBase() : m_hWnd(nullptr) {}
    virtual ~CDialogBase() = default;

    CDialogBase(const CDialogBase&) = delete;
    CDialogBase& operator=(const CDialogBase&) = delete;

    // Returns the value given to ::EndDialog, or -1 when the dialog could not
    // be created.
    INT_PTR DoModal(HINSTANCE hInstance, int iTemplateId, HWND hParent);

    HWND GetHwnd() const { return m_hWnd; }
    HWND GetDlgItem(int iId) const { return ::GetDlgItem(m_hWnd, iId); }

protected:
    // As a dialog procedure: TRUE when the message was handled (with the
    // result in DWLP_MSGRESULT where one is needed), FALSE for the default.
    virtual INT_PTR RunDlgProc(UINT uMsg, WPARAM wParam, LPARAM lParam) = 0;

    HWND m_hWnd;

private:
    static INT_PTR CALLBACK DlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
};
