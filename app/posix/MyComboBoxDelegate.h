#pragma once

#include <QStyledItemDelegate>

class CMyComboBox;

// Item delegate of CMyComboBox's open list: measuring and drawing are the
// combo box's own (CMyComboBox::MeasureItem, CMyComboBox::DrawItem).
class CMyComboBoxDelegate : public QStyledItemDelegate {
public:
    explicit CMyComboBoxDelegate(CMyComboBox& objCombo);

    void paint(QPainter* pPainter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    CMyComboBox& m_objCombo;
};
