#include "Src/Common/include/JobOptionData.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include "language/LogText.h"
#include "language/TextConvert.h"
#include "logging/FunctionParameters.h"
#include "logging/LogMacros.h"

namespace {

const int64_t PRINTER_INFO_SIZE = static_cast<int64_t>(sizeof(CJobOptionData::PRINTER_INFO));
const int64_t PROJECT_INFO_SIZE = static_cast<int64_t>(sizeof(CJobOptionData::PROJECT_INFO));

int32_t ReadInt32(const uint8_t* pbyAt)
{
    int32_t iValue = 0;
    std::memcpy(&iValue, pbyAt, sizeof(iValue));
    return iValue;
}

// Offset of the project count behind P printer records.
int64_t ProjectCountOffset(int32_t iPrinterCount)
{
    return 4 + PRINTER_INFO_SIZE * iPrinterCount;
}

// Copies uiSize bytes from offset i64At of the request area. The index equal
// to the count reads the bytes behind the last record; for a request that
// fills the area these lie past its end (and past the shared block), so only
// the part inside the area is copied and the rest of the record is zero.
void CopyFromArea(void* pTo, const uint8_t* pbyArea, int64_t i64At, size_t uiSize)
{
    const int64_t i64Area = static_cast<int64_t>(CJobOptionData::MAX_BUFFER_SIZE);
    const int64_t i64Inside = i64At >= i64Area ? 0 : std::min<int64_t>(static_cast<int64_t>(uiSize), i64Area - i64At);
    std::memcpy(pTo, pbyArea + i64At, static_cast<size_t>(i64Inside));
    std::memset(static_cast<uint8_t*>(pTo) + i64Inside, 0, uiSize - static_cast<size_t>(i64Inside));
}

// A text of the request as it goes into a log record: its control
// characters shown as text, so that it stays on the record's one line.
std::string NarrowText(const char16_t* szText, size_t uiMaxChars)
{
    return Language::NarrowFromWide(Language::EscapeControls(Language::WideFromUtf16(szText, uiMaxChars)));
}

} // namespace

CJobOptionData::CJobOptionData(const void* pBuffer, uint64_t ui64Size, bool /*bAttached*/)
    : m_bAttached(true), m_pbyBuffer(static_cast<const uint8_t*>(pBuffer)), m_ui64Size(ui64Size)
{
    ORV_TRACE_SCOPE("CJobOptionData::CJobOptionData");

    if (ui64Size < MIN_BUFFER_SIZE || ui64Size > MAX_BUFFER_SIZE || pBuffer == nullptr) {
        ORV_LOG_ERROR("%s(%d) : %s", "Parameter error.");
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE));
    }

    const int32_t iPrinterCount = ReadInt32(m_pbyBuffer);
    if (iPrinterCount >= TOO_MANY_PRINTER) {
        ORV_LOG_ERROR("%s(%d) : TOO_MANY_PRINTER. GetPrinterCount() = %d", iPrinterCount);
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::TOO_MANY_PRINTER));
    }

    // The project count is read before the size is compared with the printer
    // count: with a short request it lies beyond the given size, inside the
    // request area of the shared block. A negative printer count would put it
    // before the buffer; it is then not read and the request fails as a
    // format error.
    const int64_t i64ProjectCountAt = ProjectCountOffset(iPrinterCount);
    const bool bProjectCountInArea =
        i64ProjectCountAt >= 4 && i64ProjectCountAt <= static_cast<int64_t>(MAX_BUFFER_SIZE) - 4;
    int32_t iProjectCount = 0;
    if (bProjectCountInArea) {
        iProjectCount = ReadInt32(m_pbyBuffer + i64ProjectCountAt);
        if (iProjectCount >= TOO_MANY_PROJECT) {
            ORV_LOG_ERROR("%s(%d) : TOO_MANY_PROJECT. GetProjectCount() = %d", iProjectCount);
            ORV_THROW(CJobOptionDataException(CJobOptionDataException::TOO_MANY_PROJECT));
        }
    }

    const int64_t i64Expected =
        8 + PRINTER_INFO_SIZE * iPrinterCount + PROJECT_INFO_SIZE * iProjectCount;
    if (!bProjectCountInArea || i64Expected < 0 || static_cast<uint64_t>(i64Expected) != ui64Size) {
        ORV_LOG_ERROR("%s(%d) : %s", "Shared memory buffer format error.");
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::FORMAT_ERROR));
    }
}

CJobOptionData::~CJobOptionData()
{
    ORV_TRACE_SCOPE("CJobOptionData::~CJobOptionData");
    if (!m_bAttached) {
        std::free(const_cast<uint8_t*>(m_pbyBuffer));
    }
}

int32_t CJobOptionData::GetPrinterCount() const
{
    ORV_TRACE_SCOPE("CJobOptionData::GetPrinterCount");
    return ReadInt32(m_pbyBuffer);
}

int32_t CJobOptionData::GetProjectCount() const
{
    ORV_TRACE_SCOPE("CJobOptionData::GetProjectCount");
    return ReadInt32(m_pbyBuffer + ProjectCountOffset(GetPrinterCount()));
}

void CJobOptionData::GetPrinterInfo(uint32_t iIndex, PRINTER_INFO& stuPrinterInfo) const
{
    ORV_TRACE_SCOPE("CJobOptionData::GetPrinterInfo");
    int iIndexValue = static_cast<int32_t>(iIndex);
    FunctionParameters params("CJobOptionData::GetPrinterInfo");
    if (IsFatalEnabled()) {
        params.Add("iIndex", &iIndexValue);
        params.Add("stuPrinterInfo", &stuPrinterInfo);
    }

    // The index equal to the count is accepted (the record behind the last
    // one is copied). A negative index would read before the buffer.
    const int32_t iPrinterCount = GetPrinterCount();
    if (iIndexValue < 0 || !(iIndexValue <= iPrinterCount)) {
        ORV_LOG_DEBUG("%s(%d) : iIndex = %d", iIndexValue);
        ORV_LOG_DEBUG("%s(%d) : GetPrinterCount() = %d", iPrinterCount);
        ORV_LOG_PARAMS(params);
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE));
    }

    CopyFromArea(&stuPrinterInfo, m_pbyBuffer, 4 + PRINTER_INFO_SIZE * iIndexValue, sizeof(PRINTER_INFO));
}

void CJobOptionData::GetProjectInfo(uint32_t iIndex, PROJECT_INFO& stuProjectInfo) const
{
    ORV_TRACE_SCOPE("CJobOptionData::GetProjectInfo");
    int iIndexValue = static_cast<int32_t>(iIndex);
    FunctionParameters params("CJobOptionData::GetProjectInfo");
    if (IsFatalEnabled()) {
        params.Add("iIndex", &iIndexValue);
        params.Add("stuProjectInfo", &stuProjectInfo);
    }

    const int32_t iProjectCount = GetProjectCount();
    if (iIndexValue < 0 || !(iIndexValue <= iProjectCount)) {
        ORV_LOG_DEBUG("%s(%d) : iIndex = %d", iIndexValue);
        ORV_LOG_DEBUG("%s(%d) : GetProjectCount() = %d", iProjectCount);
        ORV_LOG_PARAMS(params);
        ORV_THROW(CJobOptionDataException(CJobOptionDataException::OUT_OF_RANGE));
    }

    const int64_t i64At = ProjectCountOffset(GetPrinterCount()) + 4 + PROJECT_INFO_SIZE * iIndexValue;
    CopyFromArea(&stuProjectInfo, m_pbyBuffer, i64At, sizeof(PROJECT_INFO));
}

std::string CJobOptionData::DumpPrinterInfo(const PRINTER_INFO& stuPrinterInfo)
{
    uint8_t byTooMayPages = 0;
    std::memcpy(&byTooMayPages, &stuPrinterInfo.bTooMayPages, 1);

    std::string strText = "{";
    strText += "szPrinterId = " + NarrowText(stuPrinterInfo.szPrinterId, 20) + ", ";
    strText += "szPrinterName = " + NarrowText(stuPrinterInfo.szPrinterName, 1024) + ", ";
    strText += "szComment = " + NarrowText(stuPrinterInfo.szComment, 1024) + ", ";
    strText += "szDescription = " + NarrowText(stuPrinterInfo.szDescription, 1024) + ", ";
    strText += "iStatus = " + std::to_string(stuPrinterInfo.iStatus) + ", ";
    strText += "iMaxPagesPerJob = " + std::to_string(stuPrinterInfo.iMaxPagesPerJob) + ", ";
    strText += "iPageTotal = " + std::to_string(stuPrinterInfo.iPageTotal) + ", ";
    strText += "iPrintTaskTotal = " + std::to_string(stuPrinterInfo.iPrintTaskTotal) + ", ";
    // Ends right after the flag: this text has no closing brace.
    strText += std::string("bTooMayPages = ") + (byTooMayPages != 0 ? "1" : "0");
    return strText;
}

std::string CJobOptionData::DumpProjectInfo(const PROJECT_INFO& stuProjectInfo)
{
    std::string strText = "{";
    strText += "szProjectId = " + NarrowText(stuProjectInfo.szProjectId, 20);
    strText += ", szProjectName = " + NarrowText(stuProjectInfo.szProjectName, 1024);
    strText += ", szComment = " + NarrowText(stuProjectInfo.szComment, 1024);
    strText += "}";
    return strText;
}

namespace paramtrace {

std::string ValueText<CJobOptionData::PRINTER_INFO>::Text(const CJobOptionData::PRINTER_INFO& stuPrinterInfo)
{
    static bool s_bLocaleSet = false;
    SetRecordTextLocaleOnce(s_bLocaleSet);
    // The parameter text is the format of its "Param" record: a "%" in the
    // service's texts must come out as it is, not as a conversion.
    return Language::EscapePercent(CJobOptionData::DumpPrinterInfo(stuPrinterInfo));
}

std::string ValueText<CJobOptionData::PROJECT_INFO>::Text(const CJobOptionData::PROJECT_INFO& stuProjectInfo)
{
    static bool s_bLocaleSet = false;
    SetRecordTextLocaleOnce(s_bLocaleSet);
    return Language::EscapePercent(CJobOptionData::DumpProjectInfo(stuProjectInfo));
}

} // namespace paramtrace
