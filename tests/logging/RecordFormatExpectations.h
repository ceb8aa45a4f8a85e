#pragma once

// Chinese names as records write them in the platform's record locale.
namespace orvtest {

extern const char* const kPrinterANarrow;  // L"打印机A"
extern const char* const kProject1Narrow;  // L"项目1"
extern const char* const kXiangNarrow;     // L"项"

} // namespace orvtest
