#include "app/win32/OrvprintDDlgWin32View.h"

#include <vector>
#include "app/win32/resource.h"
#include "logging/LogMacros.h"

namespace {

// The property of a list window that points at its view.
const wchar_t LIST_VIEW_PROP[] = L"OrvprintD.DialogView";
// Posted when an open list has closed.
const UINT WM_APP_LIST_CLOSEUP = WM_APP + 1;

// The view whose dialog runs on this thread (for the message hook).
COrvprintDDlgWin32View*& InputHookTarget()
{
    static thread_local COrvprintDDlgWin32View* s_pView = nullptr;
    return s_pView;
}

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
      m_objDialog([this](HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam) {
          return RunDlgProc(hWnd, uMsg, wParam, lParam);
      }),
      m_hWnd(nullptr),
      m_hInstance(hInstance != nullptr ? hInstance : ::GetModuleHandleW(nullptr)),
      m_hIcon(::LoadIconW(m_hInstance, MAKEINTRESOURCEW(IDR_MAINFRAME))),
      m_apfnListProc{nullptr, nullptr},
      m_bRebuilding(false),
      m_hInputHook(nullptr)
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
    // Keys and clicks of this thread's windows, whichever control gets them.
    InputHookTarget() = this;
    m_hInputHook = ::SetWindowsHookExW(WH_GETMESSAGE, InputHookProc, nullptr, ::GetCurrentThreadId());
    const int iResult = static_cast<int>(m_objDialog.DoModal(m_hInstance, IDD_ORVPRINTD_DIALOG, nullptr));
    if (m_hInputHook != nullptr) {
        ::UnhookWindowsHookEx(m_hInputHook);
        m_hInputHook = nullptr;
    }
    InputHookTarget() = nullptr;
    return iResult;
}

LRESULT CALLBACK COrvprintDDlgWin32View::InputHookProc(int nCode, WPARAM wParam, LPARAM lParam)
{
    COrvprintDDlgWin32View* pThis = InputHookTarget();
    if (nCode == HC_ACTION && wParam == PM_REMOVE && pThis != nullptr) {
        const MSG* pMsg = reinterpret_cast<const MSG*>(lParam);
        switch (pMsg->message) {
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_LBUTTONDOWN:
        case WM_RBUTTONDOWN:
        case WM_MBUTTONDOWN:
        case WM_NCLBUTTONDOWN:
        case WM_IME_CHAR:
            pThis->m_objEvents.OnUserInput();
            break;
        default:
            break;
        }
    }
    return ::CallNextHookEx(nullptr, nCode, wParam, lParam);
}

void COrvprintDDlgWin32View::EndDialog(int iResult)
{
    ::EndDialog(m_hWnd, iResult);
}

INT_PTR COrvprintDDlgWin32View::RunDlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    switch (uMsg) {
    case WM_INITDIALOG: {
        m_hWnd = hWnd;
        m_objPrinterCombo.Attach(GetDlgItem(IDC_PRINTER_SEL));
        for (int i = PRINTER_LIST; i <= PROJECT_LIST; ++i) {
            HWND hList = ListWindow(static_cast<EList>(i));
            ::SetPropW(hList, LIST_VIEW_PROP, reinterpret_cast<HANDLE>(this));
            m_apfnListProc[i] = reinterpret_cast<WNDPROC>(
                ::SetWindowLongPtrW(hList, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(ListProc)));
        }
        PutLabelsBeforeTheirControls();
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
        if ((iId == IDC_PRINTER_SEL || iId == IDC_PROJECT_SEL) && iCode == CBN_DROPDOWN) {
            m_objEvents.OnUserInput(); // opening a list stops the auto-cancel
            return TRUE;
        }
        if ((iId == IDC_PRINTER_SEL || iId == IDC_PROJECT_SEL) && iCode == CBN_CLOSEUP && !m_bRebuilding) {
            // Reported once the list's own notifications (the choice) are through.
            ::PostMessageW(m_hWnd, WM_APP_LIST_CLOSEUP, iId == IDC_PRINTER_SEL ? PRINTER_LIST : PROJECT_LIST, 0);
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
    case WM_APP_LIST_CLOSEUP:
        m_objEvents.OnListCloseUp(static_cast<EList>(wParam));
        return TRUE;
    case WM_TIMER:
        if (wParam == IDT_AUTO_CANCEL) {
            m_objEvents.OnTimer();
            return TRUE;
        }
        return FALSE;
    case WM_CTLCOLORSTATIC: {
        // The typed text sits on the list's field: window colours.
        const int iId = ::GetDlgCtrlID(reinterpret_cast<HWND>(lParam));
        if (iId == IDC_PRINTER_SEARCH || iId == IDC_PROJECT_SEARCH) {
            HDC hDC = reinterpret_cast<HDC>(wParam);
            ::SetTextColor(hDC, ::GetSysColor(COLOR_WINDOWTEXT));
            ::SetBkColor(hDC, ::GetSysColor(COLOR_WINDOW));
            return reinterpret_cast<INT_PTR>(::GetSysColorBrush(COLOR_WINDOW));
        }
        return FALSE;
    }
    case WM_NCDESTROY:
        for (int i = PRINTER_LIST; i <= PROJECT_LIST; ++i) {
            HWND hList = ListWindow(static_cast<EList>(i));
            if (hList != nullptr && m_apfnListProc[i] != nullptr) {
                ::SetWindowLongPtrW(hList, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(m_apfnListProc[i]));
                ::RemovePropW(hList, LIST_VIEW_PROP);
            }
        }
        m_hWnd = nullptr;
        return FALSE;
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
    const int iIndex = m_objPrinterCombo.AddItem(strText, strDescription, bEnabled);
    if (iIndex >= 0) {
        m_avecTexts[PRINTER_LIST].push_back(strText);
        m_vecPrinterData.push_back(
            ::SendMessageW(GetDlgItem(IDC_PRINTER_SEL), CB_GETITEMDATA, static_cast<WPARAM>(iIndex), 0));
    }
    return iIndex;
}

int COrvprintDDlgWin32View::AddProjectItem(const std::wstring& strText)
{
    const int iIndex = static_cast<int>(
        ::SendMessageW(GetDlgItem(IDC_PROJECT_SEL), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(strText.c_str())));
    if (iIndex >= 0) {
        m_avecTexts[PROJECT_LIST].push_back(strText);
    }
    return iIndex;
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

LRESULT CALLBACK COrvprintDDlgWin32View::ListProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    COrvprintDDlgWin32View* pThis = reinterpret_cast<COrvprintDDlgWin32View*>(::GetPropW(hWnd, LIST_VIEW_PROP));
    const EList eList = ::GetDlgCtrlID(hWnd) == IDC_PRINTER_SEL ? PRINTER_LIST : PROJECT_LIST;
    return pThis->OnListMessage(eList, hWnd, uMsg, wParam, lParam);
}

LRESULT COrvprintDDlgWin32View::OnListMessage(EList eList, HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    const WNDPROC pfnOld = m_apfnListProc[eList];
    switch (uMsg) {
    case WM_GETDLGCODE: {
        // Escape clears typed text before it may cancel the dialog.
        LRESULT lCode = ::CallWindowProcW(pfnOld, hWnd, uMsg, wParam, lParam);
        const MSG* pMsg = reinterpret_cast<const MSG*>(lParam);
        if (pMsg != nullptr && pMsg->message == WM_KEYDOWN && pMsg->wParam == VK_ESCAPE &&
            !m_astrTyped[eList].empty()) {
            lCode |= DLGC_WANTMESSAGE;
        }
        return lCode;
    }
    case WM_KEYDOWN:
        if (wParam == VK_ESCAPE && m_objEvents.OnListEscape(eList)) {
            return 0;
        }
        break;
    case WM_CHAR:
    case WM_IME_CHAR: {
        const char16_t ch = static_cast<char16_t>(wParam);
        if (ch == 0x1B) {
            return 0; // the Escape key was handled as a key
        }
        if (ch == 0x08) {
            if (m_objEvents.OnListBackspace(eList)) {
                return 0;
            }
            break;
        }
        // Committed text, a surrogate pair in two messages.
        if (m_objEvents.OnListText(eList, std::u16string(1, ch))) {
            return 0;
        }
        break;
    }
    default:
        break;
    }
    return ::CallWindowProcW(pfnOld, hWnd, uMsg, wParam, lParam);
}

void COrvprintDDlgWin32View::ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                                           const std::wstring& strTyped)
{
    HWND hList = ListWindow(eList);
    const bool bDropped = ::SendMessageW(hList, CB_GETDROPPEDSTATE, 0, 0) != 0;
    const std::vector<std::wstring>& vecTexts = m_avecTexts[eList];

    m_bRebuilding = true;
    ::SendMessageW(hList, CB_RESETCONTENT, 0, 0);
    for (int iIndex : vecIndexes) {
        const size_t uiIndex = static_cast<size_t>(iIndex);
        const LRESULT lRow =
            ::SendMessageW(hList, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(vecTexts[uiIndex].c_str()));
        if (eList == PRINTER_LIST && lRow >= 0) {
            ::SendMessageW(hList, CB_SETITEMDATA, static_cast<WPARAM>(lRow),
                           static_cast<LPARAM>(m_vecPrinterData[uiIndex]));
        }
    }
    ::SendMessageW(hList, CB_SETCURSEL, static_cast<WPARAM>(iSelRow), 0);
    ShowTyped(eList, strTyped);
    if (bDropped) {
        // The open list takes the height of its new items.
        ::SendMessageW(hList, CB_SHOWDROPDOWN, FALSE, 0);
        ::SendMessageW(hList, CB_SHOWDROPDOWN, TRUE, 0);
    } else if (!strTyped.empty()) {
        ::SendMessageW(hList, CB_SHOWDROPDOWN, TRUE, 0);
    }
    m_bRebuilding = false;
}

void COrvprintDDlgWin32View::ShowTyped(EList eList, const std::wstring& strTyped)
{
    const int iId = eList == PRINTER_LIST ? IDC_PRINTER_SEARCH : IDC_PROJECT_SEARCH;
    HWND hList = ListWindow(eList);
    HWND hTyped = GetDlgItem(iId);
    m_astrTyped[eList] = strTyped;
    if (strTyped.empty()) {
        if (hTyped != nullptr) {
            ::DestroyWindow(hTyped);
            ::SetWindowLongPtrW(hList, GWL_STYLE, ::GetWindowLongPtrW(hList, GWL_STYLE) & ~WS_CLIPSIBLINGS);
            ::InvalidateRect(hList, nullptr, TRUE);
        }
        return;
    }
    if (hTyped == nullptr) {
        // Over the list's closed field, which it covers while text is typed.
        COMBOBOXINFO cbi;
        cbi.cbSize = sizeof(cbi);
        ::GetComboBoxInfo(hList, &cbi);
        RECT rc = cbi.rcItem;
        ::MapWindowPoints(hList, m_hWnd, reinterpret_cast<POINT*>(&rc), 2);
        hTyped = ::CreateWindowExW(0, L"STATIC", L"", WS_CHILD | SS_LEFTNOWORDWRAP | SS_CENTERIMAGE | SS_NOPREFIX,
                                   rc.left, rc.top, rc.right - rc.left, rc.bottom - rc.top, m_hWnd,
                                   reinterpret_cast<HMENU>(static_cast<INT_PTR>(iId)), m_hInstance, nullptr);
        ::SendMessageW(hTyped, WM_SETFONT, ::SendMessageW(m_hWnd, WM_GETFONT, 0, 0), FALSE);
        ::SetWindowPos(hTyped, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_SHOWWINDOW);
        // The list no longer paints its field under the text.
        ::SetWindowLongPtrW(hList, GWL_STYLE, ::GetWindowLongPtrW(hList, GWL_STYLE) | WS_CLIPSIBLINGS);
    }
    ::SetWindowTextW(hTyped, strTyped.c_str());
    ::RedrawWindow(hTyped, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
}

void COrvprintDDlgWin32View::SetCancelText(const std::wstring& strText)
{
    ::SetDlgItemTextW(m_hWnd, IDCANCEL, strText.c_str());
}

void COrvprintDDlgWin32View::StartTimer(unsigned int uiMilliseconds)
{
    ::SetTimer(m_hWnd, IDT_AUTO_CANCEL, uiMilliseconds, nullptr);
}

void COrvprintDDlgWin32View::StopTimer()
{
    if (m_hWnd != nullptr) {
        ::KillTimer(m_hWnd, IDT_AUTO_CANCEL);
    }
}

void COrvprintDDlgWin32View::PutLabelsBeforeTheirControls()
{
    // Screen readers name a control by the static text just before it in
    // window order. The template lists "打印机名：", "项目名称：" and the
    // project's "详细信息：" after their controls; statics take no focus, so
    // moving them changes neither the Tab order nor what is drawn.
    auto putBefore = [](HWND hLabel, HWND hControl) {
        HWND hPrevious = ::GetWindow(hControl, GW_HWNDPREV);
        ::SetWindowPos(hLabel, hPrevious != nullptr ? hPrevious : HWND_TOP, 0, 0, 0, 0,
                       SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_NOREDRAW);
    };
    HWND hPrinters = GetDlgItem(IDC_PRINTER_SEL);
    putBefore(::GetWindow(hPrinters, GW_HWNDNEXT), hPrinters); // "打印机名：" follows the list in the template
    putBefore(GetDlgItem(IDC_PROJECT_LABEL), GetDlgItem(IDC_PROJECT_SEL));
    putBefore(GetDlgItem(IDC_PROJECT_DETAILS_LABEL), GetDlgItem(IDC_PROJECT_DETAILS));
}
