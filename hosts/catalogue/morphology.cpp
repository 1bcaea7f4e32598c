// Binary and gray-scale morphology.
#include "catalogue.h"

#include <iterator>

static const double LARGEST_NUMBER = 2147483647;
static const char ELEMENT_ARGUMENTS[] =
    "HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject, UINT mode, HWND hParent";
static const char SWEEP_ARGUMENTS[] = "HGLOBAL hDib, int bWhiteObject, UINT mode, HWND hParent";
static const char GRAY_ARGUMENTS[] =
    "HGLOBAL hDib, const FilterMask *pMask, UINT mode, HWND hParent";
static const char BORDER_DETAILS[] = "The picture's edge takes nothing from an object.";
static const char GRAY_DETAILS[] =
    "Takes pictures with a gray palette only. What lies outside the picture does not count.";
static const char ELEMENT_MEANING[] =
    "The structuring element, row by row: 1 for each position that counts, else 0; or a name. "
    "@ROW,COLUMN behind the rows says which position lies over the pixel computed, counted from "
    "0; without it, the middle one does.";
static const char HEIGHT_MEANING[] =
    "The structuring element, row by row: the height of each position, 0 for a flat one; or a "
    "name. @ROW,COLUMN behind the rows says which position lies over the pixel computed, counted "
    "from 0; without it, the middle one does.";

// ---- parameters ------------------------------------------------------------------------------

static const char SQUARE_3[] = "1,1,1;1,1,1;1,1,1";

static const NamedMask ELEMENTS[] = {
    {"square3", SQUARE_3},
    {"cross3", "0,1,0;1,1,1;0,1,0"},
    {"square5", "1,1,1,1,1;1,1,1,1,1;1,1,1,1,1;1,1,1,1,1;1,1,1,1,1"},
    {"disc5", "0,1,1,1,0;1,1,1,1,1;1,1,1,1,1;1,1,1,1,1;0,1,1,1,0"},
    {},
};

static const NamedMask FLAT_ELEMENTS[] = {
    {"square3", "0,0,0;0,0,0;0,0,0"},
    {"square5", "0,0,0,0,0;0,0,0,0,0;0,0,0,0,0;0,0,0,0,0;0,0,0,0,0"},
    {},
};

#define WHITE_PARAMETER                                                                            \
    {                                                                                              \
        "white", PARAMETER_FLAG, 0, 1, 0, "Whether white is the object, not black.", nullptr, 0    \
    }

static const FilterParameter ELEMENT_PARAMETERS[] = {
    {"element", PARAMETER_MASK, 0, 1, 0, ELEMENT_MEANING, nullptr, 0, SQUARE_3, ELEMENTS},
    WHITE_PARAMETER,
};

static const FilterParameter HIT_MISS_PARAMETERS[] = {
    {"hit", PARAMETER_MASK, 0, 1, 0,
     "Positions that must not lie on background, as for an element.", nullptr, 0,
     "0,0,0;0,1,1;0,0,0", ELEMENTS},
    {"miss", PARAMETER_MASK, 0, 1, 0,
     "Positions of which one or more must lie on background, as for an element.", nullptr, 0,
     "0,0,0;1,0,0;0,0,0", ELEMENTS},
    WHITE_PARAMETER,
};

static const FilterParameter OUTLINE_PARAMETERS[] = {
    {"element", PARAMETER_MASK, 0, 1, 0, ELEMENT_MEANING, nullptr, 0, SQUARE_3, ELEMENTS},
    {"outside", PARAMETER_FLAG, 0, 1, 0, "Whether the outline runs around the objects, not inside.",
     nullptr, 0},
    WHITE_PARAMETER,
};

static const FilterParameter SWEEP_PARAMETERS[] = {
    WHITE_PARAMETER,
};

static const FilterParameter SKELETON_PARAMETERS[] = {
    {"sweeps", PARAMETER_INTEGER, 0, LARGEST_NUMBER, 0,
     "How many sweeps are made at most; 0: until one changes nothing.", nullptr, 0},
    WHITE_PARAMETER,
};

static const FilterParameter HEIGHT_PARAMETERS[] = {
    {"element", PARAMETER_MASK, 0, 255, 0, HEIGHT_MEANING, nullptr, 0, FLAT_ELEMENTS[0].pMask,
     FLAT_ELEMENTS, true},
};

// ---- calls -----------------------------------------------------------------------------------

typedef HGLOBAL(VEXAFILTER_API *BinaryExport)(HGLOBAL, const FilterMask *, int, UINT, HWND);
typedef HGLOBAL(VEXAFILTER_API *GrayExport)(HGLOBAL, const FilterMask *, UINT, HWND);
typedef HGLOBAL(VEXAFILTER_API *SweepExport)(HGLOBAL, int, UINT, HWND);

template <BinaryExport EXPORT> static HGLOBAL CallBinary(const CatalogueCall *call)
{
    std::vector<BYTE *> columns;
    const FilterMask mask = MakeFilterMask(&call->pValues[0].mask, false, &columns);
    return EXPORT(call->pImages[0], &mask, call->pValues[1].nValue, call->mode, call->hParent);
}

template <GrayExport EXPORT> static HGLOBAL CallGray(const CatalogueCall *call)
{
    std::vector<BYTE *> columns;
    const FilterMask mask = MakeFilterMask(&call->pValues[0].mask, false, &columns);
    return EXPORT(call->pImages[0], &mask, call->mode, call->hParent);
}

template <SweepExport EXPORT> static HGLOBAL CallSweep(const CatalogueCall *call)
{
    return EXPORT(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallHitMiss(const CatalogueCall *call)
{
    std::vector<BYTE *> hitColumns, missColumns;
    const FilterMask hit = MakeFilterMask(&call->pValues[0].mask, false, &hitColumns);
    const FilterMask miss = MakeFilterMask(&call->pValues[1].mask, false, &missColumns);
    return BinaryHitMiss(call->pImages[0], &hit, &miss, call->pValues[2].nValue, call->mode,
                         call->hParent);
}

static HGLOBAL CallOutlining(const CatalogueCall *call)
{
    std::vector<BYTE *> columns;
    const FilterMask mask = MakeFilterMask(&call->pValues[0].mask, false, &columns);
    return BinaryOutlining(call->pImages[0], &mask, call->pValues[1].nValue,
                           call->pValues[2].nValue, call->mode, call->hParent);
}

static HGLOBAL CallSkeleton(const CatalogueCall *call)
{
    return BinarySkeleton(call->pImages[0], call->pValues[0].nValue, call->pValues[1].nValue,
                          call->mode, call->hParent);
}

// ---- the table -------------------------------------------------------------------------------

static const CatalogueFilter FILTERS[] = {
    {"dilate", "BinaryDilation", ELEMENT_ARGUMENTS, "BDilationUI",
     "spreads the objects of a black and white picture", "", 1, DEPTH_1, ELEMENT_PARAMETERS,
     std::size(ELEMENT_PARAMETERS), CallBinary<BinaryDilation>},
    {"erode", "BinaryErosion", ELEMENT_ARGUMENTS, "BErosionUI",
     "wears the objects of a black and white picture away", BORDER_DETAILS, 1, DEPTH_1,
     ELEMENT_PARAMETERS, std::size(ELEMENT_PARAMETERS), CallBinary<BinaryErosion>},
    {"open", "BinaryOpening", ELEMENT_ARGUMENTS, "BOpeningUI",
     "erodes, then dilates: specks and thin parts go", BORDER_DETAILS, 1, DEPTH_1,
     ELEMENT_PARAMETERS, std::size(ELEMENT_PARAMETERS), CallBinary<BinaryOpening>},
    {"close", "BinaryClosing", ELEMENT_ARGUMENTS, "BClosingUI",
     "dilates, then erodes: holes and gaps are filled", BORDER_DETAILS, 1, DEPTH_1,
     ELEMENT_PARAMETERS, std::size(ELEMENT_PARAMETERS), CallBinary<BinaryClosing>},
    {"hit-miss", "BinaryHitMiss",
     "HGLOBAL hDib, const FilterMask *pHitMask, const FilterMask *pMissMask, int bWhiteObject, "
     "UINT mode, HWND hParent",
     "BHitmissUI", "finds a pattern of object and background",
     "The default finds the left ends of horizontal runs.", 1, DEPTH_1, HIT_MISS_PARAMETERS,
     std::size(HIT_MISS_PARAMETERS), CallHitMiss},
    {"outline", "BinaryOutlining",
     "HGLOBAL hDib, const FilterMask *pMask, int nOutline, int bWhiteObject, UINT mode, HWND "
     "hParent",
     "OutliningUI", "draws the outlines of the objects", BORDER_DETAILS, 1, DEPTH_1,
     OUTLINE_PARAMETERS, std::size(OUTLINE_PARAMETERS), CallOutlining},
    {"thin", "BinaryThinning", SWEEP_ARGUMENTS, "ThinningUI",
     "takes the edges and corners of the objects away, once",
     "Lines two pixels wide may vanish. A second call takes more.", 1, DEPTH_1, SWEEP_PARAMETERS,
     std::size(SWEEP_PARAMETERS), CallSweep<BinaryThinning>},
    {"thicken", "BinaryThickening", SWEEP_ARGUMENTS, "ThickeningUI",
     "thins the background, once, so that the objects grow", "", 1, DEPTH_1, SWEEP_PARAMETERS,
     std::size(SWEEP_PARAMETERS), CallSweep<BinaryThickening>},
    {"skeleton", "BinarySkeleton",
     "HGLOBAL hDib, int nMaxSweeps, int bWhiteObject, UINT mode, HWND hParent", "SkeletonUI",
     "thins the objects until nothing changes", "Lines two pixels wide may vanish.", 1, DEPTH_1,
     SKELETON_PARAMETERS, std::size(SKELETON_PARAMETERS), CallSkeleton},
    {"gray-dilate", "GrayScaleDilation", GRAY_ARGUMENTS, "GDilationUI",
     "takes the highest sum of level and height under an element", GRAY_DETAILS, 1, DEPTH_8,
     HEIGHT_PARAMETERS, std::size(HEIGHT_PARAMETERS), CallGray<GrayScaleDilation>},
    {"gray-erode", "GrayScaleErosion", GRAY_ARGUMENTS, "GErosionUI",
     "takes the lowest difference of level and height under an element", GRAY_DETAILS, 1, DEPTH_8,
     HEIGHT_PARAMETERS, std::size(HEIGHT_PARAMETERS), CallGray<GrayScaleErosion>},
    {"gray-open", "GrayScaleOpening", GRAY_ARGUMENTS, "GOpeningUI",
     "erodes, then dilates: bright detail goes", GRAY_DETAILS, 1, DEPTH_8, HEIGHT_PARAMETERS,
     std::size(HEIGHT_PARAMETERS), CallGray<GrayScaleOpening>},
    {"gray-close", "GrayScaleClosing", GRAY_ARGUMENTS, "GClosingUI",
     "dilates, then erodes: dark detail goes", GRAY_DETAILS, 1, DEPTH_8, HEIGHT_PARAMETERS,
     std::size(HEIGHT_PARAMETERS), CallGray<GrayScaleClosing>},
    {"top-hat", "GrayScaleTopHat", GRAY_ARGUMENTS, "GTophatUI",
     "keeps the bright detail that an opening takes away", GRAY_DETAILS, 1, DEPTH_8,
     HEIGHT_PARAMETERS, std::size(HEIGHT_PARAMETERS), CallGray<GrayScaleTopHat>},
};

const CatalogueFamily MORPHOLOGY_FAMILY = {"morphology", "Morphology", FILTERS, std::size(FILTERS)};
