// Means of a window, and the filters that adapt to it.
#include "catalogue.h"

#include <iterator>
#include <limits.h>
#include <stdio.h>

static constexpr double LARGEST_SIZE = 2147483647;

static constexpr FilterParameter WINDOW_SIZE = {
    "size",
    PARAMETER_INTEGER,
    1,
    LARGEST_SIZE,
    3,
    "The side of the square window, in pixels; one of an even size reaches one pixel further up "
    "and left.",
    nullptr,
    0};

static const FilterParameter SIZE_PARAMETERS[] = {WINDOW_SIZE};

static const FilterParameter MASK_PARAMETERS[] = {
    {"mask", PARAMETER_MASK, 0, 255, 0,
     "What each pixel weighs, row by row. @ROW,COLUMN behind the rows says which of them lies over "
     "the pixel computed, counted from 0; without it, the middle one does.",
     nullptr, 0, "1,1,1;1,1,1;1,1,1"},
};

static const FilterParameter CONTRA_PARAMETERS[] = {
    WINDOW_SIZE,
    {"order", PARAMETER_INTEGER, INT_MIN, INT_MAX, 1,
     "The power that a pixel weighs with. Above 0 dark specks disappear, below 0 bright ones; 0 is "
     "the plain mean.",
     nullptr, 0},
};

static const FilterParameter YP_PARAMETERS[] = {
    WINDOW_SIZE,
    {"order", PARAMETER_INTEGER, INT_MIN, INT_MAX, 2,
     "The power whose mean is taken, and whose root; not 0. Above 0 dark specks disappear, below 0 "
     "bright ones; 1 is the plain mean.",
     nullptr, 0},
};

static const FilterParameter DWMTM_PARAMETERS[] = {
    {"small", PARAMETER_INTEGER, 1, LARGEST_SIZE, 3,
     "The width and height of the window whose median is taken; no more than large.", nullptr, 0},
    {"large", PARAMETER_INTEGER, 1, LARGEST_SIZE, 5,
     "The width and height of the window that is averaged.", nullptr, 0},
    {"level", PARAMETER_INTEGER, 0, 255, 30,
     "By how many levels a pixel may differ from the median and still count.", nullptr, 0},
};

static const FilterParameter MMSE_PARAMETERS[] = {
    WINDOW_SIZE,
    {"noise", PARAMETER_INTEGER, INT_MIN, INT_MAX, 1,
     "The variance of the noise: its standard deviation in levels, squared. Below 0 the picture is "
     "sharpened.",
     nullptr, 0},
};

static bool AcceptsOrder(const ParameterValue *p, char *why, size_t size)
{
    if (p[1].nValue == 0) {
        snprintf(why, size, "--order 0 has no root; 1 is the plain mean");
        return false;
    }
    return true;
}

static bool AcceptsWindows(const ParameterValue *p, char *why, size_t size)
{
    if (p[0].nValue > p[1].nValue) {
        snprintf(why, size, "--small %d is above --large %d", p[0].nValue, p[1].nValue);
        return false;
    }
    return true;
}

static HGLOBAL CallGeometric(const CatalogueCall *call)
{
    return FilterGeometricMean(call->pImages[0], call->pValues[0].nValue, call->mode,
                               call->hParent);
}

static HGLOBAL CallHarmonic(const CatalogueCall *call)
{
    return FilterHarmonicMean(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallContra(const CatalogueCall *call)
{
    return FilterContraHarmonicMean(call->pImages[0], call->pValues[0].nValue,
                                    call->pValues[1].nValue, call->mode, call->hParent);
}

static HGLOBAL CallYp(const CatalogueCall *call)
{
    return FilterYpMean(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                        call->mode, call->hParent);
}

static HGLOBAL CallWeighted(const CatalogueCall *call)
{
    std::vector<BYTE *> columns;
    const FilterMask mask = MakeFilterMask(&call->pValues[0].mask, true, &columns);
    return FilterWeightedMean(call->pImages[0], &mask, call->mode, call->hParent);
}

static HGLOBAL CallDwmtm(const CatalogueCall *call)
{
    return FilterAdaptiveDWMTM(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                               call->pValues[2].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMmse(const CatalogueCall *call)
{
    return FilterAdaptiveMMSE(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                              call->mode, call->hParent);
}

static const char SIZE_ARGUMENTS[] = "HGLOBAL hDib, int nSize, UINT mode, HWND hParent";
static const char ORDER_ARGUMENTS[] =
    "HGLOBAL hDib, int nSize, int nOrder, UINT mode, HWND hParent";
static const unsigned DEPTHS = DEPTH_1 | DEPTH_8 | DEPTH_24;
static const char BORDER[] = "Pixels whose window leaves the picture stay as they are.";

static const CatalogueFilter FILTERS[] = {
    {"geometric-mean", "FilterGeometricMean", SIZE_ARGUMENTS, "GeometricFilterUI",
     "blurs with the geometric mean of a window",
     "A window with a black pixel gives black; flat areas may come out one level darker. Pixels "
     "whose window leaves the picture stay as they are.",
     1, DEPTHS, SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallGeometric},
    {"harmonic-mean", "FilterHarmonicMean", SIZE_ARGUMENTS, "HarmonicFilterUI",
     "removes bright specks with the harmonic mean of a window",
     "A window with a black pixel gives black. Pixels whose window leaves the picture stay as they "
     "are.",
     1, DEPTHS, SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallHarmonic},
    {"contra-harmonic-mean", "FilterContraHarmonicMean", ORDER_ARGUMENTS, "ContraFilterUI",
     "removes dark specks (or bright ones) with a mean that leans to the other side",
     "With an order below 0 a window with a black pixel gives black. Pixels whose window leaves "
     "the picture stay as they are.",
     1, DEPTHS, CONTRA_PARAMETERS, std::size(CONTRA_PARAMETERS), CallContra},
    {"yp-mean", "FilterYpMean", ORDER_ARGUMENTS, "YpFilterUI",
     "removes dark specks (or bright ones) with a mean of powers",
     "With an order below 0 a window with a black pixel gives black. Pixels whose window leaves "
     "the picture stay as they are.",
     1, DEPTHS, YP_PARAMETERS, std::size(YP_PARAMETERS), CallYp, AcceptsOrder},
    {"weighted-mean", "FilterWeightedMean",
     "HGLOBAL hDib, const FilterMask *pMask, UINT mode, HWND hParent", "WMeanFilterUI",
     "blurs with a mean weighted by a mask",
     "Pixels whose window leaves the picture stay as they are, and so do the last row and column "
     "whose window would still fit.",
     1, DEPTHS, MASK_PARAMETERS, std::size(MASK_PARAMETERS), CallWeighted},
    {"dwmtm", "FilterAdaptiveDWMTM",
     "HGLOBAL hDib, int nSmallSize, int nLargeSize, int nTrimLevel, UINT mode, HWND hParent",
     "ADWMTMUI", "smooths noise but not edges: the mean of the pixels near a median", BORDER, 1,
     DEPTHS, DWMTM_PARAMETERS, std::size(DWMTM_PARAMETERS), CallDwmtm, AcceptsWindows},
    {"mmse", "FilterAdaptiveMMSE",
     "HGLOBAL hDib, int nSize, int nNoiseVariance, UINT mode, HWND hParent", "AMMSEUI",
     "smooths flat areas more than busy ones, for noise of a known variance",
     "Where a window varies less than the noise, its pixel overshoots the mean and grain grows: "
     "choose no more noise than flat areas have. Pixels whose window leaves the picture stay as "
     "they are.",
     1, DEPTHS, MMSE_PARAMETERS, std::size(MMSE_PARAMETERS), CallMmse},
};

const CatalogueFamily MEAN_FAMILY = {"mean", "Means and adaptive filters", FILTERS,
                                     std::size(FILTERS)};
