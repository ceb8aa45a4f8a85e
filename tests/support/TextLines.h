#pragma once

#include <string>
#include <vector>

namespace orvtest {

// Text split into lines at "\n" or "\r\n" (log files have CRLF line ends on
// Windows); the line ends are not kept, and a final line end opens no
// further line.
std::vector<std::string> SplitLines(const std::string& strText);

// The line end of log files on this platform: "\r\n" on Windows, "\n" on
// Linux.
extern const char* const LOG_LINE_END;

} // namespace orvtest
