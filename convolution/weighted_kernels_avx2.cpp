// Weighted sums of a 3 x 3 window, clamped: 32 samples at a time with AVX2.
//
// The plain loops widen every sample once per weight. One instruction that multiplies interleaved
// bytes by signed weights and adds neighbours takes two weights at a time without widening, and its
// unpack order is undone by the saturating pack, which clamps as well: twice the speed of the
// compiler's code for the same loop (bench: Laplace, Gradient).
//
// Runs that are no multiple of 32 end with a block that overlaps the one before; runs shorter than
// 32 go through a padded copy. So the rule stands once.

#include "split_weights.h"

#include <immintrin.h>
#include <string.h>

namespace KERNEL_LEVEL {

enum {
    LANES = 32,
    MOST_STEP = 3
};

// Sixteen-bit sums of 32 samples, in the order of the byte unpacks.
struct Sums {
    __m256i low;
    __m256i high;
};

static inline __m256i Load(const BYTE *samples)
{
    return _mm256_loadu_si256((const __m256i *)(const void *)samples);
}

static inline Sums AddPair(Sums sums, __m256i a, int weightA, __m256i b, int weightB)
{
    const short pair = (short)((weightA & 255) | (int)((unsigned)weightB << 8));
    const __m256i weights = _mm256_set1_epi16(pair);
    const __m256i low = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), weights);
    const __m256i high = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), weights);
    sums.low = _mm256_add_epi16(sums.low, low);
    sums.high = _mm256_add_epi16(sums.high, high);
    return sums;
}

// Sums over the weights that are not zero, two by two.
static inline __attribute__((always_inline)) Sums WeightedSums(const int *weight,
                                                               const BYTE *const *lines,
                                                               ptrdiff_t step)
{
    Sums sums = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    int nFirst = -1;
    for (int k = 0; k < WEIGHTS; k++) {
        if (weight[k] == 0) {
            continue;
        }
        if (nFirst < 0) {
            nFirst = k;
            continue;
        }
        sums = AddPair(sums, Load(lines[nFirst / 3] + nFirst % 3 * step), weight[nFirst],
                       Load(lines[k / 3] + k % 3 * step), weight[k]);
        nFirst = -1;
    }
    if (nFirst >= 0) {
        const __m256i last = Load(lines[nFirst / 3] + nFirst % 3 * step);
        sums = AddPair(sums, last, weight[nFirst], last, 0);
    }
    return sums;
}

template <int FAMILY, int KERNEL>
static inline void IntegerBlock(const BYTE *const *lines, ptrdiff_t step, BYTE *out)
{
    const Sums sums = WeightedSums(SPLIT.whole[FAMILY][KERNEL], lines, step);
    _mm256_storeu_si256((__m256i *)(void *)out, _mm256_packus_epi16(sums.low, sums.high));
}

static inline __m256i RootLevels(__m256i whole, __m256i root)
{
    const __m256i fraction = _mm256_mulhi_epi16(root, _mm256_set1_epi16(ROOT_FRACTION));
    return _mm256_add_epi16(_mm256_add_epi16(whole, root), fraction);
}

static inline __m256i InexactLanes(__m256i whole, __m256i root)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i between = _mm256_and_si256(_mm256_cmpgt_epi16(whole, zero),
                                             _mm256_cmpgt_epi16(_mm256_set1_epi16(256), whole));
    return _mm256_and_si256(_mm256_cmpeq_epi16(root, zero), between);
}

template <int DIRECTION>
static inline void RootBlock(const BYTE *const *lines, ptrdiff_t step, BYTE *out)
{
    const Sums whole = WeightedSums(SPLIT.whole[0][DIRECTION], lines, step);
    const Sums root = WeightedSums(SPLIT.root[DIRECTION], lines, step);
    const __m256i levels = _mm256_packus_epi16(RootLevels(whole.low, root.low),
                                               RootLevels(whole.high, root.high));
    const __m256i inexact = _mm256_packs_epi16(InexactLanes(whole.low, root.low),
                                               InexactLanes(whole.high, root.high));
    _mm256_storeu_si256((__m256i *)(void *)out, levels);
    for (unsigned mask = (unsigned)_mm256_movemask_epi8(inexact); mask != 0; mask &= mask - 1) {
        const size_t i = (size_t)__builtin_ctz(mask);
        out[i] = RootPixel<DIRECTION>(lines, i, step);
    }
}

template <void (*BLOCK)(const BYTE *const *, ptrdiff_t, BYTE *)>
static void RunBlocks(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out, size_t count)
{
    if (count < LANES) {
        BYTE padded[3][LANES + 2 * MOST_STEP + LANES];
        BYTE whole[LANES];
        const BYTE *copies[3];
        for (int k = 0; k < 3; k++) {
            memset(padded[k], 0, sizeof padded[k]);
            memcpy(padded[k], lines[k], count + 2 * (size_t)step);
            copies[k] = padded[k];
        }
        BLOCK(copies, step, whole);
        memcpy(out, whole, count);
        return;
    }
    for (size_t i = 0; i < count; i += LANES) {
        const size_t at = i + LANES <= count ? i : count - LANES;
        const BYTE *const block[3] = {lines[0] + at, lines[1] + at, lines[2] + at};
        BLOCK(block, step, out + at);
    }
}

template <int FAMILY, int KERNEL>
static void IntegerKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                          const void *pParameters)
{
    (void)pParameters;
    RunBlocks<IntegerBlock<FAMILY, KERNEL>>(lines, step, out, count);
}

template <int DIRECTION>
static void RootKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                       const void *pParameters)
{
    (void)pParameters;
    RunBlocks<RootBlock<DIRECTION>>(lines, step, out, count);
}

#include "weighted_table.inl"

}  // namespace KERNEL_LEVEL
