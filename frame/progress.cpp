// The progress dialog: a small modeless window with a bar and a Cancel button.
//
// There is no worker thread. The worker calls StepProgress every few units of work; that lets the
// thread's messages through, for every window of it, so that the host keeps painting and Cancel is
// noticed. Cancel enables the parent and destroys the dialog at once; the worker sees the flag at
// its next unit.
//
// Whatever may run the host's code - messages sent or let through, the parent enabled or disabled,
// the dialog made or destroyed - stands between LetHostRun and ResumeCall.
//
// A dialog that is destroyed from outside (its owner was closed) counts as cancelled: nobody could
// stop the work any more.
//
// WM_QUIT met while messages are let through ends that round and is kept in the running call, which
// posts it again when it ends: swallowing it would leave the host without its end.

#include "progress.h"

#include "call.h"

#include <commctrl.h>

enum { PROGRESS_BAR_ID = 1000 };

static void RestoreParentWindow(FilterThreadState *pState)
{
    if (pState->bParentDisabled && pState->hParentWnd != NULL) {
        EnableWindow(pState->hParentWnd, TRUE);
    }
    pState->bParentDisabled = 0;
}

static INT_PTR CALLBACK ProgressDialogProc(HWND hDialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    FilterThreadState *pState = GetFilterThreadState();
    (void)lParam;
    if (message == WM_INITDIALOG) {
        const HWND hBar = GetDlgItem(hDialog, PROGRESS_BAR_ID);
        const int high = pState->nStepTotal / pState->nStepDivisor + 1;
        SendMessageA(hBar, PBM_SETRANGE32, 0, (LPARAM)high);
        SendMessageA(hBar, PBM_SETSTEP, (WPARAM)pState->nStepSize, 0);
        return TRUE;
    }
    if (message == WM_COMMAND && LOWORD(wParam) == IDCANCEL) {
        pState->bCancelled = 1;
        RestoreParentWindow(pState);
        DestroyWindow(hDialog);
        pState->hProgressDlg = NULL;
    }
    if (message == WM_DESTROY && hDialog == pState->hProgressDlg) {
        pState->bCancelled = 1;
        RestoreParentWindow(pState);
        pState->hProgressDlg = NULL;
    }
    return FALSE;
}

// A host need not have common controls of its own: the bar's class is made known here, on first
// use, since neither may be done while the library attaches.
static void RegisterProgressBar(void)
{
    INITCOMMONCONTROLSEX controls;
    controls.dwSize = sizeof controls;
    controls.dwICC = ICC_PROGRESS_CLASS;
    InitCommonControlsEx(&controls);
}

static void PumpMessages(FilterThreadState *pState)
{
    MSG message;
    while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE)) {
        if (message.message == WM_QUIT) {
            KeepQuitMessage(message.wParam);
            return;
        }
        if (!IsDialogMessageA(pState->hProgressDlg, &message)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
    }
}

static int ShowDialog(FilterThreadState *pState, HWND hParent)
{
    RegisterProgressBar();
    pState->hProgressDlg =
        CreateDialogParamA(GetFilterInstance(), "PROGRESSDLG", hParent, ProgressDialogProc, 0);
    if (pState->hProgressDlg == NULL) {
        return 0;
    }
    NoteProgressDialog();
    if (hParent != NULL && IsWindowEnabled(hParent)) {
        pState->bParentDisabled = 1;
        EnableWindow(hParent, FALSE);
    }
    ShowWindow(pState->hProgressDlg, SW_SHOW);
    UpdateWindow(pState->hProgressDlg);
    return 1;
}

int OpenProgressDialog(HWND hParent, int nStepTotal)
{
    FilterThreadState *pState = GetFilterThreadState();
    pState->nStepSize = 1;
    pState->nStepTotal = nStepTotal;
    pState->nStepDivisor = UNITS_PER_STEP;
    pState->bCancelled = 0;
    pState->hParentWnd = hParent;
    LetHostRun();
    const int bShown = ShowDialog(pState, hParent);
    ResumeCall();
    return bShown;
}

void StepProgress(void)
{
    FilterThreadState *pState = GetFilterThreadState();
    LetHostRun();
    PumpMessages(pState);
    // After a Cancel the dialog is gone and there is no bar to move.
    if (pState->hProgressDlg != NULL) {
        SendMessageA(GetDlgItem(pState->hProgressDlg, PROGRESS_BAR_ID), PBM_STEPIT, 0, 0);
    }
    ResumeCall();
}

int CloseProgressDialog(void)
{
    FilterThreadState *pState = GetFilterThreadState();
    const HWND hDialog = pState->hProgressDlg;
    if (hDialog == NULL) {
        return 0;
    }
    LetHostRun();
    RestoreParentWindow(pState);
    pState->hProgressDlg = NULL;  // the end of the work, not of the user's patience
    DestroyWindow(hDialog);
    ResumeCall();
    return 1;
}

int StepPasses(const FilterThreadState *pState, int bProgress, int nPasses, int nUnits)
{
    for (int pass = 0; pass < nPasses; pass++) {
        for (int unit = 0; unit < nUnits; unit += UNITS_PER_STEP) {
            if (!BeginUnit(pState, bProgress, (unsigned)unit)) {
                return 0;
            }
        }
    }
    return 1;
}

int BeginPacedRow(ProgressPace *pPace, int nRow, int nRows)
{
    const FilterThreadState *pState = pPace->pState;
    const int64_t nDue = pPace->nSteps * (nRow + 1) / nRows;
    while (pPace->nTaken < nDue && !pState->bCancelled) {
        BeginUnit(pState, pPace->bProgress, 0);
        pPace->nTaken++;
    }
    return !pState->bCancelled;
}
