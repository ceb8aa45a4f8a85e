#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include "Src/Common/include/JobOptionData.h"

namespace orvtest {

// Job-option requests in the printing service's layout, for every test.
//
// Two ways to use it:
// - records: Printer() and Project() in list order, then Build() gives the
//   request bytes, exactly 8 + 6204·P + 4136·Q of them;
// - raw: a zeroed request area (for instance as large as the queue's,
//   2,688,408 bytes) written through byte offsets, as the service writes it,
//   for requests that are malformed on purpose.
// Either way every field is written at its offset, independent of how the
// program's own record structures are laid out.
class CJobRequestBuilder {
public:
    static const size_t PRINTER_SIZE = 6204;
    static const size_t PROJECT_SIZE = 4136;

    CJobRequestBuilder() = default;
    // A zeroed area of uiAreaSize bytes for raw writes.
    explicit CJobRequestBuilder(size_t uiAreaSize) : m_vecArea(uiAreaSize, 0) {}

    // ---- records ----

    CJobRequestBuilder& Printer(const std::u16string& strId, const std::u16string& strName, int32_t iStatus = 0,
                                bool bTooManyPages = false, int32_t iTaskTotal = 1, int32_t iPageTotal = 1,
                                int32_t iMaxPages = 100, const std::u16string& strComment = u"")
    {
        m_vecPrinters.push_back(PrinterFields{strId, strName, strComment, u"description " + strName, iStatus,
                                              iMaxPages, iPageTotal, iTaskTotal,
                                              static_cast<uint8_t>(bTooManyPages ? 1 : 0)});
        return *this;
    }

    CJobRequestBuilder& Project(const std::u16string& strId, const std::u16string& strName,
                                const std::u16string& strComment = u"")
    {
        m_vecProjects.push_back(ProjectFields{strId, strName, strComment});
        return *this;
    }

    std::vector<uint8_t> Build() const
    {
        CJobRequestBuilder area(RequestSize(m_vecPrinters.size(), m_vecProjects.size()));
        area.SetCounts(static_cast<int32_t>(m_vecPrinters.size()), static_cast<int32_t>(m_vecProjects.size()));
        for (size_t i = 0; i < m_vecPrinters.size(); ++i) {
            const PrinterFields& p = m_vecPrinters[i];
            area.PutPrinter(i, Fit(p.strId, 20), Fit(p.strName, 1024), Fit(p.strComment, 1024),
                            Fit(p.strDescription, 1024), p.iStatus, p.iMaxPages, p.iPageTotal, p.iTaskTotal,
                            p.byTooMany);
        }
        for (size_t i = 0; i < m_vecProjects.size(); ++i) {
            const ProjectFields& p = m_vecProjects[i];
            area.PutProject(m_vecPrinters.size(), i, Fit(p.strId, 20), Fit(p.strName, 1024), Fit(p.strComment, 1024));
        }
        return area.m_vecArea;
    }

    // ---- raw ----

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
    static size_t ProjectAt(size_t uiPrinters, size_t uiIndex)
    {
        return 8 + PRINTER_SIZE * uiPrinters + PROJECT_SIZE * uiIndex;
    }
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

    // Texts go in as given, also past the end of their field.
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
    struct PrinterFields {
        std::u16string strId, strName, strComment, strDescription;
        int32_t iStatus, iMaxPages, iPageTotal, iTaskTotal;
        uint8_t byTooMany;
    };
    struct ProjectFields {
        std::u16string strId, strName, strComment;
    };

    // Cut to leave room for the terminator in a field of uiChars.
    static std::u16string Fit(const std::u16string& strText, size_t uiChars)
    {
        return strText.size() < uiChars ? strText : strText.substr(0, uiChars - 1);
    }

    std::vector<uint8_t> m_vecArea;
    std::vector<PrinterFields> m_vecPrinters;
    std::vector<ProjectFields> m_vecProjects;
};

} // namespace orvtest
