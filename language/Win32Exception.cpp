#include "language/Win32Exception.h"

#include "language/TextConvert.h"

namespace Win32 {

Win32Exception::Win32Exception()
    : m_uiCode(0)
{
}

Win32Exception::Win32Exception(const std::wstring& strContext, const std::wstring& strMessage,
                               uint32_t uiCode)
    : m_strContext(strContext), m_strMessage(strMessage), m_uiCode(uiCode)
{
}

std::string Win32Exception::Message() const
{
    return Language::NarrowFromWide(m_strMessage);
}

std::wstring Win32Exception::MessageW() const
{
    return m_strMessage;
}

std::string Win32Exception::Detail() const
{
    return Language::NarrowFromWide(m_strMessage);
}

std::wstring Win32Exception::DetailW() const
{
    return m_strMessage;
}

} // namespace Win32
