#include <clocale>
#include "logging/ValueText.h"

namespace paramtrace {

void SetRecordTextLocale()
{
    setlocale(LC_ALL, "chs");
}

} // namespace paramtrace
