// The call frame: what every export of an image filter does around its worker.
//
// An export fills a FilterCall - the constant facts of the filter (FilterFrame) and the arguments
// of this call - and runs it.
#ifndef FRAME_CALL_H
#define FRAME_CALL_H

#include "platform/cpu.h"
#include "thread_state.h"

#include "VexaFilter.h"

// ---- every export -------------------------------------------------------------------------------

// A call in progress, on the export's stack. The calls of one thread form a chain: a host may call
// again from inside the message pump or from its parameter dialog.
struct RunningCall {
    RunningCall *pOuter;
    FloatControls savedControls;
    int savedCurrentError;  // the outer call's codes and cancel flag, put back at the end
    int savedCancelled;
    int bDialogOpened;  // this call has opened the progress dialog
    int bQuitSeen;
    WPARAM nQuitCode;
};

// Sets the floating-point controls for the call and makes it the thread's innermost.
FilterThreadState *BeginCall(RunningCall *pCall);

// Undoes BeginCall; posts a WM_QUIT that the pump met once more.
void EndCall(RunningCall *pCall);

// A call that runs inside the pump of another's progress dialog shows no dialog of its own: the
// thread has one.
int IsNestedInProgress(const RunningCall *pCall);

// Returns the cursor that was shown.
HCURSOR ShowWaitCursor(void);

// Called by the progress dialog for the innermost call.
void NoteProgressDialog(void);
void KeepQuitMessage(WPARAM nQuitCode);

// The mode argument is compared by value: 4, 5 or 7 mean neither.
static inline int WantsProgress(UINT mode)
{
    return mode == MODE_PROGRESS || mode == (MODE_PROGRESS | MODE_DIALOG);
}

static inline int WantsDialog(UINT mode)
{
    return mode == MODE_DIALOG || mode == (MODE_PROGRESS | MODE_DIALOG);
}

enum { MAX_DIALOG_ARGUMENTS = 7 };

// Calls an entry of VexaDlgs.dll with the given arguments. 0: the user cancelled; 1: go on (also
// when the library or the entry is missing: then nCurrentError is set to -1).
int RunParameterDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments);

// ---- the filters --------------------------------------------------------------------------------

enum { ACCEPT_1 = 1, ACCEPT_8 = 2, ACCEPT_24 = 4, ACCEPT_1_8_24 = ACCEPT_1 | ACCEPT_8 | ACCEPT_24 };

// Any worker: the image, the filter's parameters in order, width, height and the progress flag (the
// exact list is the family's). An adapter knows the list and calls the worker with it.
typedef void (*AnyWorker)(void);
typedef HGLOBAL (*WorkerAdapter)(AnyWorker worker, HGLOBAL hDib, int width, int height,
                                 const void *pArguments, int bProgress);

// The facts of one filter.
struct FilterFrame {
    const char *pDialogEntry;
    unsigned nAccepted;  // ACCEPT_ bits
    int (*StepTotal)(HGLOBAL hDib, int bitCount, int width, int height);
    int (*ArgumentsAreValid)(const void *pArguments);  // asked after the dialog; null: always
    WorkerAdapter Adapter;
    AnyWorker Worker8;
    AnyWorker Worker24;
    int bCheckFirst = 0;  // ArgumentsAreValid is asked before the dialog as well
};

// One call of it. pArguments is a record laid out as the export's argument list from the parameter
// on, so that a dialog that walks on from the first parameter finds the next ones.
struct FilterCall {
    HGLOBAL hDib;
    void *pArguments;
    UINT_PTR dialogArguments[MAX_DIALOG_ARGUMENTS];
    int nDialogArguments;
    UINT mode;
    const HWND *pParent;  // read after the dialog, which may have changed it
};

HGLOBAL RunFilter(const FilterFrame *pFrame, FilterCall *pCall);

// The step total of a filter that loads, allocates, computes once and stores.
int TwoPassesOverSides(HGLOBAL hDib, int bitCount, int width, int height);

#endif
