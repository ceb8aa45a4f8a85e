#pragma once

#include <string>

namespace OrvService {

// The time of day the service compares printers' hours with: the local
// time, or the one $ORVPRINT_SERVICE_CLOCK ("HH:MM") names. The variable
// reaches the backend only through the scheduler's own environment (a
// SetEnv line in cups-files.conf), for tests; a malformed value is ignored.
class CServiceClock {
public:
    static constexpr const char* VARIABLE = "ORVPRINT_SERVICE_CLOCK";

    // Minutes after midnight, 0..1439.
    static int MinuteOfDay();
    // Empty when the variable is unset or well-formed, else the warning
    // that it is ignored.
    static std::string Warning();
    // "HH:MM" (00:00..23:59) to minutes after midnight; -1 when malformed.
    static int Parse(const std::string& strText);
};

} // namespace OrvService
