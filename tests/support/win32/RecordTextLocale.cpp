#include "support/RecordTextLocale.h"

// Code page 936 (GBK), the "chs" locale's.
namespace orvtest {

const char* const kPrinterANarrow = "\xB4\xF2\xD3\xA1\xBB\xFA" "A";
const char* const kProject1Narrow = "\xCF\xEE\xC4\xBF" "1";
const char* const kXiangNarrow = "\xCF\xEE";

} // namespace orvtest
