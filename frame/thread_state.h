// The per-thread record and the library-wide state behind it.
#ifndef FRAME_THREAD_STATE_H
#define FRAME_THREAD_STATE_H

#include <windows.h>

#include <stdint.h>

// One per thread, kept in one TLS slot until the thread detaches.
struct FilterThreadState {
    int nLastError;       // code of the last call that finished without a cancel
    int nCurrentError;    // code of the call in progress; GetLastFilterError returns it
    HWND hProgressDlg;    // this thread's progress dialog, null when none is open
    int bCancelled;       // the user pressed Cancel
    int bParentDisabled;  // opening the progress dialog disabled the parent
    HWND hParentWnd;      // the progress dialog's parent
    int nStepTotal;       // units of work that the dialog was opened for
    int nStepDivisor;     // units of work per bar step: 5
    int nStepSize;        // what one step adds to the bar: 1
    int nLutLength;       // entries of the look-up table in use
    int nHistBytes;       // bytes of the histogram block in use
    int nHistX;           // origin of the viewport that the histogram holds; -256: none
    int nHistY;
};

#if UINTPTR_MAX == 0xffffffffu
static_assert(sizeof(FilterThreadState) == 52, "the record is 52 bytes");
#endif

// Error codes. The first group goes to nCurrentError, the others are the converters'.
enum {
    ERROR_DIALOG_MISSING = -1,
    ERROR_NONE = 1,
    CONVERT_OK = 0,
    CONVERT_NO_MEMORY = 1,
    CONVERT_BAD_ARGUMENT = 8,
    CONVERT_LOW_DEPTH = 13,
    CONVERT_NOT_LOCKED = 17,
    CONVERT_COMPRESSED = 18,
    CONVERT_EMPTY = 19,
    CONVERT_HIGH_DEPTH = 31
};

// The calling thread's record, made on first use. Never null: a thread that cannot have one ends.
FilterThreadState *GetFilterThreadState(void);

// The module whose resources hold the progress dialog.
HINSTANCE GetFilterInstance(void);

// For the library's entry point. BOOL: FALSE where the library must not be attached or detached.
BOOL AttachProcess(HINSTANCE hInstance);
void AttachThread(void);
void DetachThread(void);
BOOL DetachProcess(void);

struct RunningCall;

// The innermost export call in progress on this thread (frame/call.h), null when none is.
RunningCall *GetRunningCall(void);
void SetRunningCall(RunningCall *pCall);

#endif
