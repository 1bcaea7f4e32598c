// The 3 x 3 convolution filters: Laplacian and gradient (edges), enhance (sharpening), uniform and
// Gauss (smoothing).
//
// A filter is a kernel in a border rule; the drivers of frame/neighbourhood do the rest, and gray
// and colour are the same kernel. Sums are clamped to 0..255 without taking their absolute value,
// so negative responses are black. The gradient's sums are doubles added in the order of the
// weights and truncated; all others are whole numbers.
//
// Border: the two edge detectors repeat the nearest computed pixel and keep the four corners; the
// others mirror the picture about its edge pixels. Pictures with sides that leave nothing to
// compute come back as a copy.
//
// The palette is visited column by column, which decides the result where it lacks levels.

#include "convolution.h"

#include "VexaFilter.h"
#include "convolution_kernels.h"
#include "frame/call.h"
#include "frame/intops.h"
#include "frame/dib.h"
#include "frame/neighbourhood.h"
#include "frame/workers.h"

static NeighbourhoodFilter Filter3x3(BorderRule border, LineKernel kernel)
{
    NeighbourhoodFilter filter = {};
    filter.nRows = filter.nColumns = 3;
    filter.nOriginRow = filter.nOriginColumn = 1;
    filter.nTop = filter.nBottom = filter.nLeft = filter.nRight = 1;
    filter.border = border;
    filter.order = VISIT_COLUMNS;
    filter.Kernel = kernel;
    return filter;
}

// ---- kernel selectors ---------------------------------------------------------------------------

static LineKernel LaplaceKernel(int nKernel)
{
    // Kept: 1 and 11, 2 and 12 select the same kernel.
    static const int SELECTORS[][2] = {{0, 0}, {10, 1}, {1, 2},  {11, 2},
                                       {2, 3}, {12, 3}, {13, 4}, {14, 5}};
    for (const int *selector : SELECTORS) {
        if (selector[0] == nKernel) {
            return g_pWeightedKernels->laplace[selector[1]];
        }
    }
    return NULL;
}

static LineKernel GradientKernel(int nKernel)
{
    const int family = nKernel / 10;
    const int direction = nKernel % 10;
    if (nKernel < 0 || family >= GRADIENT_FAMILIES || direction >= GRADIENT_DIRECTIONS) {
        return NULL;
    }
    return g_pWeightedKernels->gradient[family][direction];
}

static NeighbourhoodFilter EnhanceRule(void)
{
    const LineKernel *kernels = g_pWeightedKernels->enhance;
    NeighbourhoodFilter filter = Filter3x3(BORDER_MIRRORED, kernels[ENHANCE_INNER]);
    filter.EdgeRowKernel = kernels[ENHANCE_EDGE_ROW];
    filter.EdgeColumnKernel = kernels[ENHANCE_EDGE_COLUMN];
    return filter;
}

// ---- workers ------------------------------------------------------------------------------------

HGLOBAL LaplaceFilter8(HGLOBAL hDib, int nKernel, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_REPEATED, LaplaceKernel(nKernel));
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL LaplaceFilter24(HGLOBAL hDib, int nKernel, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_REPEATED, LaplaceKernel(nKernel));
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL GradientFilter8(HGLOBAL hDib, int nKernel, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_REPEATED, GradientKernel(nKernel));
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL GradientFilter24(HGLOBAL hDib, int nKernel, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_REPEATED, GradientKernel(nKernel));
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL EnhanceFilter8(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = EnhanceRule();
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL EnhanceFilter24(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = EnhanceRule();
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL UniformFilter8(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_MIRRORED, g_pMeanKernels->uniform);
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL UniformFilter24(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_MIRRORED, g_pMeanKernels->uniform);
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL GaussFilter8(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_MIRRORED, g_pMeanKernels->gauss);
    return FilterGrayNeighbourhood(&filter, hDib, width, height, bProgress);
}

HGLOBAL GaussFilter24(HGLOBAL hDib, int width, int height, int bProgress)
{
    const NeighbourhoodFilter filter = Filter3x3(BORDER_MIRRORED, g_pMeanKernels->gauss);
    return FilterColorNeighbourhood(&filter, hDib, width, height, bProgress);
}

// ---- exports ------------------------------------------------------------------------------------

static int IsLaplaceSelector(const void *pArguments)
{
    return LaplaceKernel(((const IntArguments *)pArguments)->nValue) != NULL;
}

static int IsGradientSelector(const void *pArguments)
{
    return GradientKernel(((const IntArguments *)pArguments)->nValue) != NULL;
}

// The gradient's total depends on whether the picture is worked on in gray or in colour.
static int GradientSteps(HGLOBAL hDib, int bitCount, int width, int height)
{
    const int bGray = bitCount == 1 || (bitCount == 8 && IsGrayPalette(hDib));
    const int64_t units =
        bGray ? (int64_t)width + 2 * (int64_t)height + 1 : 2 * ((int64_t)width + height) + 1;
    return RoundToSteps(units);
}

HGLOBAL VEXAFILTER_API FilterLaplace(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"LaplaceUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      IsLaplaceSelector,
                                      CallIntWorker,
                                      (AnyWorker)LaplaceFilter8,
                                      (AnyWorker)LaplaceFilter24};
    return RunIntFilter(&FRAME, hDib, nKernel, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterGradient(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"GradientUI",
                                      ACCEPT_1_8_24,
                                      GradientSteps,
                                      IsGradientSelector,
                                      CallIntWorker,
                                      (AnyWorker)GradientFilter8,
                                      (AnyWorker)GradientFilter24};
    return RunIntFilter(&FRAME, hDib, nKernel, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterEnhance(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"EnhanceUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      NULL,
                                      CallPlainWorker,
                                      (AnyWorker)EnhanceFilter8,
                                      (AnyWorker)EnhanceFilter24};
    return RunPlainFilter(&FRAME, hDib, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterUniform(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"UniformUI",
                                      ACCEPT_1_8_24,
                                      TwoPassesOverSides,
                                      NULL,
                                      CallPlainWorker,
                                      (AnyWorker)UniformFilter8,
                                      (AnyWorker)UniformFilter24};
    return RunPlainFilter(&FRAME, hDib, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterGauss(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "GaussUI",       ACCEPT_1_8_24,           TwoPassesOverSides,      NULL,
        CallPlainWorker, (AnyWorker)GaussFilter8, (AnyWorker)GaussFilter24};
    return RunPlainFilter(&FRAME, hDib, mode, hParent);
}
