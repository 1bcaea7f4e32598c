// The kernels for this processor: the base level, then the strongest that it supports.

#include "arithmetic_kernels.h"

#include "platform/cpu.h"

const ArithmeticKernels *g_pArithmeticKernels = &sse2::ARITHMETIC_KERNELS;

void ChoosePointKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pArithmeticKernels = bAvx2 ? &avx2::ARITHMETIC_KERNELS : &sse2::ARITHMETIC_KERNELS;
}
