// The loops over rows that are no table, and the compiled forms for this processor.
#ifndef TONAL_TONAL_KERNELS_H
#define TONAL_TONAL_KERNELS_H

#include "frame/line_kernel.h"

// A multiple of three: a lane sees one channel only.
enum { EXTREME_LANES = 96 };

enum { DIFFERENCE_DIRECTIONS = 4 };

struct TonalKernels {
    // Byte i lowers lowest[i % EXTREME_LANES] and raises highest[i % EXTREME_LANES].
    void (*FindExtremes)(const BYTE *src, size_t count, BYTE *lowest, BYTE *highest);
    // The absolute difference of two pixels of a window of at most 2 x 2.
    LineKernel difference[DIFFERENCE_DIRECTIONS];
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const TonalKernels TONAL_KERNELS;
}
namespace avx2
{
extern const TonalKernels TONAL_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const TonalKernels *g_pTonalKernels;

#endif
