#include "BackendLog.h"

#include "logging/LogFacade.h"
#include "logging/ThreadId.h"
#include "support/TextLines.h"

namespace logtest {

BackendLog::BackendLog(const std::string& strExtraConfig, const std::string& strPriority)
{
    m_strLogPath = m_folder.WriteFile("backend.log", "");
    const std::string strConfig =
        "log4cpp.rootCategory=ERROR\n"
        "log4cpp.category.OrvprintD_exe=" + strPriority + ", capture\n"
        "log4cpp.appender.capture=org.apache.log4cpp.FileAppender\n"
        "log4cpp.appender.capture.fileName=" + m_strLogPath + "\n"
        "log4cpp.appender.capture.append=true\n"
        "log4cpp.appender.capture.layout=org.apache.log4cpp.PatternLayout\n"
        "log4cpp.appender.capture.layout.ConversionPattern=%c|%p|%m%n\n" +
        strExtraConfig + "\n";
    m_strConfigPath = m_folder.WriteFile("LogConfig.conf", strConfig);
    InitLogging(m_strConfigPath.c_str());
}

BackendLog::~BackendLog()
{
    ShutdownLogging();
}

std::string BackendLog::Text() const
{
    return orvtest::ReadWholeFile(m_strLogPath);
}

std::vector<std::string> BackendLog::Lines() const
{
    return orvtest::SplitLines(Text());
}

int BackendLog::Count(const std::string& strPart) const
{
    int n = 0;
    for (const auto& line : Lines()) {
        if (line.find(strPart) != std::string::npos) ++n;
    }
    return n;
}

std::string ThreadPrefix()
{
    return "[ThreadID:" + std::to_string(LogThreadId()) + "] ";
}

} // namespace logtest
