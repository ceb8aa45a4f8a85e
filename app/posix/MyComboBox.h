#pragma once

#include <list>
#include <string>
#include <QComboBox>
#include <QFont>

class QPainter;
class QStyleOptionViewItem;
class QModelIndex;

// The printer list: a drop-down list whose open list shows two lines per
// item, the name in bold (1.2 times the dialog font's height) and below it a
// second line in thin type, blue for a usable printer and red for one that
// is not. The closed field shows only the name, black on the window colour.
//
// Every item carries a record {description, enabled}; the item's data
// (Qt::UserRole) points at it. The records live in a linked list so they
// never move, and they live as long as the combo box.
class CMyComboBox : public QComboBox {
public:
    struct ITEM_INFO {
        std::wstring strDescription;
        bool bEnabled;
    };

    explicit CMyComboBox(QWidget* pParent = nullptr);
    ~CMyComboBox() override;

    // Appends the item and its record; returns the new index, or -1 when the
    // list did not take the item (the record stays in the list). Like the
    // Win32 list, adding an item never changes the selection.
    int AddItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled);

    // Makes the bold and the thin font from fontBase: bold weight, height
    // times 1.2 (truncated); thin weight, the same height.
    void CreateFonts(const QFont& fontBase);
    // Height of every list item: the bold plus the thin height of "中文".
    int MeasureItem();
    // Draws one item of the open list (name line and second line).
    void DrawItem(QPainter* pPainter, const QStyleOptionViewItem& option, const QModelIndex& index);

    const QFont& BoldFont() const { return m_fontBold; }
    const QFont& ThinFont() const { return m_fontThin; }
    const ITEM_INFO* GetItemInfo(int iIndex) const;

protected:
    // The closed field: the frame and arrow of the style, then the name in
    // black on the window colour.
    void paintEvent(QPaintEvent* pEvent) override;

private:
    QFont m_fontBold;
    QFont m_fontThin;
    bool m_bFontsMade;
    std::list<ITEM_INFO> m_listItems;
};
