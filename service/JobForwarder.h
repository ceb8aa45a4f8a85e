#pragma once

#include <string>

namespace OrvService {

// Forwards a held job's document, unchanged, to another CUPS queue on the
// scheduler that runs this backend ($CUPS_SERVER), submitted as the job's
// own user, with its title, copies and options.
class CJobForwarder {
public:
    struct JOB {
        std::string strUser;
        std::string strTitle;
        int iCopies = 1;
        std::string strOptions;  // as the scheduler passed them ("a=b c=d")
        std::string strFormat;   // MIME type; empty: let the scheduler tell
        std::string strBilling;  // job-billing; empty: none
        bool bHold = false;      // job-hold-until=indefinite
    };

    CJobForwarder() = default;
    CJobForwarder(const CJobForwarder&) = delete;
    CJobForwarder& operator=(const CJobForwarder&) = delete;

    // Sends the document read from iFd (from its start) to strQueue in one
    // Print-Job. True with the new job's id; false with the scheduler's
    // reason (the scheduler makes no job of a request it did not take).
    bool Forward(int iFd, const std::string& strQueue, const JOB& stuJob, int& iNewJobId, std::string& strError);
};

} // namespace OrvService
