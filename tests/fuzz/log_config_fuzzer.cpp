// The log configuration reader (LogConfigurator, the program's own keys of
// LogConfig.conf: output switches and filter groups) and the filter chain it
// builds. The input is the file.
//
// Checked: reading never fails, every filter needs four key lines so the
// chain has at most a quarter as many filters as the file has lines, and
// every filter decision on any trace entry is deny, neutral or accept.
#include <cstdint>
#include <fstream>
#include <string>
#include <log4cpp/LoggingEvent.hh>
#include "FuzzSupport.h"
#include "logging/OutputSwitchTable.h"
#include "logging/OutputSwitches.h"
#include "logging/log4cpp/LogConfigurator.h"
#include "logging/log4cpp/LogFilter.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pbyData, size_t uiSize)
{
    const std::string strContent(reinterpret_cast<const char*>(pbyData), uiSize);
    const std::string strPath = orvfuzz::ScratchFolder() + "/LogConfig.conf";
    std::ofstream(strPath, std::ios::binary | std::ios::trunc) << strContent;

    size_t uiLines = 1;
    for (char ch : strContent) {
        uiLines += ch == '\n' ? 1 : 0;
    }

    OutputSwitchTable table;
    LogConfigurator configurator(table);
    configurator.Configure(strPath);

    size_t uiFilters = 0;
    for (log4cpp::Filter* pFilter = configurator.GetFilter(); pFilter != nullptr;
         pFilter = pFilter->getChainedFilter()) {
        ++uiFilters;
    }
    FUZZ_CHECK(uiFilters <= uiLines / 4);

    if (LogFilter* pHead = configurator.GetFilter()) {
        const char* const aszEntries[] = {"OrvprintD_exe..CPopupThread::Run", "", "OrvprintD_exe", "a.b.c.d",
                                          "..", "*.*.*", "OrvprintD_exe.COrvConfig.Get_DefaultPrinter"};
        for (const char* szEntry : aszEntries) {
            log4cpp::LoggingEvent event("", "", szEntry, 700);
            const log4cpp::Filter::Decision decision = pHead->decide(event);
            FUZZ_CHECK(decision == log4cpp::Filter::DENY || decision == log4cpp::Filter::NEUTRAL ||
                       decision == log4cpp::Filter::ACCEPT);
        }
    }
    OutputSwitches switches;
    table.Get("OrvprintD_exe", switches);
    return 0;
}
