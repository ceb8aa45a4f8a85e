#include "logging/ValueText.h"

namespace paramtrace {

void SetRecordTextLocaleOnce(bool& bDone)
{
    if (!bDone) {
        bDone = true;
        SetRecordTextLocale();
    }
}

} // namespace paramtrace
