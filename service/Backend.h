#pragma once

#include <string>

namespace OrvService {

// One run of the backend for one job: argv is job id, user, title, copies,
// options and (optionally) the document's file; without it the document is
// read from standard input. Run() returns the backend's exit code.
class CBackend {
public:
    CBackend(int argc, char** argv);

    CBackend(const CBackend&) = delete;
    CBackend& operator=(const CBackend&) = delete;

    int Run();

private:
    std::string m_strJobId;
    std::string m_strUser;
    std::string m_strTitle;
    std::string m_strCopies;
    std::string m_strOptions;
    std::string m_strFile; // empty: standard input
};

} // namespace OrvService
