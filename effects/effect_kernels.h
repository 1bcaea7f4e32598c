// The loops over rows of the effects, and the compiled forms for this processor.
#ifndef EFFECTS_EFFECT_KERNELS_H
#define EFFECTS_EFFECT_KERNELS_H

#include <windows.h>

#include <stddef.h>
#include <stdint.h>

// Lines that 16-bit sums hold; bytes that may be read behind a line.
enum { LINES_MOST = 257, LINE_SPARE = 64 };

// Means of windows of a row: out[i] is made of nColumns column sums, columns[i], columns[i + step],
// ..., and of inverses[i].
struct BoxRow {
    const void *columns;
    const void *inverses;
    void *pState;           // StateBytes of them
    size_t nColumns, step;  // 1 or 3
    BYTE *out;
    size_t count;
};

// How sums are kept: as 32-bit numbers while a window has no more than 2^23 samples, then as
// doubles. Both are exact.
enum BoxSums { BOX_SMALL, BOX_LARGE, BOX_SUMS };
enum { BOX_SMALL_MOST = 1 << 23 };

struct BoxKernels {
    size_t nSumBytes, nInverseBytes;
    size_t (*StateBytes)(size_t count, size_t nColumns, size_t step);
    // columns[i] += entering[i] - leaving[i]
    void (*Advance)(void *columns, const BYTE *entering, const BYTE *leaving, size_t count);
    // For windows of nRows * perRow[i] samples.
    void (*Invert)(void *inverses, const int *perRow, double nRows, size_t count);
    void (*Average)(const BoxRow *pRow);
};

// out[i] = src[i] + a draw modulo nAmount - nHalf, cut to 0..255. The draws are those of random.h.
struct NoiseRow {
    uint32_t nState;
    unsigned nAmount;  // 1 to 32768
    int nHalf;
    const BYTE *src;
    BYTE *out;  // may be src
    size_t count;
};

struct EffectKernels {
    // out[i] = the sum of lines[0..nLines - 1][i] divided by nDivisor, its fraction dropped; at
    // most LINES_MOST lines, nDivisor 1 or more. LINE_SPARE bytes behind a line may be read.
    void (*AverageLines)(const BYTE *const *lines, size_t nLines, unsigned nDivisor, BYTE *out,
                         size_t count);
    // totals[i] += that sum.
    void (*AddLines)(const BYTE *const *lines, size_t nLines, double *totals, size_t count);
    BoxKernels box[BOX_SUMS];
    // sums[i] += line[i]
    void (*AddToColumns)(uint32_t *sums, const BYTE *line, size_t count);
    void (*AddNoise)(const NoiseRow *pRow);
    // out[i] = the whole part of the root of i * i + nSquare, all below 2^30
    void (*Radii)(int nSquare, int *out, size_t count);
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const EffectKernels EFFECT_KERNELS;
}
namespace avx2
{
extern const EffectKernels EFFECT_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const EffectKernels *g_pEffectKernels;

#endif
