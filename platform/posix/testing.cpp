// The switches of the test bench, and its readings. The calls that they act on look at testBench
// themselves; this file only sets and reads it.

#include "internal.h"

void TestReset(void)
{
    TestFailAllocation(0);
    TestFailLock(0);
    TestFailTlsAlloc(0);
    TestCancelAtStep(0);
    TestFailDialogs(FALSE);
    TestClearDialogLibrary();
    TestHideLibrary(nullptr);
    TestUnpinClock();
    testBench.nFreedWhileLocked = 0;
    testBench.nLastRange = -1;
    testBench.nDialogs = 0;
}

// ---- memory --------------------------------------------------------------------------------

void TestFailAllocation(int nth)
{
    testBench.nAllocations = 0;
    testBench.nFailAllocation = nth;
}

int TestAllocationsAttempted(void)
{
    return testBench.nAllocations;
}

void TestFailLock(int nth)
{
    testBench.nFailLock = nth;
}

void TestFailTlsAlloc(int nth)
{
    testBench.nFailTlsAlloc = nth;
}

int TestLiveGlobalBlocks(void)
{
    BlockCounts counts = CountBlocks();
    return counts.nBlocks[FIXED_BLOCK] + counts.nBlocks[MOVABLE_BLOCK];
}

int TestLiveWorkBlocks(void)
{
    return CountBlocks().nBlocks[WORK_BLOCK];
}

size_t TestLiveBytes(void)
{
    return CountBlocks().nBytes;
}

int TestLocksHeld(void)
{
    return CountBlocks().nLocks;
}

int TestFreedWhileLocked(void)
{
    return testBench.nFreedWhileLocked;
}

// ---- dialogs -------------------------------------------------------------------------------

void TestCancelAtStep(int nth)
{
    testBench.nSteps = 0;
    testBench.nCancelAtStep = nth;
}

int TestStepsSeen(void)
{
    return testBench.nSteps;
}

int TestLastRange(void)
{
    return testBench.nLastRange;
}

int TestDialogsOpened(void)
{
    return testBench.nDialogs;
}

void TestFailDialogs(BOOL bFail)
{
    testBench.bFailDialogs = bFail != FALSE;
}

int TestLiveWindows(void)
{
    return testBench.nWindows;
}

// ---- modules and clock ---------------------------------------------------------------------

void TestSetDialogLibrary(const TestEntry *pEntries, int nEntries)
{
    testBench.pEntries = pEntries;
    testBench.nEntries = pEntries != nullptr ? nEntries : 0;
    testBench.bDialogLibrary = true;
}

void TestClearDialogLibrary(void)
{
    testBench.bDialogLibrary = false;
    testBench.pEntries = nullptr;
    testBench.nEntries = 0;
}

void TestHideLibrary(const char *pName)
{
    testBench.pHidden = pName;
}

int TestLoadedLibraries(void)
{
    return testBench.nLibraries;
}

void TestPinClock(DWORD nTicks, unsigned int nSeconds)
{
    testBench.nTicks = nTicks;
    testBench.nSeconds = nSeconds;
    testBench.bClockPinned = true;
}

void TestUnpinClock(void)
{
    testBench.bClockPinned = false;
}
