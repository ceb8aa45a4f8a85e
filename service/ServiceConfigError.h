#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace OrvService {

// A print-service configuration that cannot be used. The text names the
// file, the line (when there is one) and the problem:
//   "/etc/orv-soft/print-service.conf, line 7: MaxPagesPerJob must be a whole number of 0 or more"
class CServiceConfigError : public std::runtime_error {
public:
    CServiceConfigError(const std::string& strFile, int iLine, const std::string& strProblem)
        : std::runtime_error(strFile + (iLine > 0 ? ", line " + std::to_string(iLine) : std::string()) + ": " +
                             strProblem)
        , m_strFile(strFile)
        , m_iLine(iLine)
        , m_strProblem(strProblem)
    {
    }

    const std::string& GetFile() const { return m_strFile; }
    int GetLine() const { return m_iLine; } // 0: the file as a whole
    const std::string& GetProblem() const { return m_strProblem; }
    // The accounting log as far as the file was read before the problem
    // (empty: none); nothing when the file could not be read at all.
    const std::optional<std::string>& GetAccountingLog() const { return m_oAccountingLog; }
    void SetAccountingLog(const std::string& strPath) { m_oAccountingLog = strPath; }

private:
    std::string m_strFile;
    int m_iLine;
    std::string m_strProblem;
    std::optional<std::string> m_oAccountingLog;
};

} // namespace OrvService
