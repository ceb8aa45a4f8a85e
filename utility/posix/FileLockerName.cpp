#include "utility/FileLocker.h"

#include <cwctype>
#include <filesystem>
#include <system_error>
#include "language/TextConvert.h"

namespace OrvUtility {

namespace {

// The full-path buffer of the Windows build: 260 characters with the NUL.
const size_t FULL_PATH_CHARS = 260;

} // namespace

std::wstring CFileLocker::MakeLockName(const wchar_t* szFilename)
{
    if (!szFilename || !*szFilename) {
        return std::wstring();
    }
    std::error_code ec;
    const std::filesystem::path pathFull =
        std::filesystem::absolute(std::filesystem::path(Language::Utf8FromWide(szFilename)), ec).lexically_normal();
    if (ec) {
        return std::wstring();
    }
    std::wstring strName = Language::WideFromUtf8(pathFull.string());
    if (strName.size() >= FULL_PATH_CHARS) {
        return std::wstring();
    }
    for (wchar_t& ch : strName) {
        ch = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(ch)));
        if (ch == L'\\' || ch == L'/') {
            ch = L'|';
        }
    }
    return strName;
}

} // namespace OrvUtility
