#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include "Src/Common/include/JobOptionData.h"
#include "Src/Common/include/JobSelectedData.h"
#include "app/IOrvprintDDlgConfig.h"
#include "app/IOrvprintDDlgEvents.h"
#include "app/IOrvprintDDlgView.h"
#include "app/OrvprintDDlgException.h"
#include "app/OrvprintDDlgListFilter.h"

// The print-option dialog: for one print job the user picks the printer and
// the project, or cancels printing. It reads the request in place through
// CJobOptionData and writes the answer in place through CJobSelectedData.
//
// This class holds all of the dialog's content and flow and no toolkit code:
// the window itself is an IOrvprintDDlgView (Win32 dialog 102 or its Qt
// counterpart), which reports the user's actions back through
// IOrvprintDDlgEvents.
//
//   COrvprintDDlg dlg(pbyRequest, &uiRequestSize, pbyAnswer, &uiAnswerSize);
//   int iResult = dlg.DoModal(); // 1 = OK, 2 = Cancel
class COrvprintDDlg : public IOrvprintDDlgEvents {
public:
    enum { IDD = 102 };
    // DoModal results (the values of IDOK and IDCANCEL).
    enum { RESULT_OK = IOrvprintDDlgView::RESULT_OK, RESULT_CANCEL = IOrvprintDDlgView::RESULT_CANCEL };

    typedef std::function<std::unique_ptr<IOrvprintDDlgView>(IOrvprintDDlgEvents&)> ViewFactory;
    typedef std::function<std::shared_ptr<IOrvprintDDlgConfig>()> ConfigFactory;
    typedef std::function<std::chrono::steady_clock::time_point()> Clock;

    // How often the auto-cancel looks at the clock.
    static const unsigned int AUTO_CANCEL_TICK_MS = 200;

    // Views the request (pRecvBuffer, *puiRecvSize bytes) and the answer
    // (pRespBuffer, *puiRespSize bytes), clears the answer's two ids and
    // stores the answer's size (44) through puiRespSize. The answer's result
    // word is left as it is. Throws CJobOptionDataException when the request
    // or the answer buffer is malformed.
    COrvprintDDlg(void* pRecvBuffer, uint64_t* puiRecvSize, void* pRespBuffer, uint64_t* puiRespSize);
    ~COrvprintDDlg();

    COrvprintDDlg(const COrvprintDDlg&) = delete;
    COrvprintDDlg& operator=(const COrvprintDDlg&) = delete;

    // Replace the platform window or the settings (tests). Set before DoModal.
    void SetViewFactory(ViewFactory fnViewFactory) { m_fnViewFactory = std::move(fnViewFactory); }
    void SetConfigFactory(ConfigFactory fnConfigFactory) { m_fnConfigFactory = std::move(fnConfigFactory); }
    // The auto-cancel's clock (tests); steady_clock by default.
    void SetClock(Clock fnClock) { m_fnClock = std::move(fnClock); }

    // Shows the dialog and returns when the user has closed it: RESULT_OK (1) or
    // RESULT_CANCEL (2). Runs on the calling thread, which must be able to own
    // windows (on Linux: the Qt GUI thread).
    int DoModal();

    // IOrvprintDDlgEvents
    bool OnInitDialog() override;
    void OnCbnSelchangePrinterSel() override;
    void OnCbnSelchangeProjectSel() override;
    void OnBnClickedOk() override;
    void OnBnClickedCancel() override;
    bool OnListText(IOrvprintDDlgView::EList eList, const std::u16string& strUnits) override;
    bool OnListBackspace(IOrvprintDDlgView::EList eList) override;
    bool OnListEscape(IOrvprintDDlgView::EList eList) override;
    void OnListCloseUp(IOrvprintDDlgView::EList eList) override;
    void OnUserInput() override;
    void OnTimer() override;

    // The seconds the auto-cancel still waits; 0 when it does not run.
    uint32_t GetAutoCancelSecondsLeft() const;

    void AdjustProjectControls(IOrvprintDDlgConfig& objConfig);
    void InitContorls(IOrvprintDDlgConfig& objConfig);
    void UpdateUI(IOrvprintDDlgConfig& objConfig);
    std::wstring GetDescription(const CJobOptionData::PRINTER_INFO& stuPrinterInfo);
    std::wstring GetDescription(const CJobOptionData::PROJECT_INFO& stuProjectInfo);

    // The list item that a saved default selects: the first item, searching
    // from item 1 onwards and wrapping round to item 0 last, whose text begins
    // with strPrefix, ignoring letter case; -1 when none does.
    static int FindItemByPrefix(const IOrvprintDDlgView& objView, IOrvprintDDlgView::EList eList,
                                const std::wstring& strPrefix);

private:
    // Result 1, the ids as the constructor zeroed them, the full size; ends
    // the dialog with RESULT_CANCEL.
    void AnswerCancelled();
    void SelectDefault(IOrvprintDDlgView::EList eList, const std::wstring& strDefault);
    // The selected item's list index. While text is typed the list shows
    // rows of a part of the items: the index is then the one the user chose
    // last (or the one selected before typing).
    int CurSel(IOrvprintDDlgView::EList eList) const;
    // The list shows what its filter keeps.
    void ShowFilter(IOrvprintDDlgView::EList eList);
    // Applies a change of the typed text (false: the filter did not take
    // it) and shows the result.
    bool ChangeFilter(IOrvprintDDlgView::EList eList, const std::function<bool(COrvprintDDlgListFilter&)>& fnChange);
    void StartAutoCancel(uint32_t uiSeconds);
    void StopAutoCancel();
    std::wstring CancelText(uint32_t uiSeconds) const;

    std::vector<uint8_t> m_vecRequest;  // the request as read once from the block
    std::unique_ptr<CJobOptionData> m_pJobOption;
    std::unique_ptr<CJobSelectedData> m_pJobSelected;
    uint64_t* m_puiRespSize;
    std::shared_ptr<IOrvprintDDlgConfig> m_spConfig;
    std::map<int32_t, CJobOptionData::PRINTER_INFO> m_mapPrinter;
    std::map<int32_t, CJobOptionData::PROJECT_INFO> m_mapProject;

    ViewFactory m_fnViewFactory;
    ConfigFactory m_fnConfigFactory;
    std::unique_ptr<IOrvprintDDlgView> m_pView;
    // OnInitDialog failed (settings unreadable or the lists not filled): OK
    // then answers as Cancel does.
    bool m_bInitFailed;

    // Type to search, per list (PRINTER_LIST, PROJECT_LIST).
    COrvprintDDlgListFilter m_aFilter[2];
    int m_aiSel[2];

    // Auto-cancel: runs from the end of initialisation until the first input.
    Clock m_fnClock;
    bool m_bAutoCancelRunning;
    uint32_t m_uiAutoCancelSeconds;
    uint32_t m_uiSecondsShown;
    std::chrono::steady_clock::time_point m_tpAutoCancel;
};
