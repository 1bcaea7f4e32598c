// Extremes and differences of samples: plain loops, compiled once per instruction set into the
// namespace KERNEL_LEVEL.

#include "tonal_kernels.h"

#include "frame/intops.h"

namespace KERNEL_LEVEL
{

static void FindExtremes(const BYTE *src, size_t count, BYTE *__restrict lowest,
                         BYTE *__restrict highest)
{
    size_t start = 0;
    for (; start + EXTREME_LANES <= count; start += EXTREME_LANES) {
        for (size_t i = 0; i < EXTREME_LANES; i++) {
            lowest[i] = LesserByte(lowest[i], src[start + i]);
            highest[i] = GreaterByte(highest[i], src[start + i]);
        }
    }
    for (size_t i = 0; start + i < count; i++) {
        lowest[i] = LesserByte(lowest[i], src[start + i]);
        highest[i] = GreaterByte(highest[i], src[start + i]);
    }
}

static inline void AbsoluteDifference(const BYTE *a, const BYTE *b, BYTE *__restrict out,
                                      size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = (BYTE)(GreaterByte(a[i], b[i]) - LesserByte(a[i], b[i]));
    }
}

// The neighbour is in line 0 and column COLUMN of the window, the pixel itself in line OWN_LINE and
// column OWN_COLUMN.
template <int COLUMN, int OWN_LINE, int OWN_COLUMN>
static void DifferenceKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                             const void *pParameters)
{
    (void)pParameters;
    AbsoluteDifference(lines[0] + COLUMN * step, lines[OWN_LINE] + OWN_COLUMN * step, out, count);
}

const TonalKernels TONAL_KERNELS = {FindExtremes,
                                    {DifferenceKernel<0, 0, 1>, DifferenceKernel<0, 1, 0>,
                                     DifferenceKernel<0, 1, 1>, DifferenceKernel<1, 1, 0>}};

}  // namespace KERNEL_LEVEL
