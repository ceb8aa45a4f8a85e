#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
#include "tools/orvprint-send/SendTool.h"

int wmain(int argc, wchar_t** argv)
{
    // UTF-8 out, unchanged by the C runtime.
    SetConsoleOutputCP(CP_UTF8);
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<std::wstring> vecArgs;
    for (int i = 1; i < argc; ++i) {
        vecArgs.push_back(argv[i]);
    }
    std::string strOut;
    std::string strErr;
    const int iCode = OrvprintSend::RunSendTool(vecArgs, strOut, strErr);
    fwrite(strOut.data(), 1, strOut.size(), stdout);
    fwrite(strErr.data(), 1, strErr.size(), stderr);
    fflush(stdout);
    fflush(stderr);
    return iCode;
}
