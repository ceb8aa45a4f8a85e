#pragma once

#include <cstdint>

// Named kernel objects shared between processes: events, shared blocks and
// mutexes. The calls keep the shape of the Windows kernel calls they stand
// for, so that code written once over them (the message queue, the locks)
// follows the same steps on every platform:
//
//   Windows: the objects are the kernel's, the handles are HANDLEs, and each
//            call is the one Win32 call it is named after (OpenEventW,
//            CreateFileMappingW, WaitForMultipleObjects, ...). The thread's
//            last error is GetLastError().
//   Linux:   "Global\NAME" objects live in a shared folder (ORVPRINT_SHM_DIR,
//            default /dev/shm), every other name in the user's own folder
//            ($XDG_RUNTIME_DIR, else /tmp/orvprint-<uid>). Events are FIFOs
//            (unnamed events are eventfds), shared blocks are files mapped
//            shared, mutexes are lock files held with flock. The last error
//            is errno. docs/PROTOCOL.md describes the objects.
//
// A handle is owned by whoever received it and is given back with
// CloseNamedObject. Null is the failure value of every call that returns one.

namespace OrvUtility {

typedef void* NamedHandle;

// Wait results and time-outs, with the values of their Windows counterparts.
constexpr uint32_t NAMED_INFINITE = 0xFFFFFFFFu;
constexpr uint32_t NAMED_WAIT_OBJECT_0 = 0x00000000u;
constexpr uint32_t NAMED_WAIT_ABANDONED_0 = 0x00000080u;
constexpr uint32_t NAMED_WAIT_TIMEOUT = 0x00000102u;
constexpr uint32_t NAMED_WAIT_FAILED = 0xFFFFFFFFu;

// Last-error value after a create call that found the object already there
// (ERROR_ALREADY_EXISTS).
constexpr uint32_t NAMED_ERROR_ALREADY_EXISTS = 183u;

// Access granted to Everyone by the create calls. 0 creates the object with
// default security (Linux: owner-only mode 0600); any other mask builds
// attributes for the Everyone group with that mask (Linux: mode 0666,
// whatever the umask).
constexpr uint32_t NAMED_DEFAULT_SECURITY = 0u;
constexpr uint32_t EVERYONE_EVENT_ALL_ACCESS = 0x001F0003u;    // EVENT_ALL_ACCESS
constexpr uint32_t EVERYONE_MUTEX_ALL_ACCESS = 0x001F0001u;    // MUTEX_ALL_ACCESS
constexpr uint32_t EVERYONE_FILE_MAP_ALL_ACCESS = 0x000F001Fu; // FILE_MAP_ALL_ACCESS

// CloseHandle. Returns nonzero on success.
int CloseNamedObject(NamedHandle hObject);

// The value logged for a handle in the "0x%08X" lines: the handle's low 32
// bits on Windows, the file descriptor on Linux (0 for null).
uint32_t NamedObjectLogValue(NamedHandle hObject);

// The low 32 bits of an address, for the "0x%08X" lines about views.
uint32_t PointerLogValue(const void* pAddress);

} // namespace OrvUtility
