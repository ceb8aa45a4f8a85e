#pragma once

#include <string>

namespace OrvService {

// Where a job came from, as the scheduler recorded it
// (job-originating-host-name). Only jobs submitted on this computer are sent
// to a user's OrvprintD: the user of a job from the network is only the name
// its sender gave, and that person's OrvprintD is not on this computer.
//
// cupsd records "localhost" for its own socket and for every loopback
// address; a network client by its address (or name, with HostNameLookups
// on). A local client may name another host itself, as cups-lpd does for
// the jobs it relays, and that host is then recorded; a network client
// cannot name "localhost".
class CJobOrigin {
public:
    // True for "localhost" (in any case), 127.0.0.1 and ::1.
    static bool IsThisComputer(const std::string& strHost);

    // Empty when job strJobId was submitted on this computer, else the
    // reason to hold it.
    static std::string Check(const std::string& strJobId);

    // "The job came from host HOST; only jobs submitted on this computer are
    // sent to OrvprintD"
    static std::string ForeignHostReason(const std::string& strHost);
};

} // namespace OrvService
