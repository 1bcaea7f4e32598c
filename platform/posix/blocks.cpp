// Blocks of memory and the registry that knows them all. Global memory (memory.cpp) and working
// memory (workmemory.cpp) stand on it.
//
// Small blocks come from the C heap. Large ones are mapped from the system, aligned to 2 MiB and
// asked for in huge pages: a fresh huge page costs 0.03 to 0.09 ns a byte, fresh 4 KiB pages 0.55,
// and mapped pages are zero without a memset. A few freed mappings are kept for the next block of
// their size, since clearing warm memory is cheaper still.
//
// The registry is one hash table with linear probing behind one lock, so that any value handed in
// as a handle is checked in constant time (30 to 40 ns). A movable block is named by a running
// number that is no valid address: a stale handle is never mistaken for a later block, and code
// that uses a handle as a pointer faults at once.
//
// Under a sanitizer each block is a heap block of exactly its size, so that one byte past its end
// is seen, and sizes that would make the sanitizer stop the process fail instead.

#include "internal.h"

#include "headless.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>

#ifndef __has_feature
#define __has_feature(x) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ||                         \
    __has_feature(memory_sanitizer)
static const bool EXACT_BLOCKS = true;
static const size_t LARGEST_BLOCK = size_t(8) << 30;
#else
static const bool EXACT_BLOCKS = false;
static const size_t LARGEST_BLOCK = size_t(1) << 46;
#endif

static const size_t SMALL_PAGE = 4096;
static const size_t HUGE_PAGE = size_t(2) << 20;

// From here on blocks are mapped. Below, the page's other bytes would outweigh the gain.
static const size_t MAPPED_FROM = size_t(512) << 10;

// A rest up to this size takes fewer microseconds in small pages than in one more huge page.
static const size_t SMALL_PAGE_REST = size_t(128) << 10;

// Freed mappings that are kept: their number and their bytes in all.
static const int KEPT_MAPPINGS = 8;
static const size_t KEPT_BYTES = size_t(32) << 20;

struct Mapping {
    void *pPages;
    size_t nBytes;
};

static pthread_mutex_t keptLock = PTHREAD_MUTEX_INITIALIZER;
static Mapping kept[KEPT_MAPPINGS];  // oldest first
static int nKept;
static size_t nKeptBytes;

static const size_t FIRST_TABLE = 256;
// Not canonical on x86-64 and odd against any allocator's alignment.
static const uintptr_t FIRST_HANDLE = uintptr_t(0x0056000000000002);
static const uintptr_t HANDLE_STEP = 16;

static pthread_mutex_t registryLock = PTHREAD_MUTEX_INITIALIZER;
static Block *table;   // entries without a key are empty
static size_t nTable;  // a power of two
static size_t nUsed;
static uintptr_t nNextHandle = FIRST_HANDLE;
static BlockCounts counts;

// ---- pages ---------------------------------------------------------------------------------

static size_t RoundUp(size_t size, size_t unit)
{
    return (size + unit - 1) / unit * unit;
}

static size_t MappedLength(size_t size)
{
    size_t rest = size % HUGE_PAGE;
    return RoundUp(size, rest > SMALL_PAGE_REST ? HUGE_PAGE : SMALL_PAGE);
}

// Takes out the n-th kept mapping. The caller holds keptLock.
static Mapping TakeKept(int n)
{
    Mapping mapping = kept[n];
    nKept--;
    nKeptBytes -= mapping.nBytes;
    memmove(&kept[n], &kept[n + 1], size_t(nKept - n) * sizeof kept[0]);
    return mapping;
}

// A kept mapping of at least length bytes, and not of twice as many.
static Mapping ReuseMapping(size_t length)
{
    Mapping mapping = {nullptr, 0};
    pthread_mutex_lock(&keptLock);
    for (int n = nKept - 1; n >= 0 && mapping.pPages == nullptr; n--) {
        if (kept[n].nBytes >= length && kept[n].nBytes / 2 < length) {
            mapping = TakeKept(n);
        }
    }
    pthread_mutex_unlock(&keptLock);
    return mapping;
}

static void FreeMapping(Mapping mapping)
{
    pthread_mutex_lock(&keptLock);
    while (mapping.nBytes <= KEPT_BYTES &&
           (nKept == KEPT_MAPPINGS || nKeptBytes + mapping.nBytes > KEPT_BYTES)) {
        Mapping oldest = TakeKept(0);
        munmap(oldest.pPages, oldest.nBytes);
    }
    if (mapping.nBytes <= KEPT_BYTES) {
        kept[nKept++] = mapping;
        nKeptBytes += mapping.nBytes;
        mapping.pPages = nullptr;
    }
    pthread_mutex_unlock(&keptLock);
    if (mapping.pPages != nullptr) {
        munmap(mapping.pPages, mapping.nBytes);
    }
}

// Maps more than asked for and cuts off both ends, so that the block starts on a huge page.
static Mapping FreshMapping(size_t length)
{
    Mapping mapping = {nullptr, 0};
    size_t spare = HUGE_PAGE - SMALL_PAGE;
    void *pages =
        mmap(nullptr, length + spare, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        return mapping;
    }
    BYTE *begin = static_cast<BYTE *>(pages);
    size_t before =
        RoundUp(reinterpret_cast<uintptr_t>(begin), HUGE_PAGE) - reinterpret_cast<uintptr_t>(begin);
    if (before > 0) {
        munmap(begin, before);
    }
    if (before < spare) {
        munmap(begin + before + length, spare - before);
    }
    mapping.pPages = begin + before;
    mapping.nBytes = length;
    madvise(mapping.pPages, length, MADV_HUGEPAGE);
    return mapping;
}

static Mapping NewMapping(size_t size, bool bZero)
{
    size_t length = MappedLength(size);
    Mapping mapping = ReuseMapping(length);
    if (mapping.pPages != nullptr) {
        if (bZero) {
            memset(mapping.pPages, 0, size);
        }
        return mapping;
    }
    mapping = FreshMapping(length);
    if (mapping.pPages == nullptr && TrimBlocks() > 0) {
        mapping = FreshMapping(length);
    }
    return mapping;
}

// ---- registry ------------------------------------------------------------------------------

static size_t HomeOf(const void *hKey)
{
    uint64_t mixed = reinterpret_cast<uintptr_t>(hKey) * UINT64_C(0x9E3779B97F4A7C15);
    return size_t(mixed >> 32) & (nTable - 1);
}

// The entry of hKey, or the empty one where it would go. The table is never full.
static Block *Probe(const void *hKey)
{
    size_t n = HomeOf(hKey);
    while (table[n].hKey != nullptr && table[n].hKey != hKey) {
        n = (n + 1) & (nTable - 1);
    }
    return &table[n];
}

// Keeps the table at most half full.
static bool ReserveEntry(void)
{
    if ((nUsed + 1) * 2 <= nTable) {
        return true;
    }
    size_t nOld = nTable;
    Block *old = table;
    size_t nNew = nOld == 0 ? FIRST_TABLE : nOld * 2;
    Block *larger = static_cast<Block *>(calloc(nNew, sizeof(Block)));
    if (larger == nullptr) {
        return false;
    }
    table = larger;
    nTable = nNew;
    for (size_t n = 0; n < nOld; n++) {
        if (old[n].hKey != nullptr) {
            *Probe(old[n].hKey) = old[n];
        }
    }
    free(old);
    return true;
}

// Empties an entry and moves up those behind it that would no longer be found.
static void RemoveEntry(Block *block)
{
    size_t hole = size_t(block - table);
    size_t n = hole;
    for (;;) {
        n = (n + 1) & (nTable - 1);
        if (table[n].hKey == nullptr) {
            break;
        }
        size_t distance = (n - HomeOf(table[n].hKey)) & (nTable - 1);
        if (distance >= ((n - hole) & (nTable - 1))) {
            table[hole] = table[n];
            hole = n;
        }
    }
    table[hole].hKey = nullptr;
    nUsed--;
}

static bool RegisterBlock(Block *block)
{
    pthread_mutex_lock(&registryLock);
    bool bDone = ReserveEntry();
    if (bDone) {
        if (block->kind == MOVABLE_BLOCK) {
            block->hKey = reinterpret_cast<void *>(nNextHandle);
            nNextHandle += HANDLE_STEP;
        }
        *Probe(block->hKey) = *block;
        nUsed++;
        counts.nBlocks[block->kind]++;
        counts.nBytes += block->nSize;
    }
    pthread_mutex_unlock(&registryLock);
    return bDone;
}

static void FreeData(const Block *block)
{
    if (block->nMapped > 0) {
        FreeMapping({block->pData, block->nMapped});
    } else {
        free(block->pData);
    }
}

// ---- what the other files call -------------------------------------------------------------

void *NewBlock(BlockKind kind, size_t nSize, bool bZero)
{
    if (nSize > LARGEST_BLOCK) {
        return nullptr;
    }
    Block block = {nullptr, nullptr, nSize, 0, kind, 0};
    if (nSize == 0 && kind == MOVABLE_BLOCK) {
        // A discarded block: a handle and nothing behind it.
    } else if (nSize >= MAPPED_FROM && !EXACT_BLOCKS) {
        Mapping mapping = NewMapping(nSize, bZero);
        block.pData = mapping.pPages;
        block.nMapped = mapping.nBytes;
    } else {
        // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI): glibc gives 0 bytes an address
        block.pData = bZero ? calloc(1, nSize) : malloc(nSize);
    }
    if (block.pData == nullptr && (nSize > 0 || kind != MOVABLE_BLOCK)) {
        return nullptr;
    }
    block.hKey = block.pData;
    if (!RegisterBlock(&block)) {
        FreeData(&block);
        return nullptr;
    }
    return block.hKey;
}

Block *AcquireBlock(void *hKey)
{
    if (hKey == nullptr) {
        return nullptr;
    }
    pthread_mutex_lock(&registryLock);
    Block *block = nTable > 0 ? Probe(hKey) : nullptr;
    if (block != nullptr && block->hKey != nullptr) {
        return block;
    }
    pthread_mutex_unlock(&registryLock);
    return nullptr;
}

void ReleaseBlocks(void)
{
    pthread_mutex_unlock(&registryLock);
}

void AddLocks(Block *block, int count)
{
    block->nLocks += count;
    counts.nLocks += count;
}

void DeleteAcquiredBlock(Block *block)
{
    Block freed = *block;
    counts.nBlocks[freed.kind]--;
    counts.nBytes -= freed.nSize;
    counts.nLocks -= freed.nLocks;
    RemoveEntry(block);
    pthread_mutex_unlock(&registryLock);
    FreeData(&freed);
}

size_t TrimBlocks(void)
{
    pthread_mutex_lock(&keptLock);
    size_t bytes = nKeptBytes;
    while (nKept > 0) {
        Mapping mapping = TakeKept(nKept - 1);
        munmap(mapping.pPages, mapping.nBytes);
    }
    pthread_mutex_unlock(&keptLock);
    return bytes;
}

BlockCounts CountBlocks(void)
{
    pthread_mutex_lock(&registryLock);
    BlockCounts result = counts;
    pthread_mutex_unlock(&registryLock);
    return result;
}

HGLOBAL NextGlobalBlock(HGLOBAL hBlock)
{
    void *hNext = nullptr;
    pthread_mutex_lock(&registryLock);
    for (size_t n = 0; n < nTable; n++) {
        void *const hOther = table[n].hKey;
        if (hOther != nullptr && table[n].kind == MOVABLE_BLOCK && hOther > hBlock &&
            (hNext == nullptr || hOther < hNext)) {
            hNext = hOther;
        }
    }
    pthread_mutex_unlock(&registryLock);
    return hNext;
}

HGLOBAL LatestGlobalBlock(void)
{
    pthread_mutex_lock(&registryLock);
    void *const hLatest = reinterpret_cast<void *>(nNextHandle - HANDLE_STEP);
    pthread_mutex_unlock(&registryLock);
    return hLatest;
}
