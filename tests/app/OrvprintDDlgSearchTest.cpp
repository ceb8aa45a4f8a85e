// Type to search and the auto-cancel of the print-option dialog, against a
// fake window.
#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <gtest/gtest.h>
#include "app/FakeDlgConfig.h"
#include "app/FakeOrvprintDDlgView.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvprintDDlg.h"
#include "app/OrvprintDDlgFixture.h"
#include "app/OrvprintDDlgListFilter.h"
#include "support/LogCapture.h"

using orvtest::CFakeDlgConfig;
using orvtest::CFakeOrvprintDDlgView;
using orvtest::CJobRequestBuilder;

namespace {

const IOrvprintDDlgView::EList PRINTERS = IOrvprintDDlgView::PRINTER_LIST;
const IOrvprintDDlgView::EList PROJECTS = IOrvprintDDlgView::PROJECT_LIST;

typedef std::vector<std::wstring> Texts;

const auto Answer = orvtest::AnswerBytes;

class OrvprintDDlgSearchTest : public orvtest::COrvprintDDlgFixture {
protected:
    void FillPrinters()
    {
        m_request.Printer(u"P0", u"HP LaserJet 1")
            .Printer(u"P1", u"三楼彩色打印机")
            .Printer(u"P2", u"hp Color 2", 1)
            .Printer(u"P3", u"四楼黑白打印机")
            .Project(u"J0", u"研发项目")
            .Project(u"J1", u"市场推广")
            .Project(u"J2", u"研发二部");
    }
};

} // namespace

// ------------------------------------------------------------ list filter

TEST(OrvprintDDlgListFilterTest, EmptyTextShowsEverythingInPlace)
{
    COrvprintDDlgListFilter filter;
    filter.AddItem(0, L"漫游打印(SG认证)", true);
    filter.AddItem(1, L"A", false);
    filter.AddItem(2, L"B", false);
    EXPECT_FALSE(filter.IsActive());
    EXPECT_EQ((std::vector<int>{0, 1, 2}), filter.GetShown());
    EXPECT_FALSE(filter.Backspace());
    EXPECT_FALSE(filter.Reset());
    EXPECT_EQ(2, filter.IndexOfRow(2));
    EXPECT_EQ(-1, filter.IndexOfRow(3));
    EXPECT_EQ(-1, filter.IndexOfRow(-1));
}

TEST(OrvprintDDlgListFilterTest, PinnedItemsStayWhenNothingMatches)
{
    COrvprintDDlgListFilter filter;
    filter.AddItem(0, L"(不选择项目)", true);
    filter.AddItem(1, L"研发项目", false);
    filter.AddItem(2, L"市场推广", false);
    EXPECT_TRUE(filter.Append(u"xyz"));
    EXPECT_EQ(std::vector<int>{0}, filter.GetShown());
    EXPECT_EQ(-1, filter.RowOfIndex(1));
    EXPECT_EQ(0, filter.RowOfIndex(0));
    EXPECT_TRUE(filter.Reset());
    EXPECT_EQ((std::vector<int>{0, 1, 2}), filter.GetShown());
}

TEST(OrvprintDDlgListFilterTest, ContainsIgnoringCaseOverAllOfUnicode)
{
    COrvprintDDlgListFilter filter;
    filter.AddItem(0, L"Äbc Drucker", false);
    filter.AddItem(1, L"ＡＢＣ打印机", false);
    filter.AddItem(2, L"ΣΧΈΔΙΟ", false);
    filter.AddItem(3, L"Дом печати", false);
    filter.AddItem(4, L"plain", false);
    EXPECT_TRUE(filter.Append(u"ä"));
    EXPECT_EQ(std::vector<int>{0}, filter.GetShown());
    filter.Reset();
    EXPECT_TRUE(filter.Append(u"ｂｃ"));
    EXPECT_EQ(std::vector<int>{1}, filter.GetShown());
    filter.Reset();
    EXPECT_TRUE(filter.Append(u"σχ"));
    EXPECT_EQ(std::vector<int>{2}, filter.GetShown());
    filter.Reset();
    EXPECT_TRUE(filter.Append(u"ПЕЧ"));
    EXPECT_EQ(std::vector<int>{3}, filter.GetShown());
}

TEST(OrvprintDDlgListFilterTest, SurrogatePairsInTwoHalvesAndBackspace)
{
    COrvprintDDlgListFilter filter;
    filter.AddItem(0, L"项目 \U0002A6A5 甲", false); // a CJK extension B character
    filter.AddItem(1, L"项目乙", false);
    const std::u16string strPair = u"\U0002A6A5";
    ASSERT_EQ(2u, strPair.size());
    // The high half alone is taken and waits.
    EXPECT_TRUE(filter.Append(strPair.substr(0, 1)));
    EXPECT_FALSE(filter.IsActive());
    EXPECT_TRUE(filter.Append(strPair.substr(1, 1)));
    EXPECT_EQ(std::wstring(L"\U0002A6A5"), filter.GetText());
    EXPECT_EQ(std::vector<int>{0}, filter.GetShown());
    // One Backspace removes the whole character.
    EXPECT_TRUE(filter.Backspace());
    EXPECT_FALSE(filter.IsActive());
    EXPECT_EQ((std::vector<int>{0, 1}), filter.GetShown());
}

TEST(OrvprintDDlgListFilterTest, ControlCharactersAndALeadingSpaceAreNotSearchText)
{
    COrvprintDDlgListFilter filter;
    filter.AddItem(0, L"a b", false);
    EXPECT_FALSE(filter.Append(u"\r"));
    EXPECT_FALSE(filter.Append(u"\x1b"));
    EXPECT_FALSE(filter.Append(u" "));
    EXPECT_FALSE(filter.IsActive());
    EXPECT_TRUE(filter.Append(u"a"));
    EXPECT_TRUE(filter.Append(u" "));
    EXPECT_EQ(L"a ", filter.GetText());
    EXPECT_EQ(std::vector<int>{0}, filter.GetShown());
}

// ------------------------------------------------------- dialog: searching

TEST_F(OrvprintDDlgSearchTest, NothingTypedShowsNothingNew)
{
    FillPrinters();
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_EQ(0, v.m_iShowCalls);
        EXPECT_EQ(L"取消打印", v.m_strCancelText);
        EXPECT_FALSE(v.m_bTimerRunning);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P0", u"J0"), Reply());
}

TEST_F(OrvprintDDlgSearchTest, TypingFiltersWithTheRoamingEntryOnTop)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    FillPrinters();
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_TRUE(v.Type(PRINTERS, u"H"));
        EXPECT_TRUE(v.Type(PRINTERS, u"p"));
        EXPECT_EQ(L"Hp", v.m_astrTyped[PRINTERS]);
        EXPECT_EQ((Texts{L"漫游打印(SG认证)", L"HP LaserJet 1", L"hp Color 2"}), v.ShownTexts(PRINTERS));
        // The roaming entry (selected by default) keeps its row.
        EXPECT_EQ(0, v.m_iPrinterSel);
        EXPECT_TRUE(v.Type(PRINTERS, u" c"));
        EXPECT_EQ((Texts{L"漫游打印(SG认证)", L"hp Color 2"}), v.ShownTexts(PRINTERS));
        EXPECT_TRUE(v.Backspace(PRINTERS));
        EXPECT_TRUE(v.Backspace(PRINTERS));
        EXPECT_EQ(L"Hp", v.m_astrTyped[PRINTERS]);
        EXPECT_EQ(3u, v.ShownTexts(PRINTERS).size());
        v.ClickCancel();
    });
}

TEST_F(OrvprintDDlgSearchTest, ChoosingAFilteredItemSelectsTheRealItem)
{
    FillPrinters();
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_TRUE(v.Type(PRINTERS, u"四楼"));
        EXPECT_EQ((Texts{L"四楼黑白打印机"}), v.ShownTexts(PRINTERS));
        EXPECT_EQ(-1, v.m_iPrinterSel); // the selected printer (item 0) is not shown
        v.SelectPrinter(0);             // row 0 is item 3
        EXPECT_EQ(L"打印机名：四楼黑白打印机\r\n打印机状态：打印任务数(1)，打印任务总页数(1)\r\n最大打印页数：100",
                  v.m_strPrinterDetails);
        EXPECT_TRUE(v.m_bOkEnabled);
        // The list closes: everything is back, the chosen item selected.
        v.CloseUp(PRINTERS);
        EXPECT_EQ(L"", v.m_astrTyped[PRINTERS]);
        EXPECT_EQ(4u, v.ShownTexts(PRINTERS).size());
        EXPECT_EQ(3, v.m_iPrinterSel);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P3", u"J0"), Reply());
    EXPECT_EQ(L"四楼黑白打印机", m_spConfig->m_strDefaultPrinter);
}

TEST_F(OrvprintDDlgSearchTest, OkWhileFilteredUsesTheRealIndexAndOkRules)
{
    FillPrinters();
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_TRUE(v.Type(PRINTERS, u"color"));
        ASSERT_EQ((Texts{L"hp Color 2"}), v.ShownTexts(PRINTERS));
        v.SelectPrinter(0);            // item 2: usage time exceeded
        EXPECT_FALSE(v.m_bOkEnabled); // the OK rules see the real record
        EXPECT_TRUE(v.Type(PROJECTS, u"研发"));
        EXPECT_EQ((Texts{L"研发项目", L"研发二部"}), v.ShownTexts(PROJECTS));
        v.SelectProject(1); // item 2
        EXPECT_TRUE(v.Escape(PRINTERS));
        EXPECT_EQ(2, v.m_iPrinterSel);
        v.SelectPrinter(1); // unfiltered again: row = item
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P1", u"J2"), Reply());
}

TEST_F(OrvprintDDlgSearchTest, NoMatchKeepsTheSelectionAndTheNoProjectEntry)
{
    m_spConfig->m_bCanSelectNoProject = true;
    FillPrinters();
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_EQ(0, v.m_iProjectSel); // "(不选择项目)"
        v.SelectProject(2);            // 市场推广
        EXPECT_TRUE(v.Type(PROJECTS, u"zzz"));
        EXPECT_EQ((Texts{L"(不选择项目)"}), v.ShownTexts(PROJECTS));
        EXPECT_EQ(-1, v.m_iProjectSel);
        EXPECT_TRUE(v.m_bOkEnabled); // nothing chosen yet: the selection stays
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
}

TEST_F(OrvprintDDlgSearchTest, EscapeClearsTextFirstThenMeansCancel)
{
    FillPrinters();
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  EXPECT_TRUE(v.Type(PROJECTS, u"推"));
                  EXPECT_TRUE(v.Escape(PROJECTS));
                  EXPECT_EQ(L"", v.m_astrTyped[PROJECTS]);
                  EXPECT_EQ(3u, v.ShownTexts(PROJECTS).size());
                  EXPECT_EQ(0, v.m_iProjectSel);
                  EXPECT_EQ(0, v.m_iEndCount);
                  // Nothing typed: Escape is the list's and the dialog's again.
                  EXPECT_FALSE(v.Escape(PROJECTS));
                  EXPECT_FALSE(v.Backspace(PROJECTS));
                  v.ClickCancel();
              }));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
}

TEST_F(OrvprintDDlgSearchTest, InputMethodTextWithSurrogatePairs)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J0", u"项目甲").Project(u"J1", u"项目\U0002A6A5乙");
    Run([](CFakeOrvprintDDlgView& v) {
        const std::u16string strPair = u"\U0002A6A5";
        EXPECT_TRUE(v.Type(PROJECTS, strPair.substr(0, 1))); // WM_CHAR: one half each
        EXPECT_TRUE(v.Type(PROJECTS, strPair.substr(1, 1)));
        EXPECT_EQ((Texts{L"项目\U0002A6A5乙"}), v.ShownTexts(PROJECTS));
        EXPECT_TRUE(v.Type(PROJECTS, u"乙")); // a committed input-method string
        EXPECT_EQ(1u, v.ShownTexts(PROJECTS).size());
        v.SelectProject(0);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
}

// --------------------------------------------------------- auto-cancel

TEST_F(OrvprintDDlgSearchTest, AutoCancelCountsDownAndAnswersAsCancel)
{
    orvtest::LogCapture cap;
    m_spConfig->m_uiAutoCancelSeconds = 3;
    FillPrinters();
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([this](CFakeOrvprintDDlgView& v) {
                  EXPECT_EQ(L"取消打印 (3)", v.m_strCancelText);
                  EXPECT_TRUE(v.m_bTimerRunning);
                  EXPECT_EQ(200u, v.m_uiTimerMs);
                  m_tpNow += std::chrono::milliseconds(999);
                  v.Tick();
                  EXPECT_EQ(L"取消打印 (3)", v.m_strCancelText);
                  m_tpNow += std::chrono::milliseconds(1);
                  v.Tick();
                  EXPECT_EQ(L"取消打印 (2)", v.m_strCancelText);
                  m_tpNow += std::chrono::milliseconds(1500);
                  v.Tick();
                  EXPECT_EQ(L"取消打印 (1)", v.m_strCancelText);
                  EXPECT_EQ(0, v.m_iEndCount);
                  m_tpNow += std::chrono::milliseconds(500);
                  v.Tick();
                  EXPECT_EQ(1, v.m_iEndCount);
                  EXPECT_FALSE(v.m_bTimerRunning);
              }));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : No input for 3 seconds: the dialog cancels printing (AutoCancelSeconds)."))
            << cap.Text();
    }
}

TEST_F(OrvprintDDlgSearchTest, AnyInputStopsTheAutoCancelForGood)
{
    m_spConfig->m_uiAutoCancelSeconds = 2;
    FillPrinters();
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([this](CFakeOrvprintDDlgView& v) {
                  EXPECT_EQ(L"取消打印 (2)", v.m_strCancelText);
                  EXPECT_FALSE(v.Type(PRINTERS, u" ")); // not taken, but a key all the same
                  EXPECT_EQ(L"取消打印", v.m_strCancelText);
                  EXPECT_FALSE(v.m_bTimerRunning);
                  m_tpNow += std::chrono::seconds(60);
                  v.Tick();
                  EXPECT_EQ(0, v.m_iEndCount);
                  v.ClickOk();
              }));
    EXPECT_EQ(Answer(0, u"P0", u"J0"), Reply());
}

TEST_F(OrvprintDDlgSearchTest, AutoCancelOffByDefault)
{
    FillPrinters();
    Run([this](CFakeOrvprintDDlgView& v) {
        EXPECT_FALSE(v.m_bTimerRunning);
        m_tpNow += std::chrono::hours(48);
        v.Tick();
        EXPECT_EQ(0, v.m_iEndCount);
        EXPECT_EQ(L"取消打印", v.m_strCancelText);
        v.ClickCancel();
    });
}
