// The call frame.
//
// Order of work: validate, lock and check the image, parameter dialog, progress dialog, picture,
// work, close, cancel test. The image is unlocked while the parameter dialog runs and checked again
// after it; from then on it stays locked to the end of the work.
//
// Kept: when the expansion of a 1-bit image fails the progress dialog stays open and the parent
// disabled. Blocks are checked before, so only a lack of memory gets there.

#include "call.h"

#include "dialogs.h"
#include "intops.h"
#include "platform/workmemory.h"
#include "progress.h"

#include <string.h>

static const size_t HANDLE_BYTES = sizeof(void *);

// ---- every export -------------------------------------------------------------------------------

FilterThreadState *BeginCall(RunningCall *pCall)
{
    FilterThreadState *pState = GetFilterThreadState();
    memset(pCall, 0, sizeof *pCall);
    pCall->hostControls = SetDefaultFloatControls();
    pCall->pOuter = GetRunningCall();
    pCall->savedCurrentError = pState->nCurrentError;
    pCall->savedCancelled = pState->bCancelled;
    SetRunningCall(pCall);
    return pState;
}

void EndCall(RunningCall *pCall)
{
    SetRunningCall(pCall->pOuter);
    if (pCall->pOuter != NULL) {
        FilterThreadState *pState = GetFilterThreadState();
        pState->nCurrentError = pCall->savedCurrentError;
        pState->bCancelled = pCall->savedCancelled;
    }
    if (pCall->bQuitSeen) {
        PostQuitMessage((int)pCall->nQuitCode);
    }
    RestoreFloatControls(pCall->hostControls);
}

static int HasQuirk(const FilterCall *pCall, FrameQuirk quirk)
{
    return (pCall->pFrame->nQuirks & (unsigned)quirk) != 0;
}

static int HoldsStill(const DibView *pView)
{
    return GlobalSize(pView->hDib) >= pView->shape.nBlockBytes;
}

// The host may free or shorten even a locked block.
static int HoldsImages(const FilterCall *pCall)
{
    return HoldsStill(&pCall->source) &&
           (!HasQuirk(pCall, TWO_IMAGES) || HoldsStill(&pCall->second));
}

void LetHostRun(void)
{
    RestoreFloatControls(GetRunningCall()->hostControls);
}

void ResumeCall(void)
{
    RunningCall *pCall = GetRunningCall();
    pCall->hostControls = SetDefaultFloatControls();
    if (pCall->pLocked != NULL && !HoldsImages(pCall->pLocked)) {
        GetFilterThreadState()->bCancelled = 1;
    }
}

int IsNestedInProgress(const RunningCall *pCall)
{
    for (const RunningCall *p = pCall->pOuter; p != NULL; p = p->pOuter) {
        if (p->bDialogOpened) {
            return 1;
        }
    }
    return 0;
}

void NoteProgressDialog(void)
{
    GetRunningCall()->bDialogOpened = 1;
}

void KeepQuitMessage(WPARAM nQuitCode)
{
    RunningCall *pCall = GetRunningCall();
    pCall->bQuitSeen = 1;
    pCall->nQuitCode = nQuitCode;
}

// The mode argument is compared by value: 4, 5 or 7 mean neither.
static int WantsProgress(UINT mode)
{
    return mode == MODE_PROGRESS || mode == (MODE_PROGRESS | MODE_DIALOG);
}

static int WantsDialog(UINT mode)
{
    return mode == MODE_DIALOG || mode == (MODE_PROGRESS | MODE_DIALOG);
}

int HasDialogs(const FilterCall *pCall)
{
    return pCall->bProgress || WantsDialog(pCall->mode);
}

// The system's own cursor: its handle never changes. To ask for it costs more than to filter a
// small picture.
HCURSOR ShowWaitCursor(void)
{
    static HCURSOR hWait;
    HCURSOR hKnown = __atomic_load_n(&hWait, __ATOMIC_RELAXED);
    if (hKnown == NULL) {
        hKnown = LoadCursorA(NULL, IDC_WAIT);
        __atomic_store_n(&hWait, hKnown, __ATOMIC_RELAXED);
    }
    return SetCursor(hKnown);
}

int TwoPassesOverSides(int width, int height, int bGray, const void *pArguments)
{
    (void)bGray;
    (void)pArguments;
    return RoundToSteps(((int64_t)width + height) * 2);
}

// ---- images -------------------------------------------------------------------------------------

static unsigned DepthBit(int bitCount)
{
    switch (bitCount) {
    case 1:
        return ACCEPT_1;
    case 4:
        return ACCEPT_4;
    case 8:
        return ACCEPT_8;
    case 24:
        return ACCEPT_24;
    default:
        return ACCEPT_OTHER;
    }
}

static int IsAccepted(const FilterCall *pCall, const DibShape *pShape)
{
    const int bExpanded = pShape->bitCount == 1 && !HasQuirk(pCall, AS_STORED);
    if ((bExpanded || HasQuirk(pCall, ONE_PLANE)) && pShape->nPlanes != 1) {
        return 0;
    }
    if (HasQuirk(pCall, SIXTEEN_BIT_ROWS) && !FitsSixteenBits(pShape)) {
        return 0;
    }
    return (DepthBit(pShape->bitCount) & pCall->pFrame->nAccepted) != 0;
}

static int LockAccepted(const FilterCall *pCall, HGLOBAL hDib, DibView *pView)
{
    const int bLocked =
        HasQuirk(pCall, LOW_BYTE_OF_DEPTH) ? LockDibByLowDepth(hDib, pView) : LockDib(hDib, pView);
    if (bLocked && !IsAccepted(pCall, &pView->shape)) {
        UnlockDib(pView);
        if (pCall->pFrame->nDepthError != 0) {
            pCall->pState->nCurrentError = pCall->pFrame->nDepthError;
        }
        return 0;
    }
    return bLocked;
}

static int AreAlike(const FilterCall *pCall)
{
    const DibShape *a = &pCall->source.shape;
    const DibShape *b = &pCall->second.shape;
    const int bSameSides = a->width == b->width && a->height == b->height;
    return a->bitCount == b->bitCount && (bSameSides || HasQuirk(pCall, SECOND_OF_ANY_SIZE));
}

static int LockSecond(FilterCall *pCall)
{
    if (!LockAccepted(pCall, pCall->hSecond, &pCall->second)) {
        return 0;
    }
    if (!AreAlike(pCall)) {
        UnlockDib(&pCall->second);
        return 0;
    }
    return 1;
}

// LACK_LEAVES_LOCK.
static int LacksSecond(const FilterCall *pCall)
{
    if (!HasQuirk(pCall, LACK_LEAVES_LOCK)) {
        return 0;
    }
    const int bLocked = pCall->hDib != NULL && GlobalLock(pCall->hDib) != NULL;
    const int bSecond = pCall->hSecond != NULL && GlobalLock(pCall->hSecond) != NULL;
    if (bSecond) {
        GlobalUnlock(pCall->hSecond);
    }
    if (bLocked && bSecond) {
        GlobalUnlock(pCall->hDib);
    }
    return !bSecond;
}

static int LockImages(FilterCall *pCall)
{
    if (LacksSecond(pCall)) {
        return 0;
    }
    if (!LockAccepted(pCall, pCall->hDib, &pCall->source)) {
        return 0;
    }
    if (HasQuirk(pCall, TWO_IMAGES) && !LockSecond(pCall)) {
        UnlockDib(&pCall->source);
        return 0;
    }
    GetRunningCall()->pLocked = pCall;
    return 1;
}

static void UnlockImages(FilterCall *pCall)
{
    if (GetRunningCall()->pLocked == NULL) {
        return;
    }
    GetRunningCall()->pLocked = NULL;
    if (HasQuirk(pCall, TWO_IMAGES)) {
        UnlockDib(&pCall->second);
    }
    UnlockDib(&pCall->source);
}

// ---- dialogs ------------------------------------------------------------------------------------

static int Accepts(ArgumentTest Test, const FilterCall *pCall)
{
    return Test == NULL || Test(pCall->pArguments);
}

// A dialog gets the image's handle and may have put another picture into the block: then there is
// no result.
static int AskForParameters(FilterCall *pCall)
{
    const DibShape before = pCall->source.shape;
    const int bHold = HasQuirk(pCall, DIALOG_LEAVES_RESULT);
    if (!bHold) {
        UnlockImages(pCall);
    }
    if (!RunParameterDialog(pCall->pFrame->pDialogEntry, pCall->dialogArguments,
                            pCall->nDialogArguments)) {
        return 0;
    }
    if (HasQuirk(pCall, WORKS_ON_COPY)) {
        return 1;
    }
    return bHold ? HoldsImages(pCall)
                 : LockImages(pCall) && IsSameShape(&before, &pCall->source.shape);
}

static int OpenBar(const FilterCall *pCall)
{
    const DibShape *p = &pCall->source.shape;
    HWND hParent;
    memcpy(&hParent, pCall->pParent, HANDLE_BYTES);
    const int nTotal =
        pCall->pFrame->StepTotal(p->width, p->height, pCall->bGray, pCall->pArguments);
    return OpenProgressDialog(hParent, nTotal);
}

// The parameter dialog and the progress dialog. 0: the call ends here.
static int OpenDialogs(FilterCall *pCall)
{
    if (HasQuirk(pCall, WORKS_ON_COPY) && HasDialogs(pCall)) {
        UnlockImages(pCall);
    }
    if (WantsDialog(pCall->mode) && !AskForParameters(pCall)) {
        return 0;
    }
    if (!Accepts(pCall->pFrame->AcceptsEdited, pCall)) {
        return 0;
    }
    pCall->bGray = !HasQuirk(pCall, AS_STORED) && IsWorkedOnInGray(&pCall->source);
    return !pCall->bProgress || OpenBar(pCall);
}

// ---- work ---------------------------------------------------------------------------------------

static HGLOBAL RunDescribed(FilterCall *pCall, const Picture *pPicture)
{
    NeighbourhoodFilter filter;
    memset(&filter, 0, sizeof filter);
    if (!pCall->pFrame->Describe(pPicture, pCall, &filter)) {
        return NULL;
    }
    return FilterPicture(&filter, pPicture, pCall->bProgress);
}

// *pKeepOpen is set when the progress dialog stays open.
static HGLOBAL RunWork(FilterCall *pCall, int *pKeepOpen)
{
    Picture picture;
    if (pCall->bProgress && pCall->pState->bCancelled) {
        pCall->bStopped = 1;  // while the progress dialog was opening
        return NULL;
    }
    if (HasQuirk(pCall, AS_STORED)) {
        return pCall->pFrame->Work(pCall, NULL);
    }
    if (!OpenPicture(&pCall->source, pCall->bGray, &picture)) {
        *pKeepOpen = pCall->source.shape.bitCount == 1;
        return NULL;
    }
    const FilterFrame *pFrame = pCall->pFrame;
    const HGLOBAL hResult =
        pFrame->Work != NULL ? pFrame->Work(pCall, &picture) : RunDescribed(pCall, &picture);
    ClosePicture(&picture);
    return hResult;
}

static void FreeResult(HGLOBAL hResult)
{
    if (hResult != NULL) {
        GlobalFree(hResult);
    }
}

// From the open progress dialog to the end.
static HGLOBAL WorkAndClose(FilterCall *pCall)
{
    FilterThreadState *pState = pCall->pState;
    int bKeepOpen = 0;
    const HCURSOR hCursor = ShowWaitCursor();
    const HGLOBAL hResult = RunWork(pCall, &bKeepOpen);
    if (hResult == NULL) {
        FreeResult(pCall->hResult);
    }
    const int bLeave = pCall->bStopped && HasQuirk(pCall, CANCEL_LEAVES_LOCKS);
    if (!bLeave && !(pCall->bStopped && HasQuirk(pCall, SHORTAGE_LEAVES_CURSOR))) {
        SetCursor(hCursor);
    }
    if (!bLeave) {
        UnlockImages(pCall);
    }
    GetRunningCall()->pLocked = NULL;
    if (bKeepOpen) {
        return NULL;
    }
    if (pCall->bProgress) {
        CloseProgressDialog();
    }
    if (HasQuirk(pCall, LEAVES_CODES)) {
        return hResult;
    }
    if (pState->bCancelled) {
        FreeResult(hResult);
        return NULL;
    }
    pState->nLastError = pState->nCurrentError;
    return hResult;
}

// For an image that is accepted, and locked.
static HGLOBAL RunOnLocked(FilterCall *pCall)
{
    const FilterFrame *pFrame = pCall->pFrame;
    HGLOBAL hResult = NULL;
    if (pFrame->nPlanBytes != 0) {
        pCall->pPlan = WorkAlloc(1, pFrame->nPlanBytes);
    }
    if ((pFrame->nPlanBytes != 0 && pCall->pPlan == NULL) ||
        (pFrame->Prepare != NULL && !pFrame->Prepare(pCall))) {
        UnlockImages(pCall);
    } else if (OpenDialogs(pCall)) {
        hResult = WorkAndClose(pCall);
    } else if (!HasQuirk(pCall, DIALOG_LEAVES_RESULT)) {
        UnlockImages(pCall);
        FreeResult(pCall->hResult);
    }
    if (pFrame->Release != NULL) {
        pFrame->Release(pCall);
    }
    WorkFree(pCall->pPlan);
    return hResult;
}

HGLOBAL RunCall(const FilterFrame *pFrame, FilterCall *pCall)
{
    RunningCall running;
    HGLOBAL hResult = NULL;
    pCall->pFrame = pFrame;
    pCall->pState = BeginCall(&running);
    if (!HasQuirk(pCall, LEAVES_CODES)) {
        pCall->pState->nCurrentError = ERROR_NONE;
        pCall->pState->bCancelled = 0;
    }
    if (IsNestedInProgress(&running)) {
        pCall->mode = 0;
    }
    pCall->bProgress = WantsProgress(pCall->mode);
    if (Accepts(pFrame->AcceptsCall, pCall) && LockImages(pCall)) {
        hResult = RunOnLocked(pCall);
    }
    EndCall(&running);
    return hResult;
}

// An argument list of the usual shape: room for the parameters, the mode and the aligned parent.
struct ArgumentList {
    alignas(HWND) int words[MOST_PARAMETERS + 2 + HANDLE_BYTES / sizeof(int)];
};

HGLOBAL RunFilter(const FilterFrame *pFrame, HGLOBAL hDib, Parameters parameters, UINT mode,
                  HWND hParent)
{
    const size_t nWords = (size_t)pFrame->nParameters;
    const size_t nAlignment = HANDLE_BYTES / sizeof(int);
    const size_t nParent = (nWords + 1 + nAlignment - 1) / nAlignment * nAlignment;
    ArgumentList list;
    FilterCall call;
    memset(&call, 0, sizeof call);
    memcpy(list.words, parameters.words, nWords * sizeof(int));
    list.words[nWords] = (int)mode;
    memcpy(&list.words[nParent], &hParent, HANDLE_BYTES);
    call.hDib = hDib;
    call.pArguments = list.words;
    call.dialogArguments[call.nDialogArguments++] = (UINT_PTR)hDib;
    for (int i = 0; i < pFrame->nDialogPointers; i++) {
        call.dialogArguments[call.nDialogArguments++] = (UINT_PTR)&list.words[i];
    }
    if (pFrame->nDialogNumber >= 0) {
        call.dialogArguments[call.nDialogArguments++] = (UINT_PTR)pFrame->nDialogNumber;
    }
    call.mode = (pFrame->nQuirks & FLAG_FOR_MODE) == 0 ? mode : mode != 0 ? MODE_DIALOG : 0;
    call.pParent = &list.words[nParent];
    return RunCall(pFrame, &call);
}
