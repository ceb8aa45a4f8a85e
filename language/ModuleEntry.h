#pragma once

#include <cstdint>
#include <string>

namespace Language {

// One module (executable or library file) loaded in a process.
struct ModuleEntry {
    uint32_t uiProcessId = 0;
    uintptr_t uiBaseAddress = 0;
    uint64_t uiBaseSize = 0;
    // The module's name, and the path of its file.
    std::wstring strModule;
    std::wstring strExePath;
};

} // namespace Language
