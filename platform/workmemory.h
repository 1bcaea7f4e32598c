/*
 * Working memory: the matrices and planes that a call makes and frees before it returns. On
 * Windows this is the C heap; on Linux it stands under the test bench, and large blocks are asked
 * for in huge pages.
 */
#ifndef VEXA_WORKMEMORY_H
#define VEXA_WORKMEMORY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __linux__
#define WORKMEMORY_API __attribute__((visibility("default")))
#else
#define WORKMEMORY_API
#endif

/*
 * Zeroed memory for nCount items of nSize bytes, aligned to 16 bytes on Linux and as the C heap
 * aligns on Windows. Null when the product overflows or memory is short. Free with WorkFree.
 */
WORKMEMORY_API void *WorkAlloc(size_t nCount, size_t nSize);

/* Null is allowed. */
WORKMEMORY_API void WorkFree(void *pBlock);

#ifdef __cplusplus
}
#endif

#endif
