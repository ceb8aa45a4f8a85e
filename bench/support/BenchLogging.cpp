// Logging states of the benchmarks: off, a plain file set-up with the
// begin/end lines off or on, and the shipped LogConfig.conf.
#include "support/BenchSupport.h"

#include <fstream>
#include <sstream>
#include <unistd.h>
#include "logging/LogFacade.h"
#include "logging/LogMacros.h"

namespace orvbench {

namespace {

ELogging s_eCurrent = ELogging::OFF;

std::string PlainConfig(bool bBeginEnd)
{
    return "log4cpp.rootCategory=ERROR\n"
           "log4cpp.category.OrvprintD_exe=ERROR, benchFile\n"
           "log4cpp.appender.benchFile=org.apache.log4cpp.FileAppender\n"
           "log4cpp.appender.benchFile.fileName=" + LogFilePath() + "\n"
           "log4cpp.appender.benchFile.append=true\n"
           "log4cpp.appender.benchFile.layout=org.apache.log4cpp.PatternLayout\n"
           "log4cpp.appender.benchFile.layout.ConversionPattern=%d{%Y-%m-%d %H:%M:%S,%l} %-5p %m%n\n"
           "OutputParam.OrvprintD_exe=true\n"
           "OutputFunBeginInfo.OrvprintD_exe=" + std::string(bBeginEnd ? "true" : "false") + "\n"
           "OutputNTEventLog.OrvprintD_exe=false\n"
           "OutputNDCFullmessage.OrvprintD_exe=false\n";
}

// The shipped file with every appender's file name pointed at the run's
// log file. Empty when the file cannot be read.
std::string ShippedConfig()
{
    std::ifstream in(std::string(ORV_BENCH_SOURCE_DIR) + "/logging/LogConfig.conf");
    if (!in) {
        return std::string();
    }
    std::ostringstream out;
    std::string strLine;
    while (std::getline(in, strLine)) {
        const size_t uiKey = strLine.find(".fileName=");
        if (strLine.compare(0, 18, "log4cpp.appender.") == 0 && uiKey != std::string::npos) {
            strLine = strLine.substr(0, uiKey) + ".fileName=" + LogFilePath();
        }
        out << strLine << '\n';
    }
    return out.str();
}

} // namespace

const char* LoggingName(ELogging eLogging)
{
    switch (eLogging) {
    case ELogging::OFF:
        return "off";
    case ELogging::PLAIN:
        return "plain";
    case ELogging::BEGIN_END_ON:
        return "begin_end_on";
    case ELogging::SHIPPED:
        return "shipped";
    }
    return "off";
}

ELogging LoggingFromName(const std::string& strName)
{
    for (ELogging e : {ELogging::PLAIN, ELogging::BEGIN_END_ON, ELogging::SHIPPED}) {
        if (strName == LoggingName(e)) {
            return e;
        }
    }
    return ELogging::OFF;
}

std::string LogFilePath()
{
    return RunFile("log/OrvprintD.log");
}

void TruncateLogFile()
{
    if (truncate(LogFilePath().c_str(), 0) != 0) {
        // Not there yet: nothing to empty.
    }
}

bool UseLogging(ELogging eLogging)
{
    if (eLogging == s_eCurrent) {
        return true;
    }
    if (s_eCurrent != ELogging::OFF) {
        ShutdownLogging();
        s_eCurrent = ELogging::OFF;
    }
    if (eLogging == ELogging::OFF) {
        return true;
    }
    const std::string strConfig =
        eLogging == ELogging::SHIPPED ? ShippedConfig() : PlainConfig(eLogging == ELogging::BEGIN_END_ON);
    const std::string strPath = RunFile(std::string("LogConfig-") + LoggingName(eLogging) + ".conf");
    if (strConfig.empty() || !WriteTextFile(strPath, strConfig)) {
        return false;
    }
    InitLogging(strPath.c_str());
    bool bEnabled = false;
    {
        ORV_TRACE_SCOPE("OrvBench::UseLogging");
        bEnabled = IsFatalEnabled();
    }
    TruncateLogFile();
    if (!bEnabled) {
        ShutdownLogging();
        return false;
    }
    s_eCurrent = eLogging;
    return true;
}

} // namespace orvbench
