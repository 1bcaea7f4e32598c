// Effects.
#include "catalogue.h"
#include "seed.h"

#include <iterator>

#include <string.h>

static const int LARGEST_NUMBER = 2147483647;

// ---- parameters ------------------------------------------------------------------------------

static const NamedValue ORIENTATIONS[] = {
    {"upright", 0, 1, "columns move"},
    {"level", 1, 1, "rows move"},
};

// -1: the clock's own.
#define SEED_PARAMETER                                                                             \
    {                                                                                              \
        "seed", PARAMETER_INTEGER, -1, LARGEST_NUMBER, -1,                                         \
            "The same number gives the same picture on every system. -1: the time in seconds.",    \
            nullptr, 0                                                                             \
    }
#define LENGTH_PARAMETER                                                                           \
    {                                                                                              \
        "length", PARAMETER_INTEGER, 0, LARGEST_NUMBER, 15, "How many samples are averaged.",      \
            nullptr, 0                                                                             \
    }

static const FilterParameter MOTION_PARAMETERS[] = {
    {"angle", PARAMETER_INTEGER, -LARGEST_NUMBER, LARGEST_NUMBER, 0,
     "Degrees, against the clock from the right.", nullptr, 0},
    LENGTH_PARAMETER,
};

static const FilterParameter ZOOM_PARAMETERS[] = {
    {"spread", PARAMETER_INTEGER, -LARGEST_NUMBER, LARGEST_NUMBER, 100,
     "Samples lie this part of the way to the centre apart: 100 is a hundredth.", nullptr, 0},
    LENGTH_PARAMETER,
};

static const FilterParameter MOSAIC_PARAMETERS[] = {
    {"size", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 8, "The side of the squares.", nullptr, 0},
};

static const FilterParameter MULTIPLY_PARAMETERS[] = {
    {"tenths", PARAMETER_INTEGER, 0, LARGEST_NUMBER, 15,
     "The factor in tenths: 10 changes nothing.", nullptr, 0},
};

static const FilterParameter NOISE_PARAMETERS[] = {
    {"amount", PARAMETER_INTEGER, 0, LARGEST_NUMBER, 40, "How many levels the noise spans.",
     nullptr, 0},
    SEED_PARAMETER,
};

static const FilterParameter AVERAGE_PARAMETERS[] = {
    {"size", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 4,
     "The side of the box; an odd one is the next lower even one, and 1 gives black.", nullptr, 0},
};

static const FilterParameter IMPRESSIONIST_PARAMETERS[] = {
    {"width", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 6, "Of the blocks.", nullptr, 0},
    {"height", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 6, "Of the blocks.", nullptr, 0},
    SEED_PARAMETER,
};

static const FilterParameter CYLINDER_PARAMETERS[] = {
    {"radius", PARAMETER_INTEGER, 0, LARGEST_NUMBER, 100, "Of the glass, in pixels.", nullptr, 0},
    {"orientation", PARAMETER_CHOICE, 0, 1, 0, "How the cylinder lies.", ORIENTATIONS,
     std::size(ORIENTATIONS)},
};

static const FilterParameter PUZZLE_PARAMETERS[] = {
    {"across", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 6, "How many tiles side by side.", nullptr, 0},
    {"down", PARAMETER_INTEGER, 1, LARGEST_NUMBER, 4, "How many tiles one below the other.",
     nullptr, 0},
    SEED_PARAMETER,
    {"as-stored", PARAMETER_FLAG, 0, 1, 0,
     "Whether an 8-bit picture gets the canvas's own colour table, in which number 0 is white and "
     "all others are black.",
     nullptr, 0},
};

// ---- calls -----------------------------------------------------------------------------------

static HGLOBAL CallMotionBlur(const CatalogueCall *call)
{
    return FilterMotionBlur(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                            call->mode, call->hParent);
}

static HGLOBAL CallZoomBlur(const CatalogueCall *call)
{
    return FilterCenterMotionBlur(call->pImages[0], call->pValues[0].nValue,
                                  call->pValues[1].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMosaic(const CatalogueCall *call)
{
    return FilterMozaic(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallMultiply(const CatalogueCall *call)
{
    return FilterMultiply(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallAverage(const CatalogueCall *call)
{
    return FilterAverage(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static void HoldSeed(const ParameterValue *seed)
{
    if (seed->nValue >= 0) {
        HoldSeedClock(unsigned(seed->nValue));
    }
}

static HGLOBAL CallNoise(const CatalogueCall *call)
{
    HoldSeed(&call->pValues[1]);
    const HGLOBAL hResult =
        FilterAddNoise(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
    ReleaseSeedClock();
    return hResult;
}

static HGLOBAL CallImpressionist(const CatalogueCall *call)
{
    HoldSeed(&call->pValues[2]);
    const HGLOBAL hResult = FilterImpressionist(call->pImages[0], call->pValues[0].nValue,
                                                call->pValues[1].nValue, call->mode, call->hParent);
    ReleaseSeedClock();
    return hResult;
}

static HGLOBAL CallPolar(const CatalogueCall *call)
{
    return FilterPolar(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallCylinder(const CatalogueCall *call)
{
    return FilterCylinder(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                          call->mode, call->hParent);
}

// An 8-bit result shows the numbers of the source's colours: its colours make a picture of them.
static void GiveColours(HGLOBAL hFrom, HGLOBAL hTo)
{
    const BYTE *from = static_cast<const BYTE *>(GlobalLock(hFrom));
    BYTE *to = static_cast<BYTE *>(GlobalLock(hTo));
    BITMAPINFOHEADER header, result;
    memcpy(&header, from, sizeof header);
    memcpy(&result, to, sizeof result);
    if (header.biBitCount == 8 && result.biBitCount == 8) {
        const size_t count =
            header.biClrUsed == 0 || header.biClrUsed > 256 ? 256 : header.biClrUsed;
        memcpy(to + sizeof header, from + sizeof header, count * 4);
    }
    GlobalUnlock(hFrom);
    GlobalUnlock(hTo);
}

static HGLOBAL CallPuzzle(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    HoldSeed(&p[2]);
    const HGLOBAL hResult =
        FilterPuzzle(call->pImages[0], p[0].nValue, p[1].nValue, call->mode, call->hParent);
    ReleaseSeedClock();
    if (hResult && !p[3].nValue) {
        GiveColours(call->pImages[0], hResult);
    }
    return hResult;
}

// ---- rows ------------------------------------------------------------------------------------

static const unsigned DEPTHS = DEPTH_8 | DEPTH_24;

static const CatalogueFilter FILTERS[] = {
    {"motion-blur", "FilterMotionBlur",
     "HGLOBAL hDib, int nAngle, int nLength, UINT mode, HWND hParent", "MOTIONBLURUI",
     "smears along a straight line, as if the camera had moved",
     "What lies outside the picture counts as black: the border comes out darker.", 1, DEPTHS,
     MOTION_PARAMETERS, std::size(MOTION_PARAMETERS), CallMotionBlur},
    {"zoom-blur", "FilterCenterMotionBlur",
     "HGLOBAL hDib, int nSpread, int nLength, UINT mode, HWND hParent", "MOTIONBLURUI",
     "smears along the lines from a centre, as if zooming",
     "The centre is half the width from the left and as much from the top. What lies outside the "
     "picture counts as black.",
     1, DEPTHS, ZOOM_PARAMETERS, std::size(ZOOM_PARAMETERS), CallZoomBlur},
    {"mosaic",
     "FilterMozaic",
     "HGLOBAL hDib, int nBlockSize, UINT mode, HWND hParent",
     "FILTERGROUPUI",
     "makes each square of the picture one colour, its mean",
     "Squares are counted from the upper left; those at the far sides are cut.",
     1,
     DEPTHS,
     MOSAIC_PARAMETERS,
     std::size(MOSAIC_PARAMETERS),
     CallMosaic,
     nullptr,
     {},
     false,
     "pixelate"},
    {"multiply", "FilterMultiply", "HGLOBAL hDib, int nPercentTenths, UINT mode, HWND hParent",
     "FILTERGROUPUI", "multiplies all levels by a number", "Past white is white.", 1, DEPTHS,
     MULTIPLY_PARAMETERS, std::size(MULTIPLY_PARAMETERS), CallMultiply},
    {"noise",
     "FilterAddNoise",
     "HGLOBAL hDib, int nAmount, UINT mode, HWND hParent",
     "FILTERGROUPUI",
     "adds random numbers to the levels",
     "All numbers are equally likely; each channel of a colour picture gets its own.",
     1,
     DEPTHS,
     NOISE_PARAMETERS,
     std::size(NOISE_PARAMETERS),
     CallNoise,
     nullptr,
     {},
     false,
     "grain"},
    {"average",
     "FilterAverage",
     "HGLOBAL hDib, int nSize, UINT mode, HWND hParent",
     "FILTERGROUPUI",
     "blurs with the mean of a box of any size",
     "The box reaches half its size to the left and up and one less to the right and down, as far "
     "as it lies inside the picture.",
     1,
     DEPTH_1 | DEPTHS,
     AVERAGE_PARAMETERS,
     std::size(AVERAGE_PARAMETERS),
     CallAverage,
     nullptr,
     {},
     false,
     "box-blur mean"},
    {"impressionist",
     "FilterImpressionist",
     "HGLOBAL hDib, int nBlockWidth, int nBlockHeight, UINT mode, HWND hParent",
     "FILTERGROUPUI",
     "shuffles the pixels within blocks",
     "The last column and the last row stay as they are.",
     1,
     DEPTHS,
     IMPRESSIONIST_PARAMETERS,
     std::size(IMPRESSIONIST_PARAMETERS),
     CallImpressionist,
     nullptr,
     {},
     false,
     nullptr,
     true},
    {"polar",
     "FilterPolar",
     "HGLOBAL hDib, UINT mode, HWND hParent",
     "POLARUI",
     "wraps the picture around its centre",
     "Columns become angles, against the clock from the right, and rows radii, the top row inmost. "
     "Outside the disc it is black.",
     1,
     DEPTHS,
     nullptr,
     0,
     CallPolar,
     nullptr,
     {},
     false,
     nullptr,
     true},
    {"cylinder",
     "FilterCylinder",
     "HGLOBAL hDib, int nRadius, int nOrientation, UINT mode, HWND hParent",
     "CYLINDERUI",
     "shows the picture through a glass cylinder across its middle",
     "In an 8-bit gray picture whose size across is odd the middle line becomes the first colour "
     "of the table, as a rule black.",
     1,
     DEPTHS,
     CYLINDER_PARAMETERS,
     std::size(CYLINDER_PARAMETERS),
     CallCylinder,
     nullptr,
     {},
     false,
     nullptr,
     true},
    {"puzzle",
     "FilterPuzzle",
     "HGLOBAL hDib, int nTilesAcross, int nTilesDown, UINT mode, HWND hParent",
     "FILTERGROUPUI",
     "cuts the picture into tiles and lays them out at random",
     "If the sides cannot be divided by the number of tiles, the result is larger than the picture "
     "and black where the tiles reach beyond it.",
     1,
     DEPTHS,
     PUZZLE_PARAMETERS,
     std::size(PUZZLE_PARAMETERS),
     CallPuzzle,
     nullptr,
     {},
     false,
     nullptr,
     true},
};

const CatalogueFamily EFFECTS_FAMILY = {"effects", "Effects", FILTERS, std::size(FILTERS)};
