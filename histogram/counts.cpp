// See counts.h.

#include "counts.h"

#include <string.h>

void CountChannels(const BYTE *src, size_t nRows, size_t stride,
                   DWORD counts[COLOR_CHANNELS][GRAY_LEVELS])
{
    // Without bytes behind the last whole pixel the channels go on from row to row.
    const size_t nBytes = nRows * stride;
    const size_t run = stride % COLOR_CHANNELS == 0 ? nBytes : stride;
    for (size_t i = 0; i < nBytes; i += run) {
        CountPixels(src + i, run - run % COLOR_CHANNELS, counts);
    }
}

void SplitCounts(const DWORD bytes[GRAY_LEVELS], DWORD nibbles[GRAY_LEVELS])
{
    memset(nibbles, 0, GRAY_LEVELS * sizeof *nibbles);
    for (int i = 0; i < GRAY_LEVELS; i++) {
        nibbles[i >> 4] += bytes[i];
        nibbles[i & 15] += bytes[i];
    }
}
