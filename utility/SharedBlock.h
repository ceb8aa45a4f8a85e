#pragma once

#include <cstdint>
#include <string>
#include "utility/NamedObject.h"

// Named blocks of shared memory (page-file-backed file mappings).

namespace OrvUtility {

// OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name). Null when there is no
// such block. Linux also refuses a block whose size is not uiSize.
NamedHandle OpenSharedBlock(const std::wstring& strName, uint64_t uiSize);

// CreateFileMappingW(INVALID_HANDLE_VALUE, attributes, PAGE_READWRITE, 0,
// size, name): opens the block when it exists already (last error 183), else
// creates it, zero-filled.
NamedHandle CreateSharedBlock(const std::wstring& strName, uint64_t uiSize, uint32_t uiEveryoneAccess);

// MapViewOfFile(block, FILE_MAP_ALL_ACCESS, 0, 0, size). Null on failure
// (also for a null block).
uint8_t* MapSharedBlock(NamedHandle hBlock, uint64_t uiSize);

// UnmapViewOfFile. Nonzero on success.
int UnmapSharedBlock(void* pView);

// True when the view lost pages since the last call because the block was
// cut short under it; the lost pages read as zeros. A Windows section cannot
// shrink: always false there. Linux: anyone may truncate the block's file.
bool IsSharedBlockViewBroken(void* pView);

// Gives a broken view its block back: the block's file gets its size again
// and the view, at the same address, shows the block once more (the cut part
// reads as zeros). Nonzero on success; nothing to do on Windows.
int RestoreSharedBlockView(NamedHandle hBlock, void* pView);

} // namespace OrvUtility
