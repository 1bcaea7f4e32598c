// Bytes through tables: the base level. A machine word of results is put together before it is
// stored, which halves the time of a loop that stores single bytes.

#include "levels_kernels.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum { WORD_BYTES = sizeof(size_t) };

static void MapRun(const BYTE *table, const BYTE *src, BYTE *dst, size_t count)
{
    size_t i = 0;
    for (; i + WORD_BYTES <= count; i += WORD_BYTES) {
        size_t in, out = 0;
        memcpy(&in, src + i, WORD_BYTES);
        for (int shift = 0; shift < 8 * WORD_BYTES; shift += 8) {
            out |= (size_t)table[(in >> shift) & 255] << shift;
        }
        memcpy(dst + i, &out, WORD_BYTES);
    }
    for (; i < count; i++) {
        dst[i] = table[src[i]];
    }
}

static void MapColorRun(const BYTE (*tables)[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count)
{
    size_t i = 0;
    for (; i + COLOR_CHANNELS <= count; i += COLOR_CHANNELS) {
        dst[i] = tables[0][src[i]];
        dst[i + 1] = tables[1][src[i + 1]];
        dst[i + 2] = tables[2][src[i + 2]];
    }
    for (size_t channel = 0; i < count; i++, channel++) {
        dst[i] = tables[channel][src[i]];
    }
}

const MapKernels MAP_KERNELS = {MapRun, MapColorRun};

}  // namespace KERNEL_LEVEL
