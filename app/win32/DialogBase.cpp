#include "app/win32/DialogBase.h"

INT_PTR CDialogBase::DoModal(HINSTANCE hInstance, int iTemplateId, HWND hParent)
{
    return ::DialogBoxParamW(hInstance, MAKEINTRESOURCEW(iTemplateId), hParent, DlgProc,
                             reinterpret_cast<LPARAM>(this));
}

INT_PTR CALLBACK CDialogBase::DlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    CDialogBase* pThis = nullptr;
    if (uMsg == WM_INITDIALOG) {
        pThis = reinterpret_cast<CDialogBase*>(lParam);
        pThis->m_hWnd = hWnd;
        ::SetWindowLongPtrW(hWnd, DWLP_USER, reinterpret_cast<LONG_PTR>(pThis));
    } else {
        pThis = reinterpret_cast<CDialogBase*>(::GetWindowLongPtrW(hWnd, DWLP_USER));
    }
    if (pThis == nullptr) {
        // Messages sent while the controls are created, before WM_INITDIALOG.
        return FALSE;
    }
    const INT_PTR iResult = pThis->RunDlgProc(uMsg, wParam, lParam);
    if (uMsg == WM_NCDESTROY) {
        ::SetWindowLongPtrW(hWnd, DWLP_USER, 0);
        pThis->m_hWnd = nullptr;
    }
    return iResult;
}
