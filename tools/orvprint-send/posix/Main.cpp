#include <clocale>
#include <cstdio>
#include "language/TextConvert.h"
#include "tools/orvprint-send/SendTool.h"

int main(int argc, char** argv)
{
    setlocale(LC_ALL, "");
    std::vector<std::wstring> vecArgs;
    for (int i = 1; i < argc; ++i) {
        vecArgs.push_back(Language::WideFromUtf8(argv[i]));
    }
    std::string strOut;
    std::string strErr;
    const int iCode = OrvprintSend::RunSendTool(vecArgs, strOut, strErr);
    fwrite(strOut.data(), 1, strOut.size(), stdout);
    fwrite(strErr.data(), 1, strErr.size(), stderr);
    return iCode;
}
