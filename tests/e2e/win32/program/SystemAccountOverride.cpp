// OrvprintD-testhooks.exe: OrvprintD with one seam for the tests. The
// account that is refused may be named by ORVPRINT_SYSTEM_ACCOUNT, so that a
// test can start the program as "the system account" without being it. The
// product (OrvprintD.exe) refuses "SYSTEM" only.
#include <cstdlib>
#include "app/AppPlatform.h"

namespace AppPlatform {

std::wstring GetSystemAccountName()
{
    const wchar_t* szAccount = _wgetenv(L"ORVPRINT_SYSTEM_ACCOUNT");
    return szAccount ? std::wstring(szAccount) : std::wstring(L"SYSTEM");
}

} // namespace AppPlatform
