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
// rising, 255 falling. Below decided[r] the rank r is not certain.
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
    uint64_t decided[GRAY_LEVELS];
    BYTE cells[STEP_CELLS];
};

// A sum of doubles or a product, near enough to decide almost every level: whole-number terms whose
// running sum meets the steps. Pixels that they leave undecided are put together in order.
struct NearSum {
    double terms[GRAY_LEVELS];
    LevelSteps steps;
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
    const NearSum *pNear;  // of FINISH_VALUE and FINISH_INVERSE
};

// A mask of weights, not all 0.
struct WeightRule {
    int nRows, nColumns;
    int64_t nTotal;
    const BYTE *pWeights;  // row by row
};

struct PixelMeanKernels {
    LineKernel Plain;           // of a MeanRule, sample by sample
    const RowKernel *pOrdered;  // the same for whole rows, but for rules with a pNear
    const RowKernel *pNear;     // for those
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

// Called once at attach; afterwards the pointer is read-only.
void ChoosePixelMeanKernels(unsigned cpuFeatures);
extern const PixelMeanKernels *g_pPixelMeanKernels;

#endif
