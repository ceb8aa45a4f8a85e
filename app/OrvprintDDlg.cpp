#include "app/OrvprintDDlg.h"

#include <cstring>
#include "app/OrvConfig.h"
#include "app/OrvprintDDlgConfig.h"
#include "app/OrvprintDDlgViewFactory.h"
#include "language/CaseFold.h"
#include "language/LogText.h"
#include "language/TextConvert.h"
#include "logging/FunctionParameters.h"
#include "logging/LogMacros.h"
#include "utility/ClientInfo.h"

namespace {

// Widths of the record texts, in characters.
const size_t ID_CHARS = 20;
const size_t TEXT_CHARS = 1024;

// The printer state that the service sends for a printer whose usage time is over.
const int32_t STATUS_TIME_EXCEEDED = 1;

const wchar_t* const ROAMING_PRINTER_TEXT = L"漫游打印(SG认证)";
const wchar_t* const ROAMING_PRINTER_LINE = L"刷卡进行打印";
const wchar_t* const ROAMING_PRINTER_DETAILS = L"刷卡之后进行打印";
const wchar_t* const NO_PROJECT_TEXT = L"(不选择项目)";
const wchar_t* const TIME_EXCEEDED_TEXT = L"已超出使用时间。";
const wchar_t* const TOO_MANY_PAGES_TEXT = L"当前打印任务总页数超出打印机限制。";

std::wstring Text(const char16_t* szText, size_t uiChars)
{
    return Language::WideFromUtf16(szText, uiChars);
}

} // namespace

COrvprintDDlg::COrvprintDDlg(void* pRecvBuffer, uint64_t* puiRecvSize, void* pRespBuffer, uint64_t* puiRespSize)
    : m_puiRespSize(puiRespSize),
      m_bInitFailed(false),
      m_aiSel{-1, -1},
      m_bAutoCancelRunning(false),
      m_uiAutoCancelSeconds(0),
      m_uiSecondsShown(0)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::COrvprintDDlg");
    FunctionParameters params("COrvprintDDlg::COrvprintDDlg");
    if (IsFatalEnabled()) {
        params.Add("uiRecvSize", puiRecvSize);
    }

    // The request is read once. The shared block stays writable while the
    // dialog is open; a count changed there after its check must change
    // nothing here, so the dialog and every getter read this copy only. A
    // size out of range is refused before any byte is read.
    const uint64_t uiRecvSize = *puiRecvSize;
    if (pRecvBuffer && uiRecvSize >= CJobOptionData::MIN_BUFFER_SIZE && uiRecvSize <= CJobOptionData::MAX_BUFFER_SIZE) {
        const uint8_t* pbyRequest = static_cast<const uint8_t*>(pRecvBuffer);
        m_vecRequest.assign(pbyRequest, pbyRequest + uiRecvSize);
        // The project count is read where the copy's printer count puts it,
        // even beyond a short size (inside the request area): the copy
        // holds that word too, taken once like the rest.
        int32_t iPrinterCount = 0;
        std::memcpy(&iPrinterCount, m_vecRequest.data(), sizeof(iPrinterCount));
        const int64_t i64CountEnd =
            4 + static_cast<int64_t>(sizeof(CJobOptionData::PRINTER_INFO)) * iPrinterCount + 4;
        if (i64CountEnd > static_cast<int64_t>(uiRecvSize) &&
            i64CountEnd <= static_cast<int64_t>(CJobOptionData::MAX_BUFFER_SIZE)) {
            m_vecRequest.insert(m_vecRequest.end(), pbyRequest + uiRecvSize, pbyRequest + i64CountEnd);
        }
        pRecvBuffer = m_vecRequest.data();
    }
    m_pJobOption.reset(new CJobOptionData(pRecvBuffer, uiRecvSize, true));
    m_pJobSelected.reset(new CJobSelectedData(pRespBuffer, *puiRespSize, true));

    m_pJobSelected->ClearIds();
    *m_puiRespSize = CJobSelectedData::TOTAL_BUFFER_SIZE;
}

COrvprintDDlg::~COrvprintDDlg()
{
    // The window goes first: it may still refer to this object.
    m_pView.reset();
}

int COrvprintDDlg::DoModal()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::DoModal");
    m_pView = m_fnViewFactory ? m_fnViewFactory(*this) : CreateOrvprintDDlgView(*this);
    return m_pView->RunModal();
}

bool COrvprintDDlg::OnInitDialog()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnInitDialog");
    try {
        if (m_fnConfigFactory) {
            m_spConfig = m_fnConfigFactory();
        } else {
            m_spConfig = std::make_shared<COrvprintDDlgConfig>();
        }
        AdjustProjectControls(*m_spConfig);
        InitContorls(*m_spConfig);
        StartAutoCancel(m_spConfig->Get_AutoCancelSeconds());
    } catch (const COrvprintDDlgException&) {
        ORV_LOG_ERROR("%s(%d) : %s", "catched COrvprintDDlgException. Failed to initialize orvprintD dialog.");
        m_bInitFailed = true;
        m_pView->ShowMessageBox(L"初始化打印选择对话框失败。");
        StartAutoCancel(m_spConfig->Get_AutoCancelSeconds());
        return false;
    } catch (const COrvConfigException&) {
        ORV_LOG_ERROR("%s(%d) : %s", "catched COrvConfigException. Failed to read config file.");
        m_bInitFailed = true;
        m_pView->ShowMessageBox(L"读取配置文件失败。");
        return false;
    }
    return true;
}

void COrvprintDDlg::AdjustProjectControls(IOrvprintDDlgConfig& objConfig)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::AdjustProjectControls");
    if (objConfig.Get_DisplayProjectSelection()) {
        return;
    }
    m_pView->HideProjectSection();
}

void COrvprintDDlg::InitContorls(IOrvprintDDlgConfig& objConfig)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::InitContorls");
    FunctionParameters params("COrvprintDDlg::InitContorls");
    if (IsFatalEnabled() && objConfig.GetOrvConfig() != nullptr) {
        params.Add("objConfig", objConfig.GetOrvConfig());
    }

    try {
        m_pView->ClearPrinterEdit();

        const int32_t iPrinterCount = m_pJobOption->GetPrinterCount();
        if (objConfig.Get_CanSelectNoPrinter()) {
            CJobOptionData::PRINTER_INFO stuRoaming;
            std::memset(&stuRoaming, 0, sizeof(stuRoaming));
            const int iIndex = m_pView->AddPrinterItem(ROAMING_PRINTER_TEXT, ROAMING_PRINTER_LINE, true);
            if (iIndex < 0) {
                ORV_LOG_PARAMS(params);
                ORV_THROW(COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT));
            }
            m_mapPrinter[iIndex] = stuRoaming;
            m_aFilter[IOrvprintDDlgView::PRINTER_LIST].AddItem(iIndex, ROAMING_PRINTER_TEXT, true);
        }

        for (int32_t i = 0; i < iPrinterCount; ++i) {
            CJobOptionData::PRINTER_INFO stuPrinterInfo;
            m_pJobOption->GetPrinterInfo(static_cast<uint32_t>(i), stuPrinterInfo);

            std::wstring strLine;
            bool bEnabled = false;
            if (!stuPrinterInfo.bTooMayPages && stuPrinterInfo.iStatus != STATUS_TIME_EXCEEDED) {
                strLine = L"打印任务数：" + std::to_wstring(stuPrinterInfo.iPrintTaskTotal) + L"，打印任务总页数：" +
                          std::to_wstring(stuPrinterInfo.iPageTotal);
                bEnabled = true;
            } else if (stuPrinterInfo.iStatus == STATUS_TIME_EXCEEDED) {
                strLine = TIME_EXCEEDED_TEXT;
            } else {
                strLine = TOO_MANY_PAGES_TEXT;
            }

            const std::wstring strName = Text(stuPrinterInfo.szPrinterName, TEXT_CHARS);
            const int iIndex = m_pView->AddPrinterItem(strName, strLine, bEnabled);
            if (iIndex < 0) {
                ORV_LOG_PARAMS(params);
                ORV_THROW(COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT));
            }
            m_mapPrinter[iIndex] = stuPrinterInfo;
            m_aFilter[IOrvprintDDlgView::PRINTER_LIST].AddItem(iIndex, strName, false);
        }

        if (m_pView->GetItemCount(IOrvprintDDlgView::PRINTER_LIST) > 0) {
            SelectDefault(IOrvprintDDlgView::PRINTER_LIST, objConfig.Get_DefaultPrinter());
        }
        OnCbnSelchangePrinterSel();

        const int32_t iProjectCount = m_pJobOption->GetProjectCount();
        if (objConfig.Get_CanSelectNoProject()) {
            CJobOptionData::PROJECT_INFO stuNoProject;
            std::memset(&stuNoProject, 0, sizeof(stuNoProject));
            const int iIndex = m_pView->AddProjectItem(NO_PROJECT_TEXT);
            if (iIndex < 0) {
                ORV_LOG_PARAMS(params);
                ORV_THROW(COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT));
            }
            m_mapProject[iIndex] = stuNoProject;
            m_aFilter[IOrvprintDDlgView::PROJECT_LIST].AddItem(iIndex, NO_PROJECT_TEXT, true);
        }

        for (int32_t j = 0; j < iProjectCount; ++j) {
            CJobOptionData::PROJECT_INFO stuProjectInfo;
            m_pJobOption->GetProjectInfo(static_cast<uint32_t>(j), stuProjectInfo);
            const std::wstring strName = Text(stuProjectInfo.szProjectName, TEXT_CHARS);
            const int iIndex = m_pView->AddProjectItem(strName);
            if (iIndex < 0) {
                ORV_LOG_PARAMS(params);
                ORV_THROW(COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT));
            }
            m_mapProject[iIndex] = stuProjectInfo;
            m_aFilter[IOrvprintDDlgView::PROJECT_LIST].AddItem(iIndex, strName, false);
        }

        if (m_pView->GetItemCount(IOrvprintDDlgView::PROJECT_LIST) > 0) {
            SelectDefault(IOrvprintDDlgView::PROJECT_LIST, objConfig.Get_DefaultProject());
        }
        OnCbnSelchangeProjectSel();
        UpdateUI(objConfig);
    } catch (const CJobOptionDataException&) {
        ORV_LOG_PARAMS(params);
        ORV_THROW(COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT));
    }
}

void COrvprintDDlg::SelectDefault(IOrvprintDDlgView::EList eList, const std::wstring& strDefault)
{
    if (strDefault.empty()) {
        m_pView->SetCurSel(eList, 0);
        return;
    }
    const int iIndex = FindItemByPrefix(*m_pView, eList, strDefault);
    if (iIndex >= 0) {
        m_pView->SetCurSel(eList, iIndex);
    }
}

int COrvprintDDlg::FindItemByPrefix(const IOrvprintDDlgView& objView, IOrvprintDDlgView::EList eList,
                                    const std::wstring& strPrefix)
{
    const int iCount = objView.GetItemCount(eList);
    for (int k = 1; k <= iCount; ++k) {
        const int iIndex = k % iCount;
        if (Language::StartsWithNoCase(objView.GetItemText(eList, iIndex), strPrefix)) {
            return iIndex;
        }
    }
    return -1;
}

void COrvprintDDlg::UpdateUI(IOrvprintDDlgConfig& objConfig)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::UpdateUI");
    FunctionParameters params("COrvprintDDlg::UpdateUI");
    if (IsFatalEnabled() && objConfig.GetOrvConfig() != nullptr) {
        params.Add("objConfig", objConfig.GetOrvConfig());
    }

    const int iPrinter = CurSel(IOrvprintDDlgView::PRINTER_LIST);
    const int iProject = CurSel(IOrvprintDDlgView::PROJECT_LIST);

    bool bDisable = false;
    if (m_mapPrinter.empty()) {
        bDisable = true;
    } else if (objConfig.Get_DisplayProjectSelection() && m_mapProject.empty()) {
        bDisable = true;
    } else if (iPrinter == -1) {
        bDisable = true;
    } else if (objConfig.Get_DisplayProjectSelection() && iProject == -1) {
        bDisable = true;
    } else if (m_mapPrinter[iPrinter].bTooMayPages) {
        bDisable = true;
    } else if (m_mapPrinter[iPrinter].iStatus == STATUS_TIME_EXCEEDED) {
        bDisable = true;
    }
    m_pView->EnableOk(!bDisable);
}

std::wstring COrvprintDDlg::GetDescription(const CJobOptionData::PRINTER_INFO& stuPrinterInfo)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::GetDescription");
    FunctionParameters params("COrvprintDDlg::GetDescription");
    if (IsFatalEnabled()) {
        params.Add("stuPrinterInfo", &stuPrinterInfo);
    }

    if (stuPrinterInfo.szPrinterId[0] == u'\0') {
        return ROAMING_PRINTER_DETAILS;
    }

    std::wstring strStatus;
    if (!stuPrinterInfo.bTooMayPages && stuPrinterInfo.iStatus != STATUS_TIME_EXCEEDED) {
        strStatus = L"打印任务数(" + std::to_wstring(stuPrinterInfo.iPrintTaskTotal) + L")，打印任务总页数(" +
                    std::to_wstring(stuPrinterInfo.iPageTotal) + L")";
    } else if (stuPrinterInfo.iStatus == STATUS_TIME_EXCEEDED) {
        strStatus = TIME_EXCEEDED_TEXT;
    } else {
        strStatus = TOO_MANY_PAGES_TEXT;
    }

    std::wstring strText = L"打印机名：" + Text(stuPrinterInfo.szPrinterName, TEXT_CHARS) + L"\r\n" +
                           L"打印机状态：" + strStatus + L"\r\n" + L"最大打印页数：" +
                           std::to_wstring(stuPrinterInfo.iMaxPagesPerJob);
    const std::wstring strComment = Text(stuPrinterInfo.szComment, TEXT_CHARS);
    if (!strComment.empty()) {
        strText += L"\r\n";
        strText += L"详细信息：";
        strText += strComment;
    }
    return strText;
}

std::wstring COrvprintDDlg::GetDescription(const CJobOptionData::PROJECT_INFO& stuProjectInfo)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::GetDescription");
    FunctionParameters params("COrvprintDDlg::GetDescription");
    if (IsFatalEnabled()) {
        params.Add("stuProjectInfo", &stuProjectInfo);
    }

    return L"项目名 : " + Text(stuProjectInfo.szProjectName, TEXT_CHARS) + L"\r\n" + L"项目ID : " +
           Text(stuProjectInfo.szProjectId, ID_CHARS) + L"\r\n";
}

void COrvprintDDlg::OnCbnSelchangePrinterSel()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnCbnSelchangePrinterSel");
    const int iIndex = CurSel(IOrvprintDDlgView::PRINTER_LIST);
    if (m_aFilter[IOrvprintDDlgView::PRINTER_LIST].IsActive()) {
        m_aiSel[IOrvprintDDlgView::PRINTER_LIST] = iIndex; // chosen among the items shown
    }
    if (iIndex == -1) {
        m_pView->SetDetailsText(IOrvprintDDlgView::PRINTER_LIST,
                                m_mapPrinter.empty() ? L"没有可选择的打印机" : L"请选择打印机");
        return;
    }
    m_pView->SetDetailsText(IOrvprintDDlgView::PRINTER_LIST, GetDescription(m_mapPrinter[iIndex]));
    if (m_spConfig) {
        UpdateUI(*m_spConfig);
    }
}

void COrvprintDDlg::OnCbnSelchangeProjectSel()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnCbnSelchangeProjectSel");
    const int iIndex = CurSel(IOrvprintDDlgView::PROJECT_LIST);
    if (m_aFilter[IOrvprintDDlgView::PROJECT_LIST].IsActive()) {
        m_aiSel[IOrvprintDDlgView::PROJECT_LIST] = iIndex; // chosen among the items shown
    }
    if (iIndex == -1) {
        m_pView->SetDetailsText(IOrvprintDDlgView::PROJECT_LIST,
                                m_mapProject.empty() ? L"没有可选择的项目" : L"请选择项目");
        return;
    }
    m_pView->SetDetailsText(IOrvprintDDlgView::PROJECT_LIST, GetDescription(m_mapProject[iIndex]));

    // A project change marks the answer as cancelled until OK overwrites it.
    m_pJobSelected->SetResult(CJobSelectedData::RESULT_CANCEL);
    *m_puiRespSize = CJobSelectedData::TOTAL_BUFFER_SIZE;
    if (m_spConfig) {
        UpdateUI(*m_spConfig);
    }
}

void COrvprintDDlg::OnBnClickedOk()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnBnClickedOk");
    if (m_bInitFailed) {
        // The lists were never (or only partly) filled: the OK button the
        // template left enabled must not confirm a print without a printer.
        ORV_LOG_WARNING("%s(%d) : %s", "OK after a failed initialisation answers as Cancel.");
        AnswerCancelled();
        return;
    }
    StopAutoCancel();
    const CJobOptionData::PRINTER_INFO& stuPrinterInfo = m_mapPrinter[CurSel(IOrvprintDDlgView::PRINTER_LIST)];
    const CJobOptionData::PROJECT_INFO& stuProjectInfo = m_mapProject[CurSel(IOrvprintDDlgView::PROJECT_LIST)];

    m_pJobSelected->SetResult(CJobSelectedData::RESULT_OK);
    m_pJobSelected->SetPrinterId(stuPrinterInfo.szPrinterId);
    m_pJobSelected->SetProjectId(stuProjectInfo.szProjectId);
    *m_puiRespSize = CJobSelectedData::TOTAL_BUFFER_SIZE;

    const std::wstring strPrinterName = Text(stuPrinterInfo.szPrinterName, TEXT_CHARS);
    const std::wstring strProjectName = Text(stuProjectInfo.szProjectName, TEXT_CHARS);
    if (m_spConfig) {
        m_spConfig->Set_DefaultPrinter(strPrinterName);
        m_spConfig->Set_DefaultProject(strProjectName);
    }
    // The names come from the request: control characters are shown as
    // text (one record, one line), and each "%" is doubled so that the
    // record's second formatting gives them back as they are.
    ORV_LOG_INFO_PLAIN("Selected printer : %S, selected project : %S",
                       Language::EscapePercent(Language::EscapeControls(strPrinterName)).c_str(),
                       Language::EscapePercent(Language::EscapeControls(strProjectName)).c_str());

    m_pView->EndDialog(RESULT_OK);
}

void COrvprintDDlg::OnBnClickedCancel()
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnBnClickedCancel");
    AnswerCancelled();
}

void COrvprintDDlg::AnswerCancelled()
{
    StopAutoCancel();
    // The ids stay zeroed as the constructor left them.
    m_pJobSelected->SetResult(CJobSelectedData::RESULT_CANCEL);
    *m_puiRespSize = CJobSelectedData::TOTAL_BUFFER_SIZE;
    m_pView->EndDialog(RESULT_CANCEL);
}

int COrvprintDDlg::CurSel(IOrvprintDDlgView::EList eList) const
{
    const COrvprintDDlgListFilter& objFilter = m_aFilter[eList];
    const int iRow = m_pView->GetCurSel(eList);
    if (!objFilter.IsActive()) {
        return iRow;
    }
    const int iIndex = objFilter.IndexOfRow(iRow);
    return iIndex >= 0 ? iIndex : m_aiSel[eList];
}

void COrvprintDDlg::ShowFilter(IOrvprintDDlgView::EList eList)
{
    const COrvprintDDlgListFilter& objFilter = m_aFilter[eList];
    m_pView->ShowListItems(eList, objFilter.GetShown(), objFilter.RowOfIndex(m_aiSel[eList]), objFilter.GetText());
}

bool COrvprintDDlg::ChangeFilter(IOrvprintDDlgView::EList eList,
                                 const std::function<bool(COrvprintDDlgListFilter&)>& fnChange)
{
    OnUserInput();
    COrvprintDDlgListFilter& objFilter = m_aFilter[eList];
    const bool bWasActive = objFilter.IsActive();
    // The selection now (before typing: the list's own), kept while the
    // user chooses nothing else.
    const int iSel = CurSel(eList);
    if (!fnChange(objFilter)) {
        return false;
    }
    m_aiSel[eList] = iSel;
    if (bWasActive || objFilter.IsActive()) {
        ShowFilter(eList);
    }
    return true;
}

bool COrvprintDDlg::OnListText(IOrvprintDDlgView::EList eList, const std::u16string& strUnits)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnListText");
    return ChangeFilter(eList, [&strUnits](COrvprintDDlgListFilter& objFilter) { return objFilter.Append(strUnits); });
}

bool COrvprintDDlg::OnListBackspace(IOrvprintDDlgView::EList eList)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnListBackspace");
    return ChangeFilter(eList, [](COrvprintDDlgListFilter& objFilter) { return objFilter.Backspace(); });
}

bool COrvprintDDlg::OnListEscape(IOrvprintDDlgView::EList eList)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnListEscape");
    return ChangeFilter(eList, [](COrvprintDDlgListFilter& objFilter) { return objFilter.Reset(); });
}

void COrvprintDDlg::OnListCloseUp(IOrvprintDDlgView::EList eList)
{
    ORV_TRACE_SCOPE("COrvprintDDlg::OnListCloseUp");
    // The choice, if any, has been reported: the whole list comes back with
    // the chosen item selected.
    OnListEscape(eList);
}

void COrvprintDDlg::OnUserInput()
{
    if (m_bAutoCancelRunning) {
        StopAutoCancel();
        m_pView->SetCancelText(CancelText(0));
    }
}

std::wstring COrvprintDDlg::CancelText(uint32_t uiSeconds) const
{
    if (uiSeconds == 0) {
        return L"取消打印";
    }
    return L"取消打印 (" + std::to_wstring(uiSeconds) + L")";
}

void COrvprintDDlg::StartAutoCancel(uint32_t uiSeconds)
{
    if (uiSeconds == 0 || uiSeconds > OrvUtility::AUTO_CANCEL_MAX_SECONDS) {
        return;
    }
    m_uiAutoCancelSeconds = uiSeconds;
    m_tpAutoCancel = (m_fnClock ? m_fnClock() : std::chrono::steady_clock::now()) + std::chrono::seconds(uiSeconds);
    m_bAutoCancelRunning = true;
    m_uiSecondsShown = uiSeconds;
    m_pView->SetCancelText(CancelText(uiSeconds));
    m_pView->StartTimer(AUTO_CANCEL_TICK_MS);
}

void COrvprintDDlg::StopAutoCancel()
{
    if (m_bAutoCancelRunning) {
        m_bAutoCancelRunning = false;
        m_pView->StopTimer();
    }
}

uint32_t COrvprintDDlg::GetAutoCancelSecondsLeft() const
{
    if (!m_bAutoCancelRunning) {
        return 0;
    }
    const auto tpNow = m_fnClock ? m_fnClock() : std::chrono::steady_clock::now();
    if (tpNow >= m_tpAutoCancel) {
        return 0;
    }
    // Whole seconds, rounded up: "(1)" is shown during the last second.
    const auto msLeft = std::chrono::duration_cast<std::chrono::milliseconds>(m_tpAutoCancel - tpNow).count();
    return static_cast<uint32_t>((msLeft + 999) / 1000);
}

void COrvprintDDlg::OnTimer()
{
    if (!m_bAutoCancelRunning) {
        return;
    }
    const uint32_t uiLeft = GetAutoCancelSecondsLeft();
    if (uiLeft == 0) {
        ORV_TRACE_SCOPE("COrvprintDDlg::OnTimer");
        ORV_LOG_INFO("%s(%d) : No input for %u seconds: the dialog cancels printing (AutoCancelSeconds).",
                     static_cast<unsigned int>(m_uiAutoCancelSeconds));
        AnswerCancelled();
        return;
    }
    if (uiLeft != m_uiSecondsShown) {
        m_uiSecondsShown = uiLeft;
        m_pView->SetCancelText(CancelText(uiLeft));
    }
}
