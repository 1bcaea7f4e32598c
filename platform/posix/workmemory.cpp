// Working memory under the test bench: calloc and free over the registry in blocks.cpp, so that a
// test can fail an allocation and count what is left, and large matrices get huge pages.

#include "platform/workmemory.h"

#include "internal.h"

#include <stdlib.h>

void *WorkAlloc(size_t nCount, size_t nSize)
{
    testBench.nAllocations++;
    size_t bytes;
    if (IsDue(&testBench.nFailAllocation) || __builtin_mul_overflow(nCount, nSize, &bytes)) {
        return nullptr;
    }
    return NewBlock(WORK_BLOCK, bytes, true);
}

void WorkFree(void *pBlock)
{
    Block *block = AcquireBlock(pBlock);
    if (block != nullptr && block->kind == WORK_BLOCK) {
        DeleteAcquiredBlock(block);
        return;
    }
    if (block != nullptr) {
        ReleaseBlocks();
    }
    // Not ours, or freed before: the C heap (or a sanitizer) reports it with the caller's stack.
    free(pBlock);
}
