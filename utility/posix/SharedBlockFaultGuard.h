#pragma once

#include <cstddef>

// A shared block is a file that every local user may write, so anyone can
// cut it short while it is mapped; touching a page past the new end raises
// SIGBUS, which would end the process. The guard keeps the views of shared
// blocks in a table that its SIGBUS handler can read: a fault inside a view
// gets a private zero page mapped over the faulting page (the access goes on
// and reads zeros) and marks the view broken. Faults anywhere else go to the
// handler that was there before.

namespace OrvUtility {

// Adds a view to the table (installs the handler on first use). False when
// the table is full: the view is then not guarded.
bool GuardSharedBlockView(void* pView, size_t uiSize);

// Removes a view from the table.
void UnguardSharedBlockView(void* pView);

// True when a page of the view has been replaced since the last call; clears
// the mark.
bool TakeSharedBlockViewBroken(void* pView);

} // namespace OrvUtility
