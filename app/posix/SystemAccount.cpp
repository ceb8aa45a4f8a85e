#include "app/AppPlatform.h"

#include <cstdlib>
#include "language/TextConvert.h"

namespace AppPlatform {

std::wstring GetSystemAccountName()
{
    const char* szAccount = std::getenv("ORVPRINT_SYSTEM_ACCOUNT");
    return Language::WideFromUtf8(szAccount ? szAccount : "root");
}

} // namespace AppPlatform
