// The weights of all weighted kernels as whole numbers, for instances with constant weights: the
// gradient's families, then the Laplacian's kernels, the three of the sharpening, the two means,
// and the signs of the isotropic gradient's root weights.
//
// In a namespace per level: shared inline code would be kept once by the linker, perhaps in the
// form that an older processor cannot run.
#ifndef CONVOLUTION_SPLIT_WEIGHTS_H
#define CONVOLUTION_SPLIT_WEIGHTS_H

#include "convolution_kernels.h"

#include <stdint.h>

namespace KERNEL_LEVEL
{

enum { LAPLACE = GRADIENT_FAMILIES, ENHANCE, MEAN, ROOT_SIGNS, FAMILIES };

struct SplitWeights {
    int whole[FAMILIES][GRADIENT_DIRECTIONS][WEIGHTS];
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
                split.whole[ROOT_SIGNS][d][k] += f == 0 ? root : 0;
            }
            split.whole[LAPLACE][d][k] = d < LAPLACE_KERNELS ? LAPLACE_WEIGHTS[d][k] : 0;
            split.whole[ENHANCE][d][k] = d < ENHANCE_KERNELS ? ENHANCE_WEIGHTS[d][k] : 0;
            split.whole[MEAN][d][k] = d < MEAN_FILTERS ? MEAN_WEIGHTS[d][k] : 0;
        }
    }
    return split;
}

static constexpr SplitWeights SPLIT = Split();

// (ROOT - 1) x 65536, rounded. whole + ROOT x root, where root is a difference of two samples, in
// 16-bit arithmetic: for a difference of 1 to 255 the product is never within 0.001 of a whole
// number, so the rounding of a sum of doubles cannot show, and its floor is that of the product
// with this 16-bit fraction. With a difference of 0 the two products cancel, but only up to the
// rounding of the partial sums: the double may end just below the whole number, and truncation then
// gives one less. Those pixels are summed again as doubles, unless they are black anyway or the
// sample is one whose product is never rounded that way.
enum { ROOT_FRACTION = 27146 };

enum { SAMPLES = 256, PRODUCT_BITS = 53, SUM_BITS = 10 };  // no partial sum reaches 2^10

// The terms of the sum for every sample; and, for a first root weight of 1 x ROOT and of -1 x ROOT,
// a set of the samples whose sum can end below the whole number, one bit each.
struct RootTerms {
    double plain[SAMPLES];
    double root[SAMPLES];
    BYTE inexact[2][SAMPLES / 8];
};

// To the nearest multiple of 2^bits, halves to the even one, as an addition rounds its sum.
static constexpr uint64_t RoundBits(uint64_t value, int bits)
{
    const uint64_t unit = (uint64_t)1 << bits;
    const uint64_t rest = value % unit;
    const bool bUp = rest * 2 > unit || (rest * 2 == unit && value / unit % 2 != 0);
    return value - rest + (bUp ? unit : 0);
}

// Whether some sequence of roundings to ever coarser units, 2^bits to 2^mostBits, leads value below
// where it began, or above.
static constexpr bool CanLeave(bool bBelow, uint64_t begin, uint64_t value, int bits, int mostBits)
{
    if (bits > mostBits) {
        return bBelow ? value < begin : value > begin;
    }
    return CanLeave(bBelow, begin, value, bits + 1, mostBits) ||
           CanLeave(bBelow, begin, RoundBits(value, bits), bits + 1, mostBits);
}

// Adding a whole number changes neither the product's low bits nor which multiple is even. So what
// the sum loses on its way hangs on the product alone, and on how many of its bits the largest
// partial sum has no room for.
static constexpr RootTerms MakeRootTerms(void)
{
    RootTerms terms = {};
    for (int i = 1; i < SAMPLES; i++) {
        double mantissa = ROOT * i;
        int lost = SUM_BITS;
        terms.plain[i] = i;
        terms.root[i] = mantissa;
        // NOLINTNEXTLINE(clang-analyzer-security.FloatLoopCounter): powers of two are exact
        for (double power = 1; power <= terms.root[i]; power *= 2) {
            lost--;
        }
        mantissa *= (double)((uint64_t)1 << (PRODUCT_BITS - SUM_BITS + lost));
        for (int sign = 0; sign < 2; sign++) {
            const uint64_t begin = (uint64_t)mantissa;
            const bool bInexact = CanLeave(sign == 0, begin, begin, 1, lost);
            terms.inexact[sign][i / 8] = (BYTE)(terms.inexact[sign][i / 8] | bInexact << i % 8);
        }
    }
    return terms;
}

static constexpr RootTerms ROOT_TERMS = MakeRootTerms();

// The set for the sample under the first root weight.
static inline const BYTE *InexactSamples(int direction)
{
    int k = 0;
    while (SPLIT.whole[ROOT_SIGNS][direction][k] == 0) {
        k++;
    }
    return ROOT_TERMS.inexact[SPLIT.whole[ROOT_SIGNS][direction][k] < 0];
}

// The sum as doubles, in the order of the weights.
template <int DIRECTION>
static inline BYTE RootPixel(const BYTE *const *lines, size_t i, ptrdiff_t step)
{
    double sum = 0;
    for (int k = 0; k < WEIGHTS; k++) {
        const double weight = GRADIENT_WEIGHTS[0][DIRECTION][k];
        if (weight != 0) {
            const BYTE sample = (lines[k / 3] + i)[k % 3 * step];
            const bool bRoot = SPLIT.whole[ROOT_SIGNS][DIRECTION][k] != 0;
            const double term = bRoot ? ROOT_TERMS.root[sample] : ROOT_TERMS.plain[sample];
            sum = weight > 0 ? sum + term : sum - term;
        }
    }
    const double level = sum < 0 ? 0 : sum > 255 ? 255 : sum;
    return (BYTE)(int)level;
}

}  // namespace KERNEL_LEVEL

#endif
