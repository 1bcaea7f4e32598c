// Means of a 3 x 3 window, rounded down: uniform and binomial. Plain loops, compiled once per
// instruction set into the namespace KERNEL_LEVEL.
//
// The means are separable: the column sums of a block first, then three of them for each pixel.

#include "convolution_kernels.h"

namespace KERNEL_LEVEL
{

enum { BLOCK = 1024 };  // samples; the column sums stay in the first-level cache

// CENTRE 1: nine equal weights, divided by 9. CENTRE 2: binomial weights, divided by 16.
template <int CENTRE>
static void MeanKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out, size_t count,
                       const void *pParameters)
{
    unsigned short column[BLOCK + 2 * 3];
    (void)pParameters;
    for (size_t start = 0; start < count; start += BLOCK) {
        const BYTE *top = lines[0] + start;
        const BYTE *middle = lines[1] + start;
        const BYTE *bottom = lines[2] + start;
        const size_t n = count - start < BLOCK ? count - start : (size_t)BLOCK;
        for (size_t i = 0; i < n + 2 * (size_t)step; i++) {
            column[i] = (unsigned short)(top[i] + CENTRE * middle[i] + bottom[i]);
        }
        for (size_t i = 0; i < n; i++) {
            const unsigned short sum =
                (unsigned short)(column[i] + CENTRE * column[i + (size_t)step] +
                                 column[i + 2 * (size_t)step]);
            out[start + i] = (BYTE)(CENTRE == 1 ? sum / 9 : sum >> 4);
        }
    }
}

const SmoothingKernels SMOOTHING_KERNELS = {MeanKernel<1>, MeanKernel<2>};

}  // namespace KERNEL_LEVEL
