#pragma once

#include <string>
#include <vector>

// The program's command line. Without arguments OrvprintD runs as the log-on
// companion; the options are for administrators and installers:
//   --version   prints the version
//   --help      prints the usage
//   --quit      asks the running instance to end and waits until it has exited
// Returns the exit code; bRun is set when the companion is to run.
int HandleCommandLine(const std::vector<std::string>& vecArgs, bool& bRun);

// Sets up logging from LogConfig.conf, runs the application until it is told
// to quit and shuts logging down. The exit code.
int RunOrvprintD();

// Exit codes of --quit.
enum { QUIT_DONE = 0, QUIT_NONE_RUNNING = 3, QUIT_TIMED_OUT = 4, QUIT_NOT_PERMITTED = 5, USAGE_ERROR = 2 };
