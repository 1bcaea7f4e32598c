// The loops of gray-scale morphology over rows of levels.
#ifndef MORPHOLOGY_GRAY_KERNELS_H
#define MORPHOLOGY_GRAY_KERNELS_H

#include <windows.h>

#include <stddef.h>

struct GrayKernels {
    // Every level of out becomes at least that of line and nHeight, 255 at most.
    void (*Raise)(const BYTE *line, BYTE nHeight, BYTE *out, size_t count);
    // Every level of out becomes at most that of line without nHeight, 0 at least.
    void (*Lower)(const BYTE *line, BYTE nHeight, BYTE *out, size_t count);
    // out = levels - less, 0 at least. out may be one of them.
    void (*Subtract)(const BYTE *levels, const BYTE *less, BYTE *out, size_t count);
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const GrayKernels GRAY_KERNELS;
}
namespace avx2
{
extern const GrayKernels GRAY_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const GrayKernels *g_pGrayKernels;

#endif
