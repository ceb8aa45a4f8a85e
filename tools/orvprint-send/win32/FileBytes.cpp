#include <cstdio>
#include "tools/orvprint-send/SendTool.h"

namespace OrvprintSend {

bool ReadFileBytes(const std::wstring& strPath, std::string& strBytes)
{
    FILE* pFile = _wfopen(strPath.c_str(), L"rb");
    if (!pFile) {
        return false;
    }
    char abyChunk[65536];
    size_t n;
    while ((n = fread(abyChunk, 1, sizeof(abyChunk), pFile)) > 0) {
        strBytes.append(abyChunk, n);
    }
    const bool bOk = !ferror(pFile);
    fclose(pFile);
    return bOk;
}

} // namespace OrvprintSend
