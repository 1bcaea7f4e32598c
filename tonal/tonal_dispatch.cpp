// The kernels for this processor: the base level, then the strongest that it supports.

#include "tonal_kernels.h"

#include "platform/cpu.h"

const TonalKernels *g_pTonalKernels = &sse2::TONAL_KERNELS;

void ChooseTonalKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pTonalKernels = bAvx2 ? &avx2::TONAL_KERNELS : &sse2::TONAL_KERNELS;
}
