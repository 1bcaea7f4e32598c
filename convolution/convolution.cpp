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

#include "VexaFilter.h"
#include "convolution_kernels.h"
#include "frame/call.h"
#include "frame/intops.h"

static int Describe3x3(BorderRule border, LineKernel kernel, NeighbourhoodFilter *pFilter)
{
    pFilter->nRows = pFilter->nColumns = 3;
    pFilter->nOriginRow = pFilter->nOriginColumn = 1;
    pFilter->nTop = pFilter->nBottom = pFilter->nLeft = pFilter->nRight = 1;
    pFilter->border = border;
    pFilter->order = VISIT_COLUMNS;
    pFilter->Kernel = kernel;
    return 1;
}

// ---- kernel selectors ---------------------------------------------------------------------------

// Null for a selector that there is not.
static LineKernel LaplaceKernel(const void *pArguments)
{
    // Kept: 1 and 11, 2 and 12 select the same kernel.
    static const int SELECTORS[][2] = {{0, 0}, {10, 1}, {1, 2},  {11, 2},
                                       {2, 3}, {12, 3}, {13, 4}, {14, 5}};
    for (const int *selector : SELECTORS) {
        if (selector[0] == *(const int *)pArguments) {
            return g_pWeightedKernels->laplace[selector[1]];
        }
    }
    return NULL;
}

static LineKernel GradientKernel(const void *pArguments)
{
    const int nKernel = *(const int *)pArguments;
    const int family = nKernel / 10;
    const int direction = nKernel % 10;
    if (nKernel < 0 || family >= GRADIENT_FAMILIES || direction >= GRADIENT_DIRECTIONS) {
        return NULL;
    }
    return g_pWeightedKernels->gradient[family][direction];
}

static int IsLaplaceSelector(const void *pArguments)
{
    return LaplaceKernel(pArguments) != NULL;
}

static int IsGradientSelector(const void *pArguments)
{
    return GradientKernel(pArguments) != NULL;
}

// ---- descriptions -------------------------------------------------------------------------------

static int DescribeLaplace(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return Describe3x3(BORDER_REPEATED, LaplaceKernel(pCall->pArguments), pFilter);
}

static int DescribeGradient(const Picture *pPicture, const FilterCall *pCall,
                            NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    return Describe3x3(BORDER_REPEATED, GradientKernel(pCall->pArguments), pFilter);
}

static int DescribeEnhance(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter)
{
    const LineKernel *kernels = g_pWeightedKernels->enhance;
    (void)pPicture;
    (void)pCall;
    pFilter->EdgeRowKernel = kernels[ENHANCE_EDGE_ROW];
    pFilter->EdgeColumnKernel = kernels[ENHANCE_EDGE_COLUMN];
    return Describe3x3(BORDER_MIRRORED, kernels[ENHANCE_INNER], pFilter);
}

static int DescribeUniform(const Picture *pPicture, const FilterCall *pCall,
                           NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    (void)pCall;
    return Describe3x3(BORDER_MIRRORED, g_pSmoothingKernels->uniform, pFilter);
}

static int DescribeGauss(const Picture *pPicture, const FilterCall *pCall,
                         NeighbourhoodFilter *pFilter)
{
    (void)pPicture;
    (void)pCall;
    return Describe3x3(BORDER_MIRRORED, g_pSmoothingKernels->gauss, pFilter);
}

// ---- exports ------------------------------------------------------------------------------------

// The gradient's total depends on whether the picture is worked on in gray or in colour.
static int GradientSteps(int width, int height, int bGray, const void *pArguments)
{
    (void)pArguments;
    const int64_t units =
        bGray ? (int64_t)width + 2 * (int64_t)height + 1 : 2 * ((int64_t)width + height) + 1;
    return RoundToSteps(units);
}

HGLOBAL VEXAFILTER_API FilterLaplace(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"LaplaceUI",      1, 1, DescribeLaplace, 0, NULL,
                                      IsLaplaceSelector};
    return RunFilter(&FRAME, hDib, {nKernel}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterGradient(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {
        "GradientUI", 1, 1, DescribeGradient, 0, NULL, IsGradientSelector, ACCEPT_1_8_24,
        GradientSteps};
    return RunFilter(&FRAME, hDib, {nKernel}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterEnhance(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"EnhanceUI", 0, 0, DescribeEnhance};
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterUniform(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"UniformUI", 0, 0, DescribeUniform};
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}

HGLOBAL VEXAFILTER_API FilterGauss(HGLOBAL hDib, UINT mode, HWND hParent)
{
    static const FilterFrame FRAME = {"GaussUI", 0, 0, DescribeGauss};
    return RunFilter(&FRAME, hDib, {}, mode, hParent);
}
