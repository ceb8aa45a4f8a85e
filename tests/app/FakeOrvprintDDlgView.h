#pragma once

#include <functional>
#include <string>
#include <vector>
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"

namespace orvtest {

// A window for the dialog's presenter that only records: the items of both
// lists, the selections, the details texts, the OK state, the hidden project
// section and the message boxes. RunModal runs OnInitDialog and then the
// test's script, which plays the user.
class CFakeOrvprintDDlgView : public IOrvprintDDlgView {
public:
    struct ITEM {
        std::wstring strText;
        std::wstring strDescription;
        bool bEnabled;
    };

    explicit CFakeOrvprintDDlgView(IOrvprintDDlgEvents& objEvents) : m_objEvents(objEvents) {}

    // What the user does once the dialog is up; it must end the dialog for
    // RunModal to return a result other than -1.
    std::function<void(CFakeOrvprintDDlgView&)> m_fnScript;

    // The n-th add (counted from 0) to a list fails with this code.
    int m_iFailPrinterAdd = -1;
    int m_iFailProjectAdd = -1;
    int m_iFailCode = -1;

    // Recorded state.
    bool m_bInitResult = false;
    int m_iResult = -1;
    int m_iEndCount = 0;
    int m_iClearCount = 0;
    std::vector<ITEM> m_vecPrinters;
    std::vector<std::wstring> m_vecProjects;
    int m_iPrinterSel = -1;
    int m_iProjectSel = -1;
    std::wstring m_strPrinterDetails;
    std::wstring m_strProjectDetails;
    bool m_bOkEnabled = true; // the template's OK starts enabled
    int m_iEnableOkCalls = 0;
    bool m_bProjectHidden = false;
    std::vector<std::wstring> m_vecMessages;
    // Type to search: what each list shows (indexes as added; empty = not
    // filtered yet) and the typed text shown.
    std::vector<int> m_avecShown[2];
    std::wstring m_astrTyped[2];
    int m_iShowCalls = 0;
    // Auto-cancel.
    std::wstring m_strCancelText = L"取消打印";
    unsigned int m_uiTimerMs = 0;
    bool m_bTimerRunning = false;

    // The user's actions.
    void SelectPrinter(int iIndex)
    {
        m_iPrinterSel = iIndex;
        m_objEvents.OnCbnSelchangePrinterSel();
    }
    void SelectProject(int iIndex)
    {
        m_iProjectSel = iIndex;
        m_objEvents.OnCbnSelchangeProjectSel();
    }
    void ClickOk() { m_objEvents.OnBnClickedOk(); }
    // Typing into a list; true when the dialog took it.
    bool Type(EList eList, const std::u16string& strUnits) { return m_objEvents.OnListText(eList, strUnits); }
    bool Backspace(EList eList) { return m_objEvents.OnListBackspace(eList); }
    bool Escape(EList eList) { return m_objEvents.OnListEscape(eList); }
    void CloseUp(EList eList) { m_objEvents.OnListCloseUp(eList); }
    void Tick() { m_objEvents.OnTimer(); }
    // The texts of the rows a list shows.
    std::vector<std::wstring> ShownTexts(EList eList) const
    {
        std::vector<std::wstring> vec;
        for (int i : m_avecShown[eList]) {
            vec.push_back(GetItemText(eList, i));
        }
        return vec;
    }
    void ClickCancel() { m_objEvents.OnBnClickedCancel(); }

    // IOrvprintDDlgView
    int RunModal() override
    {
        m_bInitResult = m_objEvents.OnInitDialog();
        if (m_fnScript) {
            m_fnScript(*this);
        }
        return m_iResult;
    }
    void EndDialog(int iResult) override
    {
        m_iResult = iResult;
        ++m_iEndCount;
    }
    void ClearPrinterEdit() override { ++m_iClearCount; }
    int AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled) override
    {
        if (static_cast<int>(m_vecPrinters.size()) == m_iFailPrinterAdd) {
            return m_iFailCode;
        }
        m_vecPrinters.push_back(ITEM{strText, strDescription, bEnabled});
        return static_cast<int>(m_vecPrinters.size()) - 1;
    }
    int AddProjectItem(const std::wstring& strText) override
    {
        if (static_cast<int>(m_vecProjects.size()) == m_iFailProjectAdd) {
            return m_iFailCode;
        }
        m_vecProjects.push_back(strText);
        return static_cast<int>(m_vecProjects.size()) - 1;
    }
    int GetItemCount(EList eList) const override
    {
        return static_cast<int>(eList == PRINTER_LIST ? m_vecPrinters.size() : m_vecProjects.size());
    }
    std::wstring GetItemText(EList eList, int iIndex) const override
    {
        return eList == PRINTER_LIST ? m_vecPrinters.at(iIndex).strText : m_vecProjects.at(iIndex);
    }
    void SetCurSel(EList eList, int iIndex) override
    {
        (eList == PRINTER_LIST ? m_iPrinterSel : m_iProjectSel) = iIndex;
    }
    int GetCurSel(EList eList) const override { return eList == PRINTER_LIST ? m_iPrinterSel : m_iProjectSel; }
    void SetDetailsText(EList eList, const std::wstring& strText) override
    {
        (eList == PRINTER_LIST ? m_strPrinterDetails : m_strProjectDetails) = strText;
    }
    void EnableOk(bool bEnable) override
    {
        m_bOkEnabled = bEnable;
        ++m_iEnableOkCalls;
    }
    void HideProjectSection() override { m_bProjectHidden = true; }
    void ShowMessageBox(const std::wstring& strText) override { m_vecMessages.push_back(strText); }
    void ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                       const std::wstring& strTyped) override
    {
        m_avecShown[eList] = vecIndexes;
        (eList == PRINTER_LIST ? m_iPrinterSel : m_iProjectSel) = iSelRow;
        m_astrTyped[eList] = strTyped;
        ++m_iShowCalls;
    }
    void SetCancelText(const std::wstring& strText) override { m_strCancelText = strText; }
    void StartTimer(unsigned int uiMilliseconds) override
    {
        m_uiTimerMs = uiMilliseconds;
        m_bTimerRunning = true;
    }
    void StopTimer() override { m_bTimerRunning = false; }

private:
    IOrvprintDDlgEvents& m_objEvents;
};

} // namespace orvtest
