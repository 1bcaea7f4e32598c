// See binary_kernels.h: compiled once per instruction set into the namespace KERNEL_LEVEL.

#include "binary_kernels.h"

#include <string.h>

namespace KERNEL_LEVEL
{

typedef uint64_t Block __attribute__((vector_size(BLOCK_BYTES)));

static inline __attribute__((always_inline)) void Get(const BYTE *from, Block *pBlock)
{
    memcpy(pBlock, from, sizeof *pBlock);
}

static inline __attribute__((always_inline)) void Put(const Block *pBlock, BYTE *to)
{
    memcpy(to, pBlock, sizeof *pBlock);
}

static inline DWORD GetDword(const BYTE *from)
{
    DWORD value;
    memcpy(&value, from, sizeof value);
    return value;
}

static inline void PutDword(DWORD value, BYTE *to)
{
    memcpy(to, &value, sizeof value);
}

static inline uint64_t EachByte(unsigned value)
{
    return 0x0101010101010101u * (value & 0xff);
}

// ---- rows in, rows out --------------------------------------------------------------------------

static void Load(const PackedRow *pLayout, const BYTE *row, BYTE invert, BYTE *line)
{
    const size_t nLast = (pLayout->nDwords - 1) * sizeof(DWORD);
    const uint64_t flip = EachByte(invert);
    size_t i = 0;
    for (; i + BLOCK_BYTES <= nLast; i += BLOCK_BYTES) {
        Block pixels;
        Get(row + i, &pixels);
        pixels ^= flip;
        Put(&pixels, line + i);
    }
    for (; i < nLast; i += sizeof(DWORD)) {
        PutDword(GetDword(row + i) ^ (DWORD)flip, line + i);
    }
    PutDword((GetDword(row + i) ^ (DWORD)flip) & pLayout->lastMask, line + i);
}

static void Store(const PackedRow *pLayout, const BYTE *a, const BYTE *b, BYTE invert,
                  const BYTE *padding, BYTE *row)
{
    const size_t nLast = (pLayout->nDwords - 1) * sizeof(DWORD);
    const uint64_t flip = EachByte(invert);
    size_t i = 0;
    for (; i + BLOCK_BYTES <= nLast; i += BLOCK_BYTES) {
        Block pixels, without;
        Get(a + i, &pixels);
        Get(b + i, &without);
        pixels = (pixels & ~without) ^ flip;
        Put(&pixels, row + i);
    }
    for (; i < nLast; i += sizeof(DWORD)) {
        PutDword((GetDword(a + i) & ~GetDword(b + i)) ^ (DWORD)flip, row + i);
    }
    const DWORD last = (GetDword(a + i) & ~GetDword(b + i)) ^ (DWORD)flip;
    const DWORD mask = pLayout->lastMask;
    PutDword((last & mask) | (GetDword(padding + i) & ~mask), row + i);
}

// ---- lines together -----------------------------------------------------------------------------

template <size_t LINES>
static void MergeSome(const BYTE *const *lines, int bAdd, BYTE *out, size_t nBlocks)
{
    const BYTE *from[LINES];
    memcpy(from, lines, sizeof from);
    for (size_t i = 0; i < nBlocks * BLOCK_BYTES; i += BLOCK_BYTES) {
        Block merged = {}, more;
        if (bAdd) {
            Get(out + i, &merged);
        }
        for (size_t k = 0; k < LINES; k++) {
            Get(from[k] + i, &more);
            merged |= more;
        }
        Put(&merged, out + i);
    }
}

static void Merge(const BYTE *const *lines, size_t nLines, int bAdd, BYTE *out, size_t nBlocks)
{
    enum { MOST = 5 };
    static void (*const SOME[MOST])(const BYTE *const *, int, BYTE *, size_t) = {
        MergeSome<1>, MergeSome<2>, MergeSome<3>, MergeSome<4>, MergeSome<5>};
    for (size_t k = 0; k < nLines; k += MOST) {
        const size_t nSome = nLines - k < MOST ? nLines - k : (size_t)MOST;
        SOME[nSome - 1](lines + k, bAdd || k != 0, out, nBlocks);
    }
}

// A line moved to the left by whole bytes, and by nBits more (0 to 7): the bits that stay in their
// byte and those that come from the next one.
struct Shift {
    const BYTE *from;
    int nBits;
    uint64_t stayMask, comeMask;
};

static inline Shift MakeShift(const BYTE *line, ptrdiff_t nPixels)
{
    const int nBits = (int)(nPixels & 7);
    return {line + (nPixels - nBits) / 8, nBits, EachByte(0xffu << nBits),
            EachByte(0xffu >> (8 - nBits))};
}

template <int BITS>
static inline __attribute__((always_inline)) void GetShifted(const Shift &shift, size_t i,
                                                             Block *pBlock)
{
    Get(shift.from + i, pBlock);
    if (BITS) {
        Block next;
        Get(shift.from + i + 1, &next);
        *pBlock = ((*pBlock << shift.nBits) & shift.stayMask) |
                  ((next >> (8 - shift.nBits)) & shift.comeMask);
    }
}

// SHIFTS lines, of which those in BITS are moved by more than whole bytes.
template <int SHIFTS, int BITS, int ADD>
static void SpreadBlocks(const BYTE *line, const ptrdiff_t *shifts, BYTE *out, size_t nBlocks)
{
    Shift from[SHIFTS];
    for (int k = 0; k < SHIFTS; k++) {
        from[k] = MakeShift(line, shifts[k]);
    }
    for (size_t i = 0; i < nBlocks * BLOCK_BYTES; i += BLOCK_BYTES) {
        Block pixels, more;
        GetShifted<BITS & 1>(from[0], i, &pixels);
        if (SHIFTS > 1) {
            GetShifted<BITS & 2>(from[SHIFTS > 1 ? 1 : 0], i, &more);
            pixels |= more;
        }
        if (SHIFTS > 2) {
            GetShifted<BITS & 4>(from[SHIFTS > 2 ? 2 : 0], i, &more);
            pixels |= more;
        }
        if (ADD) {
            Get(out + i, &more);
            pixels |= more;
        }
        Put(&pixels, out + i);
    }
}

static void Spread(const BYTE *line, const ptrdiff_t *shifts, size_t nShifts, int bAdd, BYTE *out,
                   size_t nBlocks)
{
    typedef void (*Spreader)(const BYTE *, const ptrdiff_t *, BYTE *, size_t);
    static const Spreader SPREADERS[2][3][8] = {
        {{SpreadBlocks<1, 0, 0>, SpreadBlocks<1, 1, 0>},
         {SpreadBlocks<2, 0, 0>, SpreadBlocks<2, 1, 0>, SpreadBlocks<2, 2, 0>,
          SpreadBlocks<2, 3, 0>},
         {SpreadBlocks<3, 0, 0>, SpreadBlocks<3, 1, 0>, SpreadBlocks<3, 2, 0>,
          SpreadBlocks<3, 3, 0>, SpreadBlocks<3, 4, 0>, SpreadBlocks<3, 5, 0>,
          SpreadBlocks<3, 6, 0>, SpreadBlocks<3, 7, 0>}},
        {{SpreadBlocks<1, 0, 1>, SpreadBlocks<1, 1, 1>},
         {SpreadBlocks<2, 0, 1>, SpreadBlocks<2, 1, 1>, SpreadBlocks<2, 2, 1>,
          SpreadBlocks<2, 3, 1>},
         {SpreadBlocks<3, 0, 1>, SpreadBlocks<3, 1, 1>, SpreadBlocks<3, 2, 1>,
          SpreadBlocks<3, 3, 1>, SpreadBlocks<3, 4, 1>, SpreadBlocks<3, 5, 1>,
          SpreadBlocks<3, 6, 1>, SpreadBlocks<3, 7, 1>}}};
    size_t bits = 0;
    for (size_t k = 0; k < nShifts; k++) {
        bits |= (size_t)((shifts[k] & 7) != 0) << k;
    }
    SPREADERS[bAdd != 0][nShifts - 1][bits](line, shifts, out, nBlocks);
}

// ---- thinning -----------------------------------------------------------------------------------

// Every pattern asks for five neighbours in a row, going round the pixel, that are no background,
// and for background among the other three. Going round there are eight such fives: all patterns.
static void Thin(const BYTE *upper, const BYTE *middle, const BYTE *lower, const BYTE *inside,
                 BYTE *removed, BYTE *bRemoved, size_t nBlocks)
{
    enum { ROUND = 8 };
    const Shift left[3] = {MakeShift(upper, -1), MakeShift(middle, -1), MakeShift(lower, -1)};
    const Shift right[3] = {MakeShift(upper, 1), MakeShift(middle, 1), MakeShift(lower, 1)};
    for (size_t block = 0; block < nBlocks; block++) {
        const size_t i = block * BLOCK_BYTES;
        Block round[ROUND], pairs[ROUND], fours[ROUND], itself, picture;
        GetShifted<1>(left[0], i, &round[0]);
        Get(upper + i, &round[1]);
        GetShifted<1>(right[0], i, &round[2]);
        GetShifted<1>(right[1], i, &round[3]);
        GetShifted<1>(right[2], i, &round[4]);
        Get(lower + i, &round[5]);
        GetShifted<1>(left[2], i, &round[6]);
        GetShifted<1>(left[1], i, &round[7]);
        Get(middle + i, &itself);
        Get(inside + i, &picture);
        for (int k = 0; k < ROUND; k++) {
            pairs[k] = round[k] | round[(k + 1) % ROUND];
        }
        for (int k = 0; k < ROUND; k++) {
            fours[k] = pairs[k] | pairs[(k + 2) % ROUND];
        }
        Block everyFive = fours[0] | round[4];
        for (int k = 1; k < ROUND; k++) {
            everyFive &= fours[k] | round[(k + 4) % ROUND];
        }
        const Block gone = (fours[0] | fours[4]) & ~everyFive & ~itself & picture;
        Put(&gone, removed + i);
        bRemoved[block] = (gone[0] | gone[1] | gone[2] | gone[3]) != 0;
    }
}

const BinaryKernels BINARY_KERNELS = {Load, Store, Merge, Spread, Thin};

}  // namespace KERNEL_LEVEL
