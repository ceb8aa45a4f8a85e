#pragma once

#include <string>
#include <vector>
#include "service/ServiceConfig.h"

namespace OrvService {

// The job-option request of one job, in the wire layout OrvprintD reads:
// every configured printer in file order, each with the job's page total,
// the jobs waiting on its queue, its page limit, whether the job exceeds it
// and its state (outside its hours: iStatus 1); then the projects the user
// may use.
class CJobRequest {
public:
    enum EPrinterStatus { STATUS_READY = 0, STATUS_OUTSIDE_HOURS = 1 };

    // vecQueueJobs: jobs waiting on each printer's queue, in printer order
    // (missing entries count 0). iMinuteOfDay: local time, 0..1439.
    CJobRequest(const CServiceConfig& objConfig, const std::vector<const CServiceConfig::PROJECT_ENTRY*>& vecProjects,
                int iPageTotal, const std::vector<int>& vecQueueJobs, int iMinuteOfDay);

    CJobRequest(const CJobRequest&) = delete;
    CJobRequest& operator=(const CJobRequest&) = delete;

    // The request's bytes. Throws OrvprintSend::CRequestError when a text
    // does not fit its field (the configuration's checks make that rare).
    std::string Build() const;

    // The same request as JSON (the description orvprint-send reads).
    std::string ToJson() const;

private:
    const CServiceConfig& m_objConfig;
    std::vector<const CServiceConfig::PROJECT_ENTRY*> m_vecProjects;
    int m_iPageTotal;
    std::vector<int> m_vecQueueJobs;
    int m_iMinuteOfDay;
};

} // namespace OrvService
