// The print-option dialog with the largest request (100 printers, 500
// projects): the presenter filling a window that only keeps the items, and
// the Qt window filling and showing (offscreen platform). Beside them, the
// plain baselines: reading the records into the same window without the
// presenter, and a plain Qt dialog with the same number of list items.
#include <cstdlib>
#include <memory>
#include <QApplication>
#include <QComboBox>
#include <QAbstractItemView>
#include <QDialog>
#include <QKeyEvent>
#include <QPlainTextEdit>
#include <QTimer>
#include "Src/Common/include/JobOptionData.h"
#include "app/IOrvprintDDlgConfig.h"
#include "app/IOrvprintDDlgView.h"
#include "app/OrvprintDDlg.h"
#include "app/posix/OrvprintDDlgQtView.h"
#include "language/TextConvert.h"
#include "support/BenchSupport.h"
#include "support/BenchTrace.h"

using namespace orvbench;

namespace {

// A window that keeps what a list keeps (the item texts, the selections) and
// nothing else, so that the presenter's own work is what is measured.
class CItemsOnlyView : public IOrvprintDDlgView {
public:
    explicit CItemsOnlyView(IOrvprintDDlgEvents& objEvents) : m_objEvents(objEvents)
    {
        m_vecPrinters.reserve(128);
        m_vecProjects.reserve(512);
    }

    int RunModal() override
    {
        m_objEvents.OnInitDialog();
        return RESULT_CANCEL;
    }
    void EndDialog(int) override {}
    void ClearPrinterEdit() override {}
    int AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled) override
    {
        m_vecPrinters.push_back(strText);
        benchmark::DoNotOptimize(strDescription.data());
        benchmark::DoNotOptimize(bEnabled);
        return static_cast<int>(m_vecPrinters.size()) - 1;
    }
    int AddProjectItem(const std::wstring& strText) override
    {
        m_vecProjects.push_back(strText);
        return static_cast<int>(m_vecProjects.size()) - 1;
    }
    int GetItemCount(EList eList) const override
    {
        return static_cast<int>(eList == PRINTER_LIST ? m_vecPrinters.size() : m_vecProjects.size());
    }
    std::wstring GetItemText(EList eList, int iIndex) const override
    {
        return eList == PRINTER_LIST ? m_vecPrinters[static_cast<size_t>(iIndex)]
                                     : m_vecProjects[static_cast<size_t>(iIndex)];
    }
    void SetCurSel(EList eList, int iIndex) override { (eList == PRINTER_LIST ? m_iPrinter : m_iProject) = iIndex; }
    int GetCurSel(EList eList) const override { return eList == PRINTER_LIST ? m_iPrinter : m_iProject; }
    void SetDetailsText(EList, const std::wstring& strText) override { m_strDetails = strText; }
    void EnableOk(bool bEnable) override { m_bOk = bEnable; }
    void HideProjectSection() override {}
    void ShowMessageBox(const std::wstring&) override { m_bFailed = true; }
    void ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                       const std::wstring& strTyped) override
    {
        m_vecShown = vecIndexes;
        SetCurSel(eList, iSelRow);
        benchmark::DoNotOptimize(strTyped.data());
    }
    void SetCancelText(const std::wstring&) override {}
    void StartTimer(unsigned int) override {}
    void StopTimer() override {}
    size_t ShownCount() const { return m_vecShown.size(); }

    bool Failed() const { return m_bFailed; }
    bool OkEnabled() const { return m_bOk; }
    int Selected(EList eList) const { return GetCurSel(eList); }

private:
    IOrvprintDDlgEvents& m_objEvents;
    std::vector<std::wstring> m_vecPrinters;
    std::vector<std::wstring> m_vecProjects;
    int m_iPrinter = -1;
    int m_iProject = -1;
    std::wstring m_strDetails;
    bool m_bOk = true;
    bool m_bFailed = false;
    std::vector<int> m_vecShown;
};

// Settings held in memory: both "no choice" entries offered, the project
// section shown, and saved defaults that select the last printer and the
// last project (the longest search).
class CMemoryConfig : public IOrvprintDDlgConfig {
public:
    bool Get_CanSelectNoPrinter() override { return true; }
    bool Get_CanSelectNoProject() override { return true; }
    bool Get_DisplayProjectSelection() override { return true; }
    uint32_t Get_AutoCancelSeconds() override { return 0; }
    std::wstring Get_DefaultPrinter() override { return m_strPrinter; }
    std::wstring Get_DefaultProject() override { return m_strProject; }
    void Set_DefaultPrinter(const std::wstring& strName) override { m_strPrinter = strName; }
    void Set_DefaultProject(const std::wstring& strName) override { m_strProject = strName; }
    COrvConfig* GetOrvConfig() override { return nullptr; }

private:
    std::wstring m_strPrinter = LastPrinterPrefix();
    std::wstring m_strProject = LastProjectPrefix();
};

// The same settings as a Config.ini in the run's "TempDir".
bool WriteSettingsFile()
{
    return WriteTextFile(RunFile("temp/Config.ini"),
                         "[Setting]\nDisplayProjectSelection=1\nCanSelectNoPrinter=1\nCanSelectNoProject=1\n"
                         "DefaultPrinter=" + Language::Utf8FromWide(LastPrinterPrefix()) + "\n"
                         "DefaultProject=" + Language::Utf8FromWide(LastProjectPrefix()) + "\n\n"
                         "[ServerConfig]\nWaterPrintInstalled=0\nAuditInstalled=1\nSGIdentifyInstalled=0\n"
                         "FilterIntalled=0\n");
}

// A writable copy of the largest request (the dialog takes non-const bytes).
std::vector<uint8_t>& RequestCopy()
{
    static std::vector<uint8_t> s_vec = LargestRequest();
    return s_vec;
}

// One dialog on the largest request, with a window of type TView and the
// settings in memory, ready to run.
template <class TView>
struct CLargestDialog {
    CLargestDialog()
    {
        dlg.SetViewFactory([this](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<TView> p(new TView(objEvents));
            pView = p.get();
            return std::unique_ptr<IOrvprintDDlgView>(std::move(p));
        });
        std::shared_ptr<CMemoryConfig> spShared = spConfig;
        dlg.SetConfigFactory([spShared]() -> std::shared_ptr<IOrvprintDDlgConfig> { return spShared; });
    }

    std::shared_ptr<CMemoryConfig> spConfig = std::make_shared<CMemoryConfig>();
    uint8_t abyAnswer[44] = {0};
    uint64_t uiRequestSize = RequestCopy().size();
    uint64_t uiAnswerSize = sizeof(abyAnswer);
    TView* pView = nullptr;
    COrvprintDDlg dlg{RequestCopy().data(), &uiRequestSize, abyAnswer, &uiAnswerSize};
};

enum class EConfig { MEMORY, SETTINGS_FILE };

void BM_PresenterFill(benchmark::State& state, ELogging eLogging, EConfig eConfig)
{
    if (!UseLogging(eLogging) || (eConfig == EConfig::SETTINGS_FILE && !WriteSettingsFile())) {
        state.SkipWithError("set-up failed");
        return;
    }
    std::vector<uint8_t>& vecRequest = RequestCopy();
    auto spConfig = std::make_shared<CMemoryConfig>();
    uint8_t abyAnswer[44] = {0};
    CPopupThreadScopes scopes;
    CSamples samples;
    for (auto _ : state) {
        uint64_t uiRequestSize = vecRequest.size();
        uint64_t uiAnswerSize = sizeof(abyAnswer);
        CItemsOnlyView* pView = nullptr;
        const int64_t t0 = NowNs();
        bool bFilled = false;
        try {
            COrvprintDDlg dlg(vecRequest.data(), &uiRequestSize, abyAnswer, &uiAnswerSize);
            dlg.SetViewFactory([&pView](IOrvprintDDlgEvents& objEvents) {
                std::unique_ptr<CItemsOnlyView> p(new CItemsOnlyView(objEvents));
                pView = p.get();
                return std::unique_ptr<IOrvprintDDlgView>(std::move(p));
            });
            if (eConfig == EConfig::MEMORY) {
                dlg.SetConfigFactory([spConfig]() -> std::shared_ptr<IOrvprintDDlgConfig> { return spConfig; });
            }
            dlg.DoModal();
            samples.Add(NowNs() - t0);
            // The defaults must have selected the last items; a failure shows
            // a message box instead.
            bFilled = pView && !pView->Failed() && pView->Selected(IOrvprintDDlgView::PRINTER_LIST) == 100 &&
                      pView->Selected(IOrvprintDDlgView::PROJECT_LIST) == 500;
        } catch (...) {
            bFilled = false;
        }
        if (!bFilled) {
            state.SkipWithError("the dialog was not filled as expected");
            break;
        }
    }
    samples.Report(state);
}

// Type to search: one keystroke in the project list of the largest request
// (501 items with "(不选择项目)"). "5" keeps the 96 projects whose name has
// a 5 in it; Backspace brings all of them back. The presenter's part only
// (filter and the list of rows), with a window that keeps the rows.
void BM_PresenterKeystroke(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    CLargestDialog<CItemsOnlyView> objDialog;
    COrvprintDDlg& dlg = objDialog.dlg;
    dlg.DoModal();
    CItemsOnlyView* pView = objDialog.pView;
    CSamples samplesNarrow;
    CSamples samplesWiden;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        dlg.OnListText(IOrvprintDDlgView::PROJECT_LIST, u"5");
        const int64_t t1 = NowNs();
        const size_t uiNarrow = pView->ShownCount();
        dlg.OnListBackspace(IOrvprintDDlgView::PROJECT_LIST);
        const int64_t t2 = NowNs();
        if (uiNarrow != 97 || pView->ShownCount() != 501) {
            state.SkipWithError("the filter did not keep what it should");
            break;
        }
        samplesNarrow.Add(t1 - t0);
        samplesWiden.Add(t2 - t1);
    }
    samplesNarrow.Report(state, "type_");
    samplesWiden.Report(state, "backspace_");
}

// The floor: the records read and their names added to the same window,
// without the presenter (no item records kept, no details, no logging).
void BM_PresenterBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    const std::vector<uint8_t>& vecRequest = LargestRequest();
    CJobOptionData::PRINTER_INFO stuPrinter;
    CJobOptionData::PROJECT_INFO stuProject;
    struct CNoEvents : IOrvprintDDlgEvents {
        bool OnInitDialog() override { return true; }
        void OnCbnSelchangePrinterSel() override {}
        void OnCbnSelchangeProjectSel() override {}
        void OnBnClickedOk() override {}
        void OnBnClickedCancel() override {}
        bool OnListText(IOrvprintDDlgView::EList, const std::u16string&) override { return false; }
        bool OnListBackspace(IOrvprintDDlgView::EList) override { return false; }
        bool OnListEscape(IOrvprintDDlgView::EList) override { return false; }
        void OnListCloseUp(IOrvprintDDlgView::EList) override {}
        void OnUserInput() override {}
        void OnTimer() override {}
    } events;
    CSamples samples;
    for (auto _ : state) {
        const int64_t t0 = NowNs();
        CItemsOnlyView view(events);
        CJobOptionData objRequest(vecRequest.data(), vecRequest.size(), true);
        for (int32_t i = 0; i < objRequest.GetPrinterCount(); ++i) {
            objRequest.GetPrinterInfo(static_cast<uint32_t>(i), stuPrinter);
            view.AddPrinterItem(Language::WideFromUtf16(stuPrinter.szPrinterName, 1024), L"", true);
        }
        for (int32_t j = 0; j < objRequest.GetProjectCount(); ++j) {
            objRequest.GetProjectInfo(static_cast<uint32_t>(j), stuProject);
            view.AddProjectItem(Language::WideFromUtf16(stuProject.szProjectName, 1024));
        }
        samples.Add(NowNs() - t0);
        benchmark::DoNotOptimize(view);
    }
    samples.Report(state);
}

// ---------------------------------------------------------------- Qt

QApplication& QtApplication()
{
    static int s_iArgc = 1;
    static char s_szName[] = "orv_bench_app";
    static char* s_apszArgv[] = {s_szName, nullptr};
    static QApplication* s_pApp = nullptr;
    if (!s_pApp) {
        if (!std::getenv("QT_QPA_PLATFORM")) {
            setenv("QT_QPA_PLATFORM", "offscreen", 1);
        }
        s_pApp = new QApplication(s_iArgc, s_apszArgv);
        s_pApp->setQuitOnLastWindowClosed(false);
    }
    return *s_pApp;
}

void BM_QtViewFillAndShow(benchmark::State& state, ELogging eLogging)
{
    if (!UseLogging(eLogging)) {
        state.SkipWithError("set-up failed");
        return;
    }
    QtApplication();
    std::vector<uint8_t>& vecRequest = RequestCopy();
    auto spConfig = std::make_shared<CMemoryConfig>();
    uint8_t abyAnswer[44] = {0};
    CPopupThreadScopes scopes;
    CSamples samples;
    for (auto _ : state) {
        uint64_t uiRequestSize = vecRequest.size();
        uint64_t uiAnswerSize = sizeof(abyAnswer);
        COrvprintDDlgQtView* pView = nullptr;
        int64_t iShownNs = 0;
        const int64_t t0 = NowNs();
        try {
            COrvprintDDlg dlg(vecRequest.data(), &uiRequestSize, abyAnswer, &uiAnswerSize);
            dlg.SetViewFactory([&pView](IOrvprintDDlgEvents& objEvents) {
                std::unique_ptr<COrvprintDDlgQtView> p(new COrvprintDDlgQtView(objEvents));
                pView = p.get();
                return std::unique_ptr<IOrvprintDDlgView>(std::move(p));
            });
            dlg.SetConfigFactory([spConfig]() -> std::shared_ptr<IOrvprintDDlgConfig> { return spConfig; });
            // Runs inside the dialog's modal loop, once it is shown: paint
            // everything now, note the time, close. (A timer of this scope:
            // it cannot fire in a later iteration.)
            QTimer timer;
            timer.setSingleShot(true);
            QObject::connect(&timer, &QTimer::timeout, [&pView, &iShownNs]() {
                if (pView) {
                    pView->repaint();
                    iShownNs = NowNs();
                    pView->done(IOrvprintDDlgView::RESULT_CANCEL);
                }
            });
            timer.start(0);
            dlg.DoModal();
        } catch (...) {
            iShownNs = 0;
        }
        if (iShownNs == 0) {
            state.SkipWithError("the dialog was not shown");
            break;
        }
        samples.Add(iShownNs - t0);
    }
    samples.Report(state);
}

// The same keystroke in the Qt window: from the key event to the open list
// painted with the rows that are left (and back with Backspace).
void BM_QtKeystroke(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    QtApplication();
    CLargestDialog<COrvprintDDlgQtView> objDialog;
    COrvprintDDlgQtView*& pView = objDialog.pView;
    COrvprintDDlg& dlg = objDialog.dlg;
    CSamples samplesNarrow;
    CSamples samplesWiden;
    bool bFailed = true;
    QTimer::singleShot(0, [&]() {
        QComboBox* pCombo = pView->ProjectCombo();
        pCombo->setFocus();
        auto key = [pCombo](int iKey, const QString& strText) {
            QWidget* pTarget = pCombo->view()->window()->isVisible() ? pCombo->view() : static_cast<QWidget*>(pCombo);
            QKeyEvent press(QEvent::KeyPress, iKey, Qt::NoModifier, strText);
            QApplication::sendEvent(pTarget, &press);
            pCombo->view()->viewport()->repaint();
            pCombo->repaint();
        };
        bFailed = false;
        for (auto _ : state) {
            const int64_t t0 = NowNs();
            key(Qt::Key_5, QStringLiteral("5"));
            const int64_t t1 = NowNs();
            const int iNarrow = pCombo->count();
            key(Qt::Key_Backspace, QString());
            const int64_t t2 = NowNs();
            if (iNarrow != 97 || pCombo->count() != 501) {
                state.SkipWithError("the list did not show what it should");
                bFailed = true;
                break;
            }
            samplesNarrow.Add(t1 - t0);
            samplesWiden.Add(t2 - t1);
        }
        pView->done(IOrvprintDDlgView::RESULT_CANCEL);
    });
    dlg.DoModal();
    if (!bFailed) {
        samplesNarrow.Report(state, "type_");
        samplesWiden.Report(state, "backspace_");
    }
}

void BM_QtPlainDialogBaseline(benchmark::State& state)
{
    UseLogging(ELogging::OFF);
    QtApplication();
    CSamples samples;
    for (auto _ : state) {
        int64_t iShownNs = 0;
        const int64_t t0 = NowNs();
        {
            QDialog dialog;
            dialog.resize(600, 450);
            QComboBox* pPrinters = new QComboBox(&dialog);
            QComboBox* pProjects = new QComboBox(&dialog);
            QPlainTextEdit* pPrinterText = new QPlainTextEdit(&dialog);
            QPlainTextEdit* pProjectText = new QPlainTextEdit(&dialog);
            pPrinters->setGeometry(100, 30, 380, 24);
            pPrinterText->setGeometry(100, 60, 380, 80);
            pProjects->setGeometry(100, 200, 380, 24);
            pProjectText->setGeometry(100, 230, 380, 80);
            for (int i = 1; i <= 101; ++i) {
                pPrinters->addItem(QStringLiteral("打印机-%1 行政楼 彩色激光").arg(i));
            }
            for (int j = 1; j <= 501; ++j) {
                pProjects->addItem(QStringLiteral("项目-%1 年度审计与市场推广").arg(j));
            }
            pPrinters->setCurrentIndex(100);
            pProjects->setCurrentIndex(500);
            pPrinterText->setPlainText(QStringLiteral("打印机名：打印机-100\n打印机状态：打印任务数(2)"));
            pProjectText->setPlainText(QStringLiteral("项目名 : 项目-500\n项目ID : PRJ500\n"));
            QTimer timer;
            timer.setSingleShot(true);
            QObject::connect(&timer, &QTimer::timeout, [&dialog, &iShownNs]() {
                dialog.repaint();
                iShownNs = NowNs();
                dialog.done(QDialog::Rejected);
            });
            timer.start(0);
            dialog.exec();
        }
        samples.Add(iShownNs - t0);
    }
    samples.Report(state);
}

} // namespace

ORV_BENCH_REGISTER(Dialog)
{
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        benchmark::RegisterBenchmark(
            (std::string("Dialog/presenter_fill/config:memory/logging:") + LoggingName(e)).c_str(),
            BM_PresenterFill, e, EConfig::MEMORY)
            ->Unit(benchmark::kMicrosecond);
    }
    benchmark::RegisterBenchmark("Dialog/presenter_fill/config:settings_file/logging:shipped", BM_PresenterFill,
                                 ELogging::SHIPPED, EConfig::SETTINGS_FILE)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Dialog/baseline/read_records_and_add_items", BM_PresenterBaseline)
        ->Unit(benchmark::kMicrosecond);
    for (ELogging e : {ELogging::OFF, ELogging::SHIPPED}) {
        benchmark::RegisterBenchmark((std::string("Dialog/qt_view_fill_and_show/logging:") + LoggingName(e)).c_str(),
                                     BM_QtViewFillAndShow, e)
            ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("Dialog/baseline/qt_plain_dialog_fill_and_show", BM_QtPlainDialogBaseline)
        ->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("Dialog/search/presenter_keystroke_500_projects", BM_PresenterKeystroke)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("Dialog/search/qt_keystroke_500_projects", BM_QtKeystroke)
        ->Unit(benchmark::kMillisecond);
}
