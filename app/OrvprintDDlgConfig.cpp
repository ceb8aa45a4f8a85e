#include "app/OrvprintDDlgConfig.h"

#include <boost/make_shared.hpp>
#include "app/OrvConfig.h"

COrvprintDDlgConfig::COrvprintDDlgConfig() : m_spConfig(boost::make_shared<COrvConfig>()) {}

bool COrvprintDDlgConfig::Get_CanSelectNoPrinter() { return m_spConfig->Get_CanSelectNoPrinter(); }
bool COrvprintDDlgConfig::Get_CanSelectNoProject() { return m_spConfig->Get_CanSelectNoProject(); }
bool COrvprintDDlgConfig::Get_DisplayProjectSelection() { return m_spConfig->Get_DisplayProjectSelection(); }
uint32_t COrvprintDDlgConfig::Get_AutoCancelSeconds() { return m_spConfig->Get_AutoCancelSeconds(); }
std::wstring COrvprintDDlgConfig::Get_DefaultPrinter() { return m_spConfig->Get_DefaultPrinter(); }
std::wstring COrvprintDDlgConfig::Get_DefaultProject() { return m_spConfig->Get_DefaultProject(); }
void COrvprintDDlgConfig::Set_DefaultPrinter(const std::wstring& strName) { m_spConfig->Set_DefaultPrinter(strName); }
void COrvprintDDlgConfig::Set_DefaultProject(const std::wstring& strName) { m_spConfig->Set_DefaultProject(strName); }
COrvConfig* COrvprintDDlgConfig::GetOrvConfig() { return m_spConfig.get(); }
