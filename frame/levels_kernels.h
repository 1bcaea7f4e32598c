// The compiled forms of the table loops (levels.h).
#ifndef FRAME_LEVELS_KERNELS_H
#define FRAME_LEVELS_KERNELS_H

#include "levels.h"

struct MapKernels {
    void (*MapBytes)(const BYTE *table, const BYTE *src, BYTE *dst, size_t count);
    void (*MapPixels)(const BYTE (*tables)[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count);
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const MapKernels MAP_KERNELS;
}
namespace avx2
{
extern const MapKernels MAP_KERNELS;
}

extern const MapKernels *g_pMapKernels;

#endif
