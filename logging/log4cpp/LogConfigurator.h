#pragma once

#include <string>
#include "logging/OutputSwitchTable.h"

class LogFilter;

// Reads the facade's own keys out of LogConfig.conf (log4cpp ignores them):
//
//   Output switches, one per line, for a category (FATAL records: a module):
//     OutputParam.<name> = true          "Param" records
//     OutputFunBeginInfo.<name> = true   function begin and end lines
//     OutputNTEventLog.<name> = true     FATAL records also to the event log
//     OutputNDCFullmessage.<name> = true call-stack dump after FATAL/ERROR/DEBUG
//   Blanks in key and value are ignored, the value's case too; any value
//   other than "true" switches off.
//
//   Filter groups, four lines each, in any order, no blank around "=":
//     filter.module=OrvprintD_exe
//     filter.class=*
//     filter.function=*
//     filter.putoutpermission=no
//
// Lines: at most 1023 characters (a longer line ends the reading), "#" in
// column 1 comments the line out, a later "#" cuts it.
class LogConfigurator {
public:
    explicit LogConfigurator(OutputSwitchTable& table = OutputSwitchTable::Instance());
    virtual ~LogConfigurator();

    LogConfigurator(const LogConfigurator&) = delete;
    LogConfigurator& operator=(const LogConfigurator&) = delete;

    // Reads the file. When it cannot be opened, says so on the standard
    // output and configures nothing.
    void Configure(const std::string& strPath);

    // Head of the filter chain read so far (null until the first complete
    // group); still owned by the configurator.
    LogFilter* GetFilter() const { return m_pFilter; }
    // Hands the chain over to the caller.
    LogFilter* ReleaseFilter();

private:
    void ReadLine(std::string strLine);
    void ReadSwitches(const std::string& strKey, const std::string& strValue);
    void ReadFilterKey(std::string strKey, const std::string& strValue);

    OutputSwitchTable& m_table;
    LogFilter* m_pFilter;
    // The slots of the filter group being read; kept between groups.
    std::string m_strModule;
    std::string m_strClass;
    std::string m_strFunction;
    std::string m_strPermission;
    int m_iGroupCount;
};
