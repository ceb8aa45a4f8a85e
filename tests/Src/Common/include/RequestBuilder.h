#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include "Src/Common/include/JobOptionData.h"

namespace recordtest {

// A request area as large as the queue's (2,688,408 bytes, zeroed) with a
// request written at its start through raw offsets, as the printing service
// writes it.
class RequestBuilder {
public:
    static const size_t PRINTER_SIZE = 6204;
    static const size_t PROJECT_SIZE = 4136;

    explicit RequestBuilder(size_t uiAreaSize = CJobOptionData::MAX_BUFFER_SIZE) : m_vecArea(uiAreaSize, 0) {}

    uint8_t* Data() { return m_vecArea.data(); }
    size_t AreaSize() const { return m_vecArea.size(); }

    void PutInt32(size_t uiAt, int32_t iValue) { std::memcpy(&m_vecArea.at(uiAt), &iValue, 4); }
    int32_t GetInt32(size_t uiAt) const
    {
        int32_t iValue = 0;
        std::memcpy(&iValue, &m_vecArea.at(uiAt), 4);
        return iValue;
    }
    // UTF-16LE text and its terminator at uiAt.
    void PutText(size_t uiAt, const std::u16string& strText)
    {
        for (size_t i = 0; i <= strText.size(); ++i) {
            const char16_t ch = i < strText.size() ? strText[i] : u'\0';
            m_vecArea.at(uiAt + 2 * i) = static_cast<uint8_t>(ch & 0xFF);
            m_vecArea.at(uiAt + 2 * i + 1) = static_cast<uint8_t>(ch >> 8);
        }
    }

    static size_t PrinterAt(size_t uiIndex) { return 4 + PRINTER_SIZE * uiIndex; }
    static size_t ProjectCountAt(size_t uiPrinters) { return 4 + PRINTER_SIZE * uiPrinters; }
    static size_t ProjectAt(size_t uiPrinters, size_t uiIndex) { return 8 + PRINTER_SIZE * uiPrinters + PROJECT_SIZE * uiIndex; }
    static uint64_t RequestSize(uint64_t uiPrinters, uint64_t uiProjects)
    {
        return 8 + PRINTER_SIZE * uiPrinters + PROJECT_SIZE * uiProjects;
    }

    // Counts only (records zero).
    void SetCounts(int32_t iPrinters, int32_t iProjects)
    {
        PutInt32(0, iPrinters);
        PutInt32(ProjectCountAt(static_cast<size_t>(iPrinters)), iProjects);
    }

    void PutPrinter(size_t uiIndex, const std::u16string& strId, const std::u16string& strName,
                    const std::u16string& strComment, const std::u16string& strDescription, int32_t iStatus,
                    int32_t iMaxPages, int32_t iPageTotal, int32_t iTaskTotal, uint8_t byTooMany)
    {
        const size_t uiAt = PrinterAt(uiIndex);
        PutText(uiAt + 0, strId);
        PutText(uiAt + 40, strName);
        PutText(uiAt + 2088, strComment);
        PutText(uiAt + 4136, strDescription);
        PutInt32(uiAt + 6184, iStatus);
        PutInt32(uiAt + 6188, iMaxPages);
        PutInt32(uiAt + 6192, iPageTotal);
        PutInt32(uiAt + 6196, iTaskTotal);
        m_vecArea.at(uiAt + 6200) = byTooMany;
    }

    void PutProject(size_t uiPrinters, size_t uiIndex, const std::u16string& strId, const std::u16string& strName,
                    const std::u16string& strComment)
    {
        const size_t uiAt = ProjectAt(uiPrinters, uiIndex);
        PutText(uiAt + 0, strId);
        PutText(uiAt + 40, strName);
        PutText(uiAt + 2088, strComment);
    }

private:
    std::vector<uint8_t> m_vecArea;
};

} // namespace recordtest
