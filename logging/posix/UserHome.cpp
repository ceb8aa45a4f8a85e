#include "logging/posix/UserHome.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace UserHome {

std::string Of(uid_t uid)
{
    std::vector<char> vecBuf(16384);
    struct passwd pw;
    struct passwd* pResult = nullptr;
    if (getpwuid_r(uid, &pw, vecBuf.data(), vecBuf.size(), &pResult) != 0 || !pResult || !pw.pw_dir ||
        pw.pw_dir[0] != '/' || std::string(pw.pw_dir) == "/") {
        return std::string();
    }
    return pw.pw_dir;
}

std::string Current()
{
    const char* szHome = std::getenv("HOME");
    if (szHome && szHome[0] == '/') {
        return szHome;
    }
    return Of(geteuid());
}

} // namespace UserHome
