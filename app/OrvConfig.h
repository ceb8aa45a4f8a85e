#pragma once

#include <cstdint>
#include <string>
#include "app/OrvConfigException.h"
#include "logging/ValueText.h"
#include "utility/ClientInfo.h"

class COrvConfig;

namespace paramtrace {

// The configuration dump, as the parameter tracer prints a captured
// COrvConfig ("objConfig"):
// "{m_stuServerConfig = {,...},m_stuClientSetting = {,...},m_bClientSettingModified = false}"
template <>
struct ValueText<COrvConfig> {
    static std::string Text(const COrvConfig& objConfig);
};

} // namespace paramtrace

// The print-option dialog's view of Config.ini. Construction reads both
// groups ("ServerConfig", then "Setting") and throws COrvConfigException
// when either cannot be read; the setters change the two defaults, and the
// destructor writes the "Setting" group back when a setter was called (also
// when the value stored equals the old one). Held by a shared pointer, used
// by one thread, never copied.
class COrvConfig {
public:
    COrvConfig();
    ~COrvConfig();

    COrvConfig(const COrvConfig&) = delete;
    COrvConfig& operator=(const COrvConfig&) = delete;

    bool Get_CanSelectNoPrinter();
    bool Get_CanSelectNoProject();
    bool Get_DisplayProjectSelection();
    // "ServerConfig" "AutoCancelSeconds" (0 = never).
    uint32_t Get_AutoCancelSeconds();
    void Set_DefaultPrinter(const std::wstring& strName);
    void Set_DefaultProject(const std::wstring& strName);
    std::wstring Get_DefaultPrinter();
    std::wstring Get_DefaultProject();

private:
    friend struct paramtrace::ValueText<COrvConfig>;

    SERVER_CONFIG m_stuServerConfig;
    CLIENT_SETTING m_stuClientSetting;
    int32_t m_bClientSettingModified;
};
