#pragma once

#include <string>

namespace Language {

// A path split the way the runtime library splits it: the folder keeps its
// trailing separator, the extension its dot. Linux paths have no drive.
struct PathParts {
    std::wstring drive;
    std::wstring dir;
    std::wstring fname;
    std::wstring ext;
};

} // namespace Language
