// See levels.h. The counting loops are in levels_count.cpp, the tables in levels_map*.cpp.

#include "levels_kernels.h"

#include "platform/cpu.h"

const MapKernels *g_pMapKernels = &sse2::MAP_KERNELS;

void ChooseLevelKernels(unsigned cpuFeatures)
{
    const bool bAvx2 = (cpuFeatures & CPU_AVX2) != 0;
    g_pMapKernels = bAvx2 ? &avx2::MAP_KERNELS : &sse2::MAP_KERNELS;
}

void MapBytes(const BYTE table[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count)
{
    g_pMapKernels->MapBytes(table, src, dst, count);
}

void MapPixels(const BYTE tables[COLOR_CHANNELS][GRAY_LEVELS], const BYTE *src, BYTE *dst,
               size_t count)
{
    g_pMapKernels->MapPixels(tables, src, dst, count);
}
