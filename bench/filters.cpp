// The calls behind the rows of filters.h.

#include "filters.h"

#include <string.h>

static HGLOBAL Laplace(HGLOBAL hDib, int nKernel, UINT mode)
{
    return FilterLaplace(hDib, nKernel, mode, NULL);
}

static HGLOBAL Gradient(HGLOBAL hDib, int nKernel, UINT mode)
{
    return FilterGradient(hDib, nKernel, mode, NULL);
}

static HGLOBAL Enhance(HGLOBAL hDib, int, UINT mode)
{
    return FilterEnhance(hDib, mode, NULL);
}

static HGLOBAL Uniform(HGLOBAL hDib, int, UINT mode)
{
    return FilterUniform(hDib, mode, NULL);
}

static HGLOBAL Gauss(HGLOBAL hDib, int, UINT mode)
{
    return FilterGauss(hDib, mode, NULL);
}

static HGLOBAL WriteBlock(HGLOBAL hDib, int, UINT)
{
    const SIZE_T bytes = GlobalSize(hDib);
    const HGLOBAL hBlock = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes);
    if (hBlock != NULL) {
        memset(GlobalLock(hBlock), 1, bytes);
        GlobalUnlock(hBlock);
    }
    return hBlock;
}

const BenchFilter NEW_BLOCK = {"Memset", WriteBlock, 0};

const BenchFilter CONVOLUTIONS[] = {
    {"Laplace-0", Laplace, 0},     {"Laplace-10", Laplace, 10},
    {"Gradient-0", Gradient, 0},   {"Gradient-10", Gradient, 10},
    {"Gradient-20", Gradient, 20}, {"Gradient-50", Gradient, 50},
    {"Enhance", Enhance, 0},       {"Uniform", Uniform, 0},
    {"Gauss", Gauss, 0},           {NULL, NULL, 0},
};

// ---- morphology ---------------------------------------------------------------------------------

enum { MOST_SIDE = 31 };
struct Square {
    BYTE run[MOST_SIDE];
    BYTE *columns[MOST_SIDE];
    FilterMask mask;
};

static const FilterMask *MakeSquare(int nSide, BYTE value, Square *p)
{
    memset(p->run, value, sizeof p->run);
    for (int i = 0; i < nSide; i++) {
        p->columns[i] = p->run;
    }
    p->mask = {p->columns, nSide, nSide, nSide / 2, nSide / 2};
    return &p->mask;
}

static HGLOBAL Dilate(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return BinaryDilation(hDib, MakeSquare(nSide, 1, &square), 0, mode, NULL);
}

static HGLOBAL Erode(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return BinaryErosion(hDib, MakeSquare(nSide, 1, &square), 0, mode, NULL);
}

static HGLOBAL Open(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return BinaryOpening(hDib, MakeSquare(nSide, 1, &square), 0, mode, NULL);
}

static HGLOBAL HitMiss(HGLOBAL hDib, int, UINT mode)
{
    return BinaryHitMiss(hDib, NULL, NULL, 0, mode, NULL);
}

static HGLOBAL Thin(HGLOBAL hDib, int, UINT mode)
{
    return BinaryThinning(hDib, 0, mode, NULL);
}

static HGLOBAL Skeleton(HGLOBAL hDib, int, UINT mode)
{
    return BinarySkeleton(hDib, 0, 0, mode, NULL);
}

static HGLOBAL GrayDilate(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return GrayScaleDilation(hDib, MakeSquare(nSide, 0, &square), mode, NULL);
}

static HGLOBAL GrayRaise(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return GrayScaleDilation(hDib, MakeSquare(nSide, 9, &square), mode, NULL);
}

static HGLOBAL TopHat(HGLOBAL hDib, int nSide, UINT mode)
{
    Square square;
    return GrayScaleTopHat(hDib, MakeSquare(nSide, 0, &square), mode, NULL);
}

const BenchFilter PAGE_FILTERS[] = {
    {"Dilate-3", Dilate, 3}, {"Dilate-5", Dilate, 5}, {"Erode-3", Erode, 3},
    {"Erode-5", Erode, 5},   {"Open-3", Open, 3},     {"Open-5", Open, 5},
    {"HitMiss", HitMiss, 0}, {"Thin", Thin, 0},       {"Skeleton", Skeleton, 0},
    {NULL, NULL, 0},
};

const BenchFilter GRAY_FILTERS[] = {
    {"GrayDilate-3", GrayDilate, 3},
    {"GrayDilate-31", GrayDilate, 31},
    {"TopHat-3", TopHat, 3},
    {"Valued-3", GrayRaise, 3},
    {NULL, NULL, 0},
};

// ---- rank filters -------------------------------------------------------------------------------

static HGLOBAL Median(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMedian(hDib, nSize, mode, NULL);
}

static HGLOBAL TrimmedMean(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAlphaTrimmedMean(hDib, nSize, nSize * nSize / 5, mode, NULL);
}

static HGLOBAL DoubleWindow(HGLOBAL hDib, int nLarge, UINT mode)
{
    return FilterAdaptiveDWMTM(hDib, 5, nLarge, 20, mode, NULL);
}

const BenchFilter RANK_FILTERS[] = {
    {"Median-11", Median, 11},
    {"Median-15", Median, 15},
    {"Median-31", Median, 31},
    {"TrimmedMean-15", TrimmedMean, 15},
    {"DoubleWindow-15", DoubleWindow, 15},
    {NULL, NULL, 0},
};

// ---- effects ------------------------------------------------------------------------------------

enum { BLUR_LENGTH = 15 };

static HGLOBAL MotionBlur(HGLOBAL hDib, int nAngle, UINT mode)
{
    return FilterMotionBlur(hDib, nAngle, BLUR_LENGTH, mode, NULL);
}

static HGLOBAL ZoomBlur(HGLOBAL hDib, int nSpread, UINT mode)
{
    return FilterCenterMotionBlur(hDib, nSpread, BLUR_LENGTH, mode, NULL);
}

static HGLOBAL Average(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAverage(hDib, nSize, mode, NULL);
}

static HGLOBAL Mosaic(HGLOBAL hDib, int nSide, UINT mode)
{
    return FilterMozaic(hDib, nSide, mode, NULL);
}

static HGLOBAL Multiply(HGLOBAL hDib, int nTenths, UINT mode)
{
    return FilterMultiply(hDib, nTenths, mode, NULL);
}

static HGLOBAL Noise(HGLOBAL hDib, int nAmount, UINT mode)
{
    return FilterAddNoise(hDib, nAmount, mode, NULL);
}

static HGLOBAL Impressionist(HGLOBAL hDib, int nSide, UINT mode)
{
    return FilterImpressionist(hDib, nSide, nSide, mode, NULL);
}

static HGLOBAL Puzzle(HGLOBAL hDib, int nTiles, UINT mode)
{
    return FilterPuzzle(hDib, nTiles, nTiles, mode, NULL);
}

static HGLOBAL Polar(HGLOBAL hDib, int, UINT mode)
{
    return FilterPolar(hDib, mode, NULL);
}

static HGLOBAL Cylinder(HGLOBAL hDib, int nRadius, UINT mode)
{
    return FilterCylinder(hDib, nRadius, 0, mode, NULL);
}

const BenchFilter EFFECTS[] = {
    {"MotionBlur-0", MotionBlur, 0},
    {"MotionBlur-30", MotionBlur, 30},
    {"Average-4", Average, 4},
    {"Average-16", Average, 16},
    {"Average-64", Average, 64},
    {"Average-256", Average, 256},
    {"Mosaic-16", Mosaic, 16},
    {"Multiply-15", Multiply, 15},
    {"Noise-40", Noise, 40},
    {"Polar", Polar, 0},
    {"Cylinder-700", Cylinder, 700},
    {"ZoomBlur-100", ZoomBlur, 100},
    {"Impressionist-8", Impressionist, 8},
    {"Impressionist-64", Impressionist, 64},
    {"Impressionist-all", Impressionist, 1 << 30},
    {"Puzzle-8", Puzzle, 8},
    {"Puzzle-100", Puzzle, 100},
    {NULL, NULL, 0},
};
