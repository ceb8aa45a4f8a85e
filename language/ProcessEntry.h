#pragma once

#include <cstdint>
#include <string>

namespace Language {

// One running process as the platform's process list records it.
struct ProcessEntry {
    uint32_t uiProcessId = 0;
    uint32_t uiParentProcessId = 0;
    uint32_t uiThreadCount = 0;
    int32_t iPriorityBase = 0;
    // The executable's file name, name and extension, no folder.
    std::wstring strExeFile;
};

} // namespace Language
