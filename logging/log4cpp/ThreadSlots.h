#pragma once

#include <cstddef>

// The calling thread's thread-local slots (pthread keys, Windows TLS
// indexes), in which log4cpp keeps its per-thread objects. Reading a slot
// that was never allocated yields null.
size_t ThreadSlotCount();
void* GetThreadSlot(size_t uiSlot);
void ClearThreadSlot(size_t uiSlot);
