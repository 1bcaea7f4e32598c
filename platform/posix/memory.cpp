// Global memory: GlobalAlloc and its family over the registry in blocks.cpp.
//
// Promised: a fixed block's handle is its address, a movable block's handle is not; GMEM_ZEROINIT;
// lock counts up to 255 on movable blocks, none on fixed ones; GlobalSize is exactly the size asked
// for; freeing a locked block succeeds; a handle that is null, foreign or freed gives 0 and
// ERROR_INVALID_HANDLE (GlobalFree: the handle itself, and null for null). Blocks never move.
// Left out: reallocation, discarding, handles from addresses, and the flags that only 16-bit
// Windows knew.

#include "internal.h"

static const int MAX_LOCKS = 255;

// Acquires a block of global memory; a work block is none.
static Block *AcquireGlobal(HGLOBAL hMem)
{
    Block *block = AcquireBlock(hMem);
    if (block != nullptr && block->kind == WORK_BLOCK) {
        ReleaseBlocks();
        block = nullptr;
    }
    if (block == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
    }
    return block;
}

HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes)
{
    testBench.nAllocations++;
    BlockKind kind = (uFlags & GMEM_MOVEABLE) != 0 ? MOVABLE_BLOCK : FIXED_BLOCK;
    HGLOBAL hMem = nullptr;
    if (!IsDue(&testBench.nFailAllocation)) {
        hMem = NewBlock(kind, dwBytes, (uFlags & GMEM_ZEROINIT) != 0);
    }
    if (hMem == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return hMem;
}

LPVOID WINAPI GlobalLock(HGLOBAL hMem)
{
    if (IsDue(&testBench.nFailLock)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    Block *block = AcquireGlobal(hMem);
    if (block == nullptr) {
        return nullptr;
    }
    void *pData = block->pData;
    if (pData == nullptr) {
        SetLastError(ERROR_DISCARDED);
    } else if (block->kind == MOVABLE_BLOCK && block->nLocks < MAX_LOCKS) {
        AddLocks(block, 1);
    }
    ReleaseBlocks();
    return pData;
}

BOOL WINAPI GlobalUnlock(HGLOBAL hMem)
{
    Block *block = AcquireGlobal(hMem);
    if (block == nullptr) {
        return FALSE;
    }
    BOOL bLocked = TRUE;  // a fixed block always is
    if (block->kind == MOVABLE_BLOCK) {
        SetLastError(block->nLocks > 0 ? NO_ERROR : ERROR_NOT_LOCKED);
        if (block->nLocks > 0) {
            AddLocks(block, -1);
        }
        bLocked = block->nLocks > 0;
    }
    ReleaseBlocks();
    return bLocked;
}

HGLOBAL WINAPI GlobalFree(HGLOBAL hMem)
{
    if (hMem == nullptr) {
        return nullptr;
    }
    Block *block = AcquireGlobal(hMem);
    if (block == nullptr) {
        return hMem;
    }
    if (block->nLocks > 0) {
        testBench.nFreedWhileLocked++;
    }
    DeleteAcquiredBlock(block);
    return nullptr;
}

SIZE_T WINAPI GlobalSize(HGLOBAL hMem)
{
    Block *block = AcquireGlobal(hMem);
    if (block == nullptr) {
        return 0;
    }
    size_t size = block->nSize;
    ReleaseBlocks();
    return size;
}

UINT WINAPI GlobalFlags(HGLOBAL hMem)
{
    Block *block = AcquireGlobal(hMem);
    if (block == nullptr) {
        return GMEM_INVALID_HANDLE;
    }
    UINT flags = static_cast<UINT>(block->nLocks);
    if (block->pData == nullptr) {
        flags |= GMEM_DISCARDED;
    }
    ReleaseBlocks();
    return flags;
}

// There is nothing to compact: it gives back the pages kept for reuse and returns their size, not
// the largest free block.
SIZE_T WINAPI GlobalCompact(DWORD)
{
    return TrimBlocks();
}
