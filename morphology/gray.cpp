// Gray-scale morphology on 8-bit images with a gray palette: dilation, erosion, opening, closing
// and the white top-hat, with an element of heights (Sternberg 1986; Serra 1982).
//
// Dilation is the largest sum of a level under the element and the height there, erosion the
// smallest difference; positions outside the picture are left out. Opening and closing are both in
// turn, the second one in place. The top-hat is the image without its opening.
//
// A step goes over the rows in memory order and keeps the levels of the window's rows in a ring, so
// that it may write over the rows that it reads. An element of equal heights 0 is a rectangle: its
// extremes are running ones (statistics/rank_extremes). Any other costs a pass over the row for
// each position.
//
// Where the palette lacks levels that may be needed, rows go from the top of the picture down,
// through one level map for all steps: a level without an entry takes over the one of its own
// number, which changes what pixels with that index show from then on. A row is computed as if
// nothing changed, and once more from the first pixel on that changes an entry in use; that happens
// no more than 256 times in a step.

#include "calls.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "frame/progress.h"
#include "frame/rows.h"
#include "gray_kernels.h"
#include "platform/workmemory.h"
#include "statistics/rank_kernels.h"

#include <string.h>

// ---- the element --------------------------------------------------------------------------------

// As far as it can meet the picture: distances from the pixel, to the right and down.
struct HeightPlan {
    ElementBytes bytes;
    int nFirstRow, nLastRow;  // distances; empty if the last is below the first
    int nFirstColumn, nLastColumn;
    int nSkippedRows, nSkippedColumns;  // positions of the element above and left of these
    int bFlat;                          // all heights are 0
};

// The distances of nCount positions with that origin which are less than nSide.
static void ClipDistances(int nCount, int nOrigin, int nSide, int *pFirst, int *pLast,
                          int *pSkipped)
{
    const int64_t nFirst = -(int64_t)nOrigin;
    const int64_t nLast = nFirst + nCount - 1;
    const int64_t nMost = (int64_t)nSide - 1;
    const int64_t nKeptFirst = nFirst < -nMost ? -nMost : nFirst;
    const int64_t nKeptLast = nLast > nMost ? nMost : nLast;
    const int bAny = nKeptFirst <= nKeptLast;
    *pFirst = bAny ? (int)nKeptFirst : 0;
    *pLast = bAny ? (int)nKeptLast : -1;
    *pSkipped = bAny ? (int)(nKeptFirst - nFirst) : 0;
}

static BYTE HeightAt(const HeightPlan *p, int nRow, int nColumn)
{
    const size_t row = (size_t)nRow - (size_t)p->nFirstRow + (size_t)p->nSkippedRows;
    const size_t column = (size_t)nColumn - (size_t)p->nFirstColumn + (size_t)p->nSkippedColumns;
    return p->bytes.pBytes[row * (size_t)p->bytes.nColumns + column];
}

static int IsEmpty(const HeightPlan *p)
{
    return p->nLastRow < p->nFirstRow || p->nLastColumn < p->nFirstColumn;
}

static int PlanHeights(const FilterMask *pElement, const DibShape *pShape, HeightPlan *p)
{
    memset(p, 0, sizeof *p);
    if (!CopyElement(pElement, &p->bytes)) {
        return 0;
    }
    ClipDistances(p->bytes.nRows, pElement->originRow, pShape->height, &p->nFirstRow, &p->nLastRow,
                  &p->nSkippedRows);
    ClipDistances(p->bytes.nColumns, pElement->originColumn, pShape->width, &p->nFirstColumn,
                  &p->nLastColumn, &p->nSkippedColumns);
    p->bFlat = !IsEmpty(p);
    for (int j = p->nFirstRow; j <= p->nLastRow; j++) {
        for (int i = p->nFirstColumn; i <= p->nLastColumn; i++) {
            p->bFlat &= HeightAt(p, j, i) == 0;
        }
    }
    return 1;
}

// ---- a step: dilation or erosion ----------------------------------------------------------------

struct GrayStep {
    int bDilates;
    const HeightPlan *pPlan;
    LevelMaps *pMaps;
    int bRamp;  // stored rows are levels
    BYTE indexOf[GRAY_LEVELS];
    int width, height;
    size_t stride;
    const BYTE *pFrom;  // stored rows, the bottom one first
    BYTE *pTo;          // may be pFrom
    // The ring: levels of rows, row r in slot r mod nSlots, with margins of the value that never
    // wins; behind it a line of that value alone.
    BYTE *pLines;
    size_t nLineBytes;
    size_t nMargin;         // left
    int nSlots;             // a power of 2
    int nLowest, nHighest;  // memory rows that a row needs, from itself; 0 included
    int nLoaded;            // rows that have been in the ring
    // With a flat element.
    NeighbourhoodFilter window;
    const RowKernel *pExtremes;
    void *pState;
    size_t nState;
    const BYTE **lines;
    int bStarted;
};

static BYTE Loser(const GrayStep *p)
{
    return p->bDilates ? 0 : 255;
}

static BYTE *RingLine(const GrayStep *p, int nRow)
{
    const int bOutside = nRow < 0 || nRow >= p->height;
    return p->pLines + (size_t)(bOutside ? p->nSlots : nRow & (p->nSlots - 1)) * p->nLineBytes +
           p->nMargin;
}

static void LoadLine(const GrayStep *p, int nRow)
{
    const BYTE *row = p->pFrom + (size_t)nRow * p->stride;
    if (p->bRamp) {
        memcpy(RingLine(p, nRow), row, (size_t)p->width);
    } else {
        MapBytes(p->pMaps->levels, row, RingLine(p, nRow), (size_t)p->width);
    }
}

// Levels without an entry get 255; nobody asks for theirs.
static void IndexTable(const LevelMaps *pMaps, BYTE indexOf[GRAY_LEVELS])
{
    for (int i = 0; i < GRAY_LEVELS; i++) {
        indexOf[i] = (BYTE)pMaps->indexOf[i];
    }
}

static int PrepareExtremes(GrayStep *p)
{
    const HeightPlan *pPlan = p->pPlan;
    p->window.nRows = pPlan->nLastRow - pPlan->nFirstRow + 1;
    p->window.nColumns = pPlan->nLastColumn - pPlan->nFirstColumn + 1;
    p->pExtremes = &g_pExtremeKernels->rows[p->bDilates ? EXTREME_MAXIMUM : EXTREME_MINIMUM];
    p->nState =
        p->pExtremes->StateBytes(&p->window, (size_t)p->width + (size_t)p->window.nColumns - 1, 1);
    p->pState = WorkAlloc(p->nState, 1);
    p->lines = (const BYTE **)WorkAlloc((size_t)p->window.nRows + 1, sizeof(BYTE *));
    return p->pState != NULL && p->lines != NULL;
}

static int BeginStep(GrayStep *p)
{
    const HeightPlan *pPlan = p->pPlan;
    // Down in the picture is back in memory. A flat window also names the line it has just left.
    p->nHighest = pPlan->nFirstRow < 0 ? -pPlan->nFirstRow : 0;
    p->nLowest = pPlan->nLastRow >= 0 ? -pPlan->nLastRow - 1 : 0;
    const int64_t nSlots = (int64_t)p->nHighest - p->nLowest + 1;
    p->nSlots = 1;
    while (p->nSlots < nSlots && p->nSlots < p->height) {
        p->nSlots *= 2;
    }
    p->nMargin = (size_t)(pPlan->nFirstColumn < 0 ? -pPlan->nFirstColumn : 0);
    p->nLineBytes =
        p->nMargin + (size_t)p->width + (size_t)(pPlan->nLastColumn > 0 ? pPlan->nLastColumn : 0);
    const size_t nLines = (size_t)p->nSlots + 1;
    p->pLines = (BYTE *)WorkAlloc(nLines, p->nLineBytes);
    if (p->pLines == NULL) {
        return 0;
    }
    memset(p->pLines, Loser(p), nLines * p->nLineBytes);
    IndexTable(p->pMaps, p->indexOf);
    return !pPlan->bFlat || PrepareExtremes(p);
}

static void EndStep(GrayStep *p)
{
    WorkFree(p->pLines);
    WorkFree(p->pState);
    WorkFree((void *)p->lines);
}

static void FlatLevels(GrayStep *p, int nRow, BYTE *out)
{
    const HeightPlan *pPlan = p->pPlan;
    for (int k = 0; k <= p->window.nRows; k++) {
        p->lines[k] = RingLine(p, nRow - pPlan->nFirstRow - k) + pPlan->nFirstColumn;
    }
    p->pExtremes->Run(p->pState, &p->window, p->lines, 1, out, (size_t)p->width, !p->bStarted);
    p->bStarted = 1;
}

static void ValuedLevels(const GrayStep *p, int nRow, BYTE *out)
{
    const HeightPlan *pPlan = p->pPlan;
    void (*const Take)(const BYTE *, BYTE, BYTE *, size_t) =
        p->bDilates ? g_pGrayKernels->Raise : g_pGrayKernels->Lower;
    memset(out, Loser(p), (size_t)p->width);
    for (int j = pPlan->nFirstRow; j <= pPlan->nLastRow; j++) {
        const int nFrom = nRow - j;
        if (nFrom < 0 || nFrom >= p->height) {
            continue;
        }
        for (int i = pPlan->nFirstColumn; i <= pPlan->nLastColumn; i++) {
            const int nFirst = i < 0 ? -i : 0;
            const int nEnd = i > 0 ? p->width - i : p->width;
            Take(RingLine(p, nFrom) + nFirst + i, HeightAt(pPlan, j, i), out + nFirst,
                 (size_t)(nEnd - nFirst));
        }
    }
}

static void ComputeLevels(GrayStep *p, int nRow, BYTE *out)
{
    if (p->pPlan->bFlat) {
        FlatLevels(p, nRow, out);
    } else {
        ValuedLevels(p, nRow, out);
    }
}

// Rows in memory order. A RowsFunction.
static void RunStepRows(void *pContext, unsigned nFirst, unsigned nRows)
{
    GrayStep *p = (GrayStep *)pContext;
    for (int row = (int)nFirst; row < (int)(nFirst + nRows); row++) {
        const size_t nOffset = (size_t)row * p->stride;
        for (; p->nLoaded < p->height && p->nLoaded <= row + p->nHighest; p->nLoaded++) {
            LoadLine(p, p->nLoaded);
        }
        ComputeLevels(p, row, p->pTo + nOffset);
        if (!p->bRamp) {
            MapBytes(p->indexOf, p->pTo + nOffset, p->pTo + nOffset, (size_t)p->width);
        }
        if (p->pTo != p->pFrom) {
            const size_t nPadding = p->stride - (size_t)p->width;
            memcpy(p->pTo + nOffset + p->width, p->pFrom + nOffset + p->width, nPadding);
        }
    }
}

// ---- palettes that lack levels ------------------------------------------------------------------

// 1 if the step can only pick levels that its pixels have.
static int KeepsLevels(const HeightPlan *p)
{
    return p->bFlat && p->nFirstRow <= 0 && p->nLastRow >= 0 && p->nFirstColumn <= 0 &&
           p->nLastColumn >= 0;
}

struct ExactStep {
    GrayStep *pStep;
    BYTE *pRows;   // what the step reads, since rows are computed again
    BYTE *levels;  // of the row in work
    int nRow;
    BYTE bUsed[GRAY_LEVELS];
};

static void ComputeAnew(void *pContext)
{
    const ExactStep *p = (const ExactStep *)pContext;
    GrayStep *pStep = p->pStep;
    for (int j = pStep->pPlan->nFirstRow; j <= pStep->pPlan->nLastRow; j++) {
        if (p->nRow - j >= 0 && p->nRow - j < pStep->height) {
            LoadLine(pStep, p->nRow - j);
        }
    }
    if (pStep->pState != NULL) {
        memset(pStep->pState, 0, pStep->nState);
        pStep->bStarted = 0;
    }
    ComputeLevels(pStep, p->nRow, p->levels);
}

static void ComputeExactRow(ExactStep *p, int nRow)
{
    const LevelRow row = {p->levels, (size_t)p->pStep->width, p->bUsed, ComputeAnew, p};
    p->nRow = nRow;
    ComputeAnew(p);
    MapRowInOrder(p->pStep->pMaps, &row, p->pStep->pTo + (size_t)nRow * p->pStep->stride);
}

static int RunExactRows(const FilterCall *pCall, ExactStep *p)
{
    const int height = p->pStep->height;
    for (int y = 0; y < height; y++) {
        if (!BeginUnit(pCall->pState, pCall->bProgress, (unsigned)y)) {
            return 0;
        }
        ComputeExactRow(p, height - 1 - y);
    }
    return 1;
}

static int RunExactStep(const FilterCall *pCall, GrayStep *pStep)
{
    const size_t nBytes = pStep->stride * (size_t)pStep->height;
    ExactStep exact = {
        pStep, (BYTE *)WorkAlloc(nBytes, 1), (BYTE *)WorkAlloc((size_t)pStep->width, 1), 0, {}};
    int bDone = 0;
    if (exact.pRows != NULL && exact.levels != NULL) {
        memcpy(exact.pRows, pStep->pFrom, nBytes);
        if (pStep->pTo != pStep->pFrom) {
            memcpy(pStep->pTo, pStep->pFrom, nBytes);  // for the padding
        }
        for (size_t i = 0; i < nBytes; i++) {
            exact.bUsed[exact.pRows[i]] = 1;  // with the padding: at worst a row more often
        }
        pStep->pFrom = exact.pRows;
        bDone = RunExactRows(pCall, &exact);
    }
    WorkFree(exact.pRows);
    WorkFree(exact.levels);
    return bDone;
}

// ---- operations ---------------------------------------------------------------------------------

enum GrayPass { NO_PASS, DILATE, ERODE, SUBTRACT_FROM_SOURCE };

enum { MOST_PASSES = 3 };

static constexpr GrayPass DILATION[MOST_PASSES] = {DILATE};
static constexpr GrayPass EROSION[MOST_PASSES] = {ERODE};
static constexpr GrayPass OPENING[MOST_PASSES] = {ERODE, DILATE};
static constexpr GrayPass CLOSING[MOST_PASSES] = {DILATE, ERODE};
static constexpr GrayPass TOP_HAT[MOST_PASSES] = {ERODE, DILATE, SUBTRACT_FROM_SOURCE};

struct GrayArguments {
    MorphologyArguments common;
    const GrayPass *pPasses;
};

struct GrayWork {
    FilterCall *pCall;
    const WorkingCopy *pCopy;
    LevelMaps maps;  // one for all steps
    HeightPlan plan;
};

// 0 without memory or once the user has cancelled.
static int RunStep(GrayWork *p, int bDilates, const BYTE *pFrom)
{
    const DibView *pResult = &p->pCopy->result;
    GrayStep step = {};
    int bDone = 0;
    step.bDilates = bDilates;
    step.pPlan = &p->plan;
    step.pMaps = &p->maps;
    step.bRamp = IsGrayRamp(&p->maps);
    step.width = pResult->shape.width;
    step.height = pResult->shape.height;
    step.stride = pResult->shape.stride;
    step.pFrom = pFrom;
    step.pTo = pResult->pBits;
    if (BeginStep(&step)) {
        bDone = HasAllLevels(&p->maps) || KeepsLevels(&p->plan)
                    ? PassOverRows(p->pCall, RunStepRows, &step)
                    : RunExactStep(p->pCall, &step);
    }
    EndStep(&step);
    return bDone;
}

// Kept: the image is read again for this, as it now is, with a level map made anew; the levels that
// the opening has brought in show what their entries showed before.
static void ReadMapsAgain(GrayWork *p)
{
    const DibView *pSource = &p->pCall->source;
    const size_t nColors = Least(pSource->shape.nColors, GRAY_LEVELS);
    RGBQUAD colors[GRAY_LEVELS] = {};
    memcpy(colors, pSource->pColors, nColors * sizeof(RGBQUAD));
    BuildLevelMaps(colors, &p->maps);
}

// How the rows of the last step are made.
struct SubtractStep {
    LevelMaps *pMaps;
    int bRamp, bAllLevels;
    BYTE indexOf[GRAY_LEVELS];
    BYTE *levels;  // of a row
};

static void SubtractRow(const SubtractStep *p, const BYTE *src, BYTE *opened, size_t width)
{
    const BYTE *levelOf = p->pMaps->levels;
    if (p->bRamp) {
        g_pGrayKernels->Subtract(src, opened, opened, width);
        return;
    }
    if (p->bAllLevels) {
        MapBytes(levelOf, src, p->levels, width);
        MapBytes(levelOf, opened, opened, width);
        g_pGrayKernels->Subtract(p->levels, opened, opened, width);
        MapBytes(p->indexOf, opened, opened, width);
        return;
    }
    for (size_t x = 0; x < width; x++) {
        const int level = levelOf[src[x]] - levelOf[opened[x]];
        opened[x] = (BYTE)GrayLevelToIndex(p->pMaps, level > 0 ? level : 0);
    }
}

static int SubtractFromSource(GrayWork *p)
{
    const DibView *pSource = &p->pCall->source;
    const DibView *pResult = &p->pCopy->result;
    const size_t width = (size_t)pSource->shape.width;
    int y = 0;
    ReadMapsAgain(p);
    SubtractStep step = {
        &p->maps, IsGrayRamp(&p->maps), HasAllLevels(&p->maps), {}, (BYTE *)WorkAlloc(width, 1)};
    if (step.levels == NULL) {
        return 0;
    }
    IndexTable(&p->maps, step.indexOf);
    for (; y < pSource->shape.height; y++) {
        if (!BeginUnit(p->pCall->pState, p->pCall->bProgress, (unsigned)y)) {
            break;
        }
        SubtractRow(&step, PictureRow(pSource, y), PictureRow(pResult, y), width);
    }
    WorkFree(step.levels);
    return y == pSource->shape.height;
}

static void StorePalette(const LevelMaps *pMaps, RGBQUAD *pColors)
{
    for (int i = 0; i < GRAY_LEVELS && pMaps->paletteChanged; i++) {
        pColors[i].rgbBlue = pColors[i].rgbGreen = pColors[i].rgbRed = pMaps->levels[i];
    }
}

static int RunPasses(GrayWork *p, const GrayPass *pPasses)
{
    const BYTE *pFrom = p->pCopy->pFrom;
    for (int n = 0; n < MOST_PASSES && pPasses[n] != NO_PASS; n++) {
        const int bDone = pPasses[n] == SUBTRACT_FROM_SOURCE
                              ? SubtractFromSource(p)
                              : RunStep(p, pPasses[n] == DILATE, pFrom);
        if (!bDone) {
            return 0;
        }
        pFrom = p->pCopy->result.pBits;
    }
    return 1;
}

static HGLOBAL WorkInGray(FilterCall *pCall, const Picture *pPicture)
{
    const GrayArguments *pArguments = (const GrayArguments *)pCall->pArguments;
    const WorkingCopy *pCopy = LockCopy(pCall);
    GrayWork work;
    (void)pPicture;
    if (pCopy == NULL) {
        return NULL;
    }
    work.pCall = pCall;
    work.pCopy = pCopy;
    BuildLevelMaps(pCopy->result.pColors, &work.maps);
    const int bDone =
        PlanHeights(&pArguments->common.elements[0], &pCopy->result.shape, &work.plan) &&
        RunPasses(&work, pArguments->pPasses);
    WorkFree(work.plan.bytes.pBytes);
    if (bDone) {
        StorePalette(&work.maps, pCopy->result.pColors);
    }
    return FinishCopy(pCall, bDone);
}

// ---- exports ------------------------------------------------------------------------------------

static const ElementDefault FLAT_SQUARE = {};

static int PrepareGray(FilterCall *pCall)
{
    static const ElementDefault *const DEFAULTS[] = {&FLAT_SQUARE};
    if (!IsGrayPalette(&pCall->source)) {
        return 0;
    }
    TakeElements((MorphologyArguments *)pCall->pArguments, DEFAULTS, 1);
    return PrepareCopy(pCall);
}

static int IsGrayElement(const void *pArguments)
{
    return IsElement(&((const MorphologyArguments *)pArguments)->elements[0]);
}

static int GraySteps(int width, int height, int bGray, const void *pArguments)
{
    const GrayPass *pPasses = ((const GrayArguments *)pArguments)->pPasses;
    int64_t nPasses = 0;
    (void)width;
    (void)bGray;
    while (nPasses < MOST_PASSES && pPasses[nPasses] != NO_PASS) {
        nPasses++;
    }
    return RoundToSteps(nPasses * height);
}

static constexpr FilterFrame GrayFrame(const char *pDialogEntry, unsigned nQuirks)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.nPlanBytes = sizeof(WorkingCopy);
    frame.AcceptsEdited = IsGrayElement;
    frame.nAccepted = ACCEPT_8;
    frame.StepTotal = GraySteps;
    frame.Work = WorkInGray;
    frame.nQuirks = nQuirks;
    frame.Prepare = PrepareGray;
    return frame;
}

static HGLOBAL RunGray(const FilterFrame *pFrame, const GrayPass *pPasses, HGLOBAL hDib,
                       const FilterMask *pMask, UINT mode, HWND hParent)
{
    GrayArguments arguments = {};
    arguments.common.pGiven[0] = pMask;
    arguments.pPasses = pPasses;
    return RunMorphology(pFrame, hDib, &arguments, {(UINT_PTR)&arguments.common.elements[0]}, mode,
                         hParent);
}

HGLOBAL VEXAFILTER_API GrayScaleDilation(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                         HWND hParent)
{
    static constexpr FilterFrame FRAME = GrayFrame("GDilationUI", AS_STORED | WORKS_ON_COPY);
    return RunGray(&FRAME, DILATION, hDib, pMask, mode, hParent);
}

HGLOBAL VEXAFILTER_API GrayScaleErosion(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent)
{
    static constexpr FilterFrame FRAME = GrayFrame("GErosionUI", AS_STORED | WORKS_ON_COPY);
    return RunGray(&FRAME, EROSION, hDib, pMask, mode, hParent);
}

HGLOBAL VEXAFILTER_API GrayScaleClosing(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent)
{
    static constexpr FilterFrame FRAME = GrayFrame("GClosingUI", AS_STORED | WORKS_ON_COPY);
    return RunGray(&FRAME, CLOSING, hDib, pMask, mode, hParent);
}

HGLOBAL VEXAFILTER_API GrayScaleOpening(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent)
{
    static constexpr FilterFrame FRAME = GrayFrame("GOpeningUI", AS_STORED | WORKS_ON_COPY);
    return RunGray(&FRAME, OPENING, hDib, pMask, mode, hParent);
}

// The image is read again at the end, so it stays locked.
HGLOBAL VEXAFILTER_API GrayScaleTopHat(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                       HWND hParent)
{
    static constexpr FilterFrame FRAME = GrayFrame("GTophatUI", AS_STORED);
    return RunGray(&FRAME, TOP_HAT, hDib, pMask, mode, hParent);
}
