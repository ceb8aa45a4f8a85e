#pragma once

#include <string>
#include <vector>

// Type-to-search over one list of the print-option dialog. The items are
// the list's items in list order; the typed text keeps those whose name
// contains it, compared by Unicode simple case folding (Language::FoldCase,
// the same folding as the default choice). Pinned items (the roaming
// printer, "(不选择项目)") are shown whatever is typed. With nothing typed
// every item is shown, in its own place.
//
// Text arrives as committed UTF-16 units (keys, input methods); a high
// surrogate waits for the low one that follows it in the next call.
class COrvprintDDlgListFilter {
public:
    COrvprintDDlgListFilter();

    // Adds the item that the list returned iIndex for.
    void AddItem(int iIndex, const std::wstring& strText, bool bPinned);
    int GetItemCount() const { return static_cast<int>(m_vecItems.size()); }

    // Appends committed text; returns false (and changes nothing) for text
    // that is not search text: control characters, or a space while nothing
    // is typed yet (the list's own key then).
    bool Append(const std::u16string& strUnits);
    // Removes the last character; false when nothing was typed.
    bool Backspace();
    // Forgets the typed text; false when nothing was typed.
    bool Reset();

    bool IsActive() const { return !m_strText.empty(); }
    const std::wstring& GetText() const { return m_strText; }

    // The list indexes of the items shown, in list order.
    const std::vector<int>& GetShown() const { return m_vecShown; }
    // The list index of shown row iRow; -1 for -1 or a row beyond the end.
    int IndexOfRow(int iRow) const;
    // The row that shows list index iIndex; -1 when it is not shown.
    int RowOfIndex(int iIndex) const;

private:
    struct ITEM {
        int iIndex;
        std::wstring strFolded;
        bool bPinned;
    };

    void Update();

    std::vector<ITEM> m_vecItems;
    std::wstring m_strText;
    char16_t m_chPendingHigh;
    std::vector<int> m_vecShown;
};
