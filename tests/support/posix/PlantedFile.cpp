#include "support/posix/PlantedFile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace orvtest {

std::string Plant(Planted ePlanted, const std::string& strPath, const std::string& strVictim)
{
    switch (ePlanted) {
    case Planted::SymbolicLink:
        return symlink(strVictim.c_str(), strPath.c_str()) == 0 ? "it is a symbolic link." : "";
    case Planted::HardLink:
        return link(strVictim.c_str(), strPath.c_str()) == 0 ? "it has more than one hard link." : "";
    case Planted::Fifo:
        return mkfifo(strPath.c_str(), 0666) == 0 ? "it is not a regular file." : "";
    case Planted::Folder:
        return mkdir(strPath.c_str(), 0777) == 0 ? "it is not a regular file." : "";
    }
    return "";
}

const char* PlantedName(Planted ePlanted)
{
    static const char* const s_aszNames[] = {"SymbolicLink", "HardLink", "Fifo", "Folder"};
    return s_aszNames[static_cast<int>(ePlanted)];
}

} // namespace orvtest
