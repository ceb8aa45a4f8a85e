#pragma once

#include "language/Exception.h"

namespace Language {

// A failed runtime-library call. The text lives in the detail
// ("malloc failed. err = <strerror text>"); the message stays empty.
class CrtException : public Exception {
public:
    explicit CrtException(const char* szFunction);
    std::string Message() const override;
    std::wstring MessageW() const override;
    std::string Detail() const override;
    std::wstring DetailW() const override;
    int GetErrorNumber() const { return m_iErrno; }

private:
    std::string m_strText;
    std::string m_strDetail;
    int m_iErrno;
};

} // namespace Language
