#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace orvtest {

// One process of the orvprint backend (the scheduler starts it with the
// device URI "orvprint:/" as argv[0]; its worker keeps that name), as /proc
// shows it to the caller.
struct BACKEND_PROCESS {
    pid_t pid = 0;
    uid_t uidReal = 0;
    std::string strCredentials; // its "Uid:", "Gid:" and "Groups:" lines, in order
};

// The backend's processes now, in /proc's order.
std::vector<BACKEND_PROCESS> BackendProcesses();

} // namespace orvtest
