#pragma once

#include <cstdint>
#include <memory>
#include "utility/NamedObject.h"

// The handle table of the Linux named objects. A handle is a small number
// (multiples of 4 from 4 up, like the kernel's) that names an entry here;
// every call looks its handle up and works on a shared reference, so a handle
// closed by another thread meanwhile never leaves a dangling object.

namespace OrvUtility {

class CNamedMutexCore;

struct CNamedObjectEntry {
    enum Kind {
        KIND_EVENT_FIFO,  // named event: a FIFO
        KIND_EVENT_LOCAL, // unnamed event: an eventfd
        KIND_BLOCK,       // shared block: a regular file
        KIND_MUTEX,       // mutex: a reference to the process's core
    };

    Kind eKind = KIND_EVENT_LOCAL;
    int iFd = -1;
    std::shared_ptr<CNamedMutexCore> pMutex;

    CNamedObjectEntry() = default;
    ~CNamedObjectEntry();
    CNamedObjectEntry(const CNamedObjectEntry&) = delete;
    CNamedObjectEntry& operator=(const CNamedObjectEntry&) = delete;
};

// Adds an entry, returns its handle.
NamedHandle AddNamedObject(std::shared_ptr<CNamedObjectEntry> pEntry);

// The entry of a handle, or null (errno EBADF) for null or unknown handles.
std::shared_ptr<CNamedObjectEntry> FindNamedObject(NamedHandle hObject);

// Removes the handle; false (errno EBADF) when unknown.
bool RemoveNamedObject(NamedHandle hObject);

} // namespace OrvUtility
