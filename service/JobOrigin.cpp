#include "service/JobOrigin.h"

#include <strings.h>
#include "service/SchedulerQuery.h"

namespace OrvService {

bool CJobOrigin::IsThisComputer(const std::string& strHost)
{
    return strcasecmp(strHost.c_str(), "localhost") == 0 || strHost == "127.0.0.1" || strHost == "::1";
}

std::string CJobOrigin::ForeignHostReason(const std::string& strHost)
{
    return "The job came from host " + strHost + "; only jobs submitted on this computer are sent to OrvprintD";
}

std::string CJobOrigin::Check(const std::string& strJobId)
{
    std::string strHost;
    std::string strError;
    if (!CSchedulerQuery::JobAttribute(strJobId, "job-originating-host-name", strHost, strError)) {
        return "The print service cannot tell where the job came from: " + strError;
    }
    if (strHost.empty()) {
        return "The print service cannot tell where the job came from: the scheduler names no host";
    }
    return IsThisComputer(strHost) ? std::string() : ForeignHostReason(strHost);
}

} // namespace OrvService
