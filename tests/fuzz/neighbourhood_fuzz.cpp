// Fuzz target of the state, the format conversions and the convolution filters.

#include "fuzz_host.h"

#include <stdlib.h>

// Into a buffer of exactly the promised size.
static HGLOBAL CallVersion(void)
{
    const int length = NextNumber();
    char *buffer = (char *)malloc(length <= 0 ? 0 : length > 13 ? 14 : (size_t)length);
    GetVexaFilterVersion(buffer, length);
    free(buffer);
    Require(GetLastFilterError() >= -1 && GetLastFilterError() <= 1, "unknown code");
    return NULL;
}

static HGLOBAL CallMono(void)
{
    const UINT method = (UINT)NextNumber();
    return ConvertMonoDibToGrayScale(g_scene.hDib, method < 64 ? method % 4 : method);
}

static HGLOBAL CallPalette(void)
{
    return Convert8bitto24(g_scene.hDib);
}

const FuzzExport EXPORTS[] = {
    {"GetVexaFilterVersion", CallVersion},
    {"ConvertMonoDibToGrayScale", CallMono},
    {"Convert8bitto24", CallPalette},
    {"FilterLaplace", Call<FilterLaplace, int>, "LaplaceUI", 2},
    {"FilterGradient", Call<FilterGradient, int>, "GradientUI", 2},
    {"FilterEnhance", Call<FilterEnhance>, "EnhanceUI", 1},
    {"FilterUniform", Call<FilterUniform>, "UniformUI", 1},
    {"FilterGauss", Call<FilterGauss>, "GaussUI", 1},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
