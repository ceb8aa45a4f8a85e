#include "app/win32/OrvprintDDlgWin32View.h"

#include <vector>
#include "app/win32/resource.h"
#include "logging/LogMacros.h"

namespace {

COrvprintDDlgWin32View::MessageBoxHandler& MessageBoxHandlerSlot()
{
    static COrvprintDDlgWin32View::MessageBoxHandler s_fnHandler;
    return s_fnHandler;
}

} // namespace

const wchar_t* const COrvprintDDlgWin32View::APPLICATION_TITLE = L"OrvprintD";

void COrvprintDDlgWin32View::SetMessageBoxHandler(MessageBoxHandler fnHandler)
{
    MessageBoxHandlerSlot() = std::move(fnHandler);
}

COrvprintDDlgWin32View::COrvprintDDlgWin32View(IOrvprintDDlgEvents& objEvents, HINSTANCE hInstance)
    : m_objEvents(objEvents),
      m_hInstance(hInstance != nullptr ? hInstance : ::GetModuleHandleW(nullptr)),
      m_hIcon(::LoadIconW(m_hInstance, MAKEINTRESOURCEW(IDR_MAINFRAME)))
{
}

COrvprintDDlgWin32View::~COrvprintDDlgWin32View()
{
    if (m_hWnd != nullptr && ::IsWindow(m_hWnd)) {
        ::DestroyWindow(m_hWnd);
    }
}

int COrvprintDDlgWin32View::RunModal()
{
    return static_cast<int>(DoModal(m_hInstance, IDD_ORVPRINTD_DIALOG, nullptr));
}

void COrvprintDDlgWin32View::EndDialog(int iResult)
{
    ::EndDialog(m_hWnd, iResult);
}

INT_PTR COrvprintDDlgWin32View::RunDlgProc(UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    switch (uMsg) {
    case WM_INITDIALOG: {
        m_objPrinterCombo.Attach(GetDlgItem(IDC_PRINTER_SEL));
        ::SendMessageW(m_hWnd, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(m_hIcon));
        ::SendMessageW(m_hWnd, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(m_hIcon));
        const bool bResult = m_objEvents.OnInitDialog();
        if (m_fnInitHook) {
            m_fnInitHook(m_hWnd);
        }
        return bResult ? TRUE : FALSE;
    }
    case WM_MEASUREITEM:
        if (wParam == IDC_PRINTER_SEL && m_objPrinterCombo.GetHwnd() != nullptr) {
            m_objPrinterCombo.MeasureItem(reinterpret_cast<LPMEASUREITEMSTRUCT>(lParam));
            ::SetWindowLongPtrW(m_hWnd, DWLP_MSGRESULT, TRUE);
            return TRUE;
        }
        return FALSE;
    case WM_DRAWITEM:
        if (wParam == IDC_PRINTER_SEL && m_objPrinterCombo.GetHwnd() != nullptr) {
            m_objPrinterCombo.DrawItem(reinterpret_cast<LPDRAWITEMSTRUCT>(lParam));
            ::SetWindowLongPtrW(m_hWnd, DWLP_MSGRESULT, TRUE);
            return TRUE;
        }
        return FALSE;
    case WM_COMMAND: {
        const int iId = LOWORD(wParam);
        const int iCode = HIWORD(wParam);
        if (iId == IDOK) {
            // Enter reaches here too; a disabled OK confirms nothing.
            if (::IsWindowEnabled(GetDlgItem(IDOK))) {
                m_objEvents.OnBnClickedOk();
            }
            return TRUE;
        }
        if (iId == IDCANCEL) {
            // The Cancel button, Escape and the close box.
            m_objEvents.OnBnClickedCancel();
            return TRUE;
        }
        if (iId == IDC_PRINTER_SEL && iCode == CBN_SELCHANGE) {
            m_objEvents.OnCbnSelchangePrinterSel();
            return TRUE;
        }
        if (iId == IDC_PROJECT_SEL && iCode == CBN_SELCHANGE) {
            m_objEvents.OnCbnSelchangeProjectSel();
            return TRUE;
        }
        return FALSE;
    }
    case WM_PAINT:
        return OnPaint() ? TRUE : FALSE;
    case WM_QUERYDRAGICON:
        return reinterpret_cast<INT_PTR>(OnQueryDragIcon());
    default:
        return FALSE;
    }
}

bool COrvprintDDlgWin32View::OnPaint()
{
    if (!::IsIconic(m_hWnd)) {
        return false; // the dialog's normal painting
    }
    PAINTSTRUCT ps;
    HDC hDC = ::BeginPaint(m_hWnd, &ps);
    ::SendMessageW(m_hWnd, WM_ICONERASEBKGND, reinterpret_cast<WPARAM>(hDC), 0);

    const int cxIcon = ::GetSystemMetrics(SM_CXICON);
    const int cyIcon = ::GetSystemMetrics(SM_CYICON);
    RECT rc;
    ::GetClientRect(m_hWnd, &rc);
    const int x = (rc.right - rc.left - cxIcon + 1) / 2;
    const int y = (rc.bottom - rc.top - cyIcon + 1) / 2;
    ::DrawIcon(hDC, x, y, m_hIcon);
    ::EndPaint(m_hWnd, &ps);
    return true;
}

HCURSOR COrvprintDDlgWin32View::OnQueryDragIcon()
{
    return static_cast<HCURSOR>(m_hIcon);
}

HWND COrvprintDDlgWin32View::ListWindow(EList eList) const
{
    return GetDlgItem(eList == PRINTER_LIST ? IDC_PRINTER_SEL : IDC_PROJECT_SEL);
}

void COrvprintDDlgWin32View::ClearPrinterEdit()
{
    ::SendMessageW(GetDlgItem(IDC_PRINTER_SEL), WM_CLEAR, 0, 0);
}

int COrvprintDDlgWin32View::AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription,
                                           bool bEnabled)
{
    return m_objPrinterCombo.AddItem(strText, strDescription, bEnabled);
}

int COrvprintDDlgWin32View::AddProjectItem(const std::wstring& strText)
{
    return static_cast<int>(
        ::SendMessageW(GetDlgItem(IDC_PROJECT_SEL), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(strText.c_str())));
}

int COrvprintDDlgWin32View::GetItemCount(EList eList) const
{
    return static_cast<int>(::SendMessageW(ListWindow(eList), CB_GETCOUNT, 0, 0));
}

std::wstring COrvprintDDlgWin32View::GetItemText(EList eList, int iIndex) const
{
    HWND hList = ListWindow(eList);
    const LRESULT lLength = ::SendMessageW(hList, CB_GETLBTEXTLEN, static_cast<WPARAM>(iIndex), 0);
    if (lLength <= 0) {
        return std::wstring();
    }
    std::vector<wchar_t> vecText(static_cast<size_t>(lLength) + 1, L'\0');
    ::SendMessageW(hList, CB_GETLBTEXT, static_cast<WPARAM>(iIndex), reinterpret_cast<LPARAM>(vecText.data()));
    return std::wstring(vecText.data());
}

void COrvprintDDlgWin32View::SetCurSel(EList eList, int iIndex)
{
    ::SendMessageW(ListWindow(eList), CB_SETCURSEL, static_cast<WPARAM>(iIndex), 0);
}

int COrvprintDDlgWin32View::GetCurSel(EList eList) const
{
    return static_cast<int>(::SendMessageW(ListWindow(eList), CB_GETCURSEL, 0, 0));
}

void COrvprintDDlgWin32View::SetDetailsText(EList eList, const std::wstring& strText)
{
    ::SetDlgItemTextW(m_hWnd, eList == PRINTER_LIST ? IDC_PRINTER_DETAILS : IDC_PROJECT_DETAILS, strText.c_str());
}

void COrvprintDDlgWin32View::EnableOk(bool bEnable)
{
    ::EnableWindow(GetDlgItem(IDOK), bEnable ? TRUE : FALSE);
}

void COrvprintDDlgWin32View::HideProjectSection()
{
    ORV_TRACE_SCOPE("COrvprintDDlgWin32View::HideProjectSection");
    const int aiHidden[] = {IDC_PROJECT_GROUP, IDC_PROJECT_LABEL, IDC_PROJECT_DETAILS_LABEL, IDC_PROJECT_SEL,
                            IDC_PROJECT_DETAILS};
    for (int iId : aiHidden) {
        ::ShowWindow(GetDlgItem(iId), SW_HIDE);
    }

    RECT rcMarker;
    RECT rcWindow;
    ::GetWindowRect(GetDlgItem(IDC_PROJECT_MARKER), &rcMarker);
    ::GetWindowRect(m_hWnd, &rcWindow);
    const int iDelta = rcMarker.top - rcWindow.bottom;

    MoveControl(IDOK, 0, iDelta);
    MoveControl(IDCANCEL, 0, iDelta);

    ::MoveWindow(m_hWnd, rcWindow.left, rcWindow.top, rcWindow.right - rcWindow.left,
                 (rcWindow.bottom + iDelta) - rcWindow.top, TRUE);
}

void COrvprintDDlgWin32View::MoveControl(int nID, int dx, int dy)
{
    ORV_TRACE_SCOPE("COrvprintDDlgWin32View::MoveControl");
    HWND hControl = GetDlgItem(nID);
    RECT rc;
    ::GetWindowRect(hControl, &rc);
    const int cx = rc.right - rc.left;
    const int cy = rc.bottom - rc.top;
    ::OffsetRect(&rc, dx, dy);
    ::MapWindowPoints(nullptr, m_hWnd, reinterpret_cast<POINT*>(&rc), 2);
    ::MoveWindow(hControl, rc.left, rc.top, cx, cy, TRUE);
}

void COrvprintDDlgWin32View::ShowMessageBox(const std::wstring& strText)
{
    if (MessageBoxHandlerSlot()) {
        MessageBoxHandlerSlot()(m_hWnd, APPLICATION_TITLE, strText);
        return;
    }
    ::MessageBoxW(m_hWnd, strText.c_str(), APPLICATION_TITLE, MB_OK | MB_ICONEXCLAMATION);
}
