#include <windows.h>
#include <shellapi.h>
#include "app/OrvprintDMain.h"
#include "language/TextConvert.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    // Options are ASCII; take them from the wide command line all the same.
    int iArgc = 0;
    wchar_t** pszArgv = CommandLineToArgvW(GetCommandLineW(), &iArgc);
    std::vector<std::string> vecArgs;
    for (int i = 1; pszArgv && i < iArgc; ++i) {
        vecArgs.push_back(Language::Utf8FromWide(pszArgv[i]));
    }
    if (pszArgv) {
        LocalFree(pszArgv);
    }
    bool bRun = false;
    const int iCode = HandleCommandLine(vecArgs, bRun);
    if (!bRun) {
        return iCode;
    }
    return RunOrvprintD();
}
