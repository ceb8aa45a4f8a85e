#include "app/win32/ModalDialog.h"

INT_PTR CModalDialog::DoModal(HINSTANCE hInstance, int iTemplateId, HWND hParent)
{
    return ::DialogBoxParamW(hInstance, MAKEINTRESOURCEW(iTemplateId), hParent, DlgProc,
                             reinterpret_cast<LPARAM>(this));
}

INT_PTR CALLBACK CModalDialog::DlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    CModalDialog* pThis = nullptr;
    if (uMsg == WM_INITDIALOG) {
        pThis = reinterpret_cast<CModalDialog*>(lParam);
        pThis->m_hWnd = hWnd;
        ::SetWindowLongPtrW(hWnd, DWLP_USER, reinterpret_cast<LONG_PTR>(pThis));
    } else {
        pThis = reinterpret_cast<CModalDialog*>(::GetWindowLongPtrW(hWnd, DWLP_USER));
    }
    if (pThis == nullptr) {
        // Messages sent while the controls are created, before WM_INITDIALOG.
        return FALSE;
    }
    const INT_PTR iResult = pThis->m_fnHandler(hWnd, uMsg, wParam, lParam);
    if (uMsg == WM_NCDESTROY) {
        ::SetWindowLongPtrW(hWnd, DWLP_USER, 0);
        pThis->m_hWnd = nullptr;
    }
    return iResult;
}
