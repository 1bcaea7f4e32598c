// The kernels for this processor: the base level, then the strongest that it supports.

#include "tonal_kernels.h"

#include "platform/cpu.h"

const TonalKernels *g_pTonalKernels = &sse2::TONAL_KERNELS;

void ChooseTonalKernels(unsigned cpuFeatures)
{
    if (cpuFeatures & CPU_AVX2) {
        g_pTonalKernels = &avx2::TONAL_KERNELS;
    }
}
