#include "language/CommandLine.h"

#include <cstdlib>
#include <io.h>
#include <process.h>
#include <boost/bind/bind.hpp>
#include "language/CrtException.h"
#include "language/FileNotFoundException.h"
#include "language/InvalidDataException.h"
#include "language/scope_guard.h"

namespace Language {

void RunCommand(const std::wstring& strCommandLine)
{
    std::vector<std::wstring> vecParts;
    const size_t uiCount = SplitCommandLine(strCommandLine, vecParts);
    if (uiCount == 0) {
        throw InvalidDataException(L"命令的形式不正确。");
    }

    std::wstring strProgram;
    for (wchar_t c : vecParts[0]) {
        if (c != L'"') {
            strProgram += c;
        }
    }
    if (_waccess(strProgram.c_str(), 0) != 0) {
        throw FileNotFoundException(strProgram);
    }

    wchar_t** ppArgs = static_cast<wchar_t**>(std::malloc((uiCount + 1) * sizeof(wchar_t*)));
    if (!ppArgs) {
        throw CrtException("malloc");
    }
    scope_guard guardArgs(boost::bind(std::free, static_cast<void*>(ppArgs)));

    // The runtime library joins the arguments with blanks into the new
    // process's command line: the quotes of quoted parts keep them together.
    for (size_t i = 0; i < uiCount; ++i) {
        ppArgs[i] = const_cast<wchar_t*>(vecParts[i].c_str());
    }
    ppArgs[uiCount] = nullptr;

    _wspawnv(_P_NOWAIT, strProgram.c_str(), ppArgs);
}

} // namespace Language
