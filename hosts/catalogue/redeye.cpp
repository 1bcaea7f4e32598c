// Red-eye removal.
#include "catalogue.h"

#include <iterator>

#include <string.h>

static const int HUE_DEFAULT = 31, SATURATION_DEFAULT = 76;

static const FilterParameter REDEYE_PARAMETERS[] = {
    {"rect", PARAMETER_RECT, 0, 2147483647, 0,
     "The rectangle that is looked at: left, top, right and bottom in pixels from the upper left "
     "corner, right and bottom the larger.",
     nullptr, 0},
    {"hue", PARAMETER_INTEGER, 0, 255, HUE_DEFAULT,
     "How far from red a hue may be; 255 is a full turn, 128 takes every hue.", nullptr, 0},
    {"saturation", PARAMETER_INTEGER, 0, 255, SATURATION_DEFAULT,
     "What is not more saturated stays.", nullptr, 0},
};

// The bar counts the rectangle's columns, inside the picture or not.
static void CutToPicture(HGLOBAL hDib, RECT *rect)
{
    BITMAPINFOHEADER header = {};
    if (const void *block = GlobalLock(hDib)) {
        memcpy(&header, block, sizeof header);
        GlobalUnlock(hDib);
    }
    if (rect->left < header.biWidth && rect->right > header.biWidth) {
        rect->right = header.biWidth;
    }
    if (rect->top < header.biHeight && rect->bottom > header.biHeight) {
        rect->bottom = header.biHeight;
    }
}

static HGLOBAL CallRedEye(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    const BYTE limits[] = {BYTE(p[1].nValue), BYTE(p[2].nValue)};
    // Without limits the range of hues is not the same on both sides.
    const bool bDefault = p[1].nValue == HUE_DEFAULT && p[2].nValue == SATURATION_DEFAULT;
    RECT rect = p[0].rect;
    CutToPicture(call->pImages[0], &rect);
    return RedEyeRemover(call->pImages[0], &rect, call->mode, call->hParent,
                         bDefault ? nullptr : limits);
}

static const CatalogueFilter FILTERS[] = {
    {"redeye", "RedEyeRemover",
     "HGLOBAL hDib, RECT *pRect, UINT mode, HWND hParent, const BYTE *pLimits", "RedEyeUI",
     "turns the red of eyes gray",
     "Pixels of the rectangle that are red and saturated become grays of the same intensity.", 1,
     DEPTH_24, REDEYE_PARAMETERS, std::size(REDEYE_PARAMETERS), CallRedEye},
};

const CatalogueFamily REDEYE_FAMILY = {"redeye", "Red eyes", FILTERS, std::size(FILTERS)};
