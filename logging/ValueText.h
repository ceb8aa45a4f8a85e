#pragma once

#include <cstdint>
#include <string>

namespace paramtrace {

// Value text of a captured parameter, by type. Each module that captures its
// own record types specializes this template beside the type's declaration
// (the job-option records, the configuration object).
template <class T>
struct ValueText;

template <>
struct ValueText<int> {
    static std::string Text(const int& iValue) { return std::to_string(iValue); }
};

template <>
struct ValueText<uint64_t> {
    static std::string Text(const uint64_t& uiValue) { return std::to_string(uiValue); }
};

template <class T>
struct ValueText<const T> : ValueText<T> {};

// Sets the C library's locale for all categories to the one in which record
// texts are made narrow: Windows "chs" (Chinese, simplified: wide text comes
// out in code page 936), Linux a UTF-8 locale. Start-up calls it before
// logging is configured, so that every record converts Chinese text.
void SetRecordTextLocale();

// The same, once per process for each record type, before the first record
// text of that type is made.
void SetRecordTextLocaleOnce(bool& bDone);

} // namespace paramtrace
