#pragma once

#include <cstdint>
#include <string>

class COrvConfig;

// The settings that the print-option dialog reads and the two defaults it
// stores. In the program this is the user's COrvConfig (see
// COrvprintDDlgConfig); tests give the dialog settings of their own.
class IOrvprintDDlgConfig {
public:
    virtual ~IOrvprintDDlgConfig() = default;

    virtual bool Get_CanSelectNoPrinter() = 0;
    virtual bool Get_CanSelectNoProject() = 0;
    virtual bool Get_DisplayProjectSelection() = 0;
    // "ServerConfig" "AutoCancelSeconds": seconds without input after which
    // the dialog cancels itself; 0 = never.
    virtual uint32_t Get_AutoCancelSeconds() = 0;
    virtual std::wstring Get_DefaultPrinter() = 0;
    virtual std::wstring Get_DefaultProject() = 0;
    virtual void Set_DefaultPrinter(const std::wstring& strName) = 0;
    virtual void Set_DefaultProject(const std::wstring& strName) = 0;

    // The configuration object behind these settings, for parameter tracing;
    // null when there is none.
    virtual COrvConfig* GetOrvConfig() = 0;
};
