#include "app/OrvprintDDlgListFilter.h"

#include <algorithm>
#include "language/CaseFold.h"
#include "language/TextConvert.h"

namespace {

bool IsHighSurrogate(char16_t ch) { return ch >= 0xD800 && ch <= 0xDBFF; }

} // namespace

COrvprintDDlgListFilter::COrvprintDDlgListFilter() : m_chPendingHigh(0) {}

void COrvprintDDlgListFilter::AddItem(int iIndex, const std::wstring& strText, bool bPinned)
{
    m_vecItems.push_back(ITEM{iIndex, Language::FoldCase(strText), bPinned});
    m_vecShown.push_back(iIndex);
}

bool COrvprintDDlgListFilter::Append(const std::u16string& strUnits)
{
    std::u16string strText;
    if (m_chPendingHigh != 0) {
        strText.push_back(m_chPendingHigh);
    }
    for (char16_t ch : strUnits) {
        if (ch < 0x20 || ch == 0x7F) {
            return false;
        }
        strText.push_back(ch);
    }
    if (strText.empty() || (m_strText.empty() && m_chPendingHigh == 0 && strText == u" ")) {
        return false;
    }
    m_chPendingHigh = 0;
    if (IsHighSurrogate(strText.back())) {
        m_chPendingHigh = strText.back();
        strText.pop_back();
        if (strText.empty()) {
            return true; // taken; shown with its low half
        }
    }
    m_strText += Language::WideFromUtf16(strText.c_str(), strText.size());
    Update();
    return true;
}

bool COrvprintDDlgListFilter::Backspace()
{
    m_chPendingHigh = 0;
    if (m_strText.empty()) {
        return false;
    }
    size_t uiCut = 1;
    if (sizeof(wchar_t) == 2 && m_strText.size() >= 2) {
        const uint32_t chLast = static_cast<uint32_t>(m_strText.back()) & 0xFFFFu;
        const uint32_t chBefore = static_cast<uint32_t>(m_strText[m_strText.size() - 2]) & 0xFFFFu;
        if (chLast >= 0xDC00 && chLast <= 0xDFFF && chBefore >= 0xD800 && chBefore <= 0xDBFF) {
            uiCut = 2;
        }
    }
    m_strText.resize(m_strText.size() - uiCut);
    Update();
    return true;
}

bool COrvprintDDlgListFilter::Reset()
{
    m_chPendingHigh = 0;
    if (m_strText.empty()) {
        return false;
    }
    m_strText.clear();
    Update();
    return true;
}

void COrvprintDDlgListFilter::Update()
{
    const std::wstring strFolded = Language::FoldCase(m_strText);
    m_vecShown.clear();
    for (const ITEM& item : m_vecItems) {
        if (item.bPinned || item.strFolded.find(strFolded) != std::wstring::npos) {
            m_vecShown.push_back(item.iIndex);
        }
    }
}

int COrvprintDDlgListFilter::IndexOfRow(int iRow) const
{
    if (iRow < 0 || iRow >= static_cast<int>(m_vecShown.size())) {
        return -1;
    }
    return m_vecShown[static_cast<size_t>(iRow)];
}

int COrvprintDDlgListFilter::RowOfIndex(int iIndex) const
{
    if (iIndex < 0) {
        return -1;
    }
    const auto it = std::find(m_vecShown.begin(), m_vecShown.end(), iIndex);
    return it == m_vecShown.end() ? -1 : static_cast<int>(it - m_vecShown.begin());
}
