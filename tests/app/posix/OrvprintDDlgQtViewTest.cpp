// The Qt window of the print-option dialog, on the offscreen platform.
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <QAbstractItemView>
#include <QAccessible>
#include <QInputMethodEvent>
#include <QStyleOptionComboBox>
#include <QApplication>
#include <QDir>
#include <QFontInfo>
#include <QFontMetrics>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>
#include "app/FakeDlgConfig.h"
#include "support/JobRequestBuilder.h"
#include "app/OrvConfig.h"
#include "app/OrvprintDDlg.h"
#include "app/posix/MyComboBox.h"
#include "app/posix/OrvprintDDlgQtView.h"

using orvtest::CFakeDlgConfig;
using orvtest::CJobRequestBuilder;

namespace {

QApplication& QtApp()
{
    static int s_argc = 1;
    static char s_szName[] = "orv_app_tests";
    static char* s_argv[] = {s_szName, nullptr};
    static QApplication* s_pApp = nullptr;
    if (s_pApp == nullptr) {
        if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        s_pApp = new QApplication(s_argc, s_argv);
    }
    return *s_pApp;
}

QString ScreenshotFolder()
{
    const char* szBuild = std::getenv("ORV_BUILD_DIR");
    QDir dir(szBuild != nullptr && *szBuild != '\0' ? QString::fromLocal8Bit(szBuild) : QDir::currentPath());
    dir.mkpath(QStringLiteral("screenshots"));
    return dir.filePath(QStringLiteral("screenshots"));
}

bool IsBlueish(QRgb rgb)
{
    return qBlue(rgb) >= 160 && qRed(rgb) <= 100 && qGreen(rgb) <= 100;
}

bool IsReddish(QRgb rgb)
{
    return qRed(rgb) >= 160 && qBlue(rgb) <= 100 && qGreen(rgb) <= 100;
}

bool IsDark(QRgb rgb)
{
    return qRed(rgb) < 90 && qGreen(rgb) < 90 && qBlue(rgb) < 90;
}

// Pixels of a part of an image that pass a colour test.
int CountPixels(const QImage& image, const QRect& rc, bool (*pfnTest)(QRgb))
{
    int iCount = 0;
    const QRect rcClipped = rc.intersected(image.rect());
    for (int y = rcClipped.top(); y <= rcClipped.bottom(); ++y) {
        for (int x = rcClipped.left(); x <= rcClipped.right(); ++x) {
            if (pfnTest(image.pixel(x, y))) {
                ++iCount;
            }
        }
    }
    return iCount;
}

// The dialog with its open list drawn where it lies, at the screen's scale.
QImage GrabWithOpenList(COrvprintDDlgQtView& v, QComboBox* pCombo)
{
    QWidget* pPopup = pCombo->view()->window();
    const qreal dScale = v.devicePixelRatioF();
    QImage image = v.grab().toImage().convertToFormat(QImage::Format_ARGB32);
    // Where the list lies: over the combo box with its current item on the
    // field, as the style places it (computed here, because the offscreen
    // platform places popups of a scaled screen at half their position).
    const QPoint ptCombo = pCombo->mapTo(&v, QPoint(0, 0));
    const QRect rcCurrent = pCombo->view()->visualRect(pCombo->view()->currentIndex());
    const QPoint ptOffset(0, rcCurrent.isValid() ? -pCombo->view()->viewport()->mapTo(pPopup, rcCurrent.topLeft()).y()
                                                 : pCombo->height());
    const QPoint ptPopup = (ptCombo + ptOffset) * dScale;
    QImage imagePopup = pPopup->grab().toImage();
    // Drawn pixel for pixel.
    image.setDevicePixelRatio(1);
    imagePopup.setDevicePixelRatio(1);
    QImage imageAll(image.width(), qMax(image.height(), ptPopup.y() + imagePopup.height()), QImage::Format_ARGB32);
    imageAll.fill(Qt::white);
    QPainter painter(&imageAll);
    painter.drawImage(0, 0, image);
    painter.drawImage(ptPopup, imagePopup);
    painter.end();
    return imageAll;
}

class OrvprintDDlgQtViewTest : public ::testing::Test {
protected:
    typedef std::function<void(COrvprintDDlgQtView&)> Script;

    void SetUp() override
    {
        QtApp();
        COrvprintDDlgQtView::SetMessageBoxHandler(
            [this](QWidget*, const QString& strCaption, const QString& strText) {
                m_vecCaptions.push_back(strCaption);
                m_vecMessages.push_back(strText);
            });
    }

    void TearDown() override { COrvprintDDlgQtView::SetMessageBoxHandler(nullptr); }

    // Runs the dialog; the script runs from the dialog's own modal loop.
    int Run(Script fnScript)
    {
        m_vecRequest = m_request.Build();
        m_uiRecvSize = m_vecRequest.size();
        m_abyReply.fill(0xAB);
        m_uiRespSize = 44;
        m_pDlg.reset(new COrvprintDDlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize));
        m_pDlg->SetViewFactory([this](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<COrvprintDDlgQtView> pView(new COrvprintDDlgQtView(objEvents));
            m_pView = pView.get();
            return std::unique_ptr<IOrvprintDDlgView>(std::move(pView));
        });
        m_pDlg->SetConfigFactory([this]() -> std::shared_ptr<IOrvprintDDlgConfig> { return m_spConfig; });
        m_pDlg->SetClock([this]() { return m_tpNow; });

        QTimer::singleShot(0, [this, fnScript]() {
            fnScript(*m_pView);
            // A script that forgot to close the dialog must not hang the run.
            if (m_pView->isVisible()) {
                ADD_FAILURE() << "the script left the dialog open";
                m_pView->done(99);
            }
        });
        return m_pDlg->DoModal();
    }

    // Runs a dialog whose settings cannot be read; fnFirst runs first in
    // the modal loop with the window (known once the dialog has made it).
    int RunWithUnreadableSettings(const std::function<void(COrvprintDDlgQtView*&)>& fnFirst)
    {
        m_request.Printer(u"P1", u"Printer 1").Project(u"J1", u"X");
        m_vecRequest = m_request.Build();
        m_uiRecvSize = m_vecRequest.size();
        m_abyReply.fill(0xAB);
        m_uiRespSize = 44;
        COrvprintDDlg dlg(m_vecRequest.data(), &m_uiRecvSize, m_abyReply.data(), &m_uiRespSize);
        COrvprintDDlgQtView* pView = nullptr;
        dlg.SetViewFactory([&pView](IOrvprintDDlgEvents& objEvents) {
            std::unique_ptr<COrvprintDDlgQtView> p(new COrvprintDDlgQtView(objEvents));
            pView = p.get();
            return std::unique_ptr<IOrvprintDDlgView>(std::move(p));
        });
        dlg.SetConfigFactory([]() -> std::shared_ptr<IOrvprintDDlgConfig> { throw COrvConfigException(0); });
        QTimer::singleShot(0, [&]() { fnFirst(pView); });
        return dlg.DoModal();
    }

    int32_t ReplyResult() const
    {
        int32_t iResult;
        std::memcpy(&iResult, m_abyReply.data(), 4);
        return iResult;
    }

    std::u16string ReplyId(size_t uiOffset) const
    {
        std::u16string str;
        for (size_t i = 0; i < 10; ++i) {
            char16_t ch;
            std::memcpy(&ch, m_abyReply.data() + uiOffset + 2 * i, 2);
            if (ch == u'\0') {
                break;
            }
            str.push_back(ch);
        }
        return str;
    }

    CJobRequestBuilder m_request;
    std::shared_ptr<CFakeDlgConfig> m_spConfig = std::make_shared<CFakeDlgConfig>();
    std::vector<uint8_t> m_vecRequest;
    uint64_t m_uiRecvSize = 0;
    std::array<uint8_t, 44> m_abyReply{};
    uint64_t m_uiRespSize = 0;
    std::unique_ptr<COrvprintDDlg> m_pDlg;
    COrvprintDDlgQtView* m_pView = nullptr;
    std::vector<QString> m_vecCaptions;
    std::vector<QString> m_vecMessages;
    std::chrono::steady_clock::time_point m_tpNow = std::chrono::steady_clock::time_point() + std::chrono::hours(1);
};

QStringList Items(QComboBox* pCombo)
{
    QStringList list;
    for (int i = 0; i < pCombo->count(); ++i) {
        list.append(pCombo->itemText(i));
    }
    return list;
}

QString Q(const wchar_t* szText) { return QString::fromWCharArray(szText); }

// Text committed by an input method, as a Chinese IME sends it.
void Commit(QWidget* pWidget, const QString& strText)
{
    QInputMethodEvent event;
    event.setCommitString(strText);
    QApplication::sendEvent(pWidget, &event);
}

// The auto-cancel's timer fires (its clock is the test's).
void FireTimer(COrvprintDDlgQtView& v)
{
    ASSERT_TRUE(QMetaObject::invokeMethod(v.AutoCancelTimer(), "timeout", Qt::DirectConnection));
}

void FillThreePrinters(CJobRequestBuilder& request)
{
    request.Printer(u"P1", u"三楼彩色打印机", 0, false, 2, 15, 200, u"行政部")
        .Printer(u"P2", u"四楼黑白打印机", 1, false, 1, 3, 100)
        .Printer(u"P3", u"HP LaserJet 5200", 0, true, 1, 900, 500)
        .Project(u"J1", u"研发项目")
        .Project(u"J2", u"市场推广");
}

} // namespace

TEST_F(OrvprintDDlgQtViewTest, WindowTitleFlagsAndTexts)
{
    m_request.Printer(u"P1", u"Printer 1").Project(u"J1", u"X");
    Run([](COrvprintDDlgQtView& v) {
        EXPECT_EQ(QString::fromStdWString(L"请选择打印选项"), v.windowTitle());
        EXPECT_TRUE(v.windowFlags() & Qt::WindowStaysOnTopHint);
        EXPECT_EQ(nullptr, v.parentWidget()); // a window of its own, on the task bar
        EXPECT_TRUE(v.isModal());
        EXPECT_FALSE(v.windowIcon().isNull());
        EXPECT_EQ(QString::fromStdWString(L"确定"), v.OkButton()->text());
        EXPECT_EQ(QString::fromStdWString(L"取消打印"), v.CancelButton()->text());
        EXPECT_TRUE(v.OkButton()->isDefault());
        EXPECT_EQ(QString::fromStdWString(L"选择项目"), v.ProjectGroup()->title());
        EXPECT_EQ(QString::fromStdWString(L"项目名称："), v.ProjectLabel()->text());
        EXPECT_EQ(QString::fromStdWString(L"详细信息："), v.ProjectDetailsLabel()->text());
        EXPECT_TRUE(v.Marker()->isHidden());
        EXPECT_TRUE(v.PrinterDetails()->isReadOnly());
        EXPECT_TRUE(v.ProjectDetails()->isReadOnly());
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, TemplateGeometryInDialogUnits)
{
    m_request.Printer(u"P1", u"Printer 1").Project(u"J1", u"X");
    Run([](COrvprintDDlgQtView& v) {
        EXPECT_EQ(v.DluToPixelsX(299), v.width());
        EXPECT_EQ(v.DluToPixelsY(210), v.height());
        EXPECT_EQ(QRect(v.DluToPixelsX(60), v.DluToPixelsY(187), v.DluToPixelsX(72), v.DluToPixelsY(16)),
                  v.OkButton()->geometry());
        EXPECT_EQ(QRect(v.DluToPixelsX(174), v.DluToPixelsY(187), v.DluToPixelsX(72), v.DluToPixelsY(16)),
                  v.CancelButton()->geometry());
        EXPECT_EQ(QPoint(v.DluToPixelsX(72), v.DluToPixelsY(18)), v.PrinterCombo()->pos());
        EXPECT_EQ(v.DluToPixelsX(192), v.PrinterCombo()->width());
        EXPECT_EQ(QRect(v.DluToPixelsX(72), v.DluToPixelsY(126), v.DluToPixelsX(192), v.DluToPixelsY(42)),
                  v.ProjectDetails()->geometry());
        EXPECT_EQ(QRect(v.DluToPixelsX(278), v.DluToPixelsY(119), v.DluToPixelsX(14), v.DluToPixelsY(38)),
                  v.Marker()->geometry());
        // 9-point dialog font: the base units are those of a CJK UI face.
        EXPECT_GT(v.DluToPixelsX(4), 3);
        EXPECT_GT(v.DluToPixelsY(8), 9);
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, FillingDetailsAndOkState)
{
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](COrvprintDDlgQtView& v) {
                  CMyComboBox* pPrinters = v.PrinterCombo();
                  ASSERT_EQ(3, pPrinters->count());
                  EXPECT_EQ(QString::fromStdWString(L"三楼彩色打印机"), pPrinters->itemText(0));
                  EXPECT_EQ(QString::fromStdWString(L"HP LaserJet 5200"), pPrinters->itemText(2));
                  EXPECT_EQ(L"打印任务数：2，打印任务总页数：15", pPrinters->GetItemInfo(0)->strDescription);
                  EXPECT_TRUE(pPrinters->GetItemInfo(0)->bEnabled);
                  EXPECT_FALSE(pPrinters->GetItemInfo(1)->bEnabled);
                  EXPECT_FALSE(pPrinters->GetItemInfo(2)->bEnabled);
                  ASSERT_EQ(2, v.ProjectCombo()->count());
                  EXPECT_EQ(0, pPrinters->currentIndex());
                  EXPECT_EQ(0, v.ProjectCombo()->currentIndex());
                  EXPECT_EQ(QString::fromStdWString(L"打印机名：三楼彩色打印机\n打印机状态：打印任务数(2)，打印任务总页数(15)\n"
                                                    L"最大打印页数：200\n详细信息：行政部"),
                            v.PrinterDetails()->toPlainText());
                  EXPECT_EQ(QString::fromStdWString(L"项目名 : 研发项目\n项目ID : J1\n"),
                            v.ProjectDetails()->toPlainText());
                  EXPECT_TRUE(v.OkButton()->isEnabled());

                  // The user moves to the expired printer with the keyboard.
                  pPrinters->setFocus();
                  QTest::keyClick(pPrinters, Qt::Key_Down);
                  EXPECT_EQ(1, pPrinters->currentIndex());
                  EXPECT_TRUE(v.PrinterDetails()->toPlainText().contains(QString::fromStdWString(L"已超出使用时间。")));
                  EXPECT_FALSE(v.OkButton()->isEnabled());
                  QTest::keyClick(pPrinters, Qt::Key_Down);
                  EXPECT_FALSE(v.OkButton()->isEnabled());
                  QTest::keyClick(pPrinters, Qt::Key_Home);
                  EXPECT_EQ(0, pPrinters->currentIndex());
                  EXPECT_TRUE(v.OkButton()->isEnabled());

                  // And to the second project.
                  v.ProjectCombo()->setFocus();
                  QTest::keyClick(v.ProjectCombo(), Qt::Key_Down);
                  EXPECT_EQ(QString::fromStdWString(L"项目名 : 市场推广\n项目ID : J2\n"),
                            v.ProjectDetails()->toPlainText());
                  QTest::mouseClick(v.OkButton(), Qt::LeftButton);
              }));
    EXPECT_EQ(0, ReplyResult());
    EXPECT_EQ(u"P1", ReplyId(4));
    EXPECT_EQ(u"J2", ReplyId(24));
    EXPECT_EQ(L"三楼彩色打印机", m_spConfig->m_strDefaultPrinter);
    EXPECT_EQ(L"市场推广", m_spConfig->m_strDefaultProject);
}

TEST_F(OrvprintDDlgQtViewTest, DefaultSelectionByPrefix)
{
    m_spConfig->m_strDefaultPrinter = L"hp laser";
    m_spConfig->m_strDefaultProject = L"市场";
    FillThreePrinters(m_request);
    m_request.Printer(u"P4", u"hp laserjet mono");
    Run([](COrvprintDDlgQtView& v) {
        EXPECT_EQ(2, v.PrinterCombo()->currentIndex());
        EXPECT_EQ(1, v.ProjectCombo()->currentIndex());
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, MissingDefaultLeavesNoSelectionAndOkDisabled)
{
    m_spConfig->m_strDefaultPrinter = L"no such printer";
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        EXPECT_EQ(-1, v.PrinterCombo()->currentIndex());
        EXPECT_EQ(QString::fromStdWString(L"请选择打印机"), v.PrinterDetails()->toPlainText());
        EXPECT_FALSE(v.OkButton()->isEnabled());
        v.CancelButton()->click();
    });
    EXPECT_EQ(1, ReplyResult());
}

TEST_F(OrvprintDDlgQtViewTest, NoPrintersOnlyCancelLeaves)
{
    m_request.Project(u"J1", u"X");
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](COrvprintDDlgQtView& v) {
                  EXPECT_EQ(0, v.PrinterCombo()->count());
                  EXPECT_EQ(QString::fromStdWString(L"没有可选择的打印机"), v.PrinterDetails()->toPlainText());
                  EXPECT_FALSE(v.OkButton()->isEnabled());
                  QTest::mouseClick(v.OkButton(), Qt::LeftButton); // disabled: nothing happens
                  EXPECT_TRUE(v.isVisible());
                  QTest::mouseClick(v.CancelButton(), Qt::LeftButton);
              }));
    EXPECT_EQ(1, ReplyResult());
}

TEST_F(OrvprintDDlgQtViewTest, EscapeCancels)
{
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](COrvprintDDlgQtView& v) {
                  v.ProjectCombo()->setFocus();
                  QTest::keyClick(v.ProjectCombo(), Qt::Key_Down);
                  QTest::keyClick(&v, Qt::Key_Escape);
              }));
    EXPECT_EQ(1, ReplyResult());
    EXPECT_EQ(u"", ReplyId(4));
    EXPECT_EQ(u"", ReplyId(24));
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
}

TEST_F(OrvprintDDlgQtViewTest, CloseBoxCancels)
{
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](COrvprintDDlgQtView& v) { v.close(); }));
    EXPECT_EQ(1, ReplyResult());
}

TEST_F(OrvprintDDlgQtViewTest, HiddenProjectSectionShrinksTheWindow)
{
    m_spConfig->m_bDisplayProjectSelection = false;
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](COrvprintDDlgQtView& v) {
                  EXPECT_TRUE(v.ProjectGroup()->isHidden());
                  EXPECT_TRUE(v.ProjectLabel()->isHidden());
                  EXPECT_TRUE(v.ProjectDetailsLabel()->isHidden());
                  EXPECT_TRUE(v.ProjectCombo()->isHidden());
                  EXPECT_TRUE(v.ProjectDetails()->isHidden());
                  EXPECT_FALSE(v.OkButton()->isHidden());
                  EXPECT_FALSE(v.CancelButton()->isHidden());

                  // The bottom edge is at the marker's top.
                  EXPECT_EQ(v.Marker()->geometry().top(), v.height());
                  EXPECT_EQ(v.DluToPixelsY(119), v.height());
                  EXPECT_EQ(v.DluToPixelsX(299), v.width());
                  // The buttons keep their distance to the bottom edge.
                  const int iOldGap = v.DluToPixelsY(210) - (v.DluToPixelsY(187) + v.DluToPixelsY(16));
                  EXPECT_EQ(iOldGap, v.height() - (v.OkButton()->geometry().bottom() + 1));
                  EXPECT_EQ(iOldGap, v.height() - (v.CancelButton()->geometry().bottom() + 1));
                  EXPECT_EQ(v.DluToPixelsX(60), v.OkButton()->x());
                  EXPECT_EQ(v.DluToPixelsX(174), v.CancelButton()->x());
                  // The printer part did not move.
                  EXPECT_EQ(v.DluToPixelsY(18), v.PrinterCombo()->y());
                  v.OkButton()->click();
              }));
    EXPECT_EQ(u"J1", ReplyId(24));
}

TEST_F(OrvprintDDlgQtViewTest, ItemHeightIsBoldPlusThinHeightOfSample)
{
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        CMyComboBox* pCombo = v.PrinterCombo();
        const int iPixels = QFontInfo(pCombo->font()).pixelSize();
        QFont fontBold = pCombo->font();
        fontBold.setWeight(QFont::Bold);
        fontBold.setPixelSize(static_cast<int>(static_cast<float>(iPixels) * 1.2f));
        QFont fontThin = pCombo->font();
        fontThin.setWeight(QFont::Thin);
        fontThin.setPixelSize(iPixels);
        const QString strSample = QString::fromStdWString(L"中文");
        const int iExpected = QFontMetrics(fontBold).size(Qt::TextSingleLine, strSample).height() +
                              QFontMetrics(fontThin).size(Qt::TextSingleLine, strSample).height();
        EXPECT_GT(iExpected, 2 * iPixels);

        EXPECT_EQ(iExpected, pCombo->MeasureItem());
        EXPECT_EQ(QFontInfo(pCombo->BoldFont()).pixelSize(), static_cast<int>(iPixels * 1.2f));
        EXPECT_TRUE(pCombo->BoldFont().bold());
        EXPECT_EQ(QFont::Thin, pCombo->ThinFont().weight());

        // Every item of the open list has that height, whatever its text.
        pCombo->showPopup();
        QAbstractItemView* pList = pCombo->view();
        for (int i = 0; i < pCombo->count(); ++i) {
            EXPECT_EQ(iExpected, pList->visualRect(pCombo->model()->index(i, 0)).height()) << "item " << i;
        }
        pCombo->hidePopup();
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, OpenListDrawsBlueAndRedSecondLines)
{
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        CMyComboBox* pCombo = v.PrinterCombo();
        pCombo->showPopup();
        QAbstractItemView* pList = pCombo->view();
        // Highlight the enabled item 0 and look at all three.
        pList->setCurrentIndex(pCombo->model()->index(0, 0));
        const QImage image = pList->viewport()->grab().toImage();

        const int iBoldHeight = QFontMetrics(pCombo->BoldFont()).height();
        for (int i = 0; i < pCombo->count(); ++i) {
            const QRect rcItem = pList->visualRect(pCombo->model()->index(i, 0));
            const QRect rcName(rcItem.left(), rcItem.top(), rcItem.width(), iBoldHeight);
            const QRect rcLine(rcItem.left(), rcItem.top() + iBoldHeight, rcItem.width(),
                               rcItem.height() - iBoldHeight);
            const bool bEnabled = pCombo->GetItemInfo(i)->bEnabled;
            if (bEnabled) {
                EXPECT_GT(CountPixels(image, rcLine, IsBlueish), 10) << "item " << i;
                EXPECT_EQ(0, CountPixels(image, rcLine, IsReddish)) << "item " << i;
            } else {
                EXPECT_GT(CountPixels(image, rcLine, IsReddish), 10) << "item " << i;
                EXPECT_EQ(0, CountPixels(image, rcLine, IsBlueish)) << "item " << i;
            }
            // The name line is neither blue nor red.
            EXPECT_EQ(0, CountPixels(image, rcName, IsReddish)) << "item " << i;
        }
        // The highlighted item's background is the highlight colour.
        const QRect rcFirst = pList->visualRect(pCombo->model()->index(0, 0));
        EXPECT_EQ(pList->palette().color(QPalette::Highlight).rgb(),
                  (image.pixel(rcFirst.right() - 2, rcFirst.top() + 1) | 0xFF000000u));
        pCombo->hidePopup();
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, ClosedFieldShowsTheNameInBlackOnly)
{
    m_spConfig->m_strDefaultPrinter = L"四楼"; // the disabled printer
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        CMyComboBox* pCombo = v.PrinterCombo();
        ASSERT_EQ(1, pCombo->currentIndex());
        const QImage image = pCombo->grab().toImage();
        EXPECT_GT(CountPixels(image, image.rect(), IsDark), 20);
        EXPECT_EQ(0, CountPixels(image, image.rect(), IsReddish));
        EXPECT_EQ(0, CountPixels(image, image.rect(), IsBlueish));
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, ConfigFailureShowsMessageBoxWithApplicationTitle)
{
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, RunWithUnreadableSettings([](COrvprintDDlgQtView*& pView) {
                  EXPECT_EQ(0, pView->PrinterCombo()->count());
                  EXPECT_TRUE(pView->OkButton()->isEnabled());
                  pView->CancelButton()->click();
              }));
    ASSERT_EQ(1u, m_vecMessages.size());
    EXPECT_EQ(QString::fromStdWString(L"读取配置文件失败。"), m_vecMessages[0]);
    EXPECT_EQ(QStringLiteral("OrvprintD"), m_vecCaptions[0]);
}

TEST_F(OrvprintDDlgQtViewTest, OkAfterConfigFailureAnswersAsCancel)
{
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, RunWithUnreadableSettings([](COrvprintDDlgQtView*& pView) {
                  ASSERT_TRUE(pView->OkButton()->isEnabled());
                  QTest::mouseClick(pView->OkButton(), Qt::LeftButton);
              }));
    ASSERT_EQ(1u, m_vecMessages.size());
    EXPECT_EQ(QString::fromStdWString(L"读取配置文件失败。"), m_vecMessages[0]);
    EXPECT_EQ(1, ReplyResult());
    EXPECT_EQ(std::vector<uint8_t>(40, 0), std::vector<uint8_t>(m_abyReply.begin() + 4, m_abyReply.end()));
    EXPECT_EQ(44u, m_uiRespSize);
}

TEST_F(OrvprintDDlgQtViewTest, RealMessageBoxIsAnsweredWithOk)
{
    COrvprintDDlgQtView::SetMessageBoxHandler(nullptr);
    QString strText;
    QString strTitle;
    int iButtons = 0;
    // The box is up before the dialog's own loop: answer it from its loop,
    // then cancel the dialog from the dialog's loop.
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, RunWithUnreadableSettings([&](COrvprintDDlgQtView*& pView) {
                  QMessageBox* pBox = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
                  ASSERT_NE(nullptr, pBox);
                  strText = pBox->text();
                  strTitle = pBox->windowTitle();
                  iButtons = static_cast<int>(pBox->buttons().size());
                  QTimer::singleShot(0, [&pView]() { pView->CancelButton()->click(); });
                  pBox->button(QMessageBox::Ok)->click();
              }));
    EXPECT_EQ(QString::fromStdWString(L"读取配置文件失败。"), strText);
    EXPECT_EQ(QStringLiteral("OrvprintD"), strTitle);
    EXPECT_EQ(1, iButtons);
}

// Pictures of the window for people to look at (not compared).
TEST_F(OrvprintDDlgQtViewTest, Screenshots)
{
    const QString strFolder = ScreenshotFolder();
    FillThreePrinters(m_request);
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_spConfig->m_bCanSelectNoProject = true;
    m_spConfig->m_strDefaultPrinter = L"三楼";
    m_spConfig->m_strDefaultProject = L"研发";
    Run([&strFolder](COrvprintDDlgQtView& v) {
        EXPECT_TRUE(v.grab().save(strFolder + QStringLiteral("/qt-dialog.png")));

        CMyComboBox* pCombo = v.PrinterCombo();
        pCombo->showPopup();
        EXPECT_TRUE(GrabWithOpenList(v, pCombo).save(strFolder + QStringLiteral("/qt-dialog-list-open.png")));
        pCombo->hidePopup();
        v.CancelButton()->click();
    });

    m_spConfig->m_bDisplayProjectSelection = false;
    Run([&strFolder](COrvprintDDlgQtView& v) {
        EXPECT_TRUE(v.grab().save(strFolder + QStringLiteral("/qt-dialog-no-projects.png")));
        v.CancelButton()->click();
    });
}

// ------------------------------------------------------------ type to search

TEST_F(OrvprintDDlgQtViewTest, TypingFiltersTheClosedListAndOpensIt)
{
    m_spConfig->m_bCanSelectNoPrinter = true;
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](COrvprintDDlgQtView& v) {
                  CMyComboBox* pCombo = v.PrinterCombo();
                  pCombo->setFocus();
                  EXPECT_EQ(nullptr, v.SearchLabel(IOrvprintDDlgView::PRINTER_LIST));
                  QTest::keyClicks(pCombo, QStringLiteral("hp"));
                  EXPECT_EQ((QStringList{Q(L"漫游打印(SG认证)"), Q(L"HP LaserJet 5200")}), Items(pCombo));
                  EXPECT_TRUE(pCombo->view()->window()->isVisible()); // typing opened the list
                  ASSERT_NE(nullptr, v.SearchLabel(IOrvprintDDlgView::PRINTER_LIST));
                  EXPECT_TRUE(v.SearchLabel(IOrvprintDDlgView::PRINTER_LIST)->isVisible());
                  EXPECT_EQ(QStringLiteral("hp"), v.SearchLabel(IOrvprintDDlgView::PRINTER_LIST)->text());
                  // Further keys go to the open list.
                  QTest::keyClick(pCombo->view(), Qt::Key_Backspace);
                  QTest::keyClick(pCombo->view(), Qt::Key_Backspace);
                  EXPECT_EQ(4, pCombo->count());
                  EXPECT_FALSE(v.SearchLabel(IOrvprintDDlgView::PRINTER_LIST)->isVisible());
                  Commit(pCombo->view(), Q(L"四楼"));
                  EXPECT_EQ((QStringList{Q(L"漫游打印(SG认证)"), Q(L"四楼黑白打印机")}), Items(pCombo));
                  // Choose row 1 (item 2): the real record is used.
                  pCombo->view()->setCurrentIndex(pCombo->model()->index(1, 0));
                  QTest::keyClick(pCombo->view(), Qt::Key_Return);
                  QApplication::processEvents();
                  EXPECT_EQ(4, pCombo->count());
                  EXPECT_EQ(2, pCombo->currentIndex());
                  EXPECT_TRUE(v.PrinterDetails()->toPlainText().contains(Q(L"已超出使用时间。")));
                  EXPECT_FALSE(v.OkButton()->isEnabled());
                  v.SetCurSel(IOrvprintDDlgView::PRINTER_LIST, 1);
                  QTest::keyClick(pCombo, Qt::Key_Up); // back to the roaming entry with the keyboard
                  EXPECT_EQ(0, pCombo->currentIndex());
                  EXPECT_TRUE(v.OkButton()->isEnabled());
                  v.OkButton()->click();
              }));
    EXPECT_EQ(0, ReplyResult());
    EXPECT_EQ(u"", ReplyId(4));
}

TEST_F(OrvprintDDlgQtViewTest, InputMethodCommitFiltersProjects)
{
    m_spConfig->m_bCanSelectNoProject = true;
    FillThreePrinters(m_request);
    m_request.Project(u"J3", u"研发二部").Project(u"J4", u"项目\U0002A6A5");
    EXPECT_EQ(COrvprintDDlg::RESULT_OK, Run([](COrvprintDDlgQtView& v) {
                  QComboBox* pCombo = v.ProjectCombo();
                  pCombo->setFocus();
                  Commit(pCombo, Q(L"研发"));
                  EXPECT_EQ((QStringList{Q(L"(不选择项目)"), Q(L"研发项目"), Q(L"研发二部")}), Items(pCombo));
                  Commit(pCombo->view(), Q(L"二"));
                  EXPECT_EQ((QStringList{Q(L"(不选择项目)"), Q(L"研发二部")}), Items(pCombo));
                  // Escape clears the text first and leaves the dialog open.
                  QTest::keyClick(pCombo->view(), Qt::Key_Escape);
                  EXPECT_TRUE(v.isVisible());
                  EXPECT_EQ(5, pCombo->count());
                  // A character beyond the BMP (a surrogate pair in UTF-16).
                  Commit(pCombo->view(), QString::fromStdU16String(u"\U0002A6A5"));
                  EXPECT_EQ((QStringList{Q(L"(不选择项目)"), QString::fromStdU16String(u"项目\U0002A6A5")}),
                            Items(pCombo));
                  pCombo->view()->setCurrentIndex(pCombo->model()->index(1, 0));
                  QTest::keyClick(pCombo->view(), Qt::Key_Return);
                  QApplication::processEvents();
                  EXPECT_EQ(5, pCombo->count());
                  EXPECT_EQ(4, pCombo->currentIndex());
                  v.OkButton()->click();
              }));
    EXPECT_EQ(u"J4", ReplyId(24));
}

TEST_F(OrvprintDDlgQtViewTest, EscapeClearsTypedTextThenCancels)
{
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([](COrvprintDDlgQtView& v) {
                  v.ProjectCombo()->setFocus();
                  QTest::keyClicks(v.ProjectCombo(), QStringLiteral("x"));
                  EXPECT_EQ(0, v.ProjectCombo()->count()); // no project matches
                  QTest::keyClick(v.ProjectCombo(), Qt::Key_Escape);
                  EXPECT_TRUE(v.isVisible());
                  EXPECT_EQ(2, v.ProjectCombo()->count());
                  EXPECT_EQ(0, v.ProjectCombo()->currentIndex());
                  QTest::keyClick(v.ProjectCombo(), Qt::Key_Escape);
              }));
    EXPECT_EQ(1, ReplyResult());
}

// ----------------------------------------------------------------- keyboard

TEST_F(OrvprintDDlgQtViewTest, TabOrderIsTheTemplateOrderAndF4OrAltDownOpenAList)
{
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        const std::vector<QWidget*> vecOrder = {v.OkButton(),      v.CancelButton(),   v.PrinterCombo(),
                                                v.ProjectCombo(),  v.PrinterDetails(), v.ProjectDetails()};
        v.OkButton()->setFocus();
        for (size_t i = 1; i <= vecOrder.size(); ++i) {
            QTest::keyClick(v.focusWidget(), Qt::Key_Tab);
            EXPECT_EQ(vecOrder[i % vecOrder.size()], v.focusWidget()) << "step " << i;
        }
        v.PrinterCombo()->setFocus();
        QTest::keyClick(v.PrinterCombo(), Qt::Key_F4);
        EXPECT_TRUE(v.PrinterCombo()->view()->window()->isVisible());
        v.PrinterCombo()->hidePopup();
        v.ProjectCombo()->setFocus();
        QTest::keyClick(v.ProjectCombo(), Qt::Key_Down, Qt::AltModifier);
        EXPECT_TRUE(v.ProjectCombo()->view()->window()->isVisible());
        v.ProjectCombo()->hidePopup();
        v.CancelButton()->click();
    });
}

TEST_F(OrvprintDDlgQtViewTest, AccessibleNamesAndPrinterItemTexts)
{
    FillThreePrinters(m_request);
    Run([](COrvprintDDlgQtView& v) {
        auto name = [](QObject* pObject) {
            QAccessibleInterface* pAcc = QAccessible::queryAccessibleInterface(pObject);
            return pAcc != nullptr ? pAcc->text(QAccessible::Name) : QStringLiteral("<none>");
        };
        // Qt on Linux gives a drop-down list's current text as its name and
        // names it through its label relation; both carry the label.
        auto label = [](QObject* pObject) {
            QAccessibleInterface* pAcc = QAccessible::queryAccessibleInterface(pObject);
            const auto vecLabels = pAcc->relations(QAccessible::Label);
            return vecLabels.isEmpty() ? QString() : vecLabels.first().first->text(QAccessible::Name);
        };
        EXPECT_EQ(Q(L"打印机名"), v.PrinterCombo()->accessibleName());
        EXPECT_EQ(Q(L"项目名称"), v.ProjectCombo()->accessibleName());
        EXPECT_EQ(Q(L"打印机名："), label(v.PrinterCombo()));
        EXPECT_EQ(Q(L"项目名称："), label(v.ProjectCombo()));
        EXPECT_EQ(Q(L"详细信息"), name(v.PrinterDetails()));
        EXPECT_EQ(Q(L"详细信息"), name(v.ProjectDetails()));

        // Each printer of the open list: its name and its state line.
        QAccessibleInterface* pList = QAccessible::queryAccessibleInterface(v.PrinterCombo()->view());
        ASSERT_NE(nullptr, pList);
        ASSERT_EQ(3, pList->childCount());
        const wchar_t* aszNames[] = {L"三楼彩色打印机", L"四楼黑白打印机", L"HP LaserJet 5200"};
        const wchar_t* aszLines[] = {L"打印任务数：2，打印任务总页数：15", L"已超出使用时间。",
                                     L"当前打印任务总页数超出打印机限制。"};
        for (int i = 0; i < 3; ++i) {
            QAccessibleInterface* pItem = pList->child(i);
            ASSERT_NE(nullptr, pItem);
            EXPECT_EQ(Q(aszNames[i]), pItem->text(QAccessible::Name)) << "item " << i;
            EXPECT_EQ(Q(aszLines[i]), pItem->text(QAccessible::Description)) << "item " << i;
        }
        v.CancelButton()->click();
    });
}

// -------------------------------------------------------------- auto-cancel

TEST_F(OrvprintDDlgQtViewTest, AutoCancelShowsSecondsAndCancelsAtZero)
{
    m_spConfig->m_uiAutoCancelSeconds = 5;
    FillThreePrinters(m_request);
    EXPECT_EQ(COrvprintDDlg::RESULT_CANCEL, Run([this](COrvprintDDlgQtView& v) {
                  EXPECT_EQ(Q(L"取消打印 (5)"), v.CancelButton()->text());
                  EXPECT_TRUE(v.AutoCancelTimer()->isActive());
                  m_tpNow += std::chrono::seconds(2);
                  FireTimer(v);
                  EXPECT_EQ(Q(L"取消打印 (3)"), v.CancelButton()->text());
                  m_tpNow += std::chrono::seconds(3);
                  FireTimer(v);
                  EXPECT_FALSE(v.isVisible());
              }));
    EXPECT_EQ(1, ReplyResult());
    EXPECT_EQ(u"", ReplyId(4));
    EXPECT_EQ(u"", ReplyId(24));
    EXPECT_EQ(44u, m_uiRespSize);
    EXPECT_EQ(0, m_spConfig->m_iSetPrinterCalls);
}

TEST_F(OrvprintDDlgQtViewTest, AKeyAClickOrAnOpenedListStopsTheAutoCancel)
{
    m_spConfig->m_uiAutoCancelSeconds = 5;
    FillThreePrinters(m_request);
    auto stopsAfter = [this](std::function<void(COrvprintDDlgQtView&)> fnInput) {
        Run([this, fnInput](COrvprintDDlgQtView& v) {
            EXPECT_EQ(Q(L"取消打印 (5)"), v.CancelButton()->text());
            fnInput(v);
            EXPECT_EQ(Q(L"取消打印"), v.CancelButton()->text());
            EXPECT_FALSE(v.AutoCancelTimer()->isActive());
            m_tpNow += std::chrono::seconds(10);
            FireTimer(v);
            EXPECT_TRUE(v.isVisible());
            v.CancelButton()->click();
        });
    };
    stopsAfter([](COrvprintDDlgQtView& v) { QTest::keyClick(v.PrinterCombo(), Qt::Key_Shift); });
    stopsAfter([](COrvprintDDlgQtView& v) { QTest::mouseClick(v.PrinterDetails()->viewport(), Qt::LeftButton); });
    stopsAfter([](COrvprintDDlgQtView& v) {
        v.ProjectCombo()->showPopup();
        v.ProjectCombo()->hidePopup();
    });
}

// ----------------------------------------------------------------- high DPI

// Every text fits its control and the owner-drawn items their rows, at the
// screen's scale: ctest runs this once more with QT_SCALE_FACTOR=2.
TEST_F(OrvprintDDlgQtViewTest, HighDpiNothingIsClipped)
{
    const QString strFolder = ScreenshotFolder();
    const QByteArray strScale = qgetenv("QT_SCALE_FACTOR");
    m_spConfig->m_bCanSelectNoPrinter = true;
    m_spConfig->m_bCanSelectNoProject = true;
    m_spConfig->m_strDefaultPrinter = L"三楼";
    m_spConfig->m_strDefaultProject = L"研发";
    FillThreePrinters(m_request);
    Run([&](COrvprintDDlgQtView& v) {
        const qreal dScale = v.devicePixelRatioF();
        if (!strScale.isEmpty()) {
            EXPECT_DOUBLE_EQ(strScale.toDouble(), dScale);
        }
        // The picture has the screen's pixels.
        const QImage imageDialog = v.grab().toImage();
        EXPECT_EQ(qRound(v.width() * dScale), imageDialog.width());

        for (QLabel* pLabel : v.findChildren<QLabel*>()) {
            if (pLabel->isHidden() || pLabel->text().isEmpty()) {
                continue;
            }
            const QFontMetrics fm(pLabel->font());
            EXPECT_LE(fm.horizontalAdvance(pLabel->text()), pLabel->contentsRect().width()) << pLabel->text().toStdString();
            EXPECT_LE(fm.height(), pLabel->contentsRect().height()) << pLabel->text().toStdString();
        }
        for (QPushButton* pButton : {v.OkButton(), v.CancelButton()}) {
            const QFontMetrics fm(pButton->font());
            EXPECT_LE(fm.horizontalAdvance(QString::fromStdWString(L"取消打印 (86400)")), pButton->width());
            EXPECT_LE(fm.height(), pButton->height());
        }
        for (QComboBox* pCombo : {static_cast<QComboBox*>(v.PrinterCombo()), v.ProjectCombo()}) {
            QStyleOptionComboBox opt;
            opt.initFrom(pCombo);
            const QRect rcField =
                pCombo->style()->subControlRect(QStyle::CC_ComboBox, &opt, QStyle::SC_ComboBoxEditField, pCombo);
            EXPECT_LE(QFontMetrics(pCombo->font()).height(), rcField.height());
        }
        CMyComboBox* pPrinters = v.PrinterCombo();
        pPrinters->showPopup();
        const int iRow = pPrinters->MeasureItem();
        EXPECT_GE(iRow, QFontMetrics(pPrinters->BoldFont()).height() + QFontMetrics(pPrinters->ThinFont()).height());
        for (int i = 0; i < pPrinters->count(); ++i) {
            EXPECT_EQ(iRow, pPrinters->view()->visualRect(pPrinters->model()->index(i, 0)).height());
        }
        const int iPercent = qRound(dScale * 100);
        EXPECT_TRUE(GrabWithOpenList(v, pPrinters)
                        .save(strFolder + QStringLiteral("/qt-dialog-list-open-%1.png").arg(iPercent)));
        pPrinters->hidePopup();

        // Searching, as people see it.
        pPrinters->setFocus();
        QTest::keyClicks(pPrinters, QStringLiteral("hp"));
        EXPECT_TRUE(GrabWithOpenList(v, pPrinters)
                        .save(strFolder + QStringLiteral("/qt-dialog-search-%1.png").arg(iPercent)));
        pPrinters->hidePopup();
        v.CancelButton()->click();
    });
}
