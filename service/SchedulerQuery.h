#pragma once

#include <string>

namespace OrvService {

// One text attribute of a queue or of a job, asked as root from the
// scheduler that runs this backend (CUPS_SERVER: its own socket), over a
// connection of its own that is closed before the call returns (so that no
// worker forked later shares root's connection).
class CSchedulerQuery {
public:
    // IPP Get-Printer-Attributes of queue strQueue. False with strError when
    // the scheduler did not answer, refused, or has no such attribute.
    static bool PrinterAttribute(const std::string& strQueue, const char* szName, std::string& strValue,
                                 std::string& strError);
    // IPP Get-Job-Attributes of job strJobId; as PrinterAttribute.
    static bool JobAttribute(const std::string& strJobId, const char* szName, std::string& strValue,
                             std::string& strError);
};

} // namespace OrvService
