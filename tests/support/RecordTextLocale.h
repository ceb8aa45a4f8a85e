#pragma once

#include <string>

// The record-text locale of the program's start-up in a test process, and
// Chinese names as records then write them (the platform's code page:
// GBK on Windows, UTF-8 on Linux).
namespace orvtest {

extern const char* const kPrinterANarrow;  // L"打印机A"
extern const char* const kProject1Narrow;  // L"项目1"
extern const char* const kXiangNarrow;     // L"项"

// Sets the C locale as OrvprintD's start-up does before logging starts
// (paramtrace::SetRecordTextLocale) for the life of the object; the locale
// it replaced comes back afterwards.
class ScopedRecordTextLocale {
public:
    ScopedRecordTextLocale();
    ~ScopedRecordTextLocale();
    ScopedRecordTextLocale(const ScopedRecordTextLocale&) = delete;
    ScopedRecordTextLocale& operator=(const ScopedRecordTextLocale&) = delete;

private:
    std::string m_strOld;
};

} // namespace orvtest
