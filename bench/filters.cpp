// The calls behind the rows of filters.h.

#include "filters.h"

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

const BenchFilter CONVOLUTIONS[CONVOLUTION_FILTERS] = {
    {"Laplace-0", Laplace, 0},    {"Laplace-10", Laplace, 10},   {"Gradient-0", Gradient, 0},
    {"Gradient-10", Gradient, 10}, {"Gradient-20", Gradient, 20}, {"Gradient-50", Gradient, 50},
    {"Enhance", Enhance, 0},      {"Uniform", Uniform, 0},       {"Gauss", Gauss, 0},
};
