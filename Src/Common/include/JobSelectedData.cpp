#include "Src/Common/include/JobSelectedData.h"

#include <cstdlib>
#include <cstring>
#include "language/TextConvert.h"
#include "logging/LogMacros.h"

namespace {

// Stores szId in a field of CJobSelectedData::ID_CHARS characters: at most
// ID_CHARS - 1 characters and the terminator; the rest of the field is zero.
void StoreId(uint8_t* pbyField, const char16_t* szId)
{
    char16_t aszField[CJobSelectedData::ID_CHARS] = {};
    if (szId != nullptr) {
        for (size_t i = 0; i + 1 < CJobSelectedData::ID_CHARS && szId[i] != u'\0'; ++i) {
            aszField[i] = szId[i];
        }
    }
    std::memcpy(pbyField, aszField, sizeof(aszField));
}

std::u16string LoadId(const uint8_t* pbyField)
{
    char16_t aszField[CJobSelectedData::ID_CHARS];
    std::memcpy(aszField, pbyField, sizeof(aszField));
    size_t uiLength = 0;
    while (uiLength < CJobSelectedData::ID_CHARS && aszField[uiLength] != u'\0') {
        ++uiLength;
    }
    return std::u16string(aszField, uiLength);
}

} // namespace

CJobSelectedData::CJobSelectedData(void* pBuffer, uint64_t ui64Size, bool /*bAttached*/)
    : m_bAttached(true), m_pbyBuffer(static_cast<uint8_t*>(pBuffer)), m_ui64Size(TOTAL_BUFFER_SIZE)
{
    ORV_TRACE_SCOPE("CJobSelectedData::CJobSelectedData");
    if (ui64Size < TOTAL_BUFFER_SIZE || pBuffer == nullptr) {
        ORV_LOG_DEBUG("%s(%d) : uiSize = %d", static_cast<int>(ui64Size));
        ORV_LOG_DEBUG("%s(%d) : TOTAL_BUFFER_SIZE = %d", static_cast<int>(TOTAL_BUFFER_SIZE));
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::INVALID_PARAMETER));
    }
}

CJobSelectedData::~CJobSelectedData()
{
    ORV_TRACE_SCOPE("CJobSelectedData::~CJobSelectedData");
    if (!m_bAttached) {
        std::free(m_pbyBuffer);
    }
}

void CJobSelectedData::SetResult(int32_t iResult)
{
    ORV_TRACE_SCOPE("CJobSelectedData::SetResult");
    std::memcpy(m_pbyBuffer + offsetof(SELECTED_INFO, iResult), &iResult, sizeof(iResult));
}

int32_t CJobSelectedData::GetResult() const
{
    int32_t iResult = 0;
    std::memcpy(&iResult, m_pbyBuffer + offsetof(SELECTED_INFO, iResult), sizeof(iResult));
    return iResult;
}

void CJobSelectedData::SetPrinterId(const char16_t* szPrinterId)
{
    ORV_TRACE_SCOPE("CJobSelectedData::SetPrinterId");
    StoreId(m_pbyBuffer + offsetof(SELECTED_INFO, szPrinterId), szPrinterId);
}

void CJobSelectedData::SetProjectId(const char16_t* szProjectId)
{
    ORV_TRACE_SCOPE("CJobSelectedData::SetProjectId");
    StoreId(m_pbyBuffer + offsetof(SELECTED_INFO, szProjectId), szProjectId);
}

void CJobSelectedData::SetPrinterId(const std::wstring& strPrinterId)
{
    SetPrinterId(Language::Utf16FromWide(strPrinterId).c_str());
}

void CJobSelectedData::SetProjectId(const std::wstring& strProjectId)
{
    SetProjectId(Language::Utf16FromWide(strProjectId).c_str());
}

void CJobSelectedData::ClearIds()
{
    ORV_TRACE_SCOPE("CJobSelectedData::ClearIds");
    StoreId(m_pbyBuffer + offsetof(SELECTED_INFO, szPrinterId), nullptr);
    StoreId(m_pbyBuffer + offsetof(SELECTED_INFO, szProjectId), nullptr);
}

std::u16string CJobSelectedData::GetPrinterId() const
{
    return LoadId(m_pbyBuffer + offsetof(SELECTED_INFO, szPrinterId));
}

std::u16string CJobSelectedData::GetProjectId() const
{
    return LoadId(m_pbyBuffer + offsetof(SELECTED_INFO, szProjectId));
}
