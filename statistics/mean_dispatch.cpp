// The kernels for this processor: the base level, then the strongest that it supports.

#include "adaptive_kernels.h"
#include "mean_kernels.h"

#include "platform/cpu.h"

const PixelMeanKernels *g_pPixelMeanKernels = &sse2::PIXEL_MEAN_KERNELS;
const AdaptiveKernels *g_pAdaptiveKernels = &sse2::ADAPTIVE_KERNELS;

void ChoosePixelMeanKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pPixelMeanKernels = bAvx2 ? &avx2::PIXEL_MEAN_KERNELS : &sse2::PIXEL_MEAN_KERNELS;
    g_pAdaptiveKernels = bAvx2 ? &avx2::ADAPTIVE_KERNELS : &sse2::ADAPTIVE_KERNELS;
}
