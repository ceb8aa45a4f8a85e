// The parts of AppPlatform that are the same on every platform.
#include "app/AppPlatform.h"

#include "app/OrvprintDApp.h"
#include "utility/NamedMutex.h"

namespace AppPlatform {

int WorseQuitResult(int iFirst, int iSecond)
{
    const auto rank = [](int iResult) { return iResult == QUIT_NOT_ENDED ? 2 : iResult == QUIT_NOT_IN_TIME ? 1 : 0; };
    return rank(iSecond) > rank(iFirst) ? iSecond : iFirst;
}

int NoInstanceFound()
{
    // One instance per machine holds this mutex for its whole run, whoever
    // started it.
    return OrvUtility::ProbeNamedMutex(COrvprintDApp::INSTANCE_MUTEX_NAME) == OrvUtility::NAMED_MUTEX_OWNED
               ? QUIT_NOT_ENDED
               : QUIT_NONE;
}

} // namespace AppPlatform
