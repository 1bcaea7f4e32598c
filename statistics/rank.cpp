// The rank filters: every pixel whose window lies inside the picture becomes an order statistic of
// the window - minimum, maximum, median, midpoint, range, trimmed mean, or the median under the
// weights of a mask; all others are copied.
//
// Rows go to kernels: running extremes, sorting networks for small windows, sliding histograms for
// large ones, a search bit by bit under weights. Midpoint, range and trimmed mean may need a level
// that the palette lacks; the others pick one of the window's own.
//
// Windows: n x n, an even one reaching one further up and left, or a mask (masks.h). Halves of odd
// sums are dropped, the trimmed mean is rounded.
//
// Kept: the median leaves the window's first sample out of its sort, top left in a square and the
// first position with a weight, column by column, in a mask. So the median of 3 x 3 pixels is the
// fourth smallest of the other eight, whatever the first is.
//
// Refused: a negative number of trimmed samples, masks whose weights are all 0.

#include "rank.h"

#include "frame/call.h"
#include "frame/neighbourhood.h"
#include "frame/workers.h"
#include "masks.h"
#include "rank_kernels.h"

enum { MOST_SIZE = 46340 };  // beyond, no picture holds the window

// ---- rules --------------------------------------------------------------------------------------

// A window larger than any picture computes nothing, whatever its rule.
static DWORD WindowSize(int nSize)
{
    return nSize <= MOST_SIZE ? (DWORD)nSize : 0;
}

// bPicks: the result is one of the window's samples.
static HGLOBAL RunSquare(NeighbourhoodRun run, const SquareRule *pRule, int bPicks,
                         const RowKernel *pRows, HGLOBAL hDib, int width, int height, int nSize,
                         int bProgress)
{
    NeighbourhoodFilter filter = SquareFilter(nSize);
    filter.bKeepsLevels = bPicks;
    filter.pRowKernel = pRows;
    filter.pParameters = pRule;
    return run(&filter, hDib, width, height, bProgress);
}

static HGLOBAL RunExtreme(NeighbourhoodRun run, int extreme, HGLOBAL hDib, int width, int height,
                          int nSize, int bProgress)
{
    const SquareRule rule = {WindowSize(nSize), 0};
    return RunSquare(run, &rule, extreme == EXTREME_MINIMUM || extreme == EXTREME_MAXIMUM,
                     &g_pExtremeKernels->rows[extreme], hDib, width, height, nSize, bProgress);
}

// Networks for the sizes that have one, else histograms.
static const RowKernel *ChooseRows(const RowKernel *pNetworks, const RowKernel *pNarrow,
                                   const RowKernel *pWide, int nSize)
{
    if (nSize % 2 == 1 && nSize / 2 < NETWORK_SIZES && pNetworks[nSize / 2].Run != NULL) {
        return &pNetworks[nSize / 2];
    }
    return nSize <= MOST_BYTE_SIDE ? pNarrow : pWide;
}

static HGLOBAL RunMedian(NeighbourhoodRun run, HGLOBAL hDib, int width, int height, int nSize,
                         int bProgress)
{
    const SquareRule rule = {WindowSize(nSize), 0};
    const HistogramKernels *pHistograms = g_pHistogramKernels;
    const RowKernel *pRows = ChooseRows(g_pNetworkKernels->median, &pHistograms->median,
                                        &pHistograms->wideMedian, nSize);
    if (nSize == 1) {
        // A single sample is its own median, and minimum.
        pRows = &g_pExtremeKernels->rows[EXTREME_MINIMUM];
    }
    return RunSquare(run, &rule, 1, pRows, hDib, width, height, nSize, bProgress);
}

static HGLOBAL RunTrimmedMean(NeighbourhoodRun run, HGLOBAL hDib, int width, int height, int nSize,
                              int nTrim, int bProgress)
{
    const SquareRule rule = {WindowSize(nSize), (DWORD)nTrim};
    const HistogramKernels *pHistograms = g_pHistogramKernels;
    const RowKernel *pRows = ChooseRows(g_pNetworkKernels->trimmedMean, &pHistograms->trimmedMean,
                                        &pHistograms->wideTrimmedMean, nSize);
    return RunSquare(run, &rule, 0, pRows, hDib, width, height, nSize, bProgress);
}

// A total weight of 1 has a single sample. Else the first one is left out: it counts once less.
static void MakeWeightedRule(const WeightMask *pMask, WeightedRule *pRule)
{
    pRule->nRows = pMask->nRows;
    pRule->nColumns = pMask->nColumns;
    pRule->pWeights = pMask->pWeights;
    pRule->nTotal = (DWORD)pMask->nTotal;
    pRule->nRank = 1;
    if (pMask->nTotal == 1) {
        return;
    }
    size_t column = 0;
    size_t row = 0;
    while (pMask->pWeights[row * (size_t)pMask->nColumns + column] == 0) {
        row++;
        if (row == (size_t)pMask->nRows) {
            row = 0;
            column++;
        }
    }
    pMask->pWeights[row * (size_t)pMask->nColumns + column]--;
    pRule->nRank = pRule->nTotal / 2;
    pRule->nTotal--;
}

static HGLOBAL RunWeightedMedian(NeighbourhoodRun run, HGLOBAL hDib, int width, int height,
                                 const FilterMask *pMask, int bProgress)
{
    WeightMask mask;
    WeightedRule rule;
    HGLOBAL hResult = NULL;
    if (ReadWeightMask(pMask, &mask)) {
        const SelectionKernels *pKernels = g_pSelectionKernels;
        NeighbourhoodFilter filter = MaskFilter(&mask);
        MakeWeightedRule(&mask, &rule);
        filter.Kernel = rule.nTotal <= 0xff     ? pKernels->bytes
                        : rule.nTotal <= 0xffff ? pKernels->words
                                                : pKernels->dwords;
        filter.pParameters = &rule;
        filter.bKeepsLevels = 1;
        hResult = run(&filter, hDib, width, height, bProgress);
    }
    FreeWeightMask(&mask);
    return hResult;
}

// ---- workers ------------------------------------------------------------------------------------

HGLOBAL MinimumFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterGrayNeighbourhood, EXTREME_MINIMUM, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL MinimumFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterColorNeighbourhood, EXTREME_MINIMUM, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL MaximumFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterGrayNeighbourhood, EXTREME_MAXIMUM, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL MaximumFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterColorNeighbourhood, EXTREME_MAXIMUM, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL MedianFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunMedian(FilterGrayNeighbourhood, hDib, width, height, nSize, bProgress);
}

HGLOBAL MedianFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunMedian(FilterColorNeighbourhood, hDib, width, height, nSize, bProgress);
}

HGLOBAL MidpointFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterGrayNeighbourhood, EXTREME_MIDPOINT, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL MidpointFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterColorNeighbourhood, EXTREME_MIDPOINT, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL RangeFilter8(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterGrayNeighbourhood, EXTREME_RANGE, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL RangeFilter24(HGLOBAL hDib, int width, int height, int nSize, int bProgress)
{
    return RunExtreme(FilterColorNeighbourhood, EXTREME_RANGE, hDib, width, height, nSize,
                      bProgress);
}

HGLOBAL AlphaTrimmedMeanFilter8(HGLOBAL hDib, int width, int height, int nSize, int nTrim,
                                int bProgress)
{
    return RunTrimmedMean(FilterGrayNeighbourhood, hDib, width, height, nSize, nTrim, bProgress);
}

HGLOBAL AlphaTrimmedMeanFilter24(HGLOBAL hDib, int width, int height, int nSize, int nTrim,
                                 int bProgress)
{
    return RunTrimmedMean(FilterColorNeighbourhood, hDib, width, height, nSize, nTrim, bProgress);
}

HGLOBAL WeightedMedianFilter8(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                              int bProgress)
{
    return RunWeightedMedian(FilterGrayNeighbourhood, hDib, width, height, pMask, bProgress);
}

HGLOBAL WeightedMedianFilter24(HGLOBAL hDib, int width, int height, const FilterMask *pMask,
                               int bProgress)
{
    return RunWeightedMedian(FilterColorNeighbourhood, hDib, width, height, pMask, bProgress);
}

// ---- exports ------------------------------------------------------------------------------------

// Something must be left between the trimmed ends.
static int IsSizeAndTrim(const void *pArguments)
{
    const IntPairArguments *p = (const IntPairArguments *)pArguments;
    return p->nFirst >= 1 && p->nSecond >= 0 && p->nSecond < (int64_t)p->nFirst * p->nFirst / 2;
}

enum { FRAME_MINIMUM, FRAME_MAXIMUM, FRAME_MEDIAN, FRAME_MIDPOINT, FRAME_RANGE, SIZE_FRAMES };

// The filters whose only parameter is the size.
static const FilterFrame FRAMES[SIZE_FRAMES] = {
    {"MinimumFilterUI", ACCEPT_1_8_24, TwoPassesOverSides, IsSizeArgument, CallSidesIntWorker,
     (AnyWorker)MinimumFilter8, (AnyWorker)MinimumFilter24, 1},
    {"MaximumFilterUI", ACCEPT_1_8_24, TwoPassesOverSides, IsSizeArgument, CallSidesIntWorker,
     (AnyWorker)MaximumFilter8, (AnyWorker)MaximumFilter24, 1},
    {"MedianFilterUI", ACCEPT_1_8_24, TwoPassesOverSides, IsSizeArgument, CallSidesIntWorker,
     (AnyWorker)MedianFilter8, (AnyWorker)MedianFilter24, 1},
    {"MidpointFilterUI", ACCEPT_1_8_24, TwoPassesOverSides, IsSizeArgument, CallSidesIntWorker,
     (AnyWorker)MidpointFilter8, (AnyWorker)MidpointFilter24, 1},
    {"RangeFilterUI", ACCEPT_1_8_24, TwoPassesOverSides, IsSizeArgument, CallSidesIntWorker,
     (AnyWorker)RangeFilter8, (AnyWorker)RangeFilter24, 1},
};

HGLOBAL VEXAFILTER_API FilterMinimum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    return RunIntFilter(&FRAMES[FRAME_MINIMUM], hDib, nSize, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMaximum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    return RunIntFilter(&FRAMES[FRAME_MAXIMUM], hDib, nSize, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMedian(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    return RunIntFilter(&FRAMES[FRAME_MEDIAN], hDib, nSize, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMidpoint(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    return RunIntFilter(&FRAMES[FRAME_MIDPOINT], hDib, nSize, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterRange(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    return RunIntFilter(&FRAMES[FRAME_RANGE], hDib, nSize, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterAlphaTrimmedMean(HGLOBAL hDib, int nSize, int nTrim, UINT mode,
                                              HWND hParent)
{
    static const FilterFrame FRAME = {"AlphaFilterUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      IsSizeAndTrim,
                                      CallSidesIntPairWorker,
                                      (AnyWorker)AlphaTrimmedMeanFilter8,
                                      (AnyWorker)AlphaTrimmedMeanFilter24,
                                      1};
    return RunIntPairFilter(&FRAME, hDib, nSize, nTrim, 1, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterWeightedMedian(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                            HWND hParent)
{
    static const BYTE VERTICAL_BAR[] = {1, 1, 1, 3, 3, 3, 1, 1, 1};
    static const FilterFrame FRAME = {"WMedianFilterUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      IsMaskArgument,
                                      CallMaskWorker,
                                      (AnyWorker)WeightedMedianFilter8,
                                      (AnyWorker)WeightedMedianFilter24};
    return RunMaskFilter(&FRAME, hDib, pMask, VERTICAL_BAR, mode, hParent);
}
