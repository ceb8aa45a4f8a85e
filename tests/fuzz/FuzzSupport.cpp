#include "FuzzSupport.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace orvfuzz {

namespace {

std::string g_strScratch;

void RemoveScratch()
{
    if (!g_strScratch.empty()) {
        const std::string strCommand = "rm -rf '" + g_strScratch + "'";
        if (std::system(strCommand.c_str()) != 0) {
            // Nothing more to do at exit.
        }
    }
}

} // namespace

std::string ScratchFolder()
{
    if (g_strScratch.empty()) {
        const char* szTemp = std::getenv("TMPDIR");
        std::string strTemplate = std::string(szTemp && *szTemp ? szTemp : "/tmp") + "/orvfuzz.XXXXXX";
        if (mkdtemp(&strTemplate[0]) == nullptr) {
            std::perror("mkdtemp");
            std::abort();
        }
        g_strScratch = strTemplate;
        std::atexit(RemoveScratch);
    }
    return g_strScratch;
}

} // namespace orvfuzz
