#pragma once

#include <string>

// The application: start-up, the two worker threads, the message loop and an
// orderly stop. InitInstance does all the work of the process and returns
// FALSE (0), so that nothing else runs after it.
class COrvprintDApp {
public:
    // Name of the single-instance mutex, machine-wide.
    static const wchar_t* const INSTANCE_MUTEX_NAME;
    // Value name of the log-on registration.
    static const wchar_t* const AUTORUN_VALUE_NAME;

    int InitInstance();
};

// The print processor that start-up makes the spooler load; the spooler's
// result (1 = success). Shows a message box when it fails.
int CallUpPP();

// Full path of LogConfig.conf in the installation folder (the client key's
// "InstallDir", else the server key's), or "" when neither holds a readable one.
std::string FindLogConfigFile();

// The log folder: the client key's "LogDir" as narrow text in the system's
// code page (like the configuration's path), or "" when it cannot be read.
// Relative log file names of LogConfig.conf are taken in it.
std::string FindLogFolder();
