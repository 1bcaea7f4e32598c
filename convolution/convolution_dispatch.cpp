// The kernels for this processor: the base level, then the strongest that it supports.

#include "convolution_kernels.h"

#include "platform/cpu.h"

const WeightedKernels *g_pWeightedKernels = &sse2::WEIGHTED_KERNELS;
const MeanKernels *g_pMeanKernels = &sse2::MEAN_KERNELS;

void ChooseConvolutionKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pWeightedKernels = bAvx2 ? &avx2::WEIGHTED_KERNELS : &sse2::WEIGHTED_KERNELS;
    g_pMeanKernels = bAvx2 ? &avx2::MEAN_KERNELS : &sse2::MEAN_KERNELS;
}
