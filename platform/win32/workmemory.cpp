// Working memory on Windows: the C heap as it is. calloc checks the product, zeroes, and returns
// null when memory is short.

#include "platform/workmemory.h"

#include <stdlib.h>

void *WorkAlloc(size_t nCount, size_t nSize)
{
    return calloc(nCount, nSize);
}

void WorkFree(void *pBlock)
{
    free(pBlock);
}
