#pragma once

#include <string>
#include <vector>

// The print-option dialog's window as its presenter (COrvprintDDlg) sees it:
// the printer list with its two-line items, the project list, the two details
// boxes, the OK button, the project section and the modal loop. One
// implementation per toolkit (plain Win32, Qt Widgets) and a fake for tests.
//
// Indexes are list item indexes as the list returned them when the item was
// added; -1 means "no item".
class IOrvprintDDlgView {
public:
    enum EList { PRINTER_LIST = 0, PROJECT_LIST = 1 };

    // Dialog results, as the modal loop returns them.
    enum { RESULT_OK = 1, RESULT_CANCEL = 2 };

    virtual ~IOrvprintDDlgView() = default;

    // Runs the dialog modally: creates the window, calls
    // IOrvprintDDlgEvents::OnInitDialog once the controls exist, shows it and
    // returns the result given to EndDialog.
    virtual int RunModal() = 0;
    // Ends the modal loop with the given result.
    virtual void EndDialog(int iResult) = 0;

    // The edit-clear message to the printer list (on a drop-down list it
    // removes nothing).
    virtual void ClearPrinterEdit() = 0;
    // Appends an item to the printer list: the name line, the second line
    // drawn below it when the list is open, and whether the second line shows
    // the item as usable (blue) or not (red). Returns the new index, or a
    // negative value when the list could not take the item.
    virtual int AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled) = 0;
    // Appends an item to the project list; new index or negative on failure.
    virtual int AddProjectItem(const std::wstring& strText) = 0;
    virtual int GetItemCount(EList eList) const = 0;
    virtual std::wstring GetItemText(EList eList, int iIndex) const = 0;
    // Selects an item (-1 clears the selection). Reports no selection change.
    virtual void SetCurSel(EList eList, int iIndex) = 0;
    virtual int GetCurSel(EList eList) const = 0;

    // The read-only, multi-line details box below the list ("\r\n" breaks).
    virtual void SetDetailsText(EList eList, const std::wstring& strText) = 0;

    virtual void EnableOk(bool bEnable) = 0;

    // Hides the project group, label, list, details label and details box and
    // shrinks the window so that its bottom edge lies at the top of the
    // position marker; the OK and Cancel buttons move up by the same height.
    virtual void HideProjectSection() = 0;

    // Type to search: the list shows only the items given by their indexes
    // (as AddPrinterItem / AddProjectItem returned them), in that order,
    // with row iSelRow selected (-1: none), and shows strTyped next to the
    // list while it is not empty; typing opens a closed list. Rows are what
    // GetCurSel returns and SetCurSel takes while items are left out. With
    // every item and an empty text the list is as it was filled.
    virtual void ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                               const std::wstring& strTyped) = 0;

    // The Cancel button's text (the auto-cancel shows its seconds there).
    virtual void SetCancelText(const std::wstring& strText) = 0;
    // Calls IOrvprintDDlgEvents::OnTimer every uiMilliseconds until StopTimer.
    virtual void StartTimer(unsigned int uiMilliseconds) = 0;
    virtual void StopTimer() = 0;

    // A message box with the OK button only and the application title as
    // caption; returns when the user has closed it.
    virtual void ShowMessageBox(const std::wstring& strText) = 0;
};
