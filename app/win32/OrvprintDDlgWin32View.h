#pragma once

#include <functional>
#include <string>
#include <windows.h>
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"
#include "app/win32/DialogBase.h"
#include "app/win32/MyComboBox.h"

// The print-option dialog as the Win32 dialog of template 102 (OrvprintD.rc),
// run modally with DialogBoxParamW on the calling thread. Messages go to the
// presenter through IOrvprintDDlgEvents; the printer list is a CMyComboBox.
class COrvprintDDlgWin32View : public CDialogBase, public IOrvprintDDlgView {
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

    // Moves child control nID by dx, dy pixels, keeping its size.
    void MoveControl(int nID, int dx, int dy);

    HICON GetIcon() const { return m_hIcon; }
    CMyComboBox& PrinterCombo() { return m_objPrinterCombo; }

protected:
    INT_PTR RunDlgProc(UINT uMsg, WPARAM wParam, LPARAM lParam) override;

private:
    // Minimised state: the icon centred on the erased background.
    bool OnPaint();
    HCURSOR OnQueryDragIcon();
    HWND ListWindow(EList eList) const;

    IOrvprintDDlgEvents& m_objEvents;
    HINSTANCE m_hInstance;
    HICON m_hIcon;
    CMyComboBox m_objPrinterCombo;
    std::function<void(HWND)> m_fnInitHook;
};
