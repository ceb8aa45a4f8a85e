#pragma once

#include <string>

// What another local user can put under a name in a folder that everybody
// may write, in place of a file that OrvprintD writes there.
namespace orvtest {

enum class Planted { SymbolicLink, HardLink, Fifo, Folder };

// Puts it at strPath (a link or hard link to strVictim); the reason with
// which OrvprintD refuses it ("it is a symbolic link." ...), or "" when it
// could not be planted.
std::string Plant(Planted ePlanted, const std::string& strPath, const std::string& strVictim);

// "SymbolicLink", "HardLink", "Fifo", "Folder".
const char* PlantedName(Planted ePlanted);

} // namespace orvtest
