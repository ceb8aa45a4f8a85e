#include "service/Backend.h"

#include <cups/backend.h>

namespace OrvService {

CBackend::CBackend(int argc, char** argv)
    : m_strJobId(argv[1])
    , m_strUser(argv[2])
    , m_strTitle(argv[3])
    , m_strCopies(argv[4])
    , m_strOptions(argv[5])
    , m_strFile(argc > 6 ? argv[6] : "")
{
}

int CBackend::Run()
{
    return CUPS_BACKEND_HOLD;
}

} // namespace OrvService
