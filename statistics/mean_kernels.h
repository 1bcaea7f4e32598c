// What the mean filters' kernels are told: how a window's samples are put together and how a level
// is made of the result; and the table of compiled forms for this processor.
#ifndef STATISTICS_MEAN_KERNELS_H
#define STATISTICS_MEAN_KERNELS_H

#include "frame/dib.h"
#include "frame/neighbourhood.h"

#include <stdint.h>

// How a window becomes one number. Samples are taken row by row from the top left; where a sum is
// rounded, that order shows in the result.
enum SumKind {
    SUM_ONES,     // the number of samples
    SUM_SAMPLES,  // whole numbers: exact in any order
    SUM_SQUARES,
    SUM_FLOATS,   // terms are floats, and so is the sum
    SUM_ROUNDED,  // terms are doubles; the sum is rounded to float after every addition
    SUM_DOUBLES,
    MULTIPLY  // the product of the terms, in double precision
};

// terms[s] is what a sample s adds (or multiplies).
struct WindowSum {
    SumKind kind;
    double terms[GRAY_LEVELS];
};

// A level as a step function of a positive number. Numbers are compared by their bits, which have
// the same order. Rank r holds below limits[r], the last everywhere; the level is r ^ nFlip: 0
// rising, 255 falling.
//
// cells gives the lowest rank of all numbers that agree in exponent and eight bits of mantissa,
// from dLeast to dMost; what lies outside has the rank of these. Since the limits grow by more than
// one part in 256 from level to level, a cell is off by one at most, unless bSlow is set: then it
// may be off by more, and a number may be 0, whose level is 0.
enum {
    STEP_CELL_SHIFT = 44,   // of the bits of a double
    STEP_CELLS = 280 * 256  // the octaves of all floats
};
struct LevelSteps {
    int nFlip;
    int nFirstCell;
    int bSlow;
    double dLeast, dMost;
    uint64_t limits[GRAY_LEVELS];
    BYTE cells[STEP_CELLS];
};

// Running sums of whole numbers, near enough to a rule's sums to decide almost every level. Pixels
// that they leave undecided are put together in order (mean_near.cpp says when that is).
//
// One sum: it is looked up as a float. A cell holds all that agree in exponent and nine bits of
// mantissa; ranks are those of LevelSteps. A cell's entry has, from the top, the lowest rank in it
// (8 bits), for how many floats it is uncertain whether the next one holds (9 bits, by fours), and
// where in the cell this begins (15 bits; NEAR_CELL_SIZE: nowhere).
//
// Two: the level is their quotient, by dRatio, but uncertain to one part in 1 / dError.
enum NearTerms { NEAR_LOOKED_UP, NEAR_SAMPLES, NEAR_SQUARES };
enum {
    NEAR_CELL_SHIFT = 14,  // of the bits of a float
    NEAR_CELL_SIZE = 1 << NEAR_CELL_SHIFT,
    NEAR_CELLS = 54 * 512,  // the octaves from 1 to 2^53
    NEAR_LIMIT_BITS = 15,
    NEAR_RANK_SHIFT = 24,
    NEAR_MOST_WIDTH = 511 * 4
};
struct NearSum {
    int nSums;
    NearTerms kinds[2];
    double terms[2][GRAY_LEVELS];
    double most[2];  // column sums are cut off here; 0: nowhere
    int32_t shortTerms[2][GRAY_LEVELS];
    int32_t shortMost[2];
    int bShort;  // 32-bit sums will do

    int nFlip;
    float fLeast, fMost;  // what lies outside is in the cells of these
    int32_t nFirstBits;   // of fLeast
    uint32_t cells[NEAR_CELLS];

    double dRatio, dError;
};

// What becomes of the sums. Levels are truncated and clamped; not a number gives 0.
enum MeanFinish {
    FINISH_VALUE,     // sums[0]
    FINISH_INVERSE,   // dSamples / sums[0] + 0.5
    FINISH_MEAN,      // sums[0], of samples, / dSamples
    FINISH_QUOTIENT,  // sums[0] / sums[1]; 0 when that is 0
    FINISH_STEPS      // pSteps of sums[0]; 0 when that is 0
};

struct MeanRule {
    int nRows, nColumns;
    int nSums;
    MeanFinish finish;
    WindowSum sums[2];
    double dSamples;
    const LevelSteps *pSteps;
    const NearSum *pNear;  // null: none
};

// A mask of weights, not all 0.
struct WeightRule {
    int nRows, nColumns;
    int64_t nTotal;
    const BYTE *pWeights;  // row by row
};

struct PixelMeanKernels {
    LineKernel Plain;           // of a MeanRule, sample by sample
    const RowKernel *pOrdered;  // the same for whole rows
    const RowKernel *pNear;     // the same for rules with a pNear
    LineKernel Weighted;        // of a WeightRule
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const PixelMeanKernels PIXEL_MEAN_KERNELS;
}  // namespace sse2
namespace avx2
{
extern const PixelMeanKernels PIXEL_MEAN_KERNELS;
}  // namespace avx2

// Chosen at attach (library/kernels); read-only afterwards.
extern const PixelMeanKernels *g_pPixelMeanKernels;

#endif
