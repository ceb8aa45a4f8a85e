#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include "logging/LogFacade.h"
#include "logging/LogMacros.h"
#include "support/TextLines.h"

namespace orvtest {

LogCapture::LogCapture(const std::string& strExtraConfig, const std::string& strPriority)
{
    m_strLogPath = m_folder.File("capture.log");
    m_folder.WriteFile("capture.log", "");
    std::string strConfig =
        "log4cpp.rootCategory=ERROR\n"
        "log4cpp.category.OrvprintD_exe=" + strPriority + ", capture\n"
        "log4cpp.appender.capture=org.apache.log4cpp.FileAppender\n"
        "log4cpp.appender.capture.fileName=" + m_strLogPath + "\n"
        "log4cpp.appender.capture.append=true\n"
        "log4cpp.appender.capture.layout=org.apache.log4cpp.PatternLayout\n"
        "log4cpp.appender.capture.layout.ConversionPattern=%m%n\n" +
        strExtraConfig + "\n";
    m_strConfigPath = m_folder.WriteFile("LogConfig.conf", strConfig);
    InitLogging(m_strConfigPath.c_str());
    {
        ORV_TRACE_SCOPE("LogCapture::LogCapture");
        m_bAvailable = IsFatalEnabled();
    }
    // The probe's own scope may have written begin and end lines (when the
    // extra lines switch them on): start the capture empty. The appender
    // writes in append mode, so it carries on at the new end.
    m_folder.WriteFile("capture.log", "");
}

LogCapture::~LogCapture()
{
    ShutdownLogging();
}

bool LogCapture::Available() const
{
    if (!m_bAvailable) {
        // The test is reported as skipped, yet runs on: a skip that does not
        // return, recorded as GTEST_SKIP records it.
        GTEST_MESSAGE_AT_(__FILE__, __LINE__, "", ::testing::TestPartResult::kSkip)
            << "the log facade is built disabled here: the log lines of this test are not checked";
    }
    return m_bAvailable;
}

std::string LogCapture::Text() const
{
    return ReadWholeFile(m_strLogPath);
}

std::vector<std::string> LogCapture::Lines() const
{
    return orvtest::SplitLines(Text());
}

bool LogCapture::Contains(const std::string& strPart) const
{
    return Count(strPart) > 0;
}

int LogCapture::Count(const std::string& strPart) const
{
    int n = 0;
    for (const auto& line : Lines()) {
        if (line.find(strPart) != std::string::npos) ++n;
    }
    return n;
}

} // namespace orvtest
