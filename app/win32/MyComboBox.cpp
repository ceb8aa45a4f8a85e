#include "app/win32/MyComboBox.h"

#include <vector>

namespace {

const wchar_t SAMPLE_TEXT[] = L"中文";
const COLORREF ENABLED_LINE_COLOUR = RGB(0, 0, 255);
const COLORREF DISABLED_LINE_COLOUR = RGB(255, 0, 0);

// Fills the rectangle with the colour, which becomes the background colour.
void FillSolidRect(HDC hDC, const RECT& rc, COLORREF cr)
{
    ::SetBkColor(hDC, cr);
    ::ExtTextOutW(hDC, 0, 0, ETO_OPAQUE, &rc, nullptr, 0, nullptr);
}

} // namespace

CMyComboBox::CMyComboBox() : m_hWnd(nullptr), m_hFontBold(nullptr), m_hFontThin(nullptr), m_bFontsMade(false) {}

CMyComboBox::~CMyComboBox()
{
    DeleteFonts();
}

void CMyComboBox::DeleteFonts()
{
    if (m_hFontBold != nullptr) {
        ::DeleteObject(m_hFontBold);
        m_hFontBold = nullptr;
    }
    if (m_hFontThin != nullptr) {
        ::DeleteObject(m_hFontThin);
        m_hFontThin = nullptr;
    }
}

int CMyComboBox::AddItem(const std::wstring& strText, const std::wstring& strDescription, bool bEnabled)
{
    m_listItems.push_back(ITEM_INFO{strDescription, bEnabled});
    ITEM_INFO* pItem = &m_listItems.back();

    const int iIndex = static_cast<int>(
        ::SendMessageW(m_hWnd, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(strText.c_str())));
    if (iIndex == CB_ERR || iIndex == CB_ERRSPACE) {
        return iIndex;
    }
    if (::SendMessageW(m_hWnd, CB_SETITEMDATA, static_cast<WPARAM>(iIndex), reinterpret_cast<LPARAM>(pItem)) ==
        CB_ERR) {
        return -1;
    }
    return iIndex;
}

void CMyComboBox::CreateFonts(HDC hDC)
{
    LOGFONTW lf;
    ::ZeroMemory(&lf, sizeof(lf));
    ::GetObjectW(::GetCurrentObject(hDC, OBJ_FONT), sizeof(lf), &lf);

    DeleteFonts();

    LOGFONTW lfBold = lf;
    lfBold.lfWeight = FW_BOLD;
    lfBold.lfHeight = static_cast<LONG>(static_cast<float>(lf.lfHeight) * 1.2f);
    m_hFontBold = ::CreateFontIndirectW(&lfBold);

    LOGFONTW lfThin = lf;
    lfThin.lfWeight = FW_THIN;
    m_hFontThin = ::CreateFontIndirectW(&lfThin);

    m_bFontsMade = true;
}

void CMyComboBox::MeasureItem(LPMEASUREITEMSTRUCT lpMeasureItemStruct)
{
    if (lpMeasureItemStruct->itemID == static_cast<UINT>(-1)) {
        return; // the selection field keeps its height
    }

    HDC hDC = ::GetDC(m_hWnd);
    CreateFonts(hDC);

    SIZE sizeBold = {0, 0};
    SIZE sizeThin = {0, 0};
    HGDIOBJ hOldFont = ::SelectObject(hDC, m_hFontBold);
    ::GetTextExtentPoint32W(hDC, SAMPLE_TEXT, 2, &sizeBold);
    ::SelectObject(hDC, m_hFontThin);
    ::GetTextExtentPoint32W(hDC, SAMPLE_TEXT, 2, &sizeThin);
    ::SelectObject(hDC, hOldFont);
    ::ReleaseDC(m_hWnd, hDC);

    lpMeasureItemStruct->itemHeight = static_cast<UINT>(sizeBold.cy + sizeThin.cy);
}

void CMyComboBox::DrawItem(LPDRAWITEMSTRUCT lpDrawItemStruct)
{
    if (lpDrawItemStruct->itemID == static_cast<UINT>(-1)) {
        return;
    }
    HDC hDC = lpDrawItemStruct->hDC;
    const RECT& rcItem = lpDrawItemStruct->rcItem;
    const WPARAM wItem = lpDrawItemStruct->itemID;

    // 1. Text and record.
    std::wstring strText;
    const LRESULT lLength = ::SendMessageW(m_hWnd, CB_GETLBTEXTLEN, wItem, 0);
    if (lLength > 0) {
        std::vector<wchar_t> vecText(static_cast<size_t>(lLength) + 1, L'\0');
        ::SendMessageW(m_hWnd, CB_GETLBTEXT, wItem, reinterpret_cast<LPARAM>(vecText.data()));
        strText = vecText.data();
    }
    const ITEM_INFO* pItem = reinterpret_cast<const ITEM_INFO*>(lpDrawItemStruct->itemData);
    if (reinterpret_cast<LONG_PTR>(pItem) == CB_ERR) {
        pItem = nullptr;
    }

    // 2. Fonts from the font the list selected into the DC.
    CreateFonts(hDC);

    // 3. Two lines while the list is open, one in the selection field.
    const bool bTwoLine = (lpDrawItemStruct->itemState & ODS_COMBOBOXEDIT) == 0 &&
                          ::SendMessageW(m_hWnd, CB_GETDROPPEDSTATE, 0, 0) != 0;

    // 4. Saved colours.
    const COLORREF crOldText = ::GetTextColor(hDC);
    const COLORREF crOldBk = ::GetBkColor(hDC);

    // 5. Background.
    if (bTwoLine) {
        if (lpDrawItemStruct->itemState & ODS_SELECTED) {
            ::SetTextColor(hDC, ::GetSysColor(COLOR_HIGHLIGHTTEXT));
            ::SetBkColor(hDC, ::GetSysColor(COLOR_HIGHLIGHT));
            FillSolidRect(hDC, rcItem, ::GetSysColor(COLOR_HIGHLIGHT));
        } else {
            FillSolidRect(hDC, rcItem, crOldBk);
        }
    } else {
        FillSolidRect(hDC, rcItem, ::GetSysColor(COLOR_WINDOW));
    }

    // 6. First line: the name.
    HGDIOBJ hOldFont = nullptr;
    if (bTwoLine) {
        hOldFont = ::SelectObject(hDC, m_hFontBold);
    } else {
        ::SetTextColor(hDC, RGB(0, 0, 0));
    }
    SIZE sizeName = {0, 0};
    ::GetTextExtentPoint32W(hDC, strText.c_str(), static_cast<int>(strText.size()), &sizeName);
    RECT rcName = {rcItem.left, rcItem.top, rcItem.right, rcItem.top + sizeName.cy};
    ::DrawTextW(hDC, strText.c_str(), static_cast<int>(strText.size()), &rcName, DT_SINGLELINE);
    if (hOldFont != nullptr) {
        ::SelectObject(hDC, hOldFont);
        hOldFont = nullptr;
    }

    // 7. Second line: the description, blue or red.
    if (bTwoLine && pItem != nullptr) {
        ::SetTextColor(hDC, pItem->bEnabled ? ENABLED_LINE_COLOUR : DISABLED_LINE_COLOUR);
        hOldFont = ::SelectObject(hDC, m_hFontThin);
        const std::wstring& strDescription = pItem->strDescription;
        SIZE sizeLine = {0, 0};
        ::GetTextExtentPoint32W(hDC, strDescription.c_str(), static_cast<int>(strDescription.size()), &sizeLine);
        RECT rcLine = {rcItem.left, rcName.bottom, rcItem.right, rcName.bottom + sizeLine.cy};
        ::DrawTextW(hDC, strDescription.c_str(), static_cast<int>(strDescription.size()), &rcLine, DT_SINGLELINE);
    }

    // 8. Restore.
    ::SetTextColor(hDC, crOldText);
    if (hOldFont != nullptr) {
        ::SelectObject(hDC, hOldFont);
    }
    ::SetBkColor(hDC, crOldBk);
}
