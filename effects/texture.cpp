// Effects that work sample by sample or on boxes of samples:
//
//   multiply  the sample times tenths of a percentage, its fraction dropped
//   noise     a random number added to each sample of each channel, drawn in the order of the rows
//             from the top
//   average   the mean of a box. Kept: it reaches half its size to the left and up, but one less to
//             the right and down, so that an odd size is the next lower even one. What lies outside
//             the picture does not count.
//
// All go through the levels of gray. The box mean keeps sums of columns, and of those sums from the
// left, of which two make a window (Crow 1984): its cost does not grow with the size.

#include "VexaFilter.h"
#include "effect_frame.h"
#include "effect_kernels.h"
#include "frame/intops.h"
#include "frame/levels.h"
#include "platform/workmemory.h"
#include "random.h"
#include "sample_rows.h"

#include <string.h>

static int IsNotNegative(const void *pArguments)
{
    return *(const int *)pArguments >= 0;
}

static int IsPositive(const void *pArguments)
{
    return *(const int *)pArguments >= 1;
}

// ---- multiply -----------------------------------------------------------------------------------

struct MultiplyTable {
    SampleRows rows;
    BYTE table[GRAY_LEVELS];
};

static void MultiplyRow(void *pContext, int y, BYTE *out)
{
    const MultiplyTable *p = (const MultiplyTable *)pContext;
    MapBytes(p->table, RowSamples(&p->rows, y, out), out, p->rows.nSamples);
}

static HGLOBAL Multiply(FilterCall *pCall, const Picture *pPicture)
{
    const double factor = *(const int *)pCall->pArguments;
    MultiplyTable multiply;
    OpenSamples(pPicture, SAMPLE_LEVELS, &multiply.rows);
    for (int level = 0; level < GRAY_LEVELS; level++) {
        multiply.table[level] = ClampToByte(TruncateToInt(level * factor * 0.1));
    }
    const RowEffect effect = {MultiplyRow, NULL, &multiply, RowSteps(&multiply.rows)};
    return MakeRows(&multiply.rows, &effect, pCall->bProgress);
}

HGLOBAL VEXAFILTER_API FilterMultiply(HGLOBAL hDib, int nPercentTenths, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = EffectFrame("FILTERGROUPUI", 1, 1, NUMBER_MULTIPLY,
                                                     IsNotNegative, Multiply, StepsOverHeight);
    return RunFilter(&FRAME, hDib, {nPercentTenths}, mode, hParent);
}

// ---- noise --------------------------------------------------------------------------------------

struct Noise {
    SampleRows rows;
    uint32_t nSeed;
    unsigned nAmount;
    int nHalf;
};

static void NoiseRowOf(void *pContext, int y, BYTE *out)
{
    const Noise *p = (const Noise *)pContext;
    const BYTE *src = RowSamples(&p->rows, y, out);
    const uint64_t nDrawn = (uint64_t)y * p->rows.nSamples;
    const NoiseRow row = {
        SkipRandom(p->nSeed, nDrawn), p->nAmount, p->nHalf, src, out, p->rows.nSamples};
    g_pEffectKernels->AddNoise(&row);
}

static HGLOBAL AddNoise(FilterCall *pCall, const Picture *pPicture)
{
    Noise noise;
    OpenSamples(pPicture, SAMPLE_LEVELS, &noise.rows);
    noise.nSeed = SeedFromClock();
    // An amount of 0 is no noise, like 1. A negative one, from a dialog, is what C makes of it.
    const int64_t nAmount = *(const int *)pCall->pArguments;
    const uint64_t nSize = (uint64_t)(nAmount < 0 ? -nAmount : nAmount);
    noise.nAmount = nSize == 0 ? 1 : nSize < DRAWS ? (unsigned)nSize : (unsigned)DRAWS;
    noise.nHalf = (int)(nAmount / 2);
    const RowEffect effect = {NoiseRowOf, NULL, &noise, RowSteps(&noise.rows)};
    return MakeRows(&noise.rows, &effect, pCall->bProgress);
}

HGLOBAL VEXAFILTER_API FilterAddNoise(HGLOBAL hDib, int nAmount, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME =
        EffectFrame("FILTERGROUPUI", 1, 1, NUMBER_NOISE, IsNotNegative, AddNoise, StepsOverHeight);
    return RunFilter(&FRAME, hDib, {nAmount}, mode, hParent);
}

// ---- average ------------------------------------------------------------------------------------

struct BoxMean {
    SampleRows rows;
    const BoxKernels *pKernels;
    int nReachX, nReachY;  // half the window, as far as it can meet the picture
    void *columns;         // sums, with zeros on either side
    BYTE *black;           // a row
    BYTE *scratch;         // two rows
    int *perRow;           // columns inside the picture, for each sample's window
    void *inverses;
    int nRowsInside;  // that they hold for; 0: none
    void *state;
    int nTop, nBottom;  // the rows that the sums hold, the last one excluded
};

static void ForgetSums(void *pContext)
{
    BoxMean *p = (BoxMean *)pContext;
    memset(p->columns, 0,
           (p->rows.nSamples + 2 * (size_t)p->nReachX * p->rows.channels) * p->pKernels->nSumBytes);
    p->nTop = p->nBottom = 0;
}

// nEntering, nLeaving: rows of the picture; -1: none.
static void Exchange(BoxMean *p, int nEntering, int nLeaving)
{
    const size_t nSkipped = (size_t)p->nReachX * p->rows.channels * p->pKernels->nSumBytes;
    BYTE *scratch = p->scratch;
    const BYTE *entering = nEntering >= 0 ? RowSamples(&p->rows, nEntering, scratch) : p->black;
    const BYTE *leaving =
        nLeaving >= 0 ? RowSamples(&p->rows, nLeaving, scratch + p->rows.nSamples) : p->black;
    p->pKernels->Advance((BYTE *)p->columns + nSkipped, entering, leaving, p->rows.nSamples);
}

// Up or down, to the rows from nTop to nBottom - 1.
static void MoveSums(BoxMean *p, int nTop, int nBottom)
{
    if (nTop >= p->nBottom || nBottom <= p->nTop) {
        ForgetSums(p);
        p->nTop = p->nBottom = nTop;
    }
    while (p->nTop > nTop || p->nBottom > nBottom) {
        const int bLeaves = p->nBottom > nBottom;
        const int bEnters = p->nTop > nTop;
        Exchange(p, bEnters ? p->nTop - 1 : -1, bLeaves ? p->nBottom - 1 : -1);
        p->nTop -= bEnters;
        p->nBottom -= bLeaves;
    }
    while (p->nTop < nTop || p->nBottom < nBottom) {
        const int bLeaves = p->nTop < nTop;
        const int bEnters = p->nBottom < nBottom;
        Exchange(p, bEnters ? p->nBottom : -1, bLeaves ? p->nTop : -1);
        p->nTop += bLeaves;
        p->nBottom += bEnters;
    }
}

static void BoxMeanRow(void *pContext, int y, BYTE *out)
{
    BoxMean *p = (BoxMean *)pContext;
    const int nTop = y - p->nReachY < 0 ? 0 : y - p->nReachY;
    const int nBottom = (int64_t)y + p->nReachY > p->rows.height ? p->rows.height : y + p->nReachY;
    MoveSums(p, nTop, nBottom);
    if (p->nRowsInside != nBottom - nTop) {
        p->nRowsInside = nBottom - nTop;
        p->pKernels->Invert(p->inverses, p->perRow, p->nRowsInside, p->rows.nSamples);
    }
    const BoxRow row = {p->columns,       p->inverses, p->state,        2 * (size_t)p->nReachX,
                        p->rows.channels, out,         p->rows.nSamples};
    p->pKernels->Average(&row);
}

static void EmptyRow(void *pContext, int y, BYTE *out)
{
    const BoxMean *p = (const BoxMean *)pContext;
    (void)y;
    memset(out, 0, p->rows.nSamples);
}

static int PrepareBox(BoxMean *p, int nReach)
{
    const int width = p->rows.width, height = p->rows.height;
    p->nReachX = nReach < width ? nReach : width;
    p->nReachY = nReach < height ? nReach : height;
    const int64_t nMost = 4 * (int64_t)p->nReachX * p->nReachY;
    p->pKernels = &g_pEffectKernels->box[nMost <= BOX_SMALL_MOST ? BOX_SMALL : BOX_LARGE];
    const size_t nColumns = 2 * (size_t)p->nReachX;
    const size_t nSamples = p->rows.nSamples;
    p->columns = WorkAlloc(nSamples + nColumns * p->rows.channels, p->pKernels->nSumBytes);
    p->black = (BYTE *)WorkAlloc(nSamples, 1);
    p->scratch = (BYTE *)WorkAlloc(nSamples, 2);
    p->perRow = (int *)WorkAlloc(nSamples, sizeof(int));
    p->inverses = WorkAlloc(nSamples, p->pKernels->nInverseBytes);
    p->state = WorkAlloc(p->pKernels->StateBytes(nSamples, nColumns, p->rows.channels), 1);
    if (p->columns == NULL || p->black == NULL || p->scratch == NULL || p->perRow == NULL ||
        p->inverses == NULL || p->state == NULL) {
        return 0;
    }
    for (size_t i = 0; i < nSamples; i++) {
        const int x = (int)(i / p->rows.channels);
        const int nLeft = x < p->nReachX ? x : p->nReachX;
        const int nRight = width - x < p->nReachX ? width - x : p->nReachX;
        p->perRow[i] = nLeft + nRight;
    }
    return 1;
}

static HGLOBAL Average(FilterCall *pCall, const Picture *pPicture)
{
    const int nReach = *(const int *)pCall->pArguments / 2;
    HGLOBAL hResult = NULL;
    BoxMean box;
    memset(&box, 0, sizeof box);
    OpenSamples(pPicture, SAMPLE_LEVELS, &box.rows);
    RowEffect effect = {EmptyRow, NULL, &box, RowSteps(&box.rows)};
    if (nReach > 0) {  // a box of 1 is empty: black
        effect.MakeRow = BoxMeanRow;
        effect.Forget = ForgetSums;
    }
    if (nReach <= 0 || PrepareBox(&box, nReach)) {
        hResult = MakeRows(&box.rows, &effect, pCall->bProgress);
    }
    WorkFree(box.state);
    WorkFree(box.inverses);
    WorkFree(box.perRow);
    WorkFree(box.scratch);
    WorkFree(box.black);
    WorkFree(box.columns);
    return hResult;
}

static constexpr FilterFrame AverageFrame(void)
{
    FilterFrame frame =
        EffectFrame("FILTERGROUPUI", 1, 1, NUMBER_AVERAGE, IsPositive, Average, StepsOverHeight);
    frame.nAccepted = ACCEPT_1_8_24;
    return frame;
}

HGLOBAL VEXAFILTER_API FilterAverage(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = AverageFrame();
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}
