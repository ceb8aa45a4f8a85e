#pragma once

#include <string>
#include "app/IOrvprintDDlgConfig.h"

namespace orvtest {

// Dialog settings held in memory; records what the dialog stores.
class CFakeDlgConfig : public IOrvprintDDlgConfig {
public:
    bool m_bCanSelectNoPrinter = false;
    bool m_bCanSelectNoProject = false;
    bool m_bDisplayProjectSelection = true;
    uint32_t m_uiAutoCancelSeconds = 0;
    std::wstring m_strDefaultPrinter;
    std::wstring m_strDefaultProject;
    int m_iSetPrinterCalls = 0;
    int m_iSetProjectCalls = 0;

    bool Get_CanSelectNoPrinter() override { return m_bCanSelectNoPrinter; }
    bool Get_CanSelectNoProject() override { return m_bCanSelectNoProject; }
    bool Get_DisplayProjectSelection() override { return m_bDisplayProjectSelection; }
    uint32_t Get_AutoCancelSeconds() override { return m_uiAutoCancelSeconds; }
    std::wstring Get_DefaultPrinter() override { return m_strDefaultPrinter; }
    std::wstring Get_DefaultProject() override { return m_strDefaultProject; }
    void Set_DefaultPrinter(const std::wstring& strName) override
    {
        ++m_iSetPrinterCalls;
        m_strDefaultPrinter = strName;
    }
    void Set_DefaultProject(const std::wstring& strName) override
    {
        ++m_iSetProjectCalls;
        m_strDefaultProject = strName;
    }
    COrvConfig* GetOrvConfig() override { return nullptr; }
};

} // namespace orvtest
