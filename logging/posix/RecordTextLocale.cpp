#include <clocale>
#include "logging/ValueText.h"

namespace paramtrace {

// Linux has no "chs" locale; record texts are converted to UTF-8.
void SetRecordTextLocale()
{
    if (!setlocale(LC_ALL, "C.UTF-8")) {
        setlocale(LC_ALL, "en_US.UTF-8");
    }
}

} // namespace paramtrace
