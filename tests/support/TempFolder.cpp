#include "support/TempFolder.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace orvtest {

TempFolder::TempFolder()
{
    static std::atomic<unsigned> s_uiCounter{0};
    const auto uiStamp = std::chrono::steady_clock::now().time_since_epoch().count();
    for (;;) {
        fs::path p = fs::temp_directory_path() /
                     ("orvtest-" + std::to_string(uiStamp) + "-" + std::to_string(s_uiCounter++));
        std::error_code ec;
        if (fs::create_directory(p, ec)) {
            m_strPath = p.string();
            break;
        }
    }
}

TempFolder::~TempFolder()
{
    std::error_code ec;
    fs::remove_all(m_strPath, ec);
}

std::string TempFolder::File(const std::string& strName) const
{
    return (fs::path(m_strPath) / strName).string();
}

std::string TempFolder::WriteFile(const std::string& strName, const std::string& strContent) const
{
    const std::string strPath = File(strName);
    std::ofstream out(strPath, std::ios::binary | std::ios::trunc);
    out << strContent;
    return strPath;
}

std::string TempFolder::ReadFile(const std::string& strName) const
{
    return ReadWholeFile(File(strName));
}

std::string ReadWholeFile(const std::string& strPath)
{
    std::ifstream in(strPath, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

} // namespace orvtest
