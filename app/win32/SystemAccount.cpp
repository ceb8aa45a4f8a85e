#include "app/AppPlatform.h"

namespace AppPlatform {

std::wstring GetSystemAccountName()
{
    return L"SYSTEM";
}

} // namespace AppPlatform
