// Weighted sums of a 3 x 3 window, clamped: the base level, as plain loops.
//
// The weights are constants of each instance, so zero weights vanish and the compiler vectorises
// what is left. Sums of whole weights fit 16 bits: the largest, Kirsch's, is 3825.
//
// No header of the C++ library may be used in a kernel source.

#include "split_weights.h"

namespace KERNEL_LEVEL {

enum { ROOT_BLOCK = 32 };  // samples of which the inexact ones are looked for together

static inline BYTE Clamp(short value)
{
    return (BYTE)(value < 0 ? 0 : value > 255 ? 255 : value);
}

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
        out[i] = Clamp(sum);
    }
}

template <int DIRECTION>
static void RootKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out,
                       size_t count, const void *pParameters)
{
    (void)pParameters;
    for (size_t start = 0; start < count; start += ROOT_BLOCK) {
        const size_t n = count - start < ROOT_BLOCK ? count - start : (size_t)ROOT_BLOCK;
        BYTE inexact[ROOT_BLOCK] = {0};
        for (size_t i = 0; i < n; i++) {
            short whole = 0;
            short root = 0;
            for (int k = 0; k < WEIGHTS; k++) {
                const int sample = (lines[k / 3] + start + i)[k % 3 * step];
                whole = (short)(whole + SPLIT.whole[0][DIRECTION][k] * sample);
                root = (short)(root + SPLIT.root[DIRECTION][k] * sample);
            }
            out[start + i] = Clamp((short)(whole + root + ((root * ROOT_FRACTION) >> 16)));
            inexact[i] = (BYTE)(root == 0 && whole > 0 && whole < 256);
        }
        for (size_t i = 0; i < n; i++) {
            if (inexact[i]) {
                out[start + i] = RootPixel<DIRECTION>(lines, start + i, step);
            }
        }
    }
}

#include "weighted_table.inl"

}  // namespace KERNEL_LEVEL
