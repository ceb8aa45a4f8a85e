#include "app/posix/MyComboBoxDelegate.h"

#include "app/posix/MyComboBox.h"

CMyComboBoxDelegate::CMyComboBoxDelegate(CMyComboBox& objCombo) : QStyledItemDelegate(&objCombo), m_objCombo(objCombo)
{
}

void CMyComboBoxDelegate::paint(QPainter* pPainter, const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    m_objCombo.DrawItem(pPainter, option, index);
}

QSize CMyComboBoxDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    return QSize(QStyledItemDelegate::sizeHint(option, index).width(), m_objCombo.MeasureItem());
}
