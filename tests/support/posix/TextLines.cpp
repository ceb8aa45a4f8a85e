#include "support/TextLines.h"

namespace orvtest {

const char* const LOG_LINE_END = "\n";

} // namespace orvtest
