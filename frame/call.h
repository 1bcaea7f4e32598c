// The call frame: what every export of an image operation does around its work.
//
// An export is a constant record of facts (FilterFrame) and a description, which turns one call's
// arguments into a neighbourhood filter, or a worker of any other kind. It hands the record and its
// arguments to RunFilter. What a family does differently is a named bit of its record, tested where
// the frame does it.
#ifndef FRAME_CALL_H
#define FRAME_CALL_H

#include "neighbourhood.h"
#include "platform/cpu.h"
#include "thread_state.h"

#include "VexaFilter.h"

// ---- every export -------------------------------------------------------------------------------

struct FilterCall;
struct FilterFrame;

// A call in progress, on the export's stack. The calls of one thread form a chain: a host may call
// again from inside the message pump or from its parameter dialog.
struct RunningCall {
    RunningCall *pOuter;
    FloatControls hostControls;  // given back to the host while its code runs, and at the end
    int savedCurrentError;       // the outer call's codes and cancel flag, put back at the end
    int savedCancelled;
    int bDialogOpened;  // this call has opened the progress dialog
    int bQuitSeen;
    WPARAM nQuitCode;
    const FilterCall *pLocked;  // the call whose images are locked; null: none
};

// Sets the floating-point controls for the call and makes it the thread's innermost.
FilterThreadState *BeginCall(RunningCall *pCall);

// Undoes BeginCall; posts a WM_QUIT that the pump met once more.
void EndCall(RunningCall *pCall);

// Around everything that may run the host's code (a dialog, messages that are let through): it
// finds its own floating-point controls and may leave others behind. If it has freed or shortened a
// locked image meanwhile, the call counts as cancelled.
void LetHostRun(void);
void ResumeCall(void);

// A call that runs inside the pump of another's progress dialog shows no dialog of its own: the
// thread has one.
int IsNestedInProgress(const RunningCall *pCall);

// Called by the progress dialog for the innermost call.
void NoteProgressDialog(void);
void KeepQuitMessage(WPARAM nQuitCode);

// Returns the cursor that was shown.
HCURSOR ShowWaitCursor(void);

// ---- the record of a filter ---------------------------------------------------------------------

// An argument list from the first parameter on, in the words of 32 bits that a 32-bit host pushes:
// the parameters, the mode, the parent window. A dialog that walks on from a parameter finds the
// next ones.
enum { MOST_PARAMETERS = 6, MOST_DIALOG_ARGUMENTS = 7 };
struct Parameters {
    int words[MOST_PARAMETERS];
};

// Image depths. ACCEPT_OTHER: whatever else a header may say.
enum { ACCEPT_1 = 1, ACCEPT_4 = 2, ACCEPT_8 = 4, ACCEPT_24 = 8, ACCEPT_OTHER = 16 };
enum { ACCEPT_8_24 = ACCEPT_8 | ACCEPT_24, ACCEPT_1_8_24 = ACCEPT_1 | ACCEPT_8_24 };

// Departures from the usual frame.
enum FrameQuirk {
    // The image is worked on as it is stored, whatever its colours; Work gets no picture.
    AS_STORED = 1,
    // Only the low byte of biBitCount counts.
    LOW_BYTE_OF_DEPTH = 2,
    // biPlanes must be 1. (For an image that is expanded from one bit it always must.)
    ONE_PLANE = 4,
    // Rows and strides are 16-bit numbers: refused beyond 65535.
    SIXTEEN_BIT_ROWS = 8,
    // Kept: the current error and the cancel flag of an earlier call are still there, the last
    // error is not set, and a cancel during the last rows does not take the result away.
    LEAVES_CODES = 16,
    // Kept: a cancel leaves the images locked and the wait cursor showing.
    CANCEL_LEAVES_LOCKS = 32,
    // The source stays locked under the parameter dialog. Kept: when that is cancelled, or the
    // progress dialog does not open, it stays locked for good and the prepared result allocated.
    DIALOG_LEAVES_RESULT = 64,
    // There is a second image, of the same sides and depth as the first.
    TWO_IMAGES = 128,
    // Prepare has copied what the work needs of the image: where there are dialogs, it is unlocked
    // before them and not looked at again.
    WORKS_ON_COPY = 256,
    // With TWO_IMAGES: only the depths must be the same.
    SECOND_OF_ANY_SIZE = 512,
    // Kept: if there is no second image, the first one stays locked.
    LACK_LEAVES_LOCK = 1024,
    // In place of mode and parent stands a flag: whether to ask for the parameters.
    FLAG_FOR_MODE = 2048,
    // Kept: work that runs out of memory (bStopped) leaves the wait cursor showing.
    SHORTAGE_LEAVES_CURSOR = 4096
};

// One call, as a record's functions see it.
struct FilterCall {
    // Filled in by the caller of RunCall.
    HGLOBAL hDib;
    HGLOBAL hSecond;   // with TWO_IMAGES
    void *pArguments;  // what a dialog may edit
    UINT_PTR dialogArguments[MOST_DIALOG_ARGUMENTS];
    int nDialogArguments;
    UINT mode;
    const void *pParent;  // the HWND; read after the dialog, which may have changed it
    // Filled in by the frame.
    const FilterFrame *pFrame;
    FilterThreadState *pState;
    int bProgress;
    DibView source;
    DibView second;
    int bGray;        // the picture will be gray
    void *pPlan;      // nPlanBytes of the record
    HGLOBAL hResult;  // what Prepare has made; freed by the frame unless Work returns it
    int bStopped;     // set by Work: it has seen the cancel, or run out of memory on the way
};

// A neighbourhood filter for the picture. 0: the result is null. What the filter points at lives in
// the plan or longer.
typedef int (*Description)(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter);

// Any other work: the result, or null. pPicture is null with AS_STORED.
typedef HGLOBAL (*Worker)(FilterCall *pCall, const Picture *pPicture);

typedef int (*ArgumentTest)(const void *pArguments);
typedef int (*StepFormula)(int width, int height, int bGray, const void *pArguments);

// The step total of a filter that loads, allocates, computes once and stores.
int TwoPassesOverSides(int width, int height, int bGray, const void *pArguments);

// The facts of one export. What is usual is a default.
struct FilterFrame {
    const char *pDialogEntry;
    int nParameters;      // words between the image and the mode
    int nDialogPointers;  // the dialog gets the image and pointers to so many of them
    Description Describe;
    size_t nPlanBytes = 0;            // zeroed for each call
    ArgumentTest AcceptsCall = NULL;  // asked before any dialog; null: always
    ArgumentTest AcceptsEdited =
        NULL;  // asked after the parameter dialog, which may have edited them
    unsigned nAccepted = ACCEPT_1_8_24;
    StepFormula StepTotal = TwoPassesOverSides;
    const void *pRule = NULL;  // the family's own facts
    Worker Work = NULL;        // in place of Describe
    unsigned nQuirks = 0;      // FrameQuirk
    int nDepthError = 0;       // the current error for an image of another depth; 0: none
    int nDialogNumber = -1;    // a last argument for an entry that serves several exports; -1: none
    // Makes the result and what else must stand before the dialogs. 0: the result is null.
    int (*Prepare)(FilterCall *pCall) = NULL;
    // Frees what the plan points at, however the call ends.
    void (*Release)(FilterCall *pCall) = NULL;
};

// Whether a call may run the host's code: its mode asks for a dialog.
int HasDialogs(const FilterCall *pCall);

// Runs a call of the usual shape: (hDib, parameters..., mode, hParent). With FLAG_FOR_MODE mode is
// the flag.
HGLOBAL RunFilter(const FilterFrame *pFrame, HGLOBAL hDib, Parameters parameters, UINT mode,
                  HWND hParent);

// Any other shape.
HGLOBAL RunCall(const FilterFrame *pFrame, FilterCall *pCall);

#endif
