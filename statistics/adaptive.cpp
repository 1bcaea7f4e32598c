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

#include "adaptive.h"

#include "VexaFilter.h"
#include "adaptive_kernels.h"
#include "frame/call.h"
#include "frame/neighbourhood.h"
#include "frame/workers.h"
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

static HGLOBAL RunDWMTM(NeighbourhoodRun Run, HGLOBAL hDib, int width, int height, int nSmallSize,
                        int nLargeSize, int nTrimLevel, int bProgress)
{
    const TrimRule rule = {nSmallSize, nLargeSize, nLargeSize / 2 - nSmallSize / 2,
                           nTrimLevel < 255 ? nTrimLevel : 255};
    NeighbourhoodFilter filter = SquareFilter(nLargeSize);
    filter.pParameters = &rule;
    filter.Kernel = nTrimLevel < 0 ? NothingNear : g_pAdaptiveKernels->NarrowTrim;
    if (nTrimLevel >= 0 && nLargeSize > MOST_NARROW_SIDE) {
        filter.pRowKernel = nLargeSize <= MOST_BYTE_SIDE ? &g_pHistogramKernels->doubleWindow
                                                         : &g_pHistogramKernels->wideDoubleWindow;
    }
    return Run(&filter, hDib, width, height, bProgress);
}

static HGLOBAL RunMMSE(NeighbourhoodRun Run, HGLOBAL hDib, int width, int height, int nSize,
                       int nNoiseVariance, int bProgress)
{
    const double dMostSamples = 1 << 22;  // in a row; beyond, the sums would be too large
    const MmseRule rule = {nSize, (double)nNoiseVariance};
    NeighbourhoodFilter filter = SquareFilter(nSize);
    filter.pParameters = &rule;
    filter.Kernel = g_pAdaptiveKernels->Mmse;
    filter.pRowKernel = 3.0 * width <= dMostSamples ? g_pAdaptiveKernels->pMmseRows : NULL;
    return Run(&filter, hDib, width, height, bProgress);
}

// ---- workers ------------------------------------------------------------------------------------

HGLOBAL AdaptiveDWMTMFilter8(HGLOBAL hDib, int width, int height, int nSmallSize, int nLargeSize,
                             int nTrimLevel, int bProgress)
{
    return RunDWMTM(FilterGrayNeighbourhood, hDib, width, height, nSmallSize, nLargeSize,
                    nTrimLevel, bProgress);
}

HGLOBAL AdaptiveDWMTMFilter24(HGLOBAL hDib, int width, int height, int nSmallSize, int nLargeSize,
                              int nTrimLevel, int bProgress)
{
    return RunDWMTM(FilterColorNeighbourhood, hDib, width, height, nSmallSize, nLargeSize,
                    nTrimLevel, bProgress);
}

HGLOBAL AdaptiveMMSEFilter8(HGLOBAL hDib, int width, int height, int nSize, int nNoiseVariance,
                            int bProgress)
{
    return RunMMSE(FilterGrayNeighbourhood, hDib, width, height, nSize, nNoiseVariance, bProgress);
}

HGLOBAL AdaptiveMMSEFilter24(HGLOBAL hDib, int width, int height, int nSize, int nNoiseVariance,
                             int bProgress)
{
    return RunMMSE(FilterColorNeighbourhood, hDib, width, height, nSize, nNoiseVariance, bProgress);
}

// ---- exports ------------------------------------------------------------------------------------

static int AreSizes(const void *pArguments)
{
    const IntTripleArguments *p = (const IntTripleArguments *)pArguments;
    return p->nFirst >= 1 && p->nFirst <= p->nSecond;
}

HGLOBAL VEXAFILTER_API FilterAdaptiveDWMTM(HGLOBAL hDib, int nSmallSize, int nLargeSize,
                                           int nTrimLevel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"ADWMTMUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      AreSizes,
                                      CallSidesIntTripleWorker,
                                      (AnyWorker)AdaptiveDWMTMFilter8,
                                      (AnyWorker)AdaptiveDWMTMFilter24,
                                      1};
    return RunIntTripleFilter(&FRAME, hDib, nSmallSize, nLargeSize, nTrimLevel, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterAdaptiveMMSE(HGLOBAL hDib, int nSize, int nNoiseVariance, UINT mode,
                                          HWND hParent)
{
    static const FilterFrame FRAME = {"AMMSEUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      IsSizeArgument,
                                      CallSidesIntPairWorker,
                                      (AnyWorker)AdaptiveMMSEFilter8,
                                      (AnyWorker)AdaptiveMMSEFilter24,
                                      1};
    return RunIntPairFilter(&FRAME, hDib, nSize, nNoiseVariance, 2, mode, hParent);
}
