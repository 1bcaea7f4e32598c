// The 3 x 3 kernels.
#include "catalogue.h"

#include <iterator>

static const NamedValue LAPLACE_KERNELS[] = {
    {"eight", 10, 1, "all eight neighbours"},
    {"four", 0, 1, "the four direct neighbours"},
    {"vertical", 1, 1, "the neighbours above and below"},
    {"horizontal", 2, 1, "the neighbours left and right"},
    {"diagonal-down", 13, 1, "the neighbours upper left and lower right"},
    {"diagonal-up", 14, 1, "the neighbours lower left and upper right"},
    {nullptr, 11, 1, "the same as 1"},
    {nullptr, 12, 1, "the same as 2"},
};

static const NamedValue GRADIENT_KERNELS[] = {
    {"sobel", 50, 8, "three pixels on each side, the middle one twice"},
    {"prewitt", 30, 8, "three pixels on each side"},
    {"isotropic", 0, 8, "three pixels on each side, the middle one 1.41 times"},
    {"kirsch", 10, 8, "five times three neighbours less three times the other five"},
    {"central", 40, 8, "the two pixels opposite each other"},
    {"neighbour", 20, 8, "the pixel less its neighbour on the darker side"},
    {"neighbour-opposite", 60, 8, "the same, its directions counted from the opposite side"},
};

static const FilterParameter LAPLACE_PARAMETERS[] = {
    {"kernel", PARAMETER_CHOICE, 0, 14, 10, "Which neighbours a pixel is compared with.",
     LAPLACE_KERNELS, std::size(LAPLACE_KERNELS)},
};

static const FilterParameter GRADIENT_PARAMETERS[] = {
    {"kernel", PARAMETER_CHOICE, 0, 67, 50,
     "Which difference, and in which direction (the number behind the name; without one, 0). "
     "Direction 0 shows edges that are brighter above, 1 upper left, 2 left, 3 lower left, "
     "4 below, 5 lower right, 6 right, 7 upper right. neighbour-opposite begins with brighter "
     "below. kirsch has four directions, each twice: 0 and 4 left, 1 and 5 upper right, 2 and 6 "
     "above, 3 and 7 upper left.",
     GRADIENT_KERNELS, std::size(GRADIENT_KERNELS)},
};

static HGLOBAL CallLaplace(const CatalogueCall *call)
{
    return FilterLaplace(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallGradient(const CatalogueCall *call)
{
    return FilterGradient(call->pImages[0], call->pValues[0].nValue, call->mode, call->hParent);
}

static HGLOBAL CallEnhance(const CatalogueCall *call)
{
    return FilterEnhance(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallUniform(const CatalogueCall *call)
{
    return FilterUniform(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallGauss(const CatalogueCall *call)
{
    return FilterGauss(call->pImages[0], call->mode, call->hParent);
}

static const char KERNEL_ARGUMENTS[] = "HGLOBAL hDib, int nKernel, UINT mode, HWND hParent";
static const char PLAIN_ARGUMENTS[] = "HGLOBAL hDib, UINT mode, HWND hParent";
static const unsigned DEPTHS = DEPTH_1 | DEPTH_8 | DEPTH_24;
static const char EDGE_DETAILS[] =
    "Edges come out bright on black; where the difference is negative the result is black. "
    "Border pixels repeat the pixel next to them, the four corners stay as they are.";

static const CatalogueFilter FILTERS[] = {
    {"laplace",
     "FilterLaplace",
     KERNEL_ARGUMENTS,
     "LaplaceUI",
     "finds edges by second differences",
     EDGE_DETAILS,
     1,
     DEPTHS,
     LAPLACE_PARAMETERS,
     std::size(LAPLACE_PARAMETERS),
     CallLaplace,
     nullptr,
     {},
     false,
     "edges edge"},
    {"gradient",
     "FilterGradient",
     KERNEL_ARGUMENTS,
     "GradientUI",
     "finds edges that face one direction",
     EDGE_DETAILS,
     1,
     DEPTHS,
     GRADIENT_PARAMETERS,
     std::size(GRADIENT_PARAMETERS),
     CallGradient,
     nullptr,
     {},
     false,
     "sobel prewitt emboss"},
    {"enhance",
     "FilterEnhance",
     PLAIN_ARGUMENTS,
     "EnhanceUI",
     "sharpens",
     "Five times the pixel less its four neighbours.",
     1,
     DEPTHS,
     nullptr,
     0,
     CallEnhance,
     nullptr,
     {},
     false,
     "sharpen"},
    {"uniform", "FilterUniform", PLAIN_ARGUMENTS, "UniformUI",
     "blurs with the mean of 3 x 3 pixels", "The picture is mirrored at its edges.", 1, DEPTHS,
     nullptr, 0, CallUniform},
    {"gauss",
     "FilterGauss",
     PLAIN_ARGUMENTS,
     "GaussUI",
     "blurs with a 3 x 3 Gaussian (1 2 1, 2 4 2, 1 2 1)",
     "The picture is mirrored at its edges.",
     1,
     DEPTHS,
     nullptr,
     0,
     CallGauss,
     nullptr,
     {},
     false,
     "blur soften smooth"},
};

const CatalogueFamily CONVOLUTION_FAMILY = {"convolution", "Convolution with 3 x 3 kernels",
                                            FILTERS, std::size(FILTERS)};
