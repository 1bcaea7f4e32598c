// Two-dimensional Fourier transforms of a square of complex numbers, as passes over its columns or
// rows.
//
// There are two kinds, with twiddles and factors of their own. The recurrence (FFT2D) goes over the
// columns first; its twiddles of a stage are powers of a root of unity, multiplied up one by one,
// and the root comes from that of the stage before by half-angle formulas; its forward transform
// divides by the side in each pass, its inverse not at all. The table (FFT2DTable) goes over the
// rows first and takes all twiddles from one table of sines.
// Kept: that table is computed with 6.283 for 2 pi, which blurs a little; its forward transform is
// not scaled, its inverse divides before each pass.
//
// A pass takes LINES lines at a time, in memory order as far as columns allow, and what comes
// before a first and after a last pass is done to the lines while the cache holds them: samples are
// read straight into lines and written straight from them. Lines of padding are not transformed,
// nor are lines of a result that nobody reads.
#ifndef FREQUENCY_PLANES_H
#define FREQUENCY_PLANES_H

#include "samples.h"
#include "transform_kernels.h"

enum TransformKind { FFT_RECURRENCE, FFT_TABLE };

// side x side numbers, row by row; at least LINES x LINES.
struct Planes {
    double *re;
    double *im;
    size_t stride;
};

// What the passes of a call need besides: some lines and the twiddles.
struct FourierPlan {
    TransformKind kind;
    size_t side;
    int log2Side;
    double *pMemory;
    double *cosines;
    double *sines;         // forward
    double *inverseSines;  // their negatives
    double *scratch;
    Lines lines;
    Lines otherLines;  // if asked for
};

// 0 without memory. bTwoSpectra: with otherLines.
int MakeFourierPlan(TransformKind kind, size_t side, int bTwoSpectra, FourierPlan *p);
void FreeFourierPlan(FourierPlan *p);

// The samples of one channel as numbers.
struct SampleSource {
    SampleRows rows;
    int nChannel;
    const double *values;  // of the 256 samples; 0 is 0
    // A plane of a side below LINES, filled row by row; rows that are longer than the plane run on
    // into the next ones, the last one past the end. Else null.
    const BYTE *pSmall;
};

enum KeepLines { KEEP_NOTHING, KEEP_REAL, KEEP_ALL };

struct Pass {
    int bColumns;  // else over the rows
    int bInverse;
    size_t nLines;                // the others are not touched
    size_t nLive;                 // elements of each that may be other than zero
    int bFinite;                  // there are no infinities
    int bRealResult;              // nobody reads the imaginary part of the result
    const SampleSource *pSource;  // null: from the planes
    // Done to each LINES lines after the transform. May be null.
    void (*Step)(void *pContext, size_t nFirst, const Lines *lines);
    void *pContext;
    KeepLines keep;  // whether they go to the planes then
};

// The passes of a transform, in turn. What they share is usual; the caller fills in the rest.
Pass FirstPass(const FourierPlan *p, int bInverse);
Pass SecondPass(const FourierPlan *p, int bInverse);

// Limits a first pass to what the samples fill, and the second one with it.
void TakeSamples(const FourierPlan *p, const SampleSource *pSource, Pass *pFirst, Pass *pSecond);

void RunPass(const FourierPlan *p, const Pass *pPass, const Planes *planes);

// One turn of the pass, without the step: the lines go to to, perhaps over spare.
void RunPassOn(const FourierPlan *p, const Pass *pPass, const Planes *planes, size_t nFirst,
               const Lines *spare, const Lines *to);

#endif
