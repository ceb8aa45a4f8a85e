#include "service/ServiceClock.h"

#include <cstdlib>
#include <ctime>

namespace OrvService {

int CServiceClock::Parse(const std::string& strText)
{
    if (strText.size() != 5 || strText[2] != ':') {
        return -1;
    }
    for (size_t i : {0, 1, 3, 4}) {
        if (strText[i] < '0' || strText[i] > '9') {
            return -1;
        }
    }
    const int iHour = (strText[0] - '0') * 10 + (strText[1] - '0');
    const int iMinute = (strText[3] - '0') * 10 + (strText[4] - '0');
    return iHour > 23 || iMinute > 59 ? -1 : iHour * 60 + iMinute;
}

int CServiceClock::MinuteOfDay()
{
    const char* szClock = std::getenv(VARIABLE);
    const int iInjected = szClock ? Parse(szClock) : -1;
    if (iInjected >= 0) {
        return iInjected;
    }
    const time_t tNow = time(nullptr);
    struct tm stuLocal;
    if (!localtime_r(&tNow, &stuLocal)) {
        return 0;
    }
    return stuLocal.tm_hour * 60 + stuLocal.tm_min;
}

std::string CServiceClock::Warning()
{
    const char* szClock = std::getenv(VARIABLE);
    if (!szClock || Parse(szClock) >= 0) {
        return std::string();
    }
    std::string strValue = szClock;
    for (char& ch : strValue) {
        ch = static_cast<unsigned char>(ch) < 0x20 || ch == 0x7F ? '?' : ch; // one line for the scheduler
    }
    return std::string(VARIABLE) + "=\"" + strValue + "\" is not HH:MM; the local time of day is used";
}

} // namespace OrvService
