#pragma once

#include <string>
#include "service/UserAccount.h"

namespace OrvService {

// Makes this process the given user for good: supplementary groups, group,
// user (real, effective and saved), then checks that nothing of root is
// left (the ids read back, and getting root back fails). Sets HOME, USER and
// LOGNAME to the user's. Refuses root itself: a job of root is never served
// with root's rights.
class CPrivilegeDrop {
public:
    // False (strProblem says which step failed) when the process is not
    // surely the user afterwards; the caller must then end without touching
    // anything of the user.
    static bool DropTo(const CUserAccount& objAccount, std::string& strProblem);
};

} // namespace OrvService
