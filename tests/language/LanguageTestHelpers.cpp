#include "language/LanguageTestHelpers.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace languagetest {

bool WriteFileAtOnce(const std::string& strPath, const std::string& strText)
{
    const std::string strTemp = strPath + ".part";
    {
        std::ofstream out(strTemp, std::ios::binary | std::ios::trunc);
        out << strText;
        if (!out) {
            return false;
        }
    }
    std::error_code ec;
    fs::rename(strTemp, strPath, ec);
    return !ec;
}

bool WaitForFile(const std::string& strPath, int iTimeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(iTimeoutMs);
    for (;;) {
        std::error_code ec;
        if (fs::exists(strPath, ec)) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

std::string WaitForFileText(const std::string& strPath, int iTimeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(iTimeoutMs);
    for (;;) {
        std::ifstream in(strPath, std::ios::binary);
        if (in) {
            std::ostringstream ss;
            ss << in.rdbuf();
            if (!ss.str().empty()) {
                return ss.str();
            }
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return std::string();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool CopyFileTo(const std::string& strFrom, const std::string& strTo)
{
    std::error_code ec;
    return fs::copy_file(strFrom, strTo, fs::copy_options::overwrite_existing, ec) && !ec;
}

} // namespace languagetest
