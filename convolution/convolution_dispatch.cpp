// The kernels for this processor: the base level, then the strongest that it supports.

#include "convolution_kernels.h"

#include "platform/cpu.h"

const WeightedKernels *g_pWeightedKernels = &sse2::WEIGHTED_KERNELS;
const MeanKernels *g_pMeanKernels = &sse2::MEAN_KERNELS;

void ChooseConvolutionKernels(unsigned cpuFeatures)
{
    if (!(cpuFeatures & CPU_AVX2)) {
        return;
    }
    g_pWeightedKernels = &avx2::WEIGHTED_KERNELS;
    g_pMeanKernels = &avx2::MEAN_KERNELS;
}
