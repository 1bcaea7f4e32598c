// The rows of the arithmetic between two images, and the table of their compiled forms for this
// processor.
#ifndef POINT_ARITHMETIC_KERNELS_H
#define POINT_ARITHMETIC_KERNELS_H

#include <windows.h>

#include <stddef.h>

enum { PAIR_OPERATIONS = 11 };  // ARITH_ADD to ARITH_MAX

// How the units lie in a byte. 8 and 24 bits differ in the reading of a byte as signed or unsigned.
enum ArithmeticDepth { BITS_1, BITS_4, BITS_8, BITS_24, ARITHMETIC_DEPTHS };

// count bytes of the result from as many of each image. dst overlaps neither; a and b may be the
// same row.
typedef void (*PairKernel)(const BYTE *a, const BYTE *b, BYTE *dst, size_t count);

struct ArithmeticKernels {
    PairKernel rows[PAIR_OPERATIONS][ARITHMETIC_DEPTHS];
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const ArithmeticKernels ARITHMETIC_KERNELS;
}
namespace avx2
{
extern const ArithmeticKernels ARITHMETIC_KERNELS;
}

// Chosen at attach (library/kernels); read-only afterwards.
extern const ArithmeticKernels *g_pArithmeticKernels;

#endif
