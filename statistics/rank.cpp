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

#include "VexaFilter.h"
#include "frame/call.h"
#include "masks.h"
#include "rank_kernels.h"

enum { MOST_SIZE = 46340 };  // beyond, no picture holds the window

// ---- squares ------------------------------------------------------------------------------------

// bPicks: the result is one of the window's samples.
static int DescribeRank(const RowKernel *pRows, int bPicks, DWORD nTrim, const FilterCall *pCall,
                        NeighbourhoodFilter *pFilter)
{
    SquareRule *pRule = (SquareRule *)pCall->pPlan;
    const int nSize = *(const int *)pCall->pArguments;
    // A window larger than any picture computes nothing, whatever its rule.
    *pRule = {nSize <= MOST_SIZE ? (DWORD)nSize : 0, nTrim};
    DescribeSquare(nSize, pFilter);
    pFilter->bKeepsLevels = bPicks;
    pFilter->pRowKernel = pRows;
    pFilter->pParameters = pRule;
    return 1;
}

static int DescribeMinimum(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return DescribeRank(&g_pExtremeKernels->rows[EXTREME_MINIMUM], 1, 0, pCall, pFilter);
}

static int DescribeMaximum(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return DescribeRank(&g_pExtremeKernels->rows[EXTREME_MAXIMUM], 1, 0, pCall, pFilter);
}

static int DescribeMidpoint(const Picture *pPicture, const FilterCall *pCall,
                            NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return DescribeRank(&g_pExtremeKernels->rows[EXTREME_MIDPOINT], 0, 0, pCall, pFilter);
}

static int DescribeRange(const Picture *pPicture, const FilterCall *pCall,
                         NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return DescribeRank(&g_pExtremeKernels->rows[EXTREME_RANGE], 0, 0, pCall, pFilter);
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

static int DescribeMedian(const Picture *pPicture, const FilterCall *pCall,
                          NeighbourhoodFilter *pFilter)
{
    const HistogramKernels *pHistograms = g_pHistogramKernels;
    const int nSize = *(const int *)pCall->pArguments;
    const RowKernel *pRows = ChooseRows(g_pNetworkKernels->median, &pHistograms->median,
                                        &pHistograms->wideMedian, nSize);
    (void)pPicture;
    if (nSize == 1) {
        // A single sample is its own median, and minimum.
        pRows = &g_pExtremeKernels->rows[EXTREME_MINIMUM];
    }
    return DescribeRank(pRows, 1, 0, pCall, pFilter);
}

struct TrimArguments {
    int nSize, nTrim;
};

static int DescribeTrimmedMean(const Picture *pPicture, const FilterCall *pCall,
                               NeighbourhoodFilter *pFilter)
{
    const TrimArguments *p = (const TrimArguments *)pCall->pArguments;
    const HistogramKernels *pHistograms = g_pHistogramKernels;
    const RowKernel *pRows = ChooseRows(g_pNetworkKernels->trimmedMean, &pHistograms->trimmedMean,
                                        &pHistograms->wideTrimmedMean, p->nSize);
    (void)pPicture;
    return DescribeRank(pRows, 0, (DWORD)p->nTrim, pCall, pFilter);
}

// Something must be left between the trimmed ends.
static int IsSizeAndTrim(const void *pArguments)
{
    const TrimArguments *p = (const TrimArguments *)pArguments;
    return p->nSize >= 1 && p->nTrim >= 0 && p->nTrim < (int64_t)p->nSize * p->nSize / 2;
}

// ---- masks --------------------------------------------------------------------------------------

struct WeightedMedianPlan {
    WeightMask mask;  // first: ReleaseMask frees it
    WeightedRule rule;
};

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

static int DescribeWeightedMedian(const Picture *pPicture, const FilterCall *pCall,
                                  NeighbourhoodFilter *pFilter)
{
    WeightedMedianPlan *pPlan = (WeightedMedianPlan *)pCall->pPlan;
    const SelectionKernels *pKernels = g_pSelectionKernels;
    const WeightedRule *pRule = &pPlan->rule;
    (void)pPicture;
    if (!ReadWeightMask(MaskInUse(pCall->pArguments), &pPlan->mask)) {
        return 0;
    }
    MakeWeightedRule(&pPlan->mask, &pPlan->rule);
    DescribeMask(&pPlan->mask, pFilter);
    pFilter->Kernel = pRule->nTotal <= 0xff     ? pKernels->bytes
                      : pRule->nTotal <= 0xffff ? pKernels->words
                                                : pKernels->dwords;
    pFilter->pParameters = pRule;
    pFilter->bKeepsLevels = 1;
    return 1;
}

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API FilterMinimum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "MinimumFilterUI", 1, 1, DescribeMinimum, sizeof(SquareRule), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMaximum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "MaximumFilterUI", 1, 1, DescribeMaximum, sizeof(SquareRule), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMedian(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "MedianFilterUI", 1, 1, DescribeMedian, sizeof(SquareRule), IsSizeArgument, IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterMidpoint(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "MidpointFilterUI", 1, 1, DescribeMidpoint, sizeof(SquareRule), IsSizeArgument,
        IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterRange(HGLOBAL hDib, int nSize, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "RangeFilterUI", 1, 1, DescribeRange, sizeof(SquareRule), IsSizeArgument, IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterAlphaTrimmedMean(HGLOBAL hDib, int nSize, int nTrim, UINT mode,
                                              HWND hParent)
{
    static const FilterFrame FRAME = {
        "AlphaFilterUI", 2, 1, DescribeTrimmedMean, sizeof(SquareRule), IsSizeAndTrim,
        IsSizeAndTrim};
    return RunFilter(&FRAME, hDib, {nSize, nTrim}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterWeightedMedian(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                            HWND hParent)
{
    static const BYTE VERTICAL_BAR[] = {1, 1, 1, 3, 3, 3, 1, 1, 1};
    static constexpr FilterFrame FRAME =
        MaskFrame("WMedianFilterUI", DescribeWeightedMedian, sizeof(WeightedMedianPlan));
    return RunMaskFilter(&FRAME, hDib, pMask, VERTICAL_BAR, mode, hParent);
}
