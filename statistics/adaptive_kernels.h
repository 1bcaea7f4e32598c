// What the adaptive filters' kernels are told, and the table of compiled forms for this processor.
#ifndef STATISTICS_ADAPTIVE_KERNELS_H
#define STATISTICS_ADAPTIVE_KERNELS_H

#include "frame/neighbourhood.h"

// Minimum mean square error in a window of nSize x nSize pixels.
struct MmseRule {
    int nSize;
    double dNoiseVariance;
};

// Double-window modified trimmed mean. The small window lies inside the large one, nInset rows and
// columns from its top left. 0 <= nTrim <= 255.
struct TrimRule {
    int nSmall;
    int nLarge;
    int nInset;
    int nTrim;
};

// Windows of at most this side are summed up side by side; beyond, histograms are faster.
enum { MOST_NARROW_SIDE = 12 };

struct AdaptiveKernels {
    LineKernel Mmse;             // of an MmseRule, pixel by pixel
    const RowKernel *pMmseRows;  // the same over rows
    LineKernel NarrowTrim;       // of a TrimRule with nLarge up to MOST_NARROW_SIDE
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const AdaptiveKernels ADAPTIVE_KERNELS;
}  // namespace sse2
namespace avx2
{
extern const AdaptiveKernels ADAPTIVE_KERNELS;
}  // namespace avx2

// Chosen at attach (library/kernels); read-only afterwards.
extern const AdaptiveKernels *g_pAdaptiveKernels;

#endif
