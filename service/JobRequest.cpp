#include "service/JobRequest.h"

#include <nlohmann/json.hpp>
#include "tools/orvprint-send/RequestBuilder.h"

namespace OrvService {

CJobRequest::CJobRequest(const CServiceConfig& objConfig,
                         const std::vector<const CServiceConfig::PROJECT_ENTRY*>& vecProjects, int iPageTotal,
                         const std::vector<int>& vecQueueJobs, int iMinuteOfDay)
    : m_objConfig(objConfig)
    , m_vecProjects(vecProjects)
    , m_iPageTotal(iPageTotal)
    , m_vecQueueJobs(vecQueueJobs)
    , m_iMinuteOfDay(iMinuteOfDay)
{
}

std::string CJobRequest::ToJson() const
{
    nlohmann::json jPrinters = nlohmann::json::array();
    const std::vector<CServiceConfig::PRINTER_ENTRY>& vecPrinters = m_objConfig.GetPrinters();
    for (size_t i = 0; i < vecPrinters.size(); ++i) {
        const CServiceConfig::PRINTER_ENTRY& stuPrinter = vecPrinters[i];
        const int iMax = stuPrinter.iMaxPagesPerJob;
        jPrinters.push_back({
            {"id", stuPrinter.strId},
            {"name", stuPrinter.strName},
            {"comment", stuPrinter.strComment},
            {"description", stuPrinter.strDescription},
            {"status", stuPrinter.IsWithinHours(m_iMinuteOfDay) ? STATUS_READY : STATUS_OUTSIDE_HOURS},
            {"maxPagesPerJob", iMax},
            {"pageTotal", m_iPageTotal},
            {"printTaskTotal", i < m_vecQueueJobs.size() ? m_vecQueueJobs[i] : 0},
            {"tooManyPages", iMax > 0 && m_iPageTotal > iMax},
        });
    }
    nlohmann::json jProjects = nlohmann::json::array();
    for (const CServiceConfig::PROJECT_ENTRY* pProject : m_vecProjects) {
        jProjects.push_back({{"id", pProject->strId}, {"name", pProject->strName}, {"comment", pProject->strComment}});
    }
    return nlohmann::json({{"printers", jPrinters}, {"projects", jProjects}}).dump();
}

std::string CJobRequest::Build() const
{
    return OrvprintSend::BuildRequestFromJson(ToJson());
}

} // namespace OrvService
