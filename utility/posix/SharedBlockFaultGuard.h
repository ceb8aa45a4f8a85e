#pragma once

#include <cstddef>

// The table of this process's shared-block views, and their guard.
//
// A shared block is a file that every local user may write, so anyone can
// cut it short while it is mapped; touching a page past the new end raises
// SIGBUS, which would end the process. The table can be read by the guard's
// SIGBUS handler: a fault inside a view gets a private zero page mapped over
// the faulting page (the access goes on and reads zeros) and marks the view
// broken. Faults anywhere else go to the handler that was there before.

namespace OrvUtility {

// Adds a view to the table (installs the handler on first use). False when
// the table is full.
bool GuardSharedBlockView(void* pView, size_t uiSize);

// Removes a view from the table; its size. False (EINVAL) for an address
// that is not a view in the table.
bool UnguardSharedBlockView(void* pView, size_t& uiSize);

// The size of a view in the table; false (EINVAL) for any other address.
bool FindGuardedSharedBlockView(void* pView, size_t& uiSize);

// True when a page of the view has been replaced since the last call; clears
// the mark.
bool TakeSharedBlockViewBroken(void* pView);

} // namespace OrvUtility
