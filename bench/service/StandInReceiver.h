#pragma once

#include <string>

namespace orvbench {

// A stand-in for a user's OrvprintD that answers every job-option request
// at once with one printer and one project, for the print service's
// whole-road figures of scripts/bench.sh: no dialog, so that what is left
// is the print service's own way. Run as root with a user's name, it becomes
// that user for good and serves the user's own channel (CMsgQueueEx, in the
// user's private folder), as OrvprintD does.
class CStandInReceiver {
public:
    CStandInReceiver(const std::string& strUser, const std::string& strPrinterId, const std::string& strProjectId);

    CStandInReceiver(const CStandInReceiver&) = delete;
    CStandInReceiver& operator=(const CStandInReceiver&) = delete;

    // Serves until the process is ended. Prints "serving pid=N" once the
    // channel's existence mutex is held, and "answered N" after each
    // request. Returns only when it cannot serve (non-zero, a line "error=..."
    // says why).
    int Serve();

private:
    std::string m_strUser;
    std::u16string m_strPrinterId;
    std::u16string m_strProjectId;
};

} // namespace orvbench
