#pragma once

#include <string>

namespace OrvService {

// Which OrvprintD serves the calling user's job-option channel now: "PID
// START" (its process id and start time, so that a new process with a
// reused id is another receiver), read from the owner record of the
// channel's existence mutex in the user's private folder. Empty when no
// receiver record can be read. Called by the worker, as the user.
class CReceiverIdentity {
public:
    static std::string Current();
    // "PID START" of a process from /proc, empty when it does not exist.
    static std::string OfProcess(long lPid);
};

} // namespace OrvService
