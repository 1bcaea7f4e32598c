// The host that the tests play: it owns the pictures and the windows, answers the parameter
// dialogs, presses Cancel, runs out of memory, and counts what the library leaves behind. The same
// functions for both builds: on Linux over the test bench of platform/posix; on Windows over a hook
// on sent messages and the import table of the DLL.
#ifndef TESTS_HOST_H
#define TESTS_HOST_H

#include "picture.h"
#include "reference/reference.h"

#include <functional>

// ---- blocks -------------------------------------------------------------------------------------

HGLOBAL NewBlock(const Bytes &bytes, UINT flags = GMEM_MOVEABLE);
void FreeBlock(HGLOBAL hBlock);
void NoteNewBlock(void);  // by NewBlock, for the count

// Blocks that the library and NewBlock made and nobody freed, the library's working memory
// included, and the locks held. Only differences mean something.
int LiveBlocks(void);
int LocksHeld(void);

// The movable blocks that the library makes from WatchBlocks on: FreeKeptBlocks frees those that
// live but hKeep, whatever their locks, and returns their sizes in the order of their making. On
// one thread.
void WatchBlocks(void);
std::vector<size_t> FreeKeptBlocks(HGLOBAL hKeep);

// Fails the n-th allocation (lock) of the library from now on; 0: none. AllocationsTried counts
// from that call.
void FailAllocation(int nth);
int AllocationsTried(void);
void FailLock(int nth);

// ---- the parameter dialog -----------------------------------------------------------------------

struct DialogScript {
    bool bLibrary;  // VexaDlgs.dll is there
    bool bEntry;    // and knows the entry
    bool bCancel;   // the user cancels
    bool bRewrite;  // the entry rewrites the first parameter to nValue
    int nValue;
    void (*OnCall)(void);  // runs inside the entry
    // What was seen.
    int nCalls;
    const char *pEntry;
    UINT_PTR first, second;
    UINT_PTR third = 0;
    UINT_PTR arguments[7] = {};  // all of them
    int nArguments = 0;
};
extern DialogScript g_dialog;

// Puts the script in force and forgets what was seen.
void SetDialogs(const DialogScript &script);

// What every entry of the library that the tests supply runs.
int AnswerDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments);

// VexaDlgs.dll is loaded now.
bool IsDialogLibraryLoaded(void);

// ---- the colour library and the clock -----------------------------------------------------------

// While on, VexaImage.dll is not found.
void HideColours(bool bHide);

// The clock stands still at so many seconds. ResetHost starts that too.
void PinClock(unsigned nSeconds);
enum { PINNED_SECONDS = 1234567890 };

// ---- the progress dialog ------------------------------------------------------------------------

// Presses Cancel before the n-th step of the calling thread's bar, so that n - 1 are seen; 0:
// never. Counting starts anew.
void CancelAtStep(int nth);
int StepsSeen(void);
int LastRange(void);
int DialogsOpened(void);

// Posts WM_APP to hWnd so that it is let through before the n-th step of the bar; once.
void PostAtStep(int nth, HWND hWnd);

// Run is called once, when the next progress dialog opens: on Windows as its parent, one of
// NewWindow, is disabled, natively as its bar gets a range.
void RunAtOpening(void (*Run)(void));

// The calling thread's latest progress dialog; null once it is gone.
HWND OpenDialog(void);

// The cursor as the library last set it.
HCURSOR ShownCursor(void);
void SetShownCursor(HCURSOR hCursor);

// While on, no dialog can be created.
void FailDialogs(bool bFail);

// ---- windows ------------------------------------------------------------------------------------

// How many turns of a test that opens dialogs are affordable: many natively, one under Wine, where
// each dialog takes a tenth of a second.
extern const int DIALOG_TURNS;

// A top-level window; OnMessage is called for WM_APP, posted or sent.
HWND NewWindow(void (*OnMessage)(HWND));

// A black window without a frame, all of it to be painted. What it shows, row by row: whether each
// pixel is white.
HWND NewCanvasWindow(int width, int height);
std::vector<bool> ReadCanvasWindow(HWND hWnd);

// ---- all of it ----------------------------------------------------------------------------------

// Once, before the first test.
void StartHost(void);
// No failure planted, no dialog library, all counts from zero.
void ResetHost(void);

// ---- calls --------------------------------------------------------------------------------------

struct FilterExport {
    Filter filter;
    const char *pName;
    const char *pEntry;
    HGLOBAL(VEXAFILTER_API *WithKernel)(HGLOBAL, int, UINT, HWND);
    HGLOBAL(VEXAFILTER_API *Plain)(HGLOBAL, UINT, HWND);
};
extern const std::vector<FilterExport> FILTERS;

HGLOBAL CallFilter(const FilterExport &filter, HGLOBAL hDib, int nKernel, UINT mode, HWND hParent);

// "" if the result's block is the expected one, else the difference. Frees the result.
std::string Compare(HGLOBAL hResult, const Expected &expected);

// A whole call on a block of its own: "" if the answer is the expected one and nothing else has
// changed, else what is wrong: source bytes, a lock or block left, an open dialog, a disabled
// parent.
std::string CheckCall(const std::function<HGLOBAL(HGLOBAL)> &Make, const Bytes &dib, HWND hParent,
                      const Expected &expected);
std::string Check(const FilterExport &filter, const Bytes &dib, int nKernel, UINT mode,
                  HWND hParent, const Expected &expected);

#endif
