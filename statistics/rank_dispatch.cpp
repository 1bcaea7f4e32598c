// The rank kernels for this processor: the base level, then the strongest that it supports.

#include "rank_kernels.h"

#include "platform/cpu.h"

const ExtremeKernels *g_pExtremeKernels = &sse2::EXTREME_KERNELS;
const NetworkKernels *g_pNetworkKernels = &sse2::NETWORK_KERNELS;
const HistogramKernels *g_pHistogramKernels = &sse2::HISTOGRAM_KERNELS;
const SelectionKernels *g_pSelectionKernels = &sse2::SELECTION_KERNELS;

void ChooseRankKernels(unsigned cpuFeatures)
{
    if (!(cpuFeatures & CPU_AVX2)) {
        return;
    }
    g_pExtremeKernels = &avx2::EXTREME_KERNELS;
    g_pNetworkKernels = &avx2::NETWORK_KERNELS;
    g_pHistogramKernels = &avx2::HISTOGRAM_KERNELS;
    g_pSelectionKernels = &avx2::SELECTION_KERNELS;
}
