#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>
#include "Src/Common/include/JobOptionData.h"

namespace orvtest {

// Request buffers in the printing service's layout, built from records.
class CJobRequestBuilder {
public:
    CJobRequestBuilder& Printer(const std::u16string& strId, const std::u16string& strName, int32_t iStatus = 0,
                                bool bTooManyPages = false, int32_t iTaskTotal = 1, int32_t iPageTotal = 1,
                                int32_t iMaxPages = 100, const std::u16string& strComment = u"")
    {
        CJobOptionData::PRINTER_INFO stu;
        std::memset(&stu, 0, sizeof(stu));
        Copy(stu.szPrinterId, 20, strId);
        Copy(stu.szPrinterName, 1024, strName);
        Copy(stu.szComment, 1024, strComment);
        Copy(stu.szDescription, 1024, u"description " + strName);
        stu.iStatus = iStatus;
        stu.iMaxPagesPerJob = iMaxPages;
        stu.iPageTotal = iPageTotal;
        stu.iPrintTaskTotal = iTaskTotal;
        stu.bTooMayPages = bTooManyPages;
        m_vecPrinters.push_back(stu);
        return *this;
    }

    CJobRequestBuilder& Project(const std::u16string& strId, const std::u16string& strName,
                                const std::u16string& strComment = u"")
    {
        CJobOptionData::PROJECT_INFO stu;
        std::memset(&stu, 0, sizeof(stu));
        Copy(stu.szProjectId, 20, strId);
        Copy(stu.szProjectName, 1024, strName);
        Copy(stu.szComment, 1024, strComment);
        m_vecProjects.push_back(stu);
        return *this;
    }

    std::vector<uint8_t> Build() const
    {
        std::vector<uint8_t> vecBuffer;
        Append(vecBuffer, static_cast<int32_t>(m_vecPrinters.size()));
        for (const auto& stu : m_vecPrinters) {
            Append(vecBuffer, stu);
        }
        Append(vecBuffer, static_cast<int32_t>(m_vecProjects.size()));
        for (const auto& stu : m_vecProjects) {
            Append(vecBuffer, stu);
        }
        return vecBuffer;
    }

private:
    static void Copy(char16_t* pDest, size_t uiChars, const std::u16string& strText)
    {
        const size_t n = strText.size() < uiChars - 1 ? strText.size() : uiChars - 1;
        std::memcpy(pDest, strText.data(), n * sizeof(char16_t));
        pDest[n] = u'\0';
    }

    template <class T>
    static void Append(std::vector<uint8_t>& vecBuffer, const T& value)
    {
        const uint8_t* p = reinterpret_cast<const uint8_t*>(&value);
        vecBuffer.insert(vecBuffer.end(), p, p + sizeof(T));
    }

    std::vector<CJobOptionData::PRINTER_INFO> m_vecPrinters;
    std::vector<CJobOptionData::PROJECT_INFO> m_vecProjects;
};

} // namespace orvtest
