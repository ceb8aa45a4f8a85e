#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>
#include "service/PrivilegeDrop.h"
#include "service/UserAccount.h"

using OrvService::CPrivilegeDrop;
using OrvService::CUserAccount;

namespace {

TEST(PrivilegeDropTest, LooksUsersUp)
{
    CUserAccount objRoot;
    ASSERT_TRUE(CUserAccount::Lookup("root", objRoot));
    EXPECT_EQ(0u, objRoot.GetUid());
    EXPECT_EQ("root", objRoot.GetName());
    EXPECT_FALSE(objRoot.GetGroupNames().empty());
    EXPECT_EQ("root", objRoot.GetGroupNames()[0]);
    ASSERT_FALSE(objRoot.GetGroupIds().empty());
    EXPECT_EQ(0u, objRoot.GetGroupIds()[0]);
    CUserAccount objNone;
    EXPECT_FALSE(CUserAccount::Lookup("orvtest-nobody-here", objNone));
    EXPECT_FALSE(CUserAccount::Lookup("", objNone));
}

TEST(PrivilegeDropTest, RootIsRefused)
{
    CUserAccount objRoot;
    ASSERT_TRUE(CUserAccount::Lookup("root", objRoot));
    std::string strProblem;
    EXPECT_FALSE(CPrivilegeDrop::DropTo(objRoot, strProblem));
    EXPECT_EQ("the job's user is root", strProblem);
}

// In a child: becomes "nobody" for good; the exit code tells what was found.
TEST(PrivilegeDropTest, DropsForGood)
{
    if (geteuid() != 0) {
        GTEST_SKIP() << "changing users needs root";
    }
    CUserAccount objNobody;
    if (!CUserAccount::Lookup("nobody", objNobody)) {
        GTEST_SKIP() << "this system has no user nobody";
    }
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        std::string strProblem;
        if (!CPrivilegeDrop::DropTo(objNobody, strProblem)) {
            _exit(10);
        }
        gid_t agid[64];
        const int iGroups = getgroups(64, agid);
        for (int i = 0; i < iGroups; ++i) {
            if (agid[i] == 0) {
                _exit(11); // root's group kept
            }
        }
        // Exactly the account's groups, as at its log-on.
        std::vector<gid_t> vecHas(agid, agid + (iGroups > 0 ? iGroups : 0));
        std::vector<gid_t> vecWants = objNobody.GetGroupIds();
        std::sort(vecHas.begin(), vecHas.end());
        std::sort(vecWants.begin(), vecWants.end());
        if (vecHas != vecWants) {
            _exit(15);
        }
        if (getuid() != objNobody.GetUid() || geteuid() != objNobody.GetUid() || getgid() != objNobody.GetGid()) {
            _exit(12);
        }
        if (setuid(0) == 0 || setegid(0) == 0) {
            _exit(13);
        }
        if (std::getenv("HOME") != objNobody.GetHome()) {
            _exit(14);
        }
        _exit(0);
    }
    int iStatus = 0;
    ASSERT_EQ(pid, waitpid(pid, &iStatus, 0));
    ASSERT_TRUE(WIFEXITED(iStatus));
    EXPECT_EQ(0, WEXITSTATUS(iStatus));
}

} // namespace
