#include "app/posix/MyComboBox.h"

#include <QAbstractItemView>
#include <QFontInfo>
#include <QFontMetrics>
#include <QPainter>
#include <QStyleOptionComboBox>
#include <QStyleOptionViewItem>
#include <QStylePainter>
#include <QVariant>
#include "app/posix/MyComboBoxDelegate.h"

namespace {

const QColor ENABLED_LINE_COLOUR(0, 0, 255);
const QColor DISABLED_LINE_COLOUR(255, 0, 0);

QString ToQString(const std::wstring& strText)
{
    return QString::fromStdWString(strText);
}

} // namespace

CMyComboBox::CMyComboBox(QWidget* pParent) : QComboBox(pParent), m_bFontsMade(false)
{
    setItemDelegate(new CMyComboBoxDelegate(*this));
}

CMyComboBox::~CMyComboBox() = default;

int CMyComboBox::AddItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled)
{
    m_listItems.push_back(ITEM_INFO{strDescription, bEnabled});
    ITEM_INFO* pItem = &m_listItems.back();

    const int iOldCount = count();
    const int iOldSel = currentIndex();
    const bool bOldBlocked = blockSignals(true);
    addItem(ToQString(strText), QVariant::fromValue<quintptr>(reinterpret_cast<quintptr>(pItem)));
    if (iOldSel == -1) {
        setCurrentIndex(-1);
    }
    blockSignals(bOldBlocked);

    if (count() != iOldCount + 1) {
        return -1;
    }
    return count() - 1;
}

const CMyComboBox::ITEM_INFO* CMyComboBox::GetItemInfo(int iIndex) const
{
    if (iIndex < 0 || iIndex >= count()) {
        return nullptr;
    }
    return reinterpret_cast<const ITEM_INFO*>(itemData(iIndex).value<quintptr>());
}

void CMyComboBox::CreateFonts(const QFont& fontBase)
{
    const int iHeight = QFontInfo(fontBase).pixelSize();

    m_fontBold = fontBase;
    m_fontBold.setWeight(QFont::Bold);
    m_fontBold.setPixelSize(static_cast<int>(static_cast<float>(iHeight) * 1.2f));

    m_fontThin = fontBase;
    m_fontThin.setWeight(QFont::Thin);
    m_fontThin.setPixelSize(iHeight);

    m_bFontsMade = true;
}

int CMyComboBox::MeasureItem()
{
    CreateFonts(font());
    const QString strSample = QString::fromStdWString(L"中文");
    const int iBold = QFontMetrics(m_fontBold).size(Qt::TextSingleLine, strSample).height();
    const int iThin = QFontMetrics(m_fontThin).size(Qt::TextSingleLine, strSample).height();
    return iBold + iThin;
}

void CMyComboBox::DrawItem(QPainter* pPainter, const QStyleOptionViewItem& option, const QModelIndex& index)
{
    if (!index.isValid()) {
        return;
    }
    const QString strText = index.data(Qt::DisplayRole).toString();
    const ITEM_INFO* pItem = reinterpret_cast<const ITEM_INFO*>(index.data(Qt::UserRole).value<quintptr>());

    CreateFonts(font());
    pPainter->save();

    // The open list: two lines per item.
    QColor colourName = option.palette.color(QPalette::Text);
    if (option.state & QStyle::State_Selected) {
        colourName = option.palette.color(QPalette::HighlightedText);
        pPainter->fillRect(option.rect, option.palette.color(QPalette::Highlight));
    } else {
        pPainter->fillRect(option.rect, option.palette.color(QPalette::Base));
    }

    const QFontMetrics fmBold(m_fontBold);
    const QRect rcName(option.rect.left(), option.rect.top(), option.rect.width(),
                       fmBold.size(Qt::TextSingleLine, strText).height());
    pPainter->setFont(m_fontBold);
    pPainter->setPen(colourName);
    pPainter->drawText(rcName, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, strText);

    if (pItem != nullptr) {
        const QString strDescription = ToQString(pItem->strDescription);
        const QFontMetrics fmThin(m_fontThin);
        const QRect rcLine(option.rect.left(), rcName.bottom() + 1, option.rect.width(),
                           fmThin.size(Qt::TextSingleLine, strDescription).height());
        pPainter->setPen(pItem->bEnabled ? ENABLED_LINE_COLOUR : DISABLED_LINE_COLOUR);
        pPainter->setFont(m_fontThin);
        pPainter->drawText(rcLine, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, strDescription);
    }

    pPainter->restore();
}

void CMyComboBox::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionComboBox opt;
    initStyleOption(&opt);
    opt.currentText.clear();
    opt.currentIcon = QIcon();
    painter.drawComplexControl(QStyle::CC_ComboBox, opt);

    // The closed field: the name only, black, in the dialog font, on the
    // window colour.
    const QRect rcField = style()->subControlRect(QStyle::CC_ComboBox, &opt, QStyle::SC_ComboBoxEditField, this);
    painter.fillRect(rcField, palette().color(QPalette::Base));
    if (currentIndex() >= 0) {
        painter.setFont(font());
        painter.setPen(QColor(0, 0, 0));
        painter.drawText(rcField, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, currentText());
    }
}
