// Conversions to gray and to colour.
#include "catalogue.h"
#include "depth.h"
#include "hosts/imagefile/imagefile.h"

#include <iterator>

static const NamedValue METHODS[] = {
    {"plain", 0, 1, "black and white"},
    {"smooth", 1, 1, "smoothed with 3 x 3 pixels"},
    {"smoother", 2, 1, "smoothed with 5 x 5 pixels"},
};

static const FilterParameter GRAY_PARAMETERS[] = {
    {"method", PARAMETER_CHOICE, 0, 2, 0, "How a 1-bit picture becomes gray.", METHODS,
     std::size(METHODS)},
};

static HGLOBAL CallGray(const CatalogueCall *call)
{
    const HGLOBAL hDib = call->pImages[0];
    const bool bBlackWhite = BitsOfDib(hDib) == 1 && ValuesOfDib(hDib) <= VALUES_ARE_REVERSED;
    return bBlackWhite ? ConvertMonoDibToGrayScale(hDib, UINT(call->pValues[0].nValue))
                       : ConvertDib(hDib, 8);
}

static HGLOBAL CallTo24(const CatalogueCall *call)
{
    return ConvertDib(call->pImages[0], 24);
}

static const unsigned ALL_DEPTHS = DEPTH_1 | DEPTH_4 | DEPTH_8 | DEPTH_24;

static const CatalogueFilter FILTERS[] = {
    {"gray",
     "ConvertMonoDibToGrayScale",
     "HGLOBAL hDib, UINT method",
     nullptr,
     "makes an 8-bit gray picture",
     "Colours become their luminance (0.299 red, 0.587 green, 0.114 blue).",
     1,
     ALL_DEPTHS,
     GRAY_PARAMETERS,
     std::size(GRAY_PARAMETERS),
     CallGray,
     nullptr,
     {},
     false,
     "grayscale greyscale grey desaturate"},
    {"to-24",
     "Convert8bitto24",
     "HGLOBAL hDib",
     nullptr,
     "makes a 24-bit picture",
     "The colours stay the same.",
     1,
     ALL_DEPTHS,
     nullptr,
     0,
     CallTo24,
     nullptr,
     {},
     false,
     "rgb"},
};

const CatalogueFamily CONVERSION_FAMILY = {"conversion", "Conversions", FILTERS,
                                           std::size(FILTERS)};
