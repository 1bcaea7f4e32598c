// What the files of platform/posix share: the state of the test bench, the registry of memory
// blocks, and the hooks for the end of a thread. Not for anyone outside this folder.

#ifndef VEXA_POSIX_INTERNAL_H
#define VEXA_POSIX_INTERNAL_H

#include <windows.h>

#include "testing.h"

#include <atomic>
#include <stddef.h>

// ---- test bench (testing.cpp) --------------------------------------------------------------

struct TestBench {
    // Countdowns: calls left until the one that fails; 0 is off.
    std::atomic<int> nFailAllocation;
    std::atomic<int> nFailLock;
    std::atomic<int> nFailTlsAlloc;
    // The step before which Cancel is pressed; 0 is off.
    std::atomic<int> nCancelAtStep;
    std::atomic<bool> bFailDialogs;

    std::atomic<int> nAllocations;
    std::atomic<int> nFreedWhileLocked;
    std::atomic<int> nSteps;
    std::atomic<int> nLastRange{-1};
    std::atomic<int> nDialogs;
    std::atomic<int> nWindows;
    std::atomic<int> nLibraries;

    std::atomic<bool> bDialogLibrary;
    std::atomic<const TestEntry *> pEntries;
    std::atomic<int> nEntries;
    std::atomic<const char *> pHidden;

    std::atomic<bool> bClockPinned;
    std::atomic<DWORD> nTicks;
    std::atomic<unsigned int> nSeconds;
};

extern TestBench testBench;

// Counts one call down; true for the call that is to fail.
static inline bool IsDue(std::atomic<int> *pCallsLeft)
{
    return pCallsLeft->load(std::memory_order_relaxed) > 0 && pCallsLeft->fetch_sub(1) == 1;
}

// ---- memory blocks (blocks.cpp) ------------------------------------------------------------

enum BlockKind { FIXED_BLOCK, MOVABLE_BLOCK, WORK_BLOCK, BLOCK_KINDS };

struct Block {
    void *hKey;  // what names the block: its address, for a movable one a number of its own
    void *pData;
    size_t nSize;    // as asked for
    size_t nMapped;  // bytes mapped from the system; 0: pData is from the C heap
    BlockKind kind;
    int nLocks;
};

struct BlockCounts {
    int nBlocks[BLOCK_KINDS];
    size_t nBytes;
    int nLocks;
};

// Makes a block and returns its key, null without memory. A movable block of no bytes has no data.
void *NewBlock(BlockKind kind, size_t nSize, bool bZero);

// Finds a block and keeps the registry to the caller until ReleaseBlocks. Null: no such block,
// nothing to release.
Block *AcquireBlock(void *hKey);
void ReleaseBlocks(void);

// Lock counts change through these, between AcquireBlock and ReleaseBlocks.
void AddLocks(Block *block, int count);

// Frees a block that AcquireBlock found, and releases the registry.
void DeleteAcquiredBlock(Block *block);

// Gives the pages kept for reuse back to the system; returns how many bytes.
size_t TrimBlocks(void);

BlockCounts CountBlocks(void);

// ---- threads, modules, windows -------------------------------------------------------------

// Asks that the hooks below run when the calling thread ends. False without memory.
bool WatchThreadExit(void);

// Calls every attached module's DllMain with DLL_THREAD_DETACH (modules.cpp).
void DetachThreadFromModules(void);

// Destroys the calling thread's windows and its message queue (windows.cpp).
void DestroyThreadWindows(void);

// True when hModule is alive (modules.cpp).
bool IsModule(HMODULE hModule);

// ---- drawing (gdi.cpp, windows.cpp) ---------------------------------------------------------

// FALSE: no such bitmap.
BOOL SizeOfBitmap(HBITMAP hBitmap, int *pWidth, int *pHeight);

// The bitmap of a window; FALSE: no such window.
BOOL BitmapOfWindow(HWND hWnd, HBITMAP *phBitmap);

#endif
