/*
 * The test bench: switches that make the calls of <windows.h> fail on demand, and counters that
 * tell what a piece of code left behind. For tests only; all switches are off until a test sets
 * them. Switches and counters belong to the whole process; set switches while no other thread is
 * inside a filter, read counters at any time.
 *
 * "The n-th" counts from 1, from the moment the switch is set; it happens once; 0 turns it off.
 */
#ifndef VEXA_POSIX_TESTING_H
#define VEXA_POSIX_TESTING_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/* All switches off, all counts since the start of a test to zero. What is alive stays counted. */
VEXAPOSIX_API void TestReset(void);

/* ---- memory -------------------------------------------------------------------------------- */

/* Fails the n-th call of GlobalAlloc or WorkAlloc and starts counting attempts at zero. */
VEXAPOSIX_API void TestFailAllocation(int nth);
/* Calls of GlobalAlloc and WorkAlloc since TestFailAllocation or TestReset, the failed included. */
VEXAPOSIX_API int TestAllocationsAttempted(void);
/* Fails the n-th GlobalLock. */
VEXAPOSIX_API void TestFailLock(int nth);
/* Fails the n-th TlsAlloc. */
VEXAPOSIX_API void TestFailTlsAlloc(int nth);

VEXAPOSIX_API int TestLiveGlobalBlocks(void);
VEXAPOSIX_API int TestLiveWorkBlocks(void);
/* Bytes asked for in live blocks of both kinds. */
VEXAPOSIX_API size_t TestLiveBytes(void);
/* Locks held on all movable blocks. */
VEXAPOSIX_API int TestLocksHeld(void);
/* Blocks that were freed while locked, since TestReset: allowed, but seldom meant. */
VEXAPOSIX_API int TestFreedWhileLocked(void);

/* ---- dialogs ------------------------------------------------------------------------------- */

/*
 * Presses Cancel for the n-th step of a progress bar: the command is waiting when the thread
 * drains its messages before that step, so n - 1 steps are seen.
 */
VEXAPOSIX_API void TestCancelAtStep(int nth);
/* Steps that progress bars have made since TestReset or TestCancelAtStep. */
VEXAPOSIX_API int TestStepsSeen(void);
/* The upper bound of the range that a progress bar was given last; -1 when none since TestReset. */
VEXAPOSIX_API int TestLastRange(void);
/* Dialogs opened since TestReset. */
VEXAPOSIX_API int TestDialogsOpened(void);
/* While on, CreateDialogParamA fails. */
VEXAPOSIX_API void TestFailDialogs(BOOL bFail);
/* Windows alive: dialogs and plain windows, without the controls in dialogs. */
VEXAPOSIX_API int TestLiveWindows(void);

/* ---- modules ------------------------------------------------------------------------------- */

typedef struct TestEntry {
    const char *pName;
    FARPROC pEntry;
} TestEntry;

/*
 * Answers LoadLibraryA of any path that ends in "VexaDlgs.dll" with a library of these entries;
 * null: with "not found". The table must stay until TestClearDialogLibrary or TestReset.
 */
VEXAPOSIX_API void TestSetDialogLibrary(const TestEntry *pEntries, int nEntries);
VEXAPOSIX_API void TestClearDialogLibrary(void);
/* Successful calls of LoadLibraryA minus those of FreeLibrary, since the process began. */
VEXAPOSIX_API int TestLoadedLibraries(void);
/* LoadLibraryA finds no library of that file name, a text that must stay; null: finds all. */
VEXAPOSIX_API void TestHideLibrary(const char *pName);
/* TRUE when the module's DllMain refused to attach. */
VEXAPOSIX_API BOOL TestAttachRefused(HMODULE hModule);

/* ---- clock --------------------------------------------------------------------------------- */

/* Stops GetTickCount at nTicks and WallClockSeconds at nSeconds. */
VEXAPOSIX_API void TestPinClock(DWORD nTicks, unsigned int nSeconds);
VEXAPOSIX_API void TestUnpinClock(void);

#ifdef __cplusplus
}
#endif

#endif
