// The weights of all weighted kernels as whole numbers, for instances with constant weights: the
// gradient's families, then the Laplacian's kernels, then the three of the sharpening.
//
// In a namespace per level: shared inline code would be kept once by the linker, perhaps in the form
// that an older processor cannot run.
#ifndef CONVOLUTION_SPLIT_WEIGHTS_H
#define CONVOLUTION_SPLIT_WEIGHTS_H

#include "convolution_kernels.h"

namespace KERNEL_LEVEL {

enum { LAPLACE = GRADIENT_FAMILIES, ENHANCE, FAMILIES };

struct SplitWeights {
    int whole[FAMILIES][GRADIENT_DIRECTIONS][WEIGHTS];
    int root[GRADIENT_DIRECTIONS][WEIGHTS];  // signs of the root weights of family 0
};

static constexpr SplitWeights Split(void)
{
    SplitWeights split = {};
    for (int d = 0; d < GRADIENT_DIRECTIONS; d++) {
        for (int k = 0; k < WEIGHTS; k++) {
            for (int f = 0; f < GRADIENT_FAMILIES; f++) {
                const double weight = GRADIENT_WEIGHTS[f][d][k];
                const int root = weight == ROOT ? 1 : weight == -ROOT ? -1 : 0;
                split.whole[f][d][k] = root != 0 ? 0 : (int)weight;
                split.root[d][k] += f == 0 ? root : 0;
            }
            split.whole[LAPLACE][d][k] = d < LAPLACE_KERNELS ? LAPLACE_WEIGHTS[d][k] : 0;
            split.whole[ENHANCE][d][k] = d < ENHANCE_KERNELS ? ENHANCE_WEIGHTS[d][k] : 0;
        }
    }
    return split;
}

static constexpr SplitWeights SPLIT = Split();

// (ROOT - 1) x 65536, rounded. whole + ROOT x root, where root is a difference of two samples, in
// 16-bit arithmetic: for a difference of 1 to 255 the product is never within 0.001 of a whole
// number, so the rounding of a sum of doubles cannot show, and its floor is that of the product with
// this 16-bit fraction. With a difference of 0 the two products cancel, but only up to the rounding
// of the partial sums: the double may end just below the whole number, and truncation then gives one
// less. Those pixels, unless black or white anyway, are summed again as doubles.
enum { ROOT_FRACTION = 27146 };

// The sum as doubles, in the order of the weights.
template <int DIRECTION>
static BYTE RootPixel(const BYTE *const *lines, size_t i, ptrdiff_t step)
{
    double sum = 0;
    for (int k = 0; k < WEIGHTS; k++) {
        if (GRADIENT_WEIGHTS[0][DIRECTION][k] != 0) {
            sum += GRADIENT_WEIGHTS[0][DIRECTION][k] * (lines[k / 3] + i)[k % 3 * step];
        }
    }
    const int level = (int)sum;
    return (BYTE)(level < 0 ? 0 : level > 255 ? 255 : level);
}

}  // namespace KERNEL_LEVEL

#endif
