#pragma once

#include <boost/shared_ptr.hpp>
#include "app/IOrvprintDDlgConfig.h"

// The dialog's settings read from and saved to Config.ini through a
// COrvConfig, which this object creates and owns. The constructor throws
// COrvConfigException when the settings cannot be read; the defaults set
// here are written back when the last owner lets go of the COrvConfig.
class COrvprintDDlgConfig : public IOrvprintDDlgConfig {
public:
    COrvprintDDlgConfig();

    bool Get_CanSelectNoPrinter() override;
    bool Get_CanSelectNoProject() override;
    bool Get_DisplayProjectSelection() override;
    uint32_t Get_AutoCancelSeconds() override;
    std::wstring Get_DefaultPrinter() override;
    std::wstring Get_DefaultProject() override;
    void Set_DefaultPrinter(const std::wstring& strName) override;
    void Set_DefaultProject(const std::wstring& strName) override;
    COrvConfig* GetOrvConfig() override;

private:
    boost::shared_ptr<COrvConfig> m_spConfig;
};
