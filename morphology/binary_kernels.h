// Rows of packed pixels, 256 at a time: the loops of the binary operators.
//
// A line is a row of the picture as one bit a pixel, the leftmost in the most significant bit of
// the first byte, in whole blocks, with zeroed guards on both sides that are wide enough for every
// shift. Bits beyond the picture are 0.
#ifndef MORPHOLOGY_BINARY_KERNELS_H
#define MORPHOLOGY_BINARY_KERNELS_H

#include <windows.h>

#include <stddef.h>
#include <stdint.h>

enum { BLOCK_BYTES = 32, BLOCK_BITS = 8 * BLOCK_BYTES };

// A row as it is stored: nDwords of 32 pixels, of the last one only those in lastMask.
struct PackedRow {
    size_t nDwords;
    DWORD lastMask;
};

struct BinaryKernels {
    // A stored row as a line; invert is 0 or 0xff.
    void (*Load)(const PackedRow *pLayout, const BYTE *row, BYTE invert, BYTE *line);
    // Stores the pixels that a has and b has not, inverted if invert is 0xff; the bits beyond the
    // picture are those of padding, a stored row that may be the same.
    void (*Store)(const PackedRow *pLayout, const BYTE *a, const BYTE *b, BYTE invert,
                  const BYTE *padding, BYTE *row);
    // The pixels that one of nLines has, one or more (and, with bAdd, those that out had). out is
    // none of them.
    void (*Merge)(const BYTE *const *lines, size_t nLines, int bAdd, BYTE *out, size_t nBlocks);
    // Pixel x of out has what one of the pixels x + shifts[k] of line has, one to three of them
    // (and, with bAdd, what it had).
    void (*Spread)(const BYTE *line, const ptrdiff_t *shifts, size_t nShifts, int bAdd, BYTE *out,
                   size_t nBlocks);
    // Of lines of background, one above the other: the pixels of the middle one that a sweep of
    // thinning takes away, and for each block whether there are any. The line inside has all pixels
    // of the picture.
    void (*Thin)(const BYTE *upper, const BYTE *middle, const BYTE *lower, const BYTE *inside,
                 BYTE *removed, BYTE *bRemoved, size_t nBlocks);
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const BinaryKernels BINARY_KERNELS;
}
namespace avx2
{
extern const BinaryKernels BINARY_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const BinaryKernels *g_pBinaryKernels;

#endif
