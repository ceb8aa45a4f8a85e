#include <clocale>
#include "logging/ValueText.h"

namespace paramtrace {

void SetRecordTextLocaleOnce(bool& bDone)
{
    if (!bDone) {
        bDone = true;
        setlocale(LC_ALL, "chs");
    }
}

} // namespace paramtrace
