#pragma once

#include <string>
#include <vector>

namespace orvtest {

// Runs a program to its end with its standard output and error captured
// (through files, so that no pipe can fill). Returns the exit code, -1 when
// it could not be started. Arguments are UTF-8.
int RunTool(const std::string& strProgram, const std::vector<std::string>& vecArgs, std::string& strOut,
            std::string& strErr);

} // namespace orvtest
