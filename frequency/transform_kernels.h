// One-dimensional Fourier transforms of LINES lines at once, one line in each lane of the vectors.
//
// A line of n = 2^log2n numbers is taken in bit-reversed order and then joined in log2n stages
// (Cooley and Tukey 1965; decimation in time, radix 2): a stage joins neighbouring transforms of l1
// numbers into those of 2 x l1, since the transform of 2 x l1 numbers is that of the even ones plus
// a root of unity times that of the odd ones:
//
//     X[j]      = E[j] + u[j] O[j]
//     X[j + l1] = E[j] - u[j] O[j]      u[j] = exp(-i pi j / l1), as the twiddles have it
//
// With eight numbers, where x.y is a sum or difference of two, the lines read from below:
//
//     abcdefgh -> a e c g b f d h -> a.e c.g b.f d.h -> aceg bdfh -> the transform
//
// Results hang on the last bit, so each product, sum and difference above is rounded on its own and
// in this order, whatever the instruction set. What is free is when: two stages are done in one go,
// on four numbers that stay in registers, and the stages of a block that fits the cache come before
// the next block's. Where one factor is known to be 1 or 0 the product is left out; that is the
// same number (a zero's sign does not show) unless infinities meet zeros, see bFinite.
#ifndef FREQUENCY_TRANSFORM_KERNELS_H
#define FREQUENCY_TRANSFORM_KERNELS_H

#include <stddef.h>

enum { LINES = 8 };

// Element k of line i stands at re[k * step + i] and im[k * step + i].
struct Lines {
    double *re;
    double *im;
    size_t step;
};

struct LineTransform {
    size_t n;  // 2 or more
    int log2n;
    // The twiddles of the stage that joins transforms of l1 numbers are at l1 - 1 to 2 x l1 - 2.
    const double *cosines;
    const double *sines;
    double *scratch;  // 2 * LINES * n
    size_t nLive;     // elements from there on are zero and not read
    double before;    // factor of what is read
    double after;     // factor of what is written
    int bReal;        // im is zero and not read
    int bFinite;      // there are no infinities
    int bRealResult;  // im is not written
};

struct TransformKernels {
    // to may be from.
    void (*Transform)(const LineTransform *p, const Lines *from, const Lines *to);
    // LINES rows of a plane as lines, and back: one part, the first count elements, rounded up to a
    // multiple of 4.
    void (*RowsToLines)(const double *rows, size_t stride, size_t count, double *part, size_t step);
    void (*LinesToRows)(const double *part, size_t step, size_t count, double *rows, size_t stride);
};

// The compiled levels. All give the same numbers.
namespace sse2
{
extern const TransformKernels TRANSFORM_KERNELS;
}
namespace avx2
{
extern const TransformKernels TRANSFORM_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const TransformKernels *g_pTransformKernels;

#endif
