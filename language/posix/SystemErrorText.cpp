#include "language/SystemErrorText.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include "language/ErrorText.h"
#include "language/TextConvert.h"

namespace Language {

namespace {

// strerror_r comes in two forms: the GNU one returns the text, the XSI one
// fills the buffer and returns a status. Both are taken here.
[[maybe_unused]] const char* PickText(const char* szResult, const char* /*szBuffer*/)
{
    return szResult;
}

[[maybe_unused]] const char* PickText(int iResult, const char* szBuffer)
{
    return iResult == 0 ? szBuffer : nullptr;
}

const char* ErrnoText(int iErrno, char* szBuffer, size_t uiSize)
{
    szBuffer[0] = '\0';
    return PickText(strerror_r(iErrno, szBuffer, uiSize), szBuffer);
}

// glibc answers every code with some text ("Unknown error N" for the codes it
// does not know); only the known ones count as having a text.
bool IsKnownErrno(int iErrno, const char* szText)
{
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 32))
    (void)szText;
    return strerrorname_np(iErrno) != nullptr;
#else
    (void)iErrno;
    return std::strncmp(szText, "Unknown error", 13) != 0;
#endif
}

} // namespace

bool GetSystemErrorText(uint32_t uiCode, std::wstring& strText)
{
    strText.clear();
    if (uiCode > static_cast<uint32_t>(INT_MAX)) {
        return false;
    }
    const int iErrno = static_cast<int>(uiCode);
    char szBuffer[256];
    const char* szText = ErrnoText(iErrno, szBuffer, sizeof(szBuffer));
    if (!szText || !*szText || !IsKnownErrno(iErrno, szText)) {
        return false;
    }
    strText = WideFromNarrow(szText);
    return !strText.empty();
}

std::string GetCrtErrorText(int iErrno)
{
    char szBuffer[256];
    const char* szText = ErrnoText(iErrno, szBuffer, sizeof(szBuffer));
    return szText ? std::string(szText) : std::string();
}

uint32_t GetLastPlatformError()
{
    return static_cast<uint32_t>(errno);
}

} // namespace Language
