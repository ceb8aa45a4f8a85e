#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

// Opens the files of the configuration's file appenders before log4cpp
// does. A log folder may be one that other users can write: a symbolic link,
// FIFO, folder or hard link planted under a log file's name must not receive
// a line (nor block start-up). Each file is opened or created here without
// following links; one that is refused goes to the null device instead, and
// the refusal is logged once logging runs. log4cpp then opens the same
// names, and each appender is made to write into the very file checked here.
//
// A relative file name is taken in the log folder (SetLogFolder), never in
// the process's current folder: the appender is given the name inside the
// log folder. Without a log folder such a file is refused like a planted
// one.
class CLogFileGuard {
public:
    CLogFileGuard() = default;
    ~CLogFileGuard();

    CLogFileGuard(const CLogFileGuard&) = delete;
    CLogFileGuard& operator=(const CLogFileGuard&) = delete;

    // Reads the property file and opens every file appender's file. The
    // path to hand to log4cpp: strConfigPath itself, or a copy held in
    // memory that sends each refused appender to the null device.
    std::string Prepare(const std::string& strConfigPath);

    // After log4cpp is configured: every file appender of a checked file
    // writes into that file; the refusals are logged (ERROR) and written to
    // standard error.
    void Finish();

    // The appender names and file names as log4cpp reads them from text
    // (variables substituted, first definition wins). For tests.
    static std::vector<std::pair<std::string, std::string>> FileAppenders(const std::string& strText);

    // Where the file of a configured name is: strPath is the name itself
    // when it is a full path, else the name inside the log folder. Null, or
    // the reason why the name cannot be used (strPath is then empty).
    static const char* InLogFolder(const std::string& strName, std::string& strPath);

private:
    struct SChecked {
        std::string strPath;
        int iFd;
    };
    std::vector<SChecked> m_vecChecked;
    std::vector<std::pair<std::string, const char*>> m_vecRefused;
    int m_iMemoryFd = -1;
};
