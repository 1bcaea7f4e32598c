// The modeless progress dialog and the step that every worker takes before each unit of work.
#ifndef FRAME_PROGRESS_H
#define FRAME_PROGRESS_H

#include "intops.h"
#include "thread_state.h"

// Opens the calling thread's progress dialog for nStepTotal units of work and disables the parent
// (which may be null). 1, or 0 if the dialog cannot be created.
int OpenProgressDialog(HWND hParent, int nStepTotal);

// Lets the thread's waiting messages through, then moves the bar by one step.
void StepProgress(void);

// Closes the dialog and enables the parent again. 1, or 0 if no dialog is open.
int CloseProgressDialog(void);

// Before unit number nUnit of a pass: steps the bar on every fifth unit. 0 once the user has
// cancelled, whether or not progress is shown.
static inline int BeginUnit(const FilterThreadState *pState, int bProgress, unsigned nUnit)
{
    if (bProgress && pState->hProgressDlg != NULL && nUnit % (unsigned)pState->nStepDivisor == 0) {
        StepProgress();
    }
    return !pState->bCancelled;
}

// Passes over nUnits units that are made on the way by others, or have no work left: for the bar
// alone. 0 once the user has cancelled.
int StepPasses(const FilterThreadState *pState, int bProgress, int nPasses, int nUnits);

// The bar steps of a pass over the units nFirst to nEnd - 1.
static inline int64_t UnitSteps(int nFirst, int nEnd)
{
    const int64_t nRound = UNITS_PER_STEP - 1;
    return nEnd > nFirst ? (nEnd + nRound) / UNITS_PER_STEP - (nFirst + nRound) / UNITS_PER_STEP
                         : 0;
}

// A pass that does its work in other units than the bar announces (whole rows instead of load,
// compute and store passes) spreads the same number of steps evenly over its rows.
struct ProgressPace {
    const FilterThreadState *pState;
    int bProgress;
    int64_t nSteps;
    int64_t nTaken;
};

// Before row nRow of nRows. 0 once the user has cancelled.
int BeginPacedRow(ProgressPace *pPace, int nRow, int nRows);

#endif
