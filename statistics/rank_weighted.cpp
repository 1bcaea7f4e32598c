// The sample of a given rank under weights, for windows of any shape: plain loops, compiled once
// per instruction set into the namespace KERNEL_LEVEL.
//
// The level is found bit by bit, from the highest, for a block of neighbouring pixels at once: if
// the samples below the levels with the next bit set weigh less than the rank, the bit is set. That
// takes eight passes over the window's samples and no sorting, whatever the weights.

#include "rank_kernels.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum { BLOCK = 256 };  // pixels; their weights and levels stay in the first-level cache

// weights[i] += weight where the sample is below the level.
template <typename WEIGHT>
static void WeighBelow(const BYTE *samples, const BYTE *levels, WEIGHT weight,
                       WEIGHT *__restrict weights, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        weights[i] = (WEIGHT)(weights[i] + (samples[i] < levels[i] ? weight : 0));
    }
}

template <typename WEIGHT>
static void WeighWindow(const BYTE *const *lines, size_t start, ptrdiff_t step, const BYTE *levels,
                        WEIGHT *weights, size_t count, const WeightedRule *pRule)
{
    const BYTE *weight = pRule->pWeights;
    memset(weights, 0, count * sizeof *weights);
    for (int k = 0; k < pRule->nRows; k++) {
        for (int j = 0; j < pRule->nColumns; j++, weight++) {
            if (*weight != 0) {
                WeighBelow<WEIGHT>(lines[k] + start + j * step, levels, *weight, weights, count);
            }
        }
    }
}

template <typename WEIGHT>
static void SelectByWeight(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out,
                           size_t count, const void *pParameters)
{
    const WeightedRule *pRule = (const WeightedRule *)pParameters;
    const WEIGHT nRank = (WEIGHT)pRule->nRank;
    for (size_t start = 0; start < count; start += BLOCK) {
        const size_t n = count - start < BLOCK ? count - start : (size_t)BLOCK;
        BYTE found[BLOCK] = {0};
        BYTE tried[BLOCK];
        WEIGHT below[BLOCK];
        for (int bit = 128; bit != 0; bit /= 2) {
            for (size_t i = 0; i < n; i++) {
                tried[i] = (BYTE)(found[i] | bit);
            }
            WeighWindow(lines, start, step, tried, below, n, pRule);
            for (size_t i = 0; i < n; i++) {
                found[i] = below[i] < nRank ? tried[i] : found[i];
            }
        }
        memcpy(out + start, found, n);
    }
}

const SelectionKernels SELECTION_KERNELS = {SelectByWeight<BYTE>, SelectByWeight<WORD>,
                                            SelectByWeight<DWORD>};

}  // namespace KERNEL_LEVEL
