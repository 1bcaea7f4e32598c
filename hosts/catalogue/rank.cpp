// Rank filters.
#include "catalogue.h"

#include <iterator>

#include <stdio.h>

static const unsigned DEPTHS = DEPTH_1 | DEPTH_8 | DEPTH_24;
static const double LARGEST_SIZE = 2147483647;
static const char SIZE_ARGUMENTS[] = "HGLOBAL hDib, int nSize, UINT mode, HWND hParent";
static const char TRIM_ARGUMENTS[] = "HGLOBAL hDib, int nSize, int nTrim, UINT mode, HWND hParent";
static const char MASK_ARGUMENTS[] =
    "HGLOBAL hDib, const FilterMask *pMask, UINT mode, HWND hParent";
static const char WINDOW_DETAILS[] =
    "Pixels so near the border that their window leaves the picture stay as they are.";
static const char SIZE_MEANING[] =
    "The side of the square window, in pixels; one of an even size reaches one pixel further up "
    "and left.";
static const char MASK_MEANING[] =
    "How often each pixel counts, row by row. @ROW,COLUMN behind the rows says which of them lies "
    "over the pixel computed, counted from 0; without it, the middle one does.";

static const FilterParameter SIZE_PARAMETERS[] = {
    {"size", PARAMETER_INTEGER, 1, LARGEST_SIZE, 3, SIZE_MEANING, nullptr, 0},
};

static const FilterParameter TRIM_PARAMETERS[] = {
    {"size", PARAMETER_INTEGER, 2, LARGEST_SIZE, 3, SIZE_MEANING, nullptr, 0},
    {"trim", PARAMETER_INTEGER, 0, LARGEST_SIZE, 1,
     "How many of the window's samples are left out at either end; less than half of them.",
     nullptr, 0},
};

static const FilterParameter MEDIAN_MASK_PARAMETERS[] = {
    {"mask", PARAMETER_MASK, 0, 255, 0, MASK_MEANING, nullptr, 0, "1,3,1;1,3,1;1,3,1"},
};

static bool AcceptsTrim(const ParameterValue *p, char *why, size_t size)
{
    const long long samples = (long long)p[0].nValue * p[0].nValue;
    if (p[1].nValue >= samples / 2) {
        snprintf(why, size,
                 "--trim %d takes all of the %lld samples of --size %d: %lld at the most",
                 p[1].nValue, samples, p[0].nValue, samples / 2 - 1);
        return false;
    }
    return true;
}

static HGLOBAL CallMinimum(const CatalogueCall *call)
{
    return FilterMinimum(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMaximum(const CatalogueCall *call)
{
    return FilterMaximum(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMedian(const CatalogueCall *call)
{
    return FilterMedian(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMidpoint(const CatalogueCall *call)
{
    return FilterMidpoint(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallRange(const CatalogueCall *call)
{
    return FilterRange(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallTrimmedMean(const CatalogueCall *call)
{
    return FilterAlphaTrimmedMean(call->pImages[0], call->pValues[0].nValue,
                                  call->pValues[1].nValue, call->mode, call->hParent);
}

static HGLOBAL CallWeightedMedian(const CatalogueCall *call)
{
    std::vector<BYTE *> columns;
    const FilterMask mask = MakeFilterMask(&call->pValues[0].mask, true, &columns);
    return FilterWeightedMedian(call->pImages[0], &mask, call->mode, call->hParent);
}

static const CatalogueFilter FILTERS[] = {
    {"minimum", "FilterMinimum", SIZE_ARGUMENTS, "MinimumFilterUI",
     "takes the darkest pixel of a window: dark spots grow", WINDOW_DETAILS, 1, DEPTHS,
     SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallMinimum},
    {"maximum", "FilterMaximum", SIZE_ARGUMENTS, "MaximumFilterUI",
     "takes the brightest pixel of a window: bright spots grow", WINDOW_DETAILS, 1, DEPTHS,
     SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallMaximum},
    {"median",
     "FilterMedian",
     SIZE_ARGUMENTS,
     "MedianFilterUI",
     "takes the middle one of a window's sorted pixels: specks go, edges stay",
     "The window's top left pixel is left out of the sort. Pixels so near the border that their "
     "window leaves the picture stay as they are.",
     1,
     DEPTHS,
     SIZE_PARAMETERS,
     std::size(SIZE_PARAMETERS),
     CallMedian,
     nullptr,
     {},
     false,
     "denoise despeckle"},
    {"midpoint", "FilterMidpoint", SIZE_ARGUMENTS, "MidpointFilterUI",
     "takes the mean of a window's darkest and brightest pixel", WINDOW_DETAILS, 1, DEPTHS,
     SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallMidpoint},
    {"range", "FilterRange", SIZE_ARGUMENTS, "RangeFilterUI",
     "shows edges: a window's brightest pixel less its darkest", WINDOW_DETAILS, 1, DEPTHS,
     SIZE_PARAMETERS, std::size(SIZE_PARAMETERS), CallRange},
    {"trimmed-mean", "FilterAlphaTrimmedMean", TRIM_ARGUMENTS, "AlphaFilterUI",
     "averages a window without its darkest and brightest pixels", WINDOW_DETAILS, 1, DEPTHS,
     TRIM_PARAMETERS, std::size(TRIM_PARAMETERS), CallTrimmedMean, AcceptsTrim},
    {"weighted-median", "FilterWeightedMedian", MASK_ARGUMENTS, "WMedianFilterUI",
     "takes the median where some pixels count more than once",
     "The first pixel that counts, column by column, is left out once. A pixel is computed when "
     "the mask, with one more row below and column to the right, lies inside the picture; others "
     "stay as they are.",
     1, DEPTHS, MEDIAN_MASK_PARAMETERS, std::size(MEDIAN_MASK_PARAMETERS), CallWeightedMedian},
};

const CatalogueFamily RANK_FAMILY = {"rank", "Rank filters", FILTERS, std::size(FILTERS)};
