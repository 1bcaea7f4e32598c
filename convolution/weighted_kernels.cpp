// Weighted sums of a 3 x 3 window, clamped: the base level, as plain loops.
//
// The weights are constants of each instance, so zero weights vanish and the compiler vectorises
// what is left. Sums of whole weights fit 16 bits: the largest, Kirsch's, is 3825.
//
// No header of the C++ library may be used in a kernel source.

#include "split_weights.h"

#include "frame/intops.h"

namespace KERNEL_LEVEL
{

enum { ROOT_BLOCK = 1024 };  // samples between two rounds of summing again

template <int FAMILY, int KERNEL>
static void IntegerKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out,
                          size_t count, const void *pParameters)
{
    const BYTE *top = lines[0];
    const BYTE *middle = lines[1];
    const BYTE *bottom = lines[2];
    (void)pParameters;
    for (size_t i = 0; i < count; i++) {
        const BYTE *const line[3] = {top + i, middle + i, bottom + i};
        short sum = 0;
        for (int k = 0; k < WEIGHTS; k++) {
            if (SPLIT.whole[FAMILY][KERNEL][k] != 0) {
                sum = (short)(sum + SPLIT.whole[FAMILY][KERNEL][k] * line[k / 3][k % 3 * step]);
            }
        }
        out[i] = ClampShortToByte(sum);
    }
}

// The inexact samples are noted without a branch, which would be wrong too often.
template <int DIRECTION>
static void RootKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out, size_t count,
                       const void *pParameters)
{
    BYTE inexact[ROOT_BLOCK];
    unsigned short again[ROOT_BLOCK];
    (void)pParameters;
    for (size_t start = 0; start < count; start += ROOT_BLOCK) {
        const BYTE *const run[3] = {lines[0] + start, lines[1] + start, lines[2] + start};
        const size_t n = count - start < ROOT_BLOCK ? count - start : (size_t)ROOT_BLOCK;
        for (size_t i = 0; i < n; i++) {
            short whole = 0;
            short root = 0;
            for (int k = 0; k < WEIGHTS; k++) {
                const int sample = (run[k / 3] + i)[k % 3 * step];
                whole = (short)(whole + SPLIT.whole[0][DIRECTION][k] * sample);
                root = (short)(root + SPLIT.whole[ROOT_SIGNS][DIRECTION][k] * sample);
            }
            out[start + i] =
                ClampShortToByte((short)(whole + root + ((root * ROOT_FRACTION) >> 16)));
            inexact[i] = (BYTE)(root == 0 && whole > 0 && whole < 256);
        }
        size_t nAgain = 0;
        for (size_t i = 0; i < n; i++) {
            again[nAgain] = (unsigned short)i;
            nAgain += inexact[i];
        }
        for (size_t j = 0; j < nAgain; j++) {
            out[start + again[j]] = RootPixel<DIRECTION>(run, again[j], step);
        }
    }
}

#include "weighted_table.inl"

}  // namespace KERNEL_LEVEL
