// Tonal adjustments.
#include "catalogue.h"

#include <iterator>

#include <stdio.h>

static const NamedValue CHANNELS[] = {
    {"all", 0, 1, "blue, green and red, each by its own levels"},
    {"blue", 1, 1, "only blue"},
    {"green", 2, 1, "only green"},
    {"red", 3, 1, "only red"},
};

static const NamedValue DIRECTIONS[] = {
    {"left", 0, 1, "the pixel to the left"},
    {"above", 1, 1, "the pixel above"},
    {"above-left", 2, 1, "the pixel above and to the left"},
    {"above-right", 3, 1, "the pixel above and to the right"},
};

static const FilterParameter PARABOLA_PARAMETERS[] = {
    {"invert", PARAMETER_FLAG, 0, 1, 0, "Mid-gray becomes white in place of black.", nullptr, 0},
};

static const FilterParameter SOLARIZING_PARAMETERS[] = {
    {"threshold", PARAMETER_INTEGER, 0, 255, 127, "What is brighter than this is inverted.",
     nullptr, 0},
};

static const FilterParameter POSTERIZING_PARAMETERS[] = {
    {"levels", PARAMETER_INTEGER, 2, 255, 4, "How many levels are left.", nullptr, 0},
};

static const FilterParameter LEVELS_PARAMETERS[] = {
    {"in-low", PARAMETER_INTEGER, 0, 255, 0, "What is not above this goes to out-low.", nullptr, 0},
    {"in-high", PARAMETER_INTEGER, 0, 255, 255,
     "What is not below this goes to out-high. Not below in-low.", nullptr, 0},
    {"in-mid", PARAMETER_INTEGER, -1, 255, -1,
     "Goes to the middle between out-low and out-high. From in-low to in-high; -1: half way "
     "between "
     "them.",
     nullptr, 0},
    {"out-low", PARAMETER_INTEGER, 0, 255, 0, "The darkest level of the result.", nullptr, 0},
    {"out-high", PARAMETER_INTEGER, 0, 255, 255,
     "The brightest level of the result. Not below out-low.", nullptr, 0},
    {"channel", PARAMETER_CHOICE, 0, 3, 0, "Which channels of a colour picture change.", CHANNELS,
     std::size(CHANNELS)},
};

static const FilterParameter AUTO_LEVELS_PARAMETERS[] = {
    {"clip", PARAMETER_INTEGER, 0, 99, 0,
     "How many in a hundred of the levels that occur become black or white, half of them each.",
     nullptr, 0},
};

static const FilterParameter DIFFERENCE_PARAMETERS[] = {
    {"direction", PARAMETER_CHOICE, 0, 3, 0, "Which neighbour a pixel is compared with.",
     DIRECTIONS, std::size(DIRECTIONS)},
};

static HGLOBAL CallAutoContrast(const CatalogueCall *call)
{
    return FilterAutoContrast(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallParabola(const CatalogueCall *call)
{
    return FilterParabolaTransformation(call->pImages[0], UINT(call->pValues[0].nValue), call->mode,
                                        call->hParent);
}

static HGLOBAL CallSolarizing(const CatalogueCall *call)
{
    return FilterSolarizing(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallPosterizing(const CatalogueCall *call)
{
    return FilterPosterizing(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static int MiddlePoint(const ParameterValue *p)
{
    return p[2].nValue >= 0 ? p[2].nValue : (p[0].nValue + p[1].nValue + 1) / 2;
}

static bool AcceptsLevels(const ParameterValue *p, char *why, size_t size)
{
    const int low = p[0].nValue, high = p[1].nValue, middle = MiddlePoint(p);
    if (low > high) {
        snprintf(why, size, "--in-low %d is above --in-high %d", low, high);
    } else if (middle < low || middle > high) {
        snprintf(why, size, "--in-mid %d does not lie from --in-low %d to --in-high %d", middle,
                 low, high);
    } else if (p[3].nValue > p[4].nValue) {
        snprintf(why, size, "--out-low %d is above --out-high %d", p[3].nValue, p[4].nValue);
    } else {
        return true;
    }
    return false;
}

static HGLOBAL CallLevels(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    return FilterLevels(call->pImages[0], p[0].nValue, p[1].nValue, MiddlePoint(p), p[3].nValue,
                        p[4].nValue, p[5].nValue, call->mode, call->hParent);
}

static HGLOBAL CallAutoLevels(const CatalogueCall *call)
{
    return FilterAutoLevels(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallDifference(const CatalogueCall *call)
{
    return FilterDifference(call->pImages[0], UINT(call->pValues[0].nValue), call->mode,
                            call->hParent);
}

static const unsigned DEPTHS = DEPTH_8 | DEPTH_24;

static const CatalogueFilter FILTERS[] = {
    {"auto-contrast", "FilterAutoContrast", "HGLOBAL hDib, UINT mode, HWND hParent",
     "AUTOCONTRASTUI", "stretches the levels to the whole range from black to white",
     "A colour picture is stretched channel by channel; a channel of a single level comes out "
     "black.",
     1, DEPTHS, nullptr, 0, CallAutoContrast},
    {"parabola", "FilterParabolaTransformation",
     "HGLOBAL hDib, UINT bInvert, UINT mode, HWND hParent", "PARABOLAUI",
     "makes mid-gray black and both ends bright", "Like solarizing, with a smooth curve.", 1,
     DEPTHS, PARABOLA_PARAMETERS, std::size(PARABOLA_PARAMETERS), CallParabola},
    {"solarize", "FilterSolarizing", "HGLOBAL hDib, int nThreshold, UINT mode, HWND hParent",
     "SOLARIZINGUI", "inverts what is brighter than a threshold",
     "The rest of a gray picture stays as it is; in a colour picture it becomes black, channel by "
     "channel.",
     1, DEPTHS, SOLARIZING_PARAMETERS, std::size(SOLARIZING_PARAMETERS), CallSolarizing},
    {"posterize", "FilterPosterizing", "HGLOBAL hDib, int nLevels, UINT mode, HWND hParent",
     "POSTERIZINGUI", "reduces the number of levels",
     "Each channel is rounded to the nearest multiple of 255 / (levels - 1), without its fraction.",
     1, DEPTHS, POSTERIZING_PARAMETERS, std::size(POSTERIZING_PARAMETERS), CallPosterizing},
    {"levels", "FilterLevels",
     "HGLOBAL hDib, int nInLow, int nInHigh, int nInMid, int nOutLow, int nOutHigh, int nChannel, "
     "UINT mode, HWND hParent",
     "LEVELSUI", "moves the black, middle and white point",
     "The levels that occur between the points are spread evenly, by their rank.", 1, DEPTHS,
     LEVELS_PARAMETERS, std::size(LEVELS_PARAMETERS), CallLevels, AcceptsLevels},
    {"auto-levels", "FilterAutoLevels", "HGLOBAL hDib, int nClipPercent, UINT mode, HWND hParent",
     "AUTOLEVELSUI", "chooses the black and white point from the picture",
     "The levels that occur between the points are spread evenly, by their rank; the brightest of "
     "them stays well below white.",
     1, DEPTHS, AUTO_LEVELS_PARAMETERS, std::size(AUTO_LEVELS_PARAMETERS), CallAutoLevels},
    {"difference", "FilterDifference", "HGLOBAL hDib, UINT nDirection, UINT mode, HWND hParent",
     "DIFFERENCEUI", "shows how much each pixel differs from a neighbour",
     "Edges across the direction come out bright on black. Pixels without that neighbour are "
     "black.",
     1, DEPTH_1 | DEPTHS, DIFFERENCE_PARAMETERS, std::size(DIFFERENCE_PARAMETERS), CallDifference},
};

const CatalogueFamily TONAL_FAMILY = {"tonal", "Tonal adjustments", FILTERS, std::size(FILTERS)};
