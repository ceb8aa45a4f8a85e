// The print-option dialog's content and flow, against a fake window.
#include <array>
#include <atomic>
#include <climits>
#include <thread>
#include <cstring>
#include <functional>
#include <memory>
#include <gtest/gtest.h>
#include "app/OrvConfig.h"
#include "app/OrvprintDDlg.h"
#include "app/FakeDlgConfig.h"
#include "app/FakeOrvprintDDlgView.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvprintDDlgFixture.h"
#include "support/RecordTextLocale.h"
#include "language/TextConvert.h"
#include "support/LogCapture.h"

using orvtest::CFakeDlgConfig;
using orvtest::CFakeOrvprintDDlgView;
using orvtest::CJobRequestBuilder;

namespace {

const uint8_t FILL = orvtest::REPLY_FILL;
const auto Answer = orvtest::AnswerBytes;

class OrvprintDDlgTest : public orvtest::COrvprintDDlgFixture {};

typedef std::function<void(CFakeOrvprintDDlgView&)> Script;
const Script CANCEL = [](CFakeOrvprintDDlgView& v) { v.ClickCancel(); };
const Script OK = [](CFakeOrvprintDDlgView& v) { v.ClickOk(); };

} // namespace

// ---------------------------------------------------------------- constructor

TEST_F(OrvprintDDlgTest, ConstructorClearsIdsStoresSizeAndKeepsResultWord)
{
    m_request.Printer(u"P1", u"Printer 1");
    Construct();
    EXPECT_EQ(44u, m_uiRespSize);
    std::vector<uint8_t> vecExpected(44, 0);
    std::memset(vecExpected.data(), FILL, 4); // the result word is not touched
    EXPECT_EQ(vecExpected, Reply());
    ExpectTailUntouched();
}

TEST_F(OrvprintDDlgTest, MalformedRequestThrowsFromConstructorBeforeAnyWindow)
{
    m_vecRequest = m_request.Printer(u"P1", u"Printer 1").Build();
    m_uiRecvSize = m_vecRequest.size() - 1;
    m_uiRespSize = 44;
    try {
        COrvprintDDlg dlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize);
        FAIL() << "no exception";
    } catch (const CJobOptionDataException& e) {
        EXPECT_EQ(static_cast<uint32_t>(CJobOptionDataException::FORMAT_ERROR), e.GetCode());
    }
}

TEST_F(OrvprintDDlgTest, ShortReplyBufferThrowsInvalidParameter)
{
    m_vecRequest = m_request.Build();
    m_uiRecvSize = m_vecRequest.size();
    m_uiRespSize = 43;
    try {
        COrvprintDDlg dlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize);
        FAIL() << "no exception";
    } catch (const CJobOptionDataException& e) {
        EXPECT_EQ(static_cast<uint32_t>(CJobOptionDataException::INVALID_PARAMETER), e.GetCode());
    }
}

// ------------------------------------------------------------- printer list

TEST_F(OrvprintDDlgTest, NoPrintersAndNoRoaming)
{
    m_request.Project(u"J1", u"Project 1");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  EXPECT_TRUE(v.m_vecPrinters.empty());
                  EXPECT_EQ(-1, v.m_iPrinterSel);
                  EXPECT_EQ(L"没有可选择的打印机", v.m_strPrinterDetails);
                  EXPECT_FALSE(v.m_bOkEnabled);
                  v.ClickCancel();
              }));
    EXPECT_TRUE(m_pView->m_bInitResult);
    EXPECT_EQ(1, m_pView->m_iClearCount);
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    ExpectTailUntouched();
}

TEST_F(OrvprintDDlgTest, RoamingEntryAloneIsSelectedAndConfirmsWithEmptyPrinterId)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_request.Project(u"J1", u"Project 1");
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](CFakeOrvprintDDlgView& v) {
                  ASSERT_EQ(1u, v.m_vecPrinters.size());
                  EXPECT_EQ(L"漫游打印(SG认证)", v.m_vecPrinters[0].strText);
                  EXPECT_EQ(L"刷卡进行打印", v.m_vecPrinters[0].strDescription);
                  EXPECT_TRUE(v.m_vecPrinters[0].bEnabled);
                  EXPECT_EQ(0, v.m_iPrinterSel);
                  EXPECT_EQ(L"刷卡之后进行打印", v.m_strPrinterDetails);
                  EXPECT_TRUE(v.m_bOkEnabled);
                  v.ClickOk();
              }));
    EXPECT_EQ(Answer(0, u"", u"J1"), Reply());
    EXPECT_EQ(L"", m_spConfig->m_strDefaultPrinter);
    EXPECT_EQ(1, m_spConfig->m_iSetPrinterCalls);
}

TEST_F(OrvprintDDlgTest, RoamingEntryComesFirst)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_request.Printer(u"P1", u"Printer 1").Project(u"J1", u"Project 1");
    Run(CANCEL);
    ASSERT_EQ(2u, m_pView->m_vecPrinters.size());
    EXPECT_EQ(L"漫游打印(SG认证)", m_pView->m_vecPrinters[0].strText);
    EXPECT_EQ(L"Printer 1", m_pView->m_vecPrinters[1].strText);
}

TEST_F(OrvprintDDlgTest, ListLinesOfUsableAndUnusablePrinters)
{
    m_request.Printer(u"P1", u"普通打印机", 0, false, 3, 12)
        .Printer(u"P2", u"过期打印机", 1, false, 4, 5)
        .Printer(u"P3", u"页数超限", 0, true, 6, 700)
        .Printer(u"P4", u"两者都有", 1, true, 7, 800)
        .Project(u"J1", u"Project 1");
    Run(CANCEL);
    const auto& items = m_pView->m_vecPrinters;
    ASSERT_EQ(4u, items.size());
    EXPECT_EQ(L"普通打印机", items[0].strText);
    EXPECT_EQ(L"打印任务数：3，打印任务总页数：12", items[0].strDescription);
    EXPECT_TRUE(items[0].bEnabled);
    EXPECT_EQ(L"已超出使用时间。", items[1].strDescription);
    EXPECT_FALSE(items[1].bEnabled);
    EXPECT_EQ(L"当前打印任务总页数超出打印机限制。", items[2].strDescription);
    EXPECT_FALSE(items[2].bEnabled);
    // The status test wins over the page test.
    EXPECT_EQ(L"已超出使用时间。", items[3].strDescription);
    EXPECT_FALSE(items[3].bEnabled);
}

TEST_F(OrvprintDDlgTest, PrinterDetailsTexts)
{
    m_request.Printer(u"P1", u"Printer 1", 0, false, 3, 12, 100)
        .Printer(u"P2", u"Printer 2", 0, false, 3, 12, 50, u"三楼东侧")
        .Printer(u"P3", u"Printer 3", 1, true, 1, 1, 10)
        .Printer(u"P4", u"Printer 4", 0, true, 1, 999, 20, u"c");
    Construct();
    Run(CANCEL);
    CJobOptionData view(m_vecRequest.data(), m_vecRequest.size());
    CJobOptionData::PRINTER_INFO stu;
    view.GetPrinterInfo(0, stu);
    EXPECT_EQ(L"打印机名：Printer 1\r\n打印机状态：打印任务数(3)，打印任务总页数(12)\r\n最大打印页数：100",
              m_pDlg->GetDescription(stu));
    view.GetPrinterInfo(1, stu);
    EXPECT_EQ(L"打印机名：Printer 2\r\n打印机状态：打印任务数(3)，打印任务总页数(12)\r\n最大打印页数：50\r\n"
              L"详细信息：三楼东侧",
              m_pDlg->GetDescription(stu));
    view.GetPrinterInfo(2, stu);
    EXPECT_EQ(L"打印机名：Printer 3\r\n打印机状态：已超出使用时间。\r\n最大打印页数：10", m_pDlg->GetDescription(stu));
    view.GetPrinterInfo(3, stu);
    EXPECT_EQ(L"打印机名：Printer 4\r\n打印机状态：当前打印任务总页数超出打印机限制。\r\n最大打印页数：20\r\n详细信息：c",
              m_pDlg->GetDescription(stu));
}

TEST_F(OrvprintDDlgTest, ProjectDetailsTexts)
{
    m_request.Project(u"J7", u"研发项目");
    Construct();
    Run(CANCEL);
    CJobOptionData view(m_vecRequest.data(), m_vecRequest.size());
    CJobOptionData::PROJECT_INFO stu;
    view.GetProjectInfo(0, stu);
    EXPECT_EQ(L"项目名 : 研发项目\r\n项目ID : J7\r\n", m_pDlg->GetDescription(stu));
}

TEST_F(OrvprintDDlgTest, SelectingAPrinterShowsItsDetailsAndEnablesOk)
{
    m_spConfig->m_strDefaultPrinter = L"gone";
    m_request.Printer(u"P1", u"Printer 1", 0, false, 2, 9, 30).Project(u"J1", u"Project 1");
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_EQ(-1, v.m_iPrinterSel);
        EXPECT_EQ(L"请选择打印机", v.m_strPrinterDetails);
        EXPECT_FALSE(v.m_bOkEnabled);
        v.SelectPrinter(0);
        EXPECT_EQ(L"打印机名：Printer 1\r\n打印机状态：打印任务数(2)，打印任务总页数(9)\r\n最大打印页数：30",
                  v.m_strPrinterDetails);
        EXPECT_TRUE(v.m_bOkEnabled);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P1", u"J1"), Reply());
}

TEST_F(OrvprintDDlgTest, ExpiredAndTooManyPagesPrintersCanBeSelectedButNotConfirmed)
{
    m_request.Printer(u"P1", u"Good").Printer(u"P2", u"Expired", 1, true).Printer(u"P3", u"Big", 0, true).Project(
        u"J1", u"Project 1");
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_TRUE(v.m_bOkEnabled);
        v.SelectPrinter(1);
        EXPECT_EQ(1, v.m_iPrinterSel);
        EXPECT_NE(std::wstring::npos, v.m_strPrinterDetails.find(L"已超出使用时间。"));
        EXPECT_FALSE(v.m_bOkEnabled);
        v.SelectPrinter(2);
        EXPECT_NE(std::wstring::npos, v.m_strPrinterDetails.find(L"当前打印任务总页数超出打印机限制。"));
        EXPECT_FALSE(v.m_bOkEnabled);
        v.SelectPrinter(0);
        EXPECT_TRUE(v.m_bOkEnabled);
        v.ClickCancel();
    });
}

// ----------------------------------------------------------- default choice

TEST_F(OrvprintDDlgTest, EmptyDefaultSelectsFirstItems)
{
    m_request.Printer(u"P1", u"A").Printer(u"P2", u"B").Project(u"J1", u"X").Project(u"J2", u"Y");
    Run(OK);
    EXPECT_EQ(0, m_pView->m_iPrinterSel);
    EXPECT_EQ(0, m_pView->m_iProjectSel);
    EXPECT_EQ(Answer(0, u"P1", u"J1"), Reply());
}

TEST_F(OrvprintDDlgTest, DefaultPrefixOfTwoNamesSelectsFirstFoundFromItemOne)
{
    m_spConfig->m_strDefaultPrinter = L"hp laser";
    m_request.Printer(u"P0", u"Canon")
        .Printer(u"P1", u"HP LaserJet 2")
        .Printer(u"P2", u"hp laserjet 1")
        .Project(u"J1", u"X");
    Run(OK);
    EXPECT_EQ(1, m_pView->m_iPrinterSel);
    EXPECT_EQ(Answer(0, u"P1", u"J1"), Reply());
}

TEST_F(OrvprintDDlgTest, DefaultMatchingItemZeroIsTriedLast)
{
    m_spConfig->m_strDefaultPrinter = L"Hp";
    m_request.Printer(u"P0", u"HP Color").Printer(u"P1", u"Canon").Printer(u"P2", u"hP Mono").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_EQ(2, m_pView->m_iPrinterSel);
}

TEST_F(OrvprintDDlgTest, DefaultMatchingOnlyItemZero)
{
    m_spConfig->m_strDefaultPrinter = L"hp";
    m_request.Printer(u"P0", u"HP Color").Printer(u"P1", u"Canon").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_EQ(0, m_pView->m_iPrinterSel);
}

TEST_F(OrvprintDDlgTest, DefaultMatchingNothingSelectsNothing)
{
    m_spConfig->m_strDefaultPrinter = L"Printer 10";
    m_spConfig->m_strDefaultProject = L"Z";
    m_request.Printer(u"P0", u"Printer 1").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_EQ(-1, m_pView->m_iPrinterSel);
    EXPECT_EQ(-1, m_pView->m_iProjectSel);
    EXPECT_EQ(L"请选择打印机", m_pView->m_strPrinterDetails);
    EXPECT_EQ(L"请选择项目", m_pView->m_strProjectDetails);
    EXPECT_FALSE(m_pView->m_bOkEnabled);
}

TEST_F(OrvprintDDlgTest, DefaultProjectByPrefix)
{
    m_spConfig->m_strDefaultProject = L"研发";
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"市场部").Project(u"J2", u"研发二部").Project(u"J3", u"研发一部");
    Run(OK);
    EXPECT_EQ(1, m_pView->m_iProjectSel);
    EXPECT_EQ(Answer(0, u"P0", u"J2"), Reply());
}

TEST_F(OrvprintDDlgTest, FindItemByPrefixRule)
{
    m_request.Printer(u"P0", u"abc").Printer(u"P1", u"ABD").Printer(u"P2", u"x");
    Run(CANCEL);
    EXPECT_EQ(1, COrvprintDDlg::FindItemByPrefix(*m_pView, IOrvprintDDlgView::PRINTER_LIST, L"ab"));
    EXPECT_EQ(0, COrvprintDDlg::FindItemByPrefix(*m_pView, IOrvprintDDlgView::PRINTER_LIST, L"ABC"));
    EXPECT_EQ(2, COrvprintDDlg::FindItemByPrefix(*m_pView, IOrvprintDDlgView::PRINTER_LIST, L"X"));
    EXPECT_EQ(-1, COrvprintDDlg::FindItemByPrefix(*m_pView, IOrvprintDDlgView::PRINTER_LIST, L"abcd"));
    EXPECT_EQ(-1, COrvprintDDlg::FindItemByPrefix(*m_pView, IOrvprintDDlgView::PROJECT_LIST, L"a"));
}

TEST_F(OrvprintDDlgTest, DefaultsMatchCaseInsensitivelyOverAllOfUnicode)
{
    // In the "C" locale towlower folds A-Z only; the match must not depend on it.
    const struct {
        const wchar_t* szDefaultPrinter;
        const char16_t* szPrinter;
        const wchar_t* szDefaultProject;
        const char16_t* szProject;
    } aCases[] = {
        {L"äbc", u"Äbc Drucker", L"σχέδιο", u"ΣΧΈΔΙΟ Α"},
        {L"ａｂ", u"ＡＢＣ打印机", L"дом", u"ДОМ 2"},
    };
    for (const auto& c : aCases) {
        m_pDlg.reset();
        m_request = CJobRequestBuilder();
        m_spConfig->m_strDefaultPrinter = c.szDefaultPrinter;
        m_spConfig->m_strDefaultProject = c.szDefaultProject;
        m_request.Printer(u"P0", u"Canon").Printer(u"P1", c.szPrinter).Project(u"J0", u"Проект").Project(u"J1", c.szProject);
        Run(OK);
        EXPECT_EQ(1, m_pView->m_iPrinterSel) << Language::Utf8FromWide(c.szDefaultPrinter);
        EXPECT_EQ(1, m_pView->m_iProjectSel) << Language::Utf8FromWide(c.szDefaultProject);
        EXPECT_EQ(Answer(0, u"P1", u"J1"), Reply());
    }
}

// ------------------------------------------------------------- project list

TEST_F(OrvprintDDlgTest, NoProjectEntryComesFirstAndShowsEmptyLabels)
{
    m_spConfig->m_bCanSelectNoProject = true;
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    Run(OK);
    ASSERT_EQ(2u, m_pView->m_vecProjects.size());
    EXPECT_EQ(L"(不选择项目)", m_pView->m_vecProjects[0]);
    EXPECT_EQ(L"X", m_pView->m_vecProjects[1]);
    EXPECT_EQ(0, m_pView->m_iProjectSel);
    EXPECT_EQ(L"项目名 : \r\n项目ID : \r\n", m_pView->m_strProjectDetails);
    EXPECT_EQ(Answer(0, u"P0", u""), Reply());
    EXPECT_EQ(L"", m_spConfig->m_strDefaultProject);
    EXPECT_EQ(1, m_spConfig->m_iSetProjectCalls);
}

TEST_F(OrvprintDDlgTest, NoProjectsShownWhileProjectsAreDisplayedDisablesOk)
{
    m_request.Printer(u"P0", u"Printer");
    Run(CANCEL);
    EXPECT_TRUE(m_pView->m_vecProjects.empty());
    EXPECT_EQ(L"没有可选择的项目", m_pView->m_strProjectDetails);
    EXPECT_EQ(0, m_pView->m_iPrinterSel);
    EXPECT_FALSE(m_pView->m_bOkEnabled);
}

TEST_F(OrvprintDDlgTest, NoProjectEntryAloneKeepsOkEnabled)
{
    m_spConfig->m_bCanSelectNoProject = true;
    m_request.Printer(u"P0", u"Printer");
    Run(OK);
    EXPECT_EQ(Answer(0, u"P0", u""), Reply());
}

TEST_F(OrvprintDDlgTest, ProjectSelectionMarksTheReplyCancelledUntilOk)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X").Project(u"J2", u"Y");
    Run([this](CFakeOrvprintDDlgView& v) {
        // The default project was selected while filling: result word 1.
        EXPECT_EQ(1, ReplyResult());
        std::memset(m_abyReply.data(), 0, 4);
        v.SelectPrinter(0); // a printer change leaves it alone
        EXPECT_EQ(0, ReplyResult());
        v.SelectProject(1);
        EXPECT_EQ(1, ReplyResult());
        EXPECT_EQ(L"项目名 : Y\r\n项目ID : J2\r\n", v.m_strProjectDetails);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P0", u"J2"), Reply());
}

TEST_F(OrvprintDDlgTest, NoProjectSelectedLeavesResultWordAlone)
{
    m_spConfig->m_strDefaultProject = L"none";
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    Run([this](CFakeOrvprintDDlgView&) {
        std::vector<uint8_t> vecExpected(44, 0);
        std::memset(vecExpected.data(), FILL, 4);
        EXPECT_EQ(vecExpected, Reply());
    });
    EXPECT_EQ(-1, m_pView->m_iResult);
}

TEST_F(OrvprintDDlgTest, ChangingProjectThenEscapeAnswersCancelled)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X").Project(u"J2", u"Y");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  v.SelectProject(1);
                  v.ClickCancel(); // Escape and the close box come here
              }));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
    EXPECT_EQ(0, m_spConfig->m_iSetProjectCalls);
}

// ------------------------------------------------------- hidden projects

TEST_F(OrvprintDDlgTest, HiddenProjectsAreStillFilledDefaultedAndReturned)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    m_spConfig->m_strDefaultProject = L"y";
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X").Project(u"J2", u"Y");
    Run(OK);
    EXPECT_TRUE(m_pView->m_bProjectHidden);
    EXPECT_EQ(2u, m_pView->m_vecProjects.size());
    EXPECT_EQ(1, m_pView->m_iProjectSel);
    EXPECT_EQ(Answer(0, u"P0", u"J2"), Reply());
}

TEST_F(OrvprintDDlgTest, HiddenProjectsFirstProjectByDefault)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X").Project(u"J2", u"Y");
    Run(OK);
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
}

TEST_F(OrvprintDDlgTest, HiddenProjectsWithEmptyListKeepOkEnabled)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    m_request.Printer(u"P0", u"Printer");
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_TRUE(v.m_bOkEnabled);
        v.ClickOk();
    });
    EXPECT_EQ(Answer(0, u"P0", u""), Reply());
}

TEST_F(OrvprintDDlgTest, HiddenProjectsUnmatchedProjectDefaultDoesNotDisableOk)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    m_spConfig->m_strDefaultProject = L"Q";
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    Run(OK);
    EXPECT_EQ(-1, m_pView->m_iProjectSel);
    EXPECT_EQ(Answer(0, u"P0", u""), Reply());
}

TEST_F(OrvprintDDlgTest, DisplayedProjectsAreNotHidden)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_FALSE(m_pView->m_bProjectHidden);
}

// ------------------------------------------------------------ OK and Cancel

TEST_F(OrvprintDDlgTest, OkAnswerBytesAndSavedDefaults)
{
    m_request.Printer(u"P0", u"Printer A").Printer(u"PR-12345", u"打印机B").Project(u"J1", u"X").Project(u"PJ-99", u"项目二");
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](CFakeOrvprintDDlgView& v) {
                  v.SelectPrinter(1);
                  v.SelectProject(1);
                  v.ClickOk();
              }));
    EXPECT_EQ(Answer(0, u"PR-12345", u"PJ-99"), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    ExpectTailUntouched();
    EXPECT_EQ(L"打印机B", m_spConfig->m_strDefaultPrinter);
    EXPECT_EQ(L"项目二", m_spConfig->m_strDefaultProject);
    EXPECT_EQ(1, m_pView->m_iEndCount);
}

TEST_F(OrvprintDDlgTest, LongIdsAreCutToNineCharacters)
{
    m_request.Printer(u"ABCDEFGHIJKL", u"Printer").Project(u"0123456789XY", u"X");
    Run(OK);
    EXPECT_EQ(Answer(0, u"ABCDEFGHI", u"012345678"), Reply());
}

TEST_F(OrvprintDDlgTest, CancelAnswerBytesAndNothingSaved)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run(CANCEL));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    ExpectTailUntouched();
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
    EXPECT_EQ(0, m_spConfig->m_iSetProjectCalls);
}

TEST_F(OrvprintDDlgTest, ConfigIsMadeOnceAtInit)
{
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    Construct();
    EXPECT_EQ(0, m_iConfigsMade);
    Run(CANCEL);
    EXPECT_EQ(1, m_iConfigsMade);
}

// The process set up as the program's start-up sets it: the names come out
// in the platform's code page (GBK on Windows, UTF-8 on Linux).
TEST_F(OrvprintDDlgTest, SelectedNamesAreLogged)
{
    orvtest::ScopedRecordTextLocale locale;
    orvtest::LogCapture cap;
    m_request.Printer(u"P0", u"打印机A").Project(u"J1", u"项目1");
    Run(OK);
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
    if (!cap.Available()) {
        GTEST_SKIP() << "the log facade is disabled in this build: the record cannot be read";
    }
    EXPECT_TRUE(cap.Contains(std::string("INFO - Selected printer : ") + orvtest::kPrinterANarrow +
                             ", selected project : " + orvtest::kProject1Narrow))
        << cap.Text();
}

TEST_F(OrvprintDDlgTest, SelectedNamesWithPrintfConversionsAreLoggedAsTheyAre)
{
    orvtest::LogCapture cap;
    m_request.Printer(u"P0", u"%s%s%n").Project(u"J1", u"100% %99999999999d");
    Run(OK);
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("INFO - Selected printer : %s%s%n, selected project : 100% %99999999999d"))
            << cap.Text();
    }
}

// A name with a line end cannot forge a record of its own, nor can an escape
// sequence reach whoever reads the log on a terminal: the record is one line
// with the control characters written as text.
TEST_F(OrvprintDDlgTest, SelectedNamesWithControlCharactersGiveOneLogLine)
{
    orvtest::LogCapture cap;
    m_request.Printer(u"P0", u"A\nFATAL forged").Project(u"J1", u"B\r\x1b[2J\u009b\x7f\tC");
    Run(OK);
    EXPECT_EQ(Answer(0, u"P0", u"J1"), Reply());
    if (!cap.Available()) {
        GTEST_SKIP() << "the log facade is disabled in this build: the record cannot be read";
    }
    const std::string strExpected =
        "INFO - Selected printer : A\\nFATAL forged, selected project : B\\r\\x1b[2J\\u009b\\x7f\\tC";
    EXPECT_EQ(1, cap.Count(strExpected)) << cap.Text();
    EXPECT_EQ(1, cap.Count("FATAL forged")) << cap.Text();
    for (const std::string& strLine : cap.Lines()) {
        EXPECT_NE(0u, strLine.find("FATAL forged")) << "a line of its own: " << cap.Text();
        EXPECT_EQ(std::string::npos, strLine.find('\x1b')) << cap.Text();
        EXPECT_EQ(std::string::npos, strLine.find('\r')) << cap.Text();
    }
}

// -------------------------------------------------------------- failures

TEST_F(OrvprintDDlgTest, ConfigFailureTellsTheUserAndLeavesTheDialogOpen)
{
    orvtest::LogCapture cap;
    m_bConfigThrows = true;
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  EXPECT_FALSE(v.m_bInitResult);
                  ASSERT_EQ(1u, v.m_vecMessages.size());
                  EXPECT_EQ(L"读取配置文件失败。", v.m_vecMessages[0]);
                  EXPECT_TRUE(v.m_vecPrinters.empty());
                  EXPECT_TRUE(v.m_bOkEnabled); // the template's state
                  EXPECT_EQ(0, v.m_iEnableOkCalls);
                  v.ClickCancel();
              }));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains("ERROR - app/OrvprintDDlg.cpp(")) << cap.Text();
        EXPECT_TRUE(cap.Contains(") : catched COrvConfigException. Failed to read config file.")) << cap.Text();
    }
}

TEST_F(OrvprintDDlgTest, OkAfterConfigFailureAnswersAsCancel)
{
    orvtest::LogCapture cap;
    m_bConfigThrows = true;
    m_request.Printer(u"P0", u"Printer").Project(u"J1", u"X");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](CFakeOrvprintDDlgView& v) {
                  ASSERT_EQ(1u, v.m_vecMessages.size());
                  EXPECT_EQ(L"读取配置文件失败。", v.m_vecMessages[0]);
                  EXPECT_TRUE(v.m_bOkEnabled);
                  v.ClickOk();
              }));
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    ExpectTailUntouched();
    EXPECT_EQ(1, m_pView->m_iEndCount);
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : OK after a failed initialisation answers as Cancel.")) << cap.Text();
        EXPECT_FALSE(cap.Contains("Selected printer")) << cap.Text();
    }
}

TEST_F(OrvprintDDlgTest, OkAfterFailedFillAnswersAsCancel)
{
    // Projects hidden: the printer was selected and OK enabled before the
    // project list failed.
    m_spConfig->m_bDisplayProjectSelection = false;
    m_iFailProjectAdd = 0;
    m_request.Printer(u"P0", u"Printer 0").Project(u"J1", u"X");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run(OK));
    EXPECT_FALSE(m_pView->m_bInitResult);
    EXPECT_EQ(Answer(1, u"", u""), Reply());
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
    EXPECT_EQ(0, m_spConfig->m_iSetProjectCalls);
}

TEST_F(OrvprintDDlgTest, FailedPrinterAddTellsTheUser)
{
    orvtest::LogCapture cap;
    m_iFailPrinterAdd = 1;
    m_iFailCode = -2; // out of space
    m_request.Printer(u"P0", u"Printer 0").Printer(u"P1", u"Printer 1").Project(u"J1", u"X");
    Run([](CFakeOrvprintDDlgView& v) {
        EXPECT_FALSE(v.m_bInitResult);
        ASSERT_EQ(1u, v.m_vecMessages.size());
        EXPECT_EQ(L"初始化打印选择对话框失败。", v.m_vecMessages[0]);
        // What had been filled stays; the projects were never reached.
        EXPECT_EQ(1u, v.m_vecPrinters.size());
        EXPECT_TRUE(v.m_vecProjects.empty());
        v.ClickCancel();
    });
    if (cap.Available()) {
        EXPECT_TRUE(cap.Contains(") : throw COrvprintDDlgException(COrvprintDDlgException::FAILED_TO_INIT)"))
            << cap.Text();
        EXPECT_TRUE(cap.Contains(") : catched COrvprintDDlgException. Failed to initialize orvprintD dialog."))
            << cap.Text();
    }
}

TEST_F(OrvprintDDlgTest, FailedRoamingAddTellsTheUser)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_iFailPrinterAdd = 0;
    m_request.Printer(u"P0", u"Printer 0").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_FALSE(m_pView->m_bInitResult);
    ASSERT_EQ(1u, m_pView->m_vecMessages.size());
    EXPECT_EQ(L"初始化打印选择对话框失败。", m_pView->m_vecMessages[0]);
    EXPECT_TRUE(m_pView->m_vecPrinters.empty());
}

TEST_F(OrvprintDDlgTest, FailedProjectAddTellsTheUser)
{
    m_spConfig->m_bCanSelectNoProject = true;
    m_iFailProjectAdd = 1;
    m_request.Printer(u"P0", u"Printer 0").Project(u"J1", u"X");
    Run(CANCEL);
    EXPECT_FALSE(m_pView->m_bInitResult);
    ASSERT_EQ(1u, m_pView->m_vecMessages.size());
    EXPECT_EQ(L"初始化打印选择对话框失败。", m_pView->m_vecMessages[0]);
    // The printer part was done before the failure.
    EXPECT_EQ(L"打印机名：Printer 0\r\n打印机状态：打印任务数(1)，打印任务总页数(1)\r\n最大打印页数：100",
              m_pView->m_strPrinterDetails);
    EXPECT_EQ(1u, m_pView->m_vecProjects.size());
}

// The request is read once: counts rewritten in the block after the dialog
// checked them (a negative count, 2^31 - 1, 0) change nothing it shows or
// answers, and nothing is read outside the request.
class RequestReadOnceTest : public orvtest::COrvprintDDlgFixture, public testing::WithParamInterface<int32_t> {
protected:
    void Rewrite(int32_t iCount)
    {
        // The printer count at 0 and the project count behind two printers.
        std::memcpy(m_vecRequest.data(), &iCount, 4);
        std::memcpy(m_vecRequest.data() + 4 + 2 * sizeof(CJobOptionData::PRINTER_INFO), &iCount, 4);
    }
};

TEST_P(RequestReadOnceTest, CountsRewrittenAfterTheCheckChangeNothing)
{
    m_request.Printer(u"P1", u"Printer 1").Printer(u"P2", u"Printer 2").Project(u"J1", u"Project 1");
    Construct();
    Rewrite(GetParam());
    std::vector<std::wstring> vecPrinters;
    std::vector<std::wstring> vecProjects;
    EXPECT_EQ(1, Run([&](orvtest::CFakeOrvprintDDlgView& view) {
        // Still changing while the lists are up.
        Rewrite(GetParam() == 0 ? -1 : 0);
        for (const auto& item : view.m_vecPrinters) vecPrinters.push_back(item.strText);
        vecProjects = view.m_vecProjects;
        view.ClickOk();
    }));
    EXPECT_EQ((std::vector<std::wstring>{L"Printer 1", L"Printer 2"}), vecPrinters);
    EXPECT_EQ(std::vector<std::wstring>{L"Project 1"}, std::vector<std::wstring>(vecProjects.end() - 1, vecProjects.end()));
    EXPECT_EQ(0, ReplyResult());
}

INSTANTIATE_TEST_SUITE_P(Counts, RequestReadOnceTest, testing::Values(-1, INT32_MIN, INT32_MAX, 0, 101),
                         [](const testing::TestParamInfo<int32_t>& info) {
                             return info.param < 0 ? "Negative" + std::to_string(-(int64_t)info.param)
                                                   : "Count" + std::to_string(info.param);
                         });

// The same with a writer thread that rewrites the counts in the block all
// the time while dialogs are built over it, as another process may: each
// dialog either refuses what it read or shows exactly the request it read.
TEST_F(OrvprintDDlgTest, CountsRewrittenByAnotherThreadWhileDialogsAreBuiltChangeNothing)
{
    m_request.Printer(u"P1", u"Printer 1").Printer(u"P2", u"Printer 2").Project(u"J1", u"Project 1");
    m_vecRequest = m_request.Build();
    const size_t uiRequestSize = m_vecRequest.size();
    // The request area of the shared block: a count read half-written may
    // put the project count anywhere in it.
    m_vecRequest.resize(CJobOptionData::MAX_BUFFER_SIZE);
    uint8_t* pbyBlock = m_vecRequest.data();
    const size_t uiProjectCount = 4 + 2 * sizeof(CJobOptionData::PRINTER_INFO);
    std::atomic<bool> bStop(false);
    std::thread writer([&]() {
        // Pairs of printer and project counts; the first is the true one.
        const int32_t aiCounts[][2] = {{2, 1}, {-1, 1}, {INT32_MAX, 0}, {0, INT32_MAX}, {2, -7}, {INT32_MIN, 1}};
        for (unsigned n = 0; !bStop.load(std::memory_order_relaxed); ++n) {
            const int32_t* piPair = aiCounts[n % 6];
            for (size_t b = 0; b < 4; ++b) {
                __atomic_store_n(&pbyBlock[b], static_cast<uint8_t>(static_cast<uint32_t>(piPair[0]) >> (8 * b)),
                                 __ATOMIC_RELAXED);
                __atomic_store_n(&pbyBlock[uiProjectCount + b],
                                 static_cast<uint8_t>(static_cast<uint32_t>(piPair[1]) >> (8 * b)), __ATOMIC_RELAXED);
            }
        }
    });
    int iShown = 0;
    int iRefused = 0;
    int iWrong = 0;
    for (int iRound = 0; iRound < 200; ++iRound) {
        m_uiRecvSize = uiRequestSize;
        m_abyReply.fill(orvtest::REPLY_FILL);
        m_uiRespSize = m_abyReply.size();
        try {
            m_pDlg.reset(new COrvprintDDlg(pbyBlock, &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize));
        } catch (const CJobOptionDataException&) {
            ++iRefused; // what was read does not fit the size
            continue;
        }
        Run([&](orvtest::CFakeOrvprintDDlgView& view) {
            if (view.m_vecPrinters.size() == 2 && view.m_vecPrinters[1].strText == L"Printer 2") {
                ++iShown;
            } else {
                ++iWrong;
            }
            view.ClickCancel();
        });
    }
    bStop = true;
    writer.join();
    EXPECT_EQ(0, iWrong);
    EXPECT_EQ(200, iShown + iRefused);
}
