#pragma once

#include <list>
#include <string>
#include <windows.h>

// The printer list (control 1001): an owner-drawn, variable-height drop-down
// list. While the list is open every item shows two lines, the name in bold
// (1.2 times the height of the current font) and below it the description in
// thin type, blue for a usable printer and red for one that is not; the
// closed selection field shows only the name, black on the window colour.
//
// Every item's data points at its record {description, enabled} in a linked
// list, so records never move; they live as long as this object.
class CMyComboBox {
public:
    struct ITEM_INFO {
        std::wstring strDescription;
        bool bEnabled;
    };

    CMyComboBox();
    virtual ~CMyComboBox();

    CMyComboBox(const CMyComboBox&) = delete;
    CMyComboBox& operator=(const CMyComboBox&) = delete;

    // Binds the object to the combo box control.
    void Attach(HWND hWnd) { m_hWnd = hWnd; }
    HWND GetHwnd() const { return m_hWnd; }

    // Appends the record, adds the text with CB_ADDSTRING and points the
    // item's data at the record. Returns the new index; CB_ERR or CB_ERRSPACE
    // when the add fails; -1 when the item data cannot be set. The record
    // stays in the list in every case.
    int AddItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled);

    // Makes the bold font (weight 700, height times 1.2) and the thin font
    // (weight 100, same height) from the font selected into hDC.
    void CreateFonts(HDC hDC);

    // WM_DRAWITEM and WM_MEASUREITEM of the control, forwarded by the dialog.
    virtual void DrawItem(LPDRAWITEMSTRUCT lpDrawItemStruct);
    virtual void MeasureItem(LPMEASUREITEMSTRUCT lpMeasureItemStruct);

    HFONT GetBoldFont() const { return m_hFontBold; }
    HFONT GetThinFont() const { return m_hFontThin; }

private:
    void DeleteFonts();

    HWND m_hWnd;
    HFONT m_hFontBold;
    HFONT m_hFontThin;
    bool m_bFontsMade;
    std::list<ITEM_INFO> m_listItems;
};
