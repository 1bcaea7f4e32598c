// The call frame.
//
// Order of work: validate, parameter dialog, progress dialog, worker, close, cancel test. A 1-bit
// image is expanded to 8-bit gray for the worker; an 8-bit image with a short colour table is
// worked on as a copy with a full one, its missing entries black.
//
// Kept: when the expansion of a 1-bit image fails the progress dialog stays open and the parent
// disabled. Blocks are checked before, so only a lack of memory gets there.

#include "call.h"

#include "convert.h"
#include "dib.h"
#include "intops.h"
#include "progress.h"

#include <string.h>

static const char DIALOG_LIBRARY[] = "VexaDlgs.dll";

FilterThreadState *BeginCall(RunningCall *pCall)
{
    FilterThreadState *pState = GetFilterThreadState();
    memset(pCall, 0, sizeof *pCall);
    pCall->savedControls = SetDefaultFloatControls();
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
    RestoreFloatControls(pCall->savedControls);
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

// The system's own cursor: its handle never changes. To ask for it costs more than to filter a small
// picture.
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

// Beside this library first, then wherever the system looks.
static HMODULE LoadDialogLibrary(void)
{
    char path[260];
    const DWORD length = GetModuleFileNameA(GetModuleHandleA("VexaFilter.dll"), path, sizeof path);
    if (length > 0 && length < sizeof path) {
        char *pName = strrchr(path, '\\');
        if (pName != NULL && (size_t)(pName + 1 - path) + sizeof DIALOG_LIBRARY <= sizeof path) {
            lstrcpyA(pName + 1, DIALOG_LIBRARY);
            const HMODULE hLibrary = LoadLibraryA(path);
            if (hLibrary != NULL) {
                return hLibrary;
            }
        }
    }
    return LoadLibraryA(DIALOG_LIBRARY);
}

static int CallEntry(FARPROC entry, const UINT_PTR *p, int nArguments)
{
    typedef UINT_PTR A;
    typedef void (*AnyEntry)(void);
    const AnyEntry any = (AnyEntry)entry;
    switch (nArguments) {
    case 1:
        return ((int(WINAPI *)(A))any)(p[0]);
    case 2:
        return ((int(WINAPI *)(A, A))any)(p[0], p[1]);
    case 3:
        return ((int(WINAPI *)(A, A, A))any)(p[0], p[1], p[2]);
    case 4:
        return ((int(WINAPI *)(A, A, A, A))any)(p[0], p[1], p[2], p[3]);
    case 7:
        return ((int(WINAPI *)(A, A, A, A, A, A, A))any)(p[0], p[1], p[2], p[3], p[4], p[5], p[6]);
    default:
        return 0;
    }
}

int RunParameterDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments)
{
    int result = 1;
    const HMODULE hLibrary = LoadDialogLibrary();
    const FARPROC entry = hLibrary != NULL ? GetProcAddress(hLibrary, pEntry) : NULL;
    if (entry == NULL) {
        GetFilterThreadState()->nCurrentError = ERROR_DIALOG_MISSING;
    } else {
        result = CallEntry(entry, pArguments, nArguments) != 0;
    }
    if (hLibrary != NULL) {
        FreeLibrary(hLibrary);
    }
    return result;
}

// A 1-bit image with other than one plane would fail its conversion with the dialogs already open.
static unsigned AcceptBit(const DibShape *pShape)
{
    switch (pShape->bitCount) {
    case 1:
        return pShape->nPlanes == 1 ? ACCEPT_1 : 0;
    case 8:
        return ACCEPT_8;
    case 24:
        return ACCEPT_24;
    default:
        return 0;
    }
}

// An 8-bit block with fewer than 256 colours as a copy with all of them.
static HGLOBAL RunOnFullTable(const FilterFrame *pFrame, const FilterCall *pCall, int width,
                              int height, int bProgress)
{
    HGLOBAL hResult = NULL;
    const HGLOBAL hFull = CopyWithFullTable(pCall->hDib);
    if (hFull != NULL) {
        hResult =
            pFrame->Adapter(pFrame->Worker8, hFull, width, height, pCall->pArguments, bProgress);
        GlobalFree(hFull);
    }
    return hResult;
}

// Runs the worker for the image's depth. *pKeepOpen is set when the progress dialog stays open.
static HGLOBAL RunWorker(const FilterFrame *pFrame, const FilterCall *pCall, const DibShape *pShape,
                         int bProgress, int *pKeepOpen)
{
    const int width = pShape->width;
    const int height = pShape->height;
    if (pShape->bitCount == 8 && pShape->nColors < 256) {
        return RunOnFullTable(pFrame, pCall, width, height, bProgress);
    }
    if (pShape->bitCount == 1) {
        const HGLOBAL hGray = ConvertMono(pCall->hDib, 0);
        HGLOBAL hResult = NULL;
        if (hGray == NULL) {
            *pKeepOpen = 1;
            return NULL;
        }
        hResult =
            pFrame->Adapter(pFrame->Worker8, hGray, width, height, pCall->pArguments, bProgress);
        GlobalFree(hGray);
        return hResult;
    }
    const AnyWorker worker = pShape->bitCount == 24 ? pFrame->Worker24 : pFrame->Worker8;
    return pFrame->Adapter(worker, pCall->hDib, width, height, pCall->pArguments, bProgress);
}

static int ArgumentsAreValid(const FilterFrame *pFrame, const FilterCall *pCall)
{
    return pFrame->ArgumentsAreValid == NULL || pFrame->ArgumentsAreValid(pCall->pArguments);
}

// A dialog gets the image's handle and may have put another picture into the block.
static int IsStill(HGLOBAL hDib, const DibShape *pShape)
{
    DibShape now;
    return ReadDibShape(hDib, &now) && memcmp(&now, pShape, sizeof now) == 0;
}

// From the parameter dialog to the result, for an image that is accepted.
static HGLOBAL RunDialogsAndWorker(const FilterFrame *pFrame, FilterCall *pCall,
                                   const DibShape *pShape, FilterThreadState *pState)
{
    const int bProgress = WantsProgress(pCall->mode);
    if (pFrame->bCheckFirst && !ArgumentsAreValid(pFrame, pCall)) {
        return NULL;
    }
    if (WantsDialog(pCall->mode) &&
        (!RunParameterDialog(pFrame->pDialogEntry, pCall->dialogArguments,
                             pCall->nDialogArguments) ||
         !IsStill(pCall->hDib, pShape))) {
        return NULL;
    }
    if (!ArgumentsAreValid(pFrame, pCall)) {
        return NULL;
    }
    if (bProgress) {
        const int total =
            pFrame->StepTotal(pCall->hDib, pShape->bitCount, pShape->width, pShape->height);
        if (!OpenProgressDialog(*pCall->pParent, total)) {
            return NULL;
        }
    }
    int bKeepOpen = 0;
    const HCURSOR hCursor = ShowWaitCursor();
    const HGLOBAL hResult = RunWorker(pFrame, pCall, pShape, bProgress, &bKeepOpen);
    SetCursor(hCursor);
    if (bKeepOpen) {
        return NULL;
    }
    if (bProgress) {
        CloseProgressDialog();
    }
    if (pState->bCancelled) {
        if (hResult != NULL) {
            GlobalFree(hResult);
        }
        return NULL;
    }
    pState->nLastError = pState->nCurrentError;
    return hResult;
}

HGLOBAL RunFilter(const FilterFrame *pFrame, FilterCall *pCall)
{
    RunningCall running;
    DibShape shape;
    HGLOBAL hResult = NULL;
    FilterThreadState *pState = BeginCall(&running);
    pState->nCurrentError = ERROR_NONE;
    pState->bCancelled = 0;
    if (IsNestedInProgress(&running)) {
        pCall->mode = 0;
    }
    if (ReadDibShape(pCall->hDib, &shape) && (AcceptBit(&shape) & pFrame->nAccepted)) {
        hResult = RunDialogsAndWorker(pFrame, pCall, &shape, pState);
    }
    EndCall(&running);
    return hResult;
}

int TwoPassesOverSides(HGLOBAL hDib, int bitCount, int width, int height)
{
    (void)hDib;
    (void)bitCount;
    return RoundToSteps(((int64_t)width + height) * 2);
}
