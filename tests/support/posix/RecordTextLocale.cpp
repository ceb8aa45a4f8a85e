#include "support/RecordTextLocale.h"

// UTF-8.
namespace orvtest {

const char* const kPrinterANarrow = "\xE6\x89\x93\xE5\x8D\xB0\xE6\x9C\xBA" "A";
const char* const kProject1Narrow = "\xE9\xA1\xB9\xE7\x9B\xAE" "1";
const char* const kXiangNarrow = "\xE9\xA1\xB9";

} // namespace orvtest
