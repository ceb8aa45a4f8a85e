#pragma once

#include "language/Exception.h"

namespace Language {

// A file that should exist does not. Only the wide text carries the
// "找不到文件 : " prefix; the narrow text is the bare file name.
class FileNotFoundException : public Exception {
public:
    explicit FileNotFoundException(const std::wstring& strFileName);
    std::string Message() const override;
    std::wstring MessageW() const override;

private:
    std::wstring m_strFileName;
};

} // namespace Language
