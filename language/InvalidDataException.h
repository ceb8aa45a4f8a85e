#pragma once

#include "language/Exception.h"

namespace Language {

// Data that cannot be used as it stands (a malformed command line, say).
class InvalidDataException : public Exception {
public:
    explicit InvalidDataException(const std::wstring& strText);
    std::string Message() const override;
    std::wstring MessageW() const override;

private:
    std::wstring m_strText;
};

} // namespace Language
