#include "../ProcessFootprint.h"

#include <cstdio>
#include <dirent.h>
#include <unistd.h>

namespace orvtest {

ProcessFootprint MeasureProcessFootprint()
{
    ProcessFootprint stuFootprint;
    // The listing's own descriptor is open while it is read: it counts in
    // every measurement alike.
    if (DIR* pDir = opendir("/proc/self/fd")) {
        int64_t iCount = 0;
        while (dirent* pEntry = readdir(pDir)) {
            if (pEntry->d_name[0] != '.') {
                ++iCount;
            }
        }
        closedir(pDir);
        stuFootprint.iHandles = iCount;
    }
    if (FILE* pFile = std::fopen("/proc/self/statm", "r")) {
        long long llSize = 0;
        long long llResident = 0;
        if (std::fscanf(pFile, "%lld %lld", &llSize, &llResident) == 2) {
            stuFootprint.iResidentBytes = llResident * static_cast<int64_t>(sysconf(_SC_PAGESIZE));
        }
        std::fclose(pFile);
    }
    return stuFootprint;
}

} // namespace orvtest
