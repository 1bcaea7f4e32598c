// Thinning, thickening and the skeleton of the objects in a 1-bit image (hit-or-miss with the eight
// fixed patterns of an edge or a corner; Serra, Image Analysis and Mathematical Morphology, 1982).
//
// A sweep takes away every object pixel that matches one of the patterns in the image as it was
// before the sweep. Thinning is one sweep over the object, thickening one over the background, the
// skeleton as many as change anything.
//
// The image is kept as lines of background (binary_kernels.h). A pixel is decided by itself and its
// eight neighbours, so after the first sweep only blocks in which, or next to which, the last one
// has taken something away are looked at again: a sweep costs what still changes. What it takes
// from a row is held back until the row above has been looked at.
//
// Kept: a sweep thins all eight sides at once, so lines two pixels wide may vanish.

#include "binary.h"

#include "binary_rows.h"
#include "frame/intops.h"
#include "frame/progress.h"
#include "frame/rows.h"
#include "platform/workmemory.h"

#include <string.h>

// ---- sweeps -------------------------------------------------------------------------------------

// Passes of an operator that looks at a grid of bytes pattern by pattern; here for the bar alone.
enum { PREPARATION_PASSES = 1, SWEEP_PASSES = 24, ANNOUNCED_PASSES = 25 };

enum { HELD_ROWS = 2 };

struct Sweeper {
    LineLayout layout;
    size_t nLineBytes;  // a block as guard on either side
    BYTE *pLines;       // of background; one more below and above
    BYTE *pInside;      // the picture's pixels
    BYTE *pHeld[HELD_ROWS];
    // Of each block, whether this and the last sweep have changed it; a block and a line more on
    // all sides.
    BYTE *bChanged, *bChangedBefore;
    size_t nFlags;  // of a line
    BYTE *bLook;    // the blocks of a row to look at
    int bAny;       // this sweep has changed a pixel
};

static BYTE *LineAt(const Sweeper *p, int nRow)
{
    return p->pLines + (size_t)(nRow + 1) * p->nLineBytes + BLOCK_BYTES;
}

static BYTE *FlagsAt(const Sweeper *p, BYTE *bFlags, int nRow)
{
    return bFlags + (size_t)(nRow + 1) * p->nFlags + 1;
}

static int BeginSweeps(Sweeper *p)
{
    const size_t nLines = (size_t)p->layout.height + 2;
    p->nLineBytes = (p->layout.nBlocks + 2) * BLOCK_BYTES;
    p->nFlags = p->layout.nBlocks + 2;
    p->pLines = (BYTE *)WorkAlloc(nLines, p->nLineBytes);
    p->pInside = (BYTE *)WorkAlloc(1 + HELD_ROWS, p->nLineBytes);
    p->bChanged = (BYTE *)WorkAlloc(nLines, p->nFlags);
    p->bChangedBefore = (BYTE *)WorkAlloc(nLines, p->nFlags);
    p->bLook = (BYTE *)WorkAlloc(1, p->nFlags);
    if (p->pLines == NULL || p->pInside == NULL || p->bChanged == NULL ||
        p->bChangedBefore == NULL || p->bLook == NULL) {
        return 0;
    }
    FillLine(&p->layout, p->pInside);
    for (int i = 0; i < HELD_ROWS; i++) {
        p->pHeld[i] = p->pInside + (size_t)(i + 1) * p->nLineBytes;
    }
    for (int row = 0; row < p->layout.height; row++) {
        memset(FlagsAt(p, p->bChangedBefore, row), 1, p->layout.nBlocks);  // all is new
    }
    return 1;
}

static void EndSweeps(Sweeper *p)
{
    WorkFree(p->pLines);
    WorkFree(p->pInside);
    WorkFree(p->bChanged);
    WorkFree(p->bChangedBefore);
    WorkFree(p->bLook);
}

// Which blocks of the row have changed, or have a neighbour that has. 0: none.
static int FindBlocks(const Sweeper *p, int nRow)
{
    // From the block on the left on.
    const BYTE *lower = FlagsAt(p, p->bChangedBefore, nRow - 1) - 1;
    const BYTE *middle = FlagsAt(p, p->bChangedBefore, nRow) - 1;
    const BYTE *upper = FlagsAt(p, p->bChangedBefore, nRow + 1) - 1;
    int bAny = 0;
    for (size_t i = 0; i < p->layout.nBlocks; i++) {
        p->bLook[i] = 0;
        for (size_t j = i; j < i + 3; j++) {
            p->bLook[i] |= (BYTE)(lower[j] | middle[j] | upper[j]);
        }
        bAny |= p->bLook[i];
    }
    return bAny;
}

// Finds what goes from the row, without taking it away.
static void LookAtRow(Sweeper *p, int nRow)
{
    const size_t nBlocks = p->layout.nBlocks;
    BYTE *bChanged = FlagsAt(p, p->bChanged, nRow);
    size_t nFirst = 0;
    memset(bChanged, 0, nBlocks);
    if (!FindBlocks(p, nRow)) {
        return;
    }
    while (nFirst < nBlocks) {
        size_t nEnd = nFirst;
        while (nEnd < nBlocks && p->bLook[nEnd]) {
            nEnd++;
        }
        if (nEnd == nFirst) {
            nFirst++;
            continue;
        }
        const size_t nOffset = nFirst * BLOCK_BYTES;
        g_pBinaryKernels->Thin(LineAt(p, nRow + 1) + nOffset, LineAt(p, nRow) + nOffset,
                               LineAt(p, nRow - 1) + nOffset, p->pInside + nOffset,
                               p->pHeld[nRow % HELD_ROWS] + nOffset, bChanged + nFirst,
                               nEnd - nFirst);
        nFirst = nEnd;
    }
}

static void ChangeBlock(const BYTE *__restrict taken, BYTE *__restrict line)
{
    for (size_t i = 0; i < BLOCK_BYTES; i++) {
        line[i] |= taken[i];
    }
}

// Takes away what was found.
static void ChangeRow(Sweeper *p, int nRow)
{
    const BYTE *bChanged = FlagsAt(p, p->bChanged, nRow);
    for (size_t i = 0; i < p->layout.nBlocks; i++) {
        if (bChanged[i]) {
            ChangeBlock(p->pHeld[nRow % HELD_ROWS] + i * BLOCK_BYTES,
                        LineAt(p, nRow) + i * BLOCK_BYTES);
            p->bAny = 1;
        }
    }
}

static void SweepRows(void *pContext, unsigned nFirst, unsigned nRows)
{
    Sweeper *p = (Sweeper *)pContext;
    for (int row = (int)nFirst; row < (int)(nFirst + nRows); row++) {
        LookAtRow(p, row);
        if (row > 0) {
            ChangeRow(p, row - 1);
        }
    }
    if ((int)(nFirst + nRows) == p->layout.height) {
        ChangeRow(p, p->layout.height - 1);
    }
}

// 0 once the user has cancelled.
static int RunSweep(FilterCall *pCall, Sweeper *p)
{
    p->bAny = 0;
    if (!PassOverRows(pCall, SweepRows, p) ||
        !StepPasses(pCall->pState, pCall->bProgress, SWEEP_PASSES - 1, p->layout.height)) {
        return 0;
    }
    BYTE *bBefore = p->bChangedBefore;
    p->bChangedBefore = p->bChanged;
    p->bChanged = bBefore;
    return 1;
}

static int RunSweeps(FilterCall *pCall, Sweeper *p, int nMost)
{
    for (int n = 0; nMost == 0 || n < nMost; n++) {
        if (!RunSweep(pCall, p)) {
            return 0;
        }
        if (!p->bAny) {
            break;
        }
    }
    return 1;
}

// ---- work ---------------------------------------------------------------------------------------

struct ThinningRule {
    int bBackground;  // the background is thinned
    int nSweeps;      // 0: as many as the caller says
};

static int SweepLimit(const ThinningRule *pRule, const MorphologyArguments *pArguments)
{
    if (pRule->nSweeps != 0) {
        return pRule->nSweeps;
    }
    return pArguments->nMaxSweeps < 0 ? 0 : pArguments->nMaxSweeps;
}

static HGLOBAL WorkInSweeps(FilterCall *pCall, const Picture *pPicture)
{
    const ThinningRule *pRule = (const ThinningRule *)pCall->pFrame->pRule;
    const MorphologyArguments *pArguments = (const MorphologyArguments *)pCall->pArguments;
    const WorkingCopy *pCopy = LockCopy(pCall);
    Sweeper sweeper = {};
    int bDone = 0;
    (void)pPicture;
    if (pCopy == NULL) {
        return NULL;
    }
    const int bThinsBlack = (pArguments->bWhiteObject == 0) == !pRule->bBackground;
    const Polarity polarity = ReadPolarity(&pCopy->result, !bThinsBlack);
    const size_t stride = pCall->source.shape.stride;
    DescribeLines(&pCall->source.shape, &sweeper.layout);
    const int height = sweeper.layout.height;
    if (BeginSweeps(&sweeper)) {
        for (int row = 0; row < height; row++) {
            g_pBinaryKernels->Load(&sweeper.layout.packed, pCopy->pFrom + (size_t)row * stride,
                                   polarity.background, LineAt(&sweeper, row));
        }
        bDone = StepPasses(pCall->pState, pCall->bProgress, PREPARATION_PASSES, height) &&
                RunSweeps(pCall, &sweeper, SweepLimit(pRule, pArguments));
        for (int row = 0; row < height && bDone; row++) {
            g_pBinaryKernels->Store(&sweeper.layout.packed, sweeper.pInside, LineAt(&sweeper, row),
                                    polarity.object, pCopy->pFrom + (size_t)row * stride,
                                    pCopy->result.pBits + (size_t)row * stride);
        }
    }
    EndSweeps(&sweeper);
    return FinishCopy(pCall, bDone);
}

static int SweepSteps(int width, int height, int bGray, const void *pArguments)
{
    const int64_t nTotal =
        ((int64_t)height + UNITS_PER_STEP - 1) / UNITS_PER_STEP * UNITS_PER_STEP * ANNOUNCED_PASSES;
    (void)width;
    (void)bGray;
    (void)pArguments;
    return RoundToSteps(nTotal);
}

// ---- exports ------------------------------------------------------------------------------------

static constexpr FilterFrame SweepFrame(const char *pDialogEntry, const ThinningRule *pRule)
{
    FilterFrame frame = BinaryFrame(pDialogEntry, WorkInSweeps, SweepSteps);
    frame.pRule = pRule;
    frame.Prepare = PrepareCopy;
    return frame;
}

HGLOBAL VEXAFILTER_API BinaryThinning(HGLOBAL hDib, int bWhiteObject, UINT mode, HWND hParent)
{
    static constexpr ThinningRule RULE = {0, 1};
    static constexpr FilterFrame FRAME = SweepFrame("ThinningUI", &RULE);
    MorphologyArguments arguments = {};
    arguments.bWhiteObject = bWhiteObject;
    return RunMorphology(&FRAME, hDib, &arguments, {(UINT_PTR)&arguments.bWhiteObject}, mode,
                         hParent);
}

HGLOBAL VEXAFILTER_API BinaryThickening(HGLOBAL hDib, int bWhiteObject, UINT mode, HWND hParent)
{
    static constexpr ThinningRule RULE = {1, 1};
    static constexpr FilterFrame FRAME = SweepFrame("ThickeningUI", &RULE);
    MorphologyArguments arguments = {};
    arguments.bWhiteObject = bWhiteObject;
    return RunMorphology(&FRAME, hDib, &arguments, {(UINT_PTR)&arguments.bWhiteObject}, mode,
                         hParent);
}

HGLOBAL VEXAFILTER_API BinarySkeleton(HGLOBAL hDib, int nMaxSweeps, int bWhiteObject, UINT mode,
                                      HWND hParent)
{
    static constexpr ThinningRule RULE = {0, 0};
    static constexpr FilterFrame FRAME = SweepFrame("SkeletonUI", &RULE);
    MorphologyArguments arguments = {};
    arguments.nMaxSweeps = nMaxSweeps;
    arguments.bWhiteObject = bWhiteObject;
    return RunMorphology(&FRAME, hDib, &arguments,
                         {(UINT_PTR)&arguments.nMaxSweeps, (UINT_PTR)&arguments.bWhiteObject}, mode,
                         hParent);
}
