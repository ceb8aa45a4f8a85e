#pragma once

#include <string>
#include <vector>
#include "support/TempFolder.h"

namespace logtest {

// Logging configured for one test: the category "OrvprintD_exe" at the given
// priority with a file appender whose layout shows category, priority and
// message ("%c|%p|%m%n"), plus extra lines. Shuts logging down when destroyed.
class BackendLog {
public:
    explicit BackendLog(const std::string& strExtraConfig = "", const std::string& strPriority = "DEBUG");
    ~BackendLog();
    BackendLog(const BackendLog&) = delete;
    BackendLog& operator=(const BackendLog&) = delete;

    std::string Text() const;
    // Text split into lines (either line end; a final one opens no further line).
    std::vector<std::string> Lines() const;
    int Count(const std::string& strPart) const;
    const orvtest::TempFolder& Folder() const { return m_folder; }
    const std::string& ConfigPath() const { return m_strConfigPath; }

private:
    orvtest::TempFolder m_folder;
    std::string m_strLogPath;
    std::string m_strConfigPath;
};

// "[ThreadID:<id of the calling thread>] "
std::string ThreadPrefix();

} // namespace logtest
