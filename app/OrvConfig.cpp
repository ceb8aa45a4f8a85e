#include "app/OrvConfig.h"

#include "logging/LogMacros.h"

COrvConfig::COrvConfig() : m_bClientSettingModified(0)
{
    ORV_TRACE_SCOPE("COrvConfig::COrvConfig");
    uint32_t uiRet = OrvUtility::GetServerConfig(m_stuServerConfig);
    if (uiRet != 0) {
        ORV_LOG_ERROR("%s(%d) : GetServerConfig returns %d", static_cast<int>(uiRet));
        ORV_THROW(COrvConfigException(0));
    }
    uiRet = OrvUtility::ReadClientSetting(m_stuClientSetting);
    if (uiRet != 0) {
        ORV_LOG_ERROR("%s(%d) : ReadClientSetting returns %d", static_cast<int>(uiRet));
        ORV_THROW(COrvConfigException(0));
    }
}

COrvConfig::~COrvConfig()
{
    ORV_TRACE_SCOPE("COrvConfig::~COrvConfig");
    if (!m_bClientSettingModified) {
        return;
    }
    const uint32_t uiRet = OrvUtility::WriteClientSetting(m_stuClientSetting);
    if (uiRet != 0) {
        ORV_LOG_WARNING("%s(%d) : WriteClientSetting returns %d", static_cast<int>(uiRet));
    }
}

bool COrvConfig::Get_CanSelectNoPrinter()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_CanSelectNoPrinter");
    return m_stuClientSetting.bCanSelectNoPrinter != 0;
}

bool COrvConfig::Get_CanSelectNoProject()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_CanSelectNoProject");
    return m_stuClientSetting.bCanSelectNoProject != 0;
}

bool COrvConfig::Get_DisplayProjectSelection()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_DisplayProjectSelection");
    return m_stuClientSetting.bDisplayProjectSelection != 0;
}

uint32_t COrvConfig::Get_AutoCancelSeconds()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_AutoCancelSeconds");
    return m_stuServerConfig.uiAutoCancelSeconds;
}

void COrvConfig::Set_DefaultPrinter(const std::wstring& strName)
{
    ORV_TRACE_SCOPE("COrvConfig::Set_DefaultPrinter");
    // Every call counts as a change, also one that stores the same name.
    m_bClientSettingModified = 1;
    m_stuClientSetting.szDefaultPrinter = strName;
}

void COrvConfig::Set_DefaultProject(const std::wstring& strName)
{
    ORV_TRACE_SCOPE("COrvConfig::Set_DefaultProject");
    m_bClientSettingModified = 1;
    m_stuClientSetting.szDefaultProject = strName;
}

std::wstring COrvConfig::Get_DefaultPrinter()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_DefaultPrinter");
    return m_stuClientSetting.szDefaultPrinter;
}

std::wstring COrvConfig::Get_DefaultProject()
{
    ORV_TRACE_SCOPE("COrvConfig::Get_DefaultProject");
    return m_stuClientSetting.szDefaultProject;
}

namespace paramtrace {

std::string ValueText<COrvConfig>::Text(const COrvConfig& objConfig)
{
    // The names are made narrow through the C library's locale.
    static bool s_bLocaleSet = false;
    SetRecordTextLocaleOnce(s_bLocaleSet);
    return "{m_stuServerConfig = " + ValueText<SERVER_CONFIG>::Text(objConfig.m_stuServerConfig) +
           ",m_stuClientSetting = " + ValueText<CLIENT_SETTING>::Text(objConfig.m_stuClientSetting) +
           ",m_bClientSettingModified = " + (objConfig.m_bClientSettingModified ? "true" : "false") + "}";
}

} // namespace paramtrace
