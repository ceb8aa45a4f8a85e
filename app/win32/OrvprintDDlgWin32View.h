#pragma once

#include <functional>
#include <string>
#include <vector>
#include <windows.h>
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"
#include "app/win32/ModalDialog.h"
#include "app/win32/MyComboBox.h"

// The print-option dialog as the Win32 dialog of template 102 (OrvprintD.rc),
// run modally with DialogBoxParamW on the calling thread. Messages go to the
// presenter through IOrvprintDDlgEvents; the printer list is a CMyComboBox.
// Both lists are subclassed for type to search (WM_CHAR, WM_IME_CHAR,
// Backspace, Escape); while the dialog runs, a message hook of its thread
// reports every key and click (the auto-cancel stops at the first).
class COrvprintDDlgWin32View : public IOrvprintDDlgView {
public:
    // Shows a message box; tests replace it to answer it themselves. An empty
    // handler restores MessageBoxW.
    typedef std::function<void(HWND hOwner, const std::wstring& strCaption, const std::wstring& strText)>
        MessageBoxHandler;
    static void SetMessageBoxHandler(MessageBoxHandler fnHandler);

    static const wchar_t* const APPLICATION_TITLE;

    // The resources are taken from hInstance (null: the program's module).
    explicit COrvprintDDlgWin32View(IOrvprintDDlgEvents& objEvents, HINSTANCE hInstance = nullptr);
    ~COrvprintDDlgWin32View() override;

    // Called at the end of WM_INITDIALOG, after the presenter has filled the
    // dialog (tests use it to learn the window).
    void SetInitHook(std::function<void(HWND)> fnHook) { m_fnInitHook = std::move(fnHook); }

    // IOrvprintDDlgView
    int RunModal() override;
    void EndDialog(int iResult) override;
    void ClearPrinterEdit() override;
    int AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled) override;
    int AddProjectItem(const std::wstring& strText) override;
    int GetItemCount(EList eList) const override;
    std::wstring GetItemText(EList eList, int iIndex) const override;
    void SetCurSel(EList eList, int iIndex) override;
    int GetCurSel(EList eList) const override;
    void SetDetailsText(EList eList, const std::wstring& strText) override;
    void EnableOk(bool bEnable) override;
    void HideProjectSection() override;
    void ShowMessageBox(const std::wstring& strText) override;
    void ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                       const std::wstring& strTyped) override;
    void SetCancelText(const std::wstring& strText) override;
    void StartTimer(unsigned int uiMilliseconds) override;
    void StopTimer() override;

    // Moves child control nID by dx, dy pixels, keeping its size.
    void MoveControl(int nID, int dx, int dy);

    HICON GetIcon() const { return m_hIcon; }
    CMyComboBox& PrinterCombo() { return m_objPrinterCombo; }
    HWND GetHwnd() const { return m_hWnd; }
    HWND GetDlgItem(int iId) const { return ::GetDlgItem(m_hWnd, iId); }

private:
    INT_PTR RunDlgProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    // The lists' window procedure in front of the combo box's own.
    static LRESULT CALLBACK ListProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    LRESULT OnListMessage(EList eList, HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK InputHookProc(int nCode, WPARAM wParam, LPARAM lParam);
    void ShowTyped(EList eList, const std::wstring& strTyped);
    // Each label just before its control in window order (screen readers).
    void PutLabelsBeforeTheirControls();

    // Minimised state: the icon centred on the erased background.
    bool OnPaint();
    HCURSOR OnQueryDragIcon();
    HWND ListWindow(EList eList) const;

    IOrvprintDDlgEvents& m_objEvents;
    CModalDialog m_objDialog;
    HWND m_hWnd;
    HINSTANCE m_hInstance;
    HICON m_hIcon;
    CMyComboBox m_objPrinterCombo;
    std::function<void(HWND)> m_fnInitHook;

    // Type to search: every item as added (text, and the printer list's
    // item data), the typed text shown, the lists' own window procedures.
    std::vector<std::wstring> m_avecTexts[2];
    std::vector<LRESULT> m_vecPrinterData;
    std::wstring m_astrTyped[2];
    WNDPROC m_apfnListProc[2];
    bool m_bRebuilding;
    HHOOK m_hInputHook;
};
