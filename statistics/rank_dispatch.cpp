// The rank kernels for this processor: the base level, then the strongest that it supports.

#include "rank_kernels.h"

#include "platform/cpu.h"

const ExtremeKernels *g_pExtremeKernels = &sse2::EXTREME_KERNELS;
const NetworkKernels *g_pNetworkKernels = &sse2::NETWORK_KERNELS;
const HistogramKernels *g_pHistogramKernels = &sse2::HISTOGRAM_KERNELS;
const SelectionKernels *g_pSelectionKernels = &sse2::SELECTION_KERNELS;

void ChooseRankKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pExtremeKernels = bAvx2 ? &avx2::EXTREME_KERNELS : &sse2::EXTREME_KERNELS;
    g_pNetworkKernels = bAvx2 ? &avx2::NETWORK_KERNELS : &sse2::NETWORK_KERNELS;
    g_pHistogramKernels = bAvx2 ? &avx2::HISTOGRAM_KERNELS : &sse2::HISTOGRAM_KERNELS;
    g_pSelectionKernels = bAvx2 ? &avx2::SELECTION_KERNELS : &sse2::SELECTION_KERNELS;
}
