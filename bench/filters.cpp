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
