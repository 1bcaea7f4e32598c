// The kernels for this processor: the base level, then the strongest that it supports.

#include "arithmetic_kernels.h"

#include "platform/cpu.h"

const ArithmeticKernels *g_pArithmeticKernels = &sse2::ARITHMETIC_KERNELS;

void ChoosePointKernels(unsigned cpuFeatures)
{
    if (cpuFeatures & CPU_AVX2) {
        g_pArithmeticKernels = &avx2::ARITHMETIC_KERNELS;
    }
}
