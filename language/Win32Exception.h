#pragma once

#include <cstdint>
#include "language/Exception.h"

namespace Win32 {

// A failed platform call. Windows: the code is GetLastError() or a registry
// status. Linux: the code is the errno value. The message is the text of
// FormatWin32Error for the call, the code and the context.
class Win32Exception : public Language::Exception {
public:
    Win32Exception();
    Win32Exception(const std::wstring& strContext, const std::wstring& strMessage, uint32_t uiCode);

    std::string Message() const override;
    std::wstring MessageW() const override;
    std::string Detail() const override;
    std::wstring DetailW() const override;

    const std::wstring& GetContext() const { return m_strContext; }
    uint32_t GetErrorCode() const { return m_uiCode; }

    void SetContext(const std::wstring& strContext) { m_strContext = strContext; }
    void SetMessage(const std::wstring& strMessage) { m_strMessage = strMessage; }
    void SetErrorCode(uint32_t uiCode) { m_uiCode = uiCode; }

private:
    std::wstring m_strContext;
    std::wstring m_strMessage;
    uint32_t m_uiCode;
};

} // namespace Win32
