#include "app/posix/OrvprintDDlgQtView.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QStyleOptionComboBox>
#include <QFontMetrics>
#include <QGroupBox>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QPushButton>
#include "app/posix/MyComboBox.h"

namespace {

COrvprintDDlgQtView::MessageBoxHandler& MessageBoxHandlerSlot()
{
    static COrvprintDDlgQtView::MessageBoxHandler s_fnHandler;
    return s_fnHandler;
}

QString ToQString(const std::wstring& strText)
{
    return QString::fromStdWString(strText);
}

// The dialog font: "MS Shell Dlg" at 9 points where it exists, otherwise the
// CJK sans-serif face of the desktop.
QFont DialogFont()
{
    QFont font = QApplication::font();
    font.setFamilies({QStringLiteral("MS Shell Dlg 2"), QStringLiteral("MS Shell Dlg"),
                      QStringLiteral("WenQuanYi Micro Hei"), font.family()});
    font.setPointSize(9);
    return font;
}

// The application icon: a printer on a blue tile, drawn at 32 x 32 (the same
// picture as the Windows icon resource).
QIcon ApplicationIcon()
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x1e, 0x5a, 0xa8));
    painter.drawRoundedRect(QRectF(0.5, 0.5, 31, 31), 5, 5);
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(10, 5, 12, 8));   // paper in
    painter.setBrush(QColor(0xdd, 0xe6, 0xf2));
    painter.drawRoundedRect(QRectF(5, 12, 22, 11), 2, 2); // body
    painter.setBrush(Qt::white);
    painter.drawRect(QRectF(10, 19, 12, 9));  // paper out
    painter.setBrush(QColor(0x2e, 0xb8, 0x4b));
    painter.drawEllipse(QRectF(22, 14, 3, 3)); // lamp
    painter.end();
    return QIcon(pixmap);
}

} // namespace

const wchar_t* const COrvprintDDlgQtView::APPLICATION_TITLE = L"OrvprintD";

void COrvprintDDlgQtView::SetMessageBoxHandler(MessageBoxHandler fnHandler)
{
    MessageBoxHandlerSlot() = std::move(fnHandler);
}

COrvprintDDlgQtView::COrvprintDDlgQtView(IOrvprintDDlgEvents& objEvents)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowStaysOnTopHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                           Qt::WindowCloseButtonHint | Qt::MSWindowsFixedSizeDialogHint),
      m_objEvents(objEvents),
      m_apSearch{nullptr, nullptr},
      m_bRebuilding(false)
{
    setFont(DialogFont());
    setWindowTitle(QString::fromStdWString(L"请选择打印选项"));
    setWindowIcon(ApplicationIcon());

    // Dialog base units of the dialog font, as the Windows dialog manager
    // computes them: average width of the 52 Latin letters, rounded, and the
    // character cell height.
    const QFontMetrics fm(font());
    const int iAlphabet =
        fm.horizontalAdvance(QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    m_iBaseUnitX = (iAlphabet / 26 + 1) / 2;
    m_iBaseUnitY = fm.height();

    setFixedSize(DluToPixelsX(299), DluToPixelsY(210));

    // Template order: OK, Cancel, printer list, labels, project list, details
    // boxes, group boxes, marker.
    m_pOk = new QPushButton(QString::fromStdWString(L"确定"), this);
    m_pOk->setObjectName(QStringLiteral("IDOK"));
    m_pOk->setGeometry(DluRect(60, 187, 72, 16));
    m_pOk->setDefault(true);

    m_pCancel = new QPushButton(QString::fromStdWString(L"取消打印"), this);
    m_pCancel->setObjectName(QStringLiteral("IDCANCEL"));
    m_pCancel->setGeometry(DluRect(174, 187, 72, 16));
    m_pCancel->setAutoDefault(false);

    m_pPrinterCombo = new CMyComboBox(this);
    m_pPrinterCombo->setObjectName(QStringLiteral("IDC_PRINTER_SEL"));
    PlaceCombo(m_pPrinterCombo, 72, 18, 192);

    QLabel* pPrinterLabel = new QLabel(QString::fromStdWString(L"打印机名："), this);
    pPrinterLabel->setGeometry(DluRect(24, 20, 41, 8));
    pPrinterLabel->setBuddy(m_pPrinterCombo);

    m_pProjectCombo = new QComboBox(this);
    m_pProjectCombo->setObjectName(QStringLiteral("IDC_PROJECT_SEL"));
    PlaceCombo(m_pProjectCombo, 72, 108, 192);

    m_pProjectLabel = new QLabel(QString::fromStdWString(L"项目名称："), this);
    m_pProjectLabel->setObjectName(QStringLiteral("IDC_PROJECT_LABEL"));
    m_pProjectLabel->setGeometry(DluRect(24, 110, 41, 8));
    m_pProjectLabel->setBuddy(m_pProjectCombo);

    QLabel* pPrinterDetailsLabel = new QLabel(QString::fromStdWString(L"详细信息："), this);
    pPrinterDetailsLabel->setGeometry(DluRect(24, 36, 41, 8));

    auto makeDetails = [this](const char* szName, int y) {
        QPlainTextEdit* pEdit = new QPlainTextEdit(this);
        pEdit->setObjectName(QString::fromLatin1(szName));
        pEdit->setReadOnly(true);
        pEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
        pEdit->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
        pEdit->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        pEdit->setGeometry(DluRect(72, y, 192, 42));
        // A tab stop that Tab leaves again, as in a dialog.
        pEdit->setFocusPolicy(Qt::StrongFocus);
        pEdit->setTabChangesFocus(true);
        pEdit->setAccessibleName(QString::fromStdWString(L"详细信息"));
        return pEdit;
    };
    m_pPrinterDetails = makeDetails("IDC_PRINTER_DETAILS", 36);

    QGroupBox* pPrinterGroup = new QGroupBox(QString::fromStdWString(L"选择打印机"), this);
    pPrinterGroup->setGeometry(DluRect(12, 6, 276, 78));

    m_pProjectDetails = makeDetails("IDC_PROJECT_DETAILS", 126);

    m_pProjectGroup = new QGroupBox(QString::fromStdWString(L"选择项目"), this);
    m_pProjectGroup->setObjectName(QStringLiteral("IDC_PROJECT_GROUP"));
    m_pProjectGroup->setGeometry(DluRect(12, 96, 276, 78));

    m_pProjectDetailsLabel = new QLabel(QString::fromStdWString(L"详细信息："), this);
    m_pProjectDetailsLabel->setObjectName(QStringLiteral("IDC_PROJECT_DETAILS_LABEL"));
    m_pProjectDetailsLabel->setGeometry(DluRect(24, 126, 41, 8));

    m_pMarker = new QGroupBox(QString::fromStdWString(L"静态"), this);
    m_pMarker->setObjectName(QStringLiteral("IDC_PROJECT_MARKER"));
    m_pMarker->setGeometry(DluRect(278, 119, 14, 38));
    m_pMarker->hide();

    // The group boxes frame the controls; they must not take their input.
    pPrinterGroup->lower();
    m_pProjectGroup->lower();
    m_pMarker->lower();

    // Screen readers: each list and details box is named by its label
    // without the colon.
    m_pPrinterCombo->setAccessibleName(QString::fromStdWString(L"打印机名"));
    m_pProjectCombo->setAccessibleName(QString::fromStdWString(L"项目名称"));
    WatchList(m_pPrinterCombo);
    WatchList(m_pProjectCombo);

    m_timer.setObjectName(QStringLiteral("IDT_AUTO_CANCEL"));
    connect(&m_timer, &QTimer::timeout, this, [this]() { m_objEvents.OnTimer(); });

    connect(m_pOk, &QPushButton::clicked, this, [this]() { m_objEvents.OnBnClickedOk(); });
    connect(m_pCancel, &QPushButton::clicked, this, [this]() { m_objEvents.OnBnClickedCancel(); });
    connect(m_pPrinterCombo, QOverload<int>::of(&QComboBox::activated), this,
            [this](int) { m_objEvents.OnCbnSelchangePrinterSel(); });
    connect(m_pProjectCombo, QOverload<int>::of(&QComboBox::activated), this,
            [this](int) { m_objEvents.OnCbnSelchangeProjectSel(); });
}

COrvprintDDlgQtView::~COrvprintDDlgQtView() = default;

int COrvprintDDlgQtView::DluToPixelsX(int iDluX) const
{
    return (iDluX * m_iBaseUnitX + 2) / 4;
}

int COrvprintDDlgQtView::DluToPixelsY(int iDluY) const
{
    return (iDluY * m_iBaseUnitY + 4) / 8;
}

QRect COrvprintDDlgQtView::DluRect(int x, int y, int cx, int cy) const
{
    return QRect(DluToPixelsX(x), DluToPixelsY(y), DluToPixelsX(cx), DluToPixelsY(cy));
}

void COrvprintDDlgQtView::PlaceCombo(QComboBox* pCombo, int x, int y, int cx)
{
    // A drop-down list's field height is its own (the template's height is
    // that of the open list).
    pCombo->setGeometry(DluToPixelsX(x), DluToPixelsY(y), DluToPixelsX(cx), pCombo->sizeHint().height());
}

int COrvprintDDlgQtView::RunModal()
{
    m_objEvents.OnInitDialog();
    // Keys and clicks anywhere in the dialog (and its open lists) stop the
    // auto-cancel; keys and input-method text in a list search it.
    qApp->installEventFilter(this);
    const int iResult = exec();
    qApp->removeEventFilter(this);
    m_timer.stop();
    return iResult;
}

void COrvprintDDlgQtView::WatchList(QComboBox* pCombo)
{
    pCombo->setAttribute(Qt::WA_InputMethodEnabled, true);
    pCombo->view()->setAttribute(Qt::WA_InputMethodEnabled, true);
}

QComboBox* COrvprintDDlgQtView::List(EList eList) const
{
    return eList == PRINTER_LIST ? static_cast<QComboBox*>(m_pPrinterCombo) : m_pProjectCombo;
}

int COrvprintDDlgQtView::ListOf(QObject* pObject) const
{
    for (int i = PRINTER_LIST; i <= PROJECT_LIST; ++i) {
        QComboBox* pCombo = List(static_cast<EList>(i));
        if (pObject == pCombo || pObject == pCombo->view() || pObject == pCombo->view()->window()) {
            return i;
        }
    }
    return -1;
}

bool COrvprintDDlgQtView::eventFilter(QObject* pObject, QEvent* pEvent)
{
    const QEvent::Type eType = pEvent->type();
    if (pObject->isWidgetType() &&
        (eType == QEvent::KeyPress || eType == QEvent::MouseButtonPress || eType == QEvent::InputMethod)) {
        m_objEvents.OnUserInput();
    }
    const int iList = ListOf(pObject);
    if (iList < 0) {
        return QDialog::eventFilter(pObject, pEvent);
    }
    const EList eList = static_cast<EList>(iList);
    QComboBox* pCombo = List(eList);
    if (pObject == pCombo->view()->window()) {
        // The open list appears or goes.
        if (eType == QEvent::Show) {
            m_objEvents.OnUserInput();
        } else if (eType == QEvent::Hide && !m_bRebuilding) {
            // After the combo box has taken the choice from the list.
            QTimer::singleShot(0, this, [this, eList]() { m_objEvents.OnListCloseUp(eList); });
        }
        return false;
    }
    return HandleListKey(eList, pEvent) || QDialog::eventFilter(pObject, pEvent);
}

bool COrvprintDDlgQtView::HandleListKey(EList eList, QEvent* pEvent)
{
    if (pEvent->type() == QEvent::InputMethod) {
        QInputMethodEvent* pInput = static_cast<QInputMethodEvent*>(pEvent);
        if (pInput->commitString().isEmpty()) {
            return false;
        }
        m_objEvents.OnListText(eList, pInput->commitString().toStdU16String());
        pInput->accept();
        return true;
    }
    if (pEvent->type() != QEvent::KeyPress) {
        return false;
    }
    QKeyEvent* pKey = static_cast<QKeyEvent*>(pEvent);
    if (pKey->key() == Qt::Key_Backspace) {
        return m_objEvents.OnListBackspace(eList);
    }
    if (pKey->key() == Qt::Key_Escape) {
        return m_objEvents.OnListEscape(eList);
    }
    if (pKey->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) {
        return false;
    }
    const QString strText = pKey->text();
    if (strText.isEmpty()) {
        return false;
    }
    return m_objEvents.OnListText(eList, strText.toStdU16String());
}

void COrvprintDDlgQtView::ShowListItems(EList eList, const std::vector<int>& vecIndexes, int iSelRow,
                                        const std::wstring& strTyped)
{
    QComboBox* pCombo = List(eList);
    const std::vector<QString>& vecTexts = m_avecTexts[eList];
    const bool bOpen = pCombo->view()->window()->isVisible();

    m_bRebuilding = true;
    const bool bOldBlocked = pCombo->blockSignals(true);
    pCombo->clear();
    QStringList listTexts;
    listTexts.reserve(static_cast<int>(vecIndexes.size()));
    for (int iIndex : vecIndexes) {
        listTexts.append(vecTexts[static_cast<size_t>(iIndex)]);
    }
    pCombo->addItems(listTexts);
    if (eList == PRINTER_LIST) {
        for (size_t iRow = 0; iRow < vecIndexes.size(); ++iRow) {
            const size_t uiIndex = static_cast<size_t>(vecIndexes[iRow]);
            pCombo->setItemData(static_cast<int>(iRow), QVariant::fromValue<quintptr>(m_vecPrinterData[uiIndex]));
            const CMyComboBox::ITEM_INFO* pItem = m_pPrinterCombo->GetItemInfo(static_cast<int>(iRow));
            if (pItem != nullptr) {
                pCombo->setItemData(static_cast<int>(iRow), ToQString(pItem->strDescription),
                                    Qt::AccessibleDescriptionRole);
            }
        }
    }
    pCombo->setCurrentIndex(iSelRow);
    pCombo->blockSignals(bOldBlocked);

    ShowTyped(eList, ToQString(strTyped));
    if (!strTyped.empty() || bOpen) {
        // Opens the list when typing starts; an open list takes its new size.
        pCombo->showPopup();
        if (iSelRow >= 0) {
            pCombo->view()->setCurrentIndex(pCombo->model()->index(iSelRow, 0));
        }
    }
    m_bRebuilding = false;
}

void COrvprintDDlgQtView::ShowTyped(EList eList, const QString& strTyped)
{
    QComboBox* pCombo = List(eList);
    QLabel*& pLabel = m_apSearch[eList];
    if (strTyped.isEmpty()) {
        if (pLabel != nullptr) {
            pLabel->hide();
        }
        return;
    }
    if (pLabel == nullptr) {
        pLabel = new QLabel(pCombo);
        pLabel->setObjectName(eList == PRINTER_LIST ? QStringLiteral("IDC_PRINTER_SEARCH")
                                                    : QStringLiteral("IDC_PROJECT_SEARCH"));
        pLabel->setAutoFillBackground(true);
        pLabel->setBackgroundRole(QPalette::Base);
        pLabel->setForegroundRole(QPalette::Text);
        pLabel->setAttribute(Qt::WA_TransparentForMouseEvents, true);
    }
    QStyleOptionComboBox opt;
    opt.initFrom(pCombo);
    opt.editable = false;
    pLabel->setGeometry(
        pCombo->style()->subControlRect(QStyle::CC_ComboBox, &opt, QStyle::SC_ComboBoxEditField, pCombo));
    pLabel->setText(strTyped);
    pLabel->show();
    pLabel->raise();
}

void COrvprintDDlgQtView::SetCancelText(const std::wstring& strText)
{
    m_pCancel->setText(ToQString(strText));
}

void COrvprintDDlgQtView::StartTimer(unsigned int uiMilliseconds)
{
    m_timer.start(static_cast<int>(uiMilliseconds));
}

void COrvprintDDlgQtView::StopTimer()
{
    m_timer.stop();
}

void COrvprintDDlgQtView::EndDialog(int iResult)
{
    done(iResult);
}

void COrvprintDDlgQtView::reject()
{
    m_objEvents.OnBnClickedCancel();
}

void COrvprintDDlgQtView::ClearPrinterEdit()
{
    // A drop-down list has no edit field: nothing to clear.
}

int COrvprintDDlgQtView::AddPrinterItem(const std::wstring& strText, const std::wstring& strDescription,
                                         bool bEnabled)
{
    const int iIndex = m_pPrinterCombo->AddItem(strText, strDescription, bEnabled);
    if (iIndex >= 0) {
        m_avecTexts[PRINTER_LIST].push_back(ToQString(strText));
        m_vecPrinterData.push_back(m_pPrinterCombo->itemData(iIndex).value<quintptr>());
        // Screen readers read each printer's name and its state line.
        m_pPrinterCombo->setItemData(iIndex, ToQString(strDescription), Qt::AccessibleDescriptionRole);
    }
    return iIndex;
}

int COrvprintDDlgQtView::AddProjectItem(const std::wstring& strText)
{
    const int iOldCount = m_pProjectCombo->count();
    const int iOldSel = m_pProjectCombo->currentIndex();
    const bool bOldBlocked = m_pProjectCombo->blockSignals(true);
    m_pProjectCombo->addItem(ToQString(strText));
    if (iOldSel == -1) {
        m_pProjectCombo->setCurrentIndex(-1);
    }
    m_pProjectCombo->blockSignals(bOldBlocked);
    if (m_pProjectCombo->count() != iOldCount + 1) {
        return -1;
    }
    m_avecTexts[PROJECT_LIST].push_back(ToQString(strText));
    return m_pProjectCombo->count() - 1;
}

int COrvprintDDlgQtView::GetItemCount(EList eList) const
{
    return eList == PRINTER_LIST ? m_pPrinterCombo->count() : m_pProjectCombo->count();
}

std::wstring COrvprintDDlgQtView::GetItemText(EList eList, int iIndex) const
{
    const QComboBox* pCombo = eList == PRINTER_LIST ? static_cast<QComboBox*>(m_pPrinterCombo) : m_pProjectCombo;
    return pCombo->itemText(iIndex).toStdWString();
}

void COrvprintDDlgQtView::SetCurSel(EList eList, int iIndex)
{
    QComboBox* pCombo = eList == PRINTER_LIST ? static_cast<QComboBox*>(m_pPrinterCombo) : m_pProjectCombo;
    const bool bOldBlocked = pCombo->blockSignals(true);
    pCombo->setCurrentIndex(iIndex);
    pCombo->blockSignals(bOldBlocked);
}

int COrvprintDDlgQtView::GetCurSel(EList eList) const
{
    return eList == PRINTER_LIST ? m_pPrinterCombo->currentIndex() : m_pProjectCombo->currentIndex();
}

void COrvprintDDlgQtView::SetDetailsText(EList eList, const std::wstring& strText)
{
    // The details texts break lines with "\r\n"; the text box wants "\n".
    QString strShown = ToQString(strText);
    strShown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    (eList == PRINTER_LIST ? m_pPrinterDetails : m_pProjectDetails)->setPlainText(strShown);
}

void COrvprintDDlgQtView::EnableOk(bool bEnable)
{
    m_pOk->setEnabled(bEnable);
}

void COrvprintDDlgQtView::HideProjectSection()
{
    m_pProjectGroup->hide();
    m_pProjectLabel->hide();
    m_pProjectDetailsLabel->hide();
    m_pProjectCombo->hide();
    m_pProjectDetails->hide();

    // The window's bottom edge goes to the marker's top; before the window is
    // first shown it has no frame yet, and its frame is its client area.
    const QRect rcWindow = frameGeometry();
    const int iMarkerTop = m_pMarker->mapToGlobal(QPoint(0, 0)).y();
    const int iDelta = iMarkerTop - (rcWindow.bottom() + 1);

    MoveControl(m_pOk, 0, iDelta);
    MoveControl(m_pCancel, 0, iDelta);
    setFixedSize(width(), height() + iDelta);
}

void COrvprintDDlgQtView::MoveControl(QWidget* pControl, int dx, int dy)
{
    pControl->move(pControl->pos() + QPoint(dx, dy));
}

void COrvprintDDlgQtView::ShowMessageBox(const std::wstring& strText)
{
    const QString strCaption = QString::fromWCharArray(APPLICATION_TITLE);
    if (MessageBoxHandlerSlot()) {
        MessageBoxHandlerSlot()(this, strCaption, ToQString(strText));
        return;
    }
    QMessageBox box(QMessageBox::Warning, strCaption, ToQString(strText), QMessageBox::Ok, this);
    box.exec();
}
