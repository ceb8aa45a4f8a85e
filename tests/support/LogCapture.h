#pragma once

#include <string>
#include <vector>
#include "support/TempFolder.h"

namespace orvtest {

// Configures logging for one test from a generated LogConfig.conf: the
// category "OrvprintD_exe" at DEBUG with a file appender whose layout is the
// bare record ("%m%n"), plus any extra lines (switches, filters, further
// categories). Shuts logging down again when destroyed.
//
// Available() is false where the facade is built disabled (the MinGW build):
// tests then check behaviour only, not log lines, and asking marks the test
// as skipped with that reason (its other checks still run and can still
// fail), so that the count of skipped tests shows what such a build leaves
// unchecked. IsBackendPresent() answers the same without that mark.
class LogCapture {
public:
    explicit LogCapture(const std::string& strExtraConfig = "",
                        const std::string& strPriority = "DEBUG");
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    bool Available() const;
    bool IsBackendPresent() const { return m_bAvailable; }
    // Everything written so far, and the same split into lines.
    std::string Text() const;
    std::vector<std::string> Lines() const;
    // True when some line contains strPart.
    bool Contains(const std::string& strPart) const;
    // Number of lines that contain strPart.
    int Count(const std::string& strPart) const;
    const std::string& ConfigPath() const { return m_strConfigPath; }
    const std::string& LogPath() const { return m_strLogPath; }

private:
    TempFolder m_folder;
    std::string m_strConfigPath;
    std::string m_strLogPath;
    bool m_bAvailable;
};

} // namespace orvtest
