// The adaptive filters: noise reduction that follows the local statistics.
//
// FilterAdaptiveDWMTM, the double-window modified trimmed mean: the median of a small window says
// which pixels of a large window are averaged, those that differ from it by no more than a given
// amount. FilterAdaptiveMMSE, minimum mean square error: a pixel is pulled towards the mean of its
// window by the ratio of the noise variance to the window's own.
//
// Border: pixels whose window (the large one) leaves the picture are copied. The trimmed mean is
// rounded down; the other filter adds 0.5 first. Levels are clamped.
//
// Kept: the ratio is not limited to 1. Where the noise variance exceeds the window's, the pixel
// overshoots its mean, and only the clamp bounds it. Kept: a negative trim level leaves nothing to
// average and gives 0; a negative noise variance sharpens.

#include "VexaFilter.h"
#include "adaptive_kernels.h"
#include "frame/call.h"
#include "masks.h"
#include "rank_kernels.h"

#include <string.h>

// A negative trim level.
static void NothingNear(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                        const void *pParameters)
{
    (void)lines;
    (void)step;
    (void)pParameters;
    memset(out, 0, count);
}

struct TrimmedArguments {
    int nSmallSize, nLargeSize, nTrimLevel;
};

static int DescribeDWMTM(const Picture *pPicture, const FilterCall *pCall,
                         NeighbourhoodFilter *pFilter)
{
    const TrimmedArguments *p = (const TrimmedArguments *)pCall->pArguments;
    TrimRule *pRule = (TrimRule *)pCall->pPlan;
    (void)pPicture;
    *pRule = {p->nSmallSize, p->nLargeSize, p->nLargeSize / 2 - p->nSmallSize / 2,
              p->nTrimLevel < 255 ? p->nTrimLevel : 255};
    DescribeSquare(p->nLargeSize, pFilter);
    pFilter->pParameters = pRule;
    pFilter->Kernel = p->nTrimLevel < 0 ? NothingNear : g_pAdaptiveKernels->NarrowTrim;
    if (p->nTrimLevel >= 0 && p->nLargeSize > MOST_NARROW_SIDE) {
        pFilter->pRowKernel = p->nLargeSize <= MOST_BYTE_SIDE
                                  ? &g_pHistogramKernels->doubleWindow
                                  : &g_pHistogramKernels->wideDoubleWindow;
    }
    return 1;
}

static int AreSizes(const void *pArguments)
{
    const TrimmedArguments *p = (const TrimmedArguments *)pArguments;
    return p->nSmallSize >= 1 && p->nSmallSize <= p->nLargeSize;
}

struct NoiseArguments {
    int nSize, nNoiseVariance;
};

static int DescribeMMSE(const Picture *pPicture, const FilterCall *pCall,
                        NeighbourhoodFilter *pFilter)
{
    const double dMostSamples = 1 << 22;  // in a row; beyond, the sums would be too large
    const NoiseArguments *p = (const NoiseArguments *)pCall->pArguments;
    const double dWidth = pPicture->view.shape.width;
    MmseRule *pRule = (MmseRule *)pCall->pPlan;
    *pRule = {p->nSize, (double)p->nNoiseVariance};
    DescribeSquare(p->nSize, pFilter);
    pFilter->pParameters = pRule;
    pFilter->Kernel = g_pAdaptiveKernels->Mmse;
    pFilter->pRowKernel = 3.0 * dWidth <= dMostSamples ? g_pAdaptiveKernels->pMmseRows : NULL;
    return 1;
}

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API FilterAdaptiveDWMTM(HGLOBAL hDib, int nSmallSize, int nLargeSize,
                                           int nTrimLevel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"ADWMTMUI",       3,        3,       DescribeDWMTM,
                                      sizeof(TrimRule), AreSizes, AreSizes};
    return RunFilter(&FRAME, hDib, {nSmallSize, nLargeSize, nTrimLevel}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterAdaptiveMMSE(HGLOBAL hDib, int nSize, int nNoiseVariance, UINT mode,
                                          HWND hParent)
{
    static const FilterFrame FRAME = {
        "AMMSEUI", 2, 2, DescribeMMSE, sizeof(MmseRule), IsSizeArgument, IsSizeArgument};
    return RunFilter(&FRAME, hDib, {nSize, nNoiseVariance}, mode, hParent);
}
