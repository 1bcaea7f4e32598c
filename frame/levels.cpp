// See levels.h. The counting loops are in levels_count.cpp, the tables in levels_map*.cpp.

#include "levels_kernels.h"

void MapBytes(const BYTE table[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count)
{
    g_pMapKernels->MapBytes(table, src, dst, count);
}

void MapPixels(const BYTE tables[COLOR_CHANNELS][GRAY_LEVELS], const BYTE *src, BYTE *dst,
               size_t count)
{
    g_pMapKernels->MapPixels(tables, src, dst, count);
}
