// Weighted sums and means of a 3 x 3 window, clamped: 32 samples at a time with AVX2.
//
// The plain loops widen every sample once per weight. One instruction that multiplies interleaved
// bytes by signed weights and adds neighbours takes two weights at a time without widening, and its
// unpack order is undone by the saturating pack, which clamps as well: twice the speed of the
// compiler's code for the same loop (bench: Laplace, Gradient). The difference of two samples is
// one saturating subtraction.
//
// Runs that are no multiple of 32 end with a block that overlaps the one before; runs shorter than
// 32 go through a padded copy. So the rule stands once.

#include "split_weights.h"

#include <immintrin.h>
#include <string.h>

namespace KERNEL_LEVEL
{

enum {
    LANES = 32,
    MOST_STEP = 3,
    PAIRS = (WEIGHTS + 1) / 2,
    ALWAYS_NOTED = 3,
    AGAIN = 1024  // samples between two rounds of summing again
};

// The weights that are not zero, two by two; behind the last one -1.
struct Taps {
    int weights[FAMILIES][GRADIENT_DIRECTIONS][2 * PAIRS];
};

static constexpr Taps FindTaps(void)
{
    Taps taps = {};
    for (int f = 0; f < FAMILIES; f++) {
        for (int d = 0; d < GRADIENT_DIRECTIONS; d++) {
            int n = 0;
            for (int k = 0; k < WEIGHTS; k++) {
                if (SPLIT.whole[f][d][k] != 0) {
                    taps.weights[f][d][n++] = k;
                }
            }
            while (n < 2 * PAIRS) {
                taps.weights[f][d][n++] = -1;
            }
        }
    }
    return taps;
}

static constexpr Taps TAPS = FindTaps();

// Sixteen-bit sums of 32 samples, in the order of the byte unpacks.
struct Sums {
    __m256i low;
    __m256i high;
};

static inline __m256i Load(const BYTE *const *lines, size_t at, ptrdiff_t step, int k)
{
    const BYTE *samples = lines[k / 3] + at + k % 3 * step;
    return _mm256_loadu_si256((const __m256i *)(const void *)samples);
}

static inline void Store(BYTE *out, __m256i levels)
{
    _mm256_storeu_si256((__m256i *)(void *)out, levels);
}

// Adds one pair of weights; nothing behind the last.
template <int FAMILY, int KERNEL, int PAIR>
static inline __attribute__((always_inline)) Sums AddPair(Sums sums, const BYTE *const *lines,
                                                          size_t at, ptrdiff_t step)
{
    constexpr int A = TAPS.weights[FAMILY][KERNEL][2 * PAIR];
    constexpr int B = TAPS.weights[FAMILY][KERNEL][2 * PAIR + 1];
    if (A < 0) {
        return sums;
    }
    const int weightA = SPLIT.whole[FAMILY][KERNEL][A < 0 ? 0 : A];
    const int weightB = B < 0 ? 0 : SPLIT.whole[FAMILY][KERNEL][B < 0 ? 0 : B];
    const short pair = (short)((weightA & 255) | (int)((unsigned)weightB << 8));
    const __m256i weights = _mm256_set1_epi16(pair);
    const __m256i a = Load(lines, at, step, A);
    const __m256i b = B < 0 ? a : Load(lines, at, step, B);
    const __m256i low = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a, b), weights);
    const __m256i high = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a, b), weights);
    sums.low = _mm256_add_epi16(sums.low, low);
    sums.high = _mm256_add_epi16(sums.high, high);
    return sums;
}

template <int FAMILY, int KERNEL>
static inline __attribute__((always_inline)) Sums WeightedSums(const BYTE *const *lines, size_t at,
                                                               ptrdiff_t step)
{
    static_assert(PAIRS == 5, "a line for each pair");
    Sums sums = {_mm256_setzero_si256(), _mm256_setzero_si256()};
    sums = AddPair<FAMILY, KERNEL, 0>(sums, lines, at, step);
    sums = AddPair<FAMILY, KERNEL, 1>(sums, lines, at, step);
    sums = AddPair<FAMILY, KERNEL, 2>(sums, lines, at, step);
    sums = AddPair<FAMILY, KERNEL, 3>(sums, lines, at, step);
    return AddPair<FAMILY, KERNEL, 4>(sums, lines, at, step);
}

// Rounded down. The ninth, 65536 / 9 rounded up, is exact for sums up to 9 x 255.
template <int KERNEL> static inline __m256i Divide(__m256i sums)
{
    return KERNEL == MEAN_UNIFORM ? _mm256_mulhi_epu16(sums, _mm256_set1_epi16(7282))
                                  : _mm256_srli_epi16(sums, 4);
}

// The levels of the 32 samples from out[at] on.
template <int FAMILY, int KERNEL>
static inline __attribute__((always_inline)) void IntegerBlock(const BYTE *const *lines, size_t at,
                                                               ptrdiff_t step, BYTE *out)
{
    constexpr int A = TAPS.weights[FAMILY][KERNEL][0];
    constexpr int B = TAPS.weights[FAMILY][KERNEL][1];
    constexpr int WEIGHT_A = SPLIT.whole[FAMILY][KERNEL][A];
    constexpr int WEIGHT_B = SPLIT.whole[FAMILY][KERNEL][B];
    if (TAPS.weights[FAMILY][KERNEL][2] < 0 && WEIGHT_A * WEIGHT_B == -1) {
        const __m256i plus = Load(lines, at, step, WEIGHT_A > 0 ? A : B);
        const __m256i minus = Load(lines, at, step, WEIGHT_A > 0 ? B : A);
        Store(out + at, _mm256_subs_epu8(plus, minus));
        return;
    }
    Sums sums = WeightedSums<FAMILY, KERNEL>(lines, at, step);
    if (FAMILY == MEAN) {
        sums.low = Divide<KERNEL>(sums.low);
        sums.high = Divide<KERNEL>(sums.high);
    }
    Store(out + at, _mm256_packus_epi16(sums.low, sums.high));
}

// At least one block; the last overlaps the one before.
template <int FAMILY, int KERNEL>
static inline __attribute__((always_inline)) void
IntegerBlocks(const BYTE *const *run, ptrdiff_t step, BYTE *out, size_t count)
{
    size_t at = 0;
    for (; at + LANES <= count; at += LANES) {
        IntegerBlock<FAMILY, KERNEL>(run, at, step, out);
    }
    if (at < count) {
        IntegerBlock<FAMILY, KERNEL>(run, count - LANES, step, out);
    }
}

// The two steps are constants to the compiler: 32-bit code has too few registers to carry them.
template <int FAMILY, int KERNEL>
static void IntegerKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out,
                          size_t count, const void *pParameters)
{
    const BYTE *const run[3] = {lines[0], lines[1], lines[2]};
    (void)pParameters;
    if (count < LANES) {
        BYTE padded[3][LANES + 2 * MOST_STEP];
        BYTE whole[LANES];
        const BYTE *const copies[3] = {padded[0], padded[1], padded[2]};
        for (int k = 0; k < 3; k++) {
            memset(padded[k], 0, sizeof padded[k]);
            memcpy(padded[k], lines[k], count + 2 * (size_t)step);
        }
        IntegerBlock<FAMILY, KERNEL>(copies, 0, step, whole);
        memcpy(out, whole, count);
        return;
    }
    if (step == 1) {
        IntegerBlocks<FAMILY, KERNEL>(run, 1, out, count);
    } else {
        IntegerBlocks<FAMILY, KERNEL>(run, MOST_STEP, out, count);
    }
}

// ---- weights with a root ------------------------------------------------------------------------

static inline __m256i RootLevels(__m256i whole, __m256i root)
{
    const __m256i fraction = _mm256_mulhi_epi16(root, _mm256_set1_epi16(ROOT_FRACTION));
    return _mm256_add_epi16(_mm256_add_epi16(whole, root), fraction);
}

// All ones in the lanes whose sample is in a set of one bit for each of 256: its eighth byte is
// looked up in two halves, its bit by the three low bits.
static inline __m256i InSet(const BYTE *set, __m256i samples)
{
    const __m128i *halves = (const __m128i *)(const void *)set;
    const __m256i low = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves));
    const __m256i high = _mm256_broadcastsi128_si256(_mm_loadu_si128(halves + 1));
    const __m256i powers = _mm256_set1_epi64x((long long)0x8040201008040201);
    const __m256i eighth = _mm256_and_si256(_mm256_srli_epi16(samples, 3), _mm256_set1_epi8(15));
    const __m256i bits = _mm256_blendv_epi8(_mm256_shuffle_epi8(low, eighth),
                                            _mm256_shuffle_epi8(high, eighth), samples);
    const __m256i bit = _mm256_shuffle_epi8(powers, _mm256_and_si256(samples, _mm256_set1_epi8(7)));
    return _mm256_cmpeq_epi8(_mm256_and_si256(bits, bit), bit);
}

// The levels of 32 samples, but for the lanes that are to be summed again: a bit for each of those.
template <int DIRECTION>
static inline unsigned RootBlock(const BYTE *const *lines, size_t at, ptrdiff_t step, BYTE *out)
{
    const Sums whole = WeightedSums<0, DIRECTION>(lines, at, step);
    const Sums root = WeightedSums<ROOT_SIGNS, DIRECTION>(lines, at, step);
    const __m256i levels =
        _mm256_packus_epi16(RootLevels(whole.low, root.low), RootLevels(whole.high, root.high));
    const __m256i a = Load(lines, at, step, TAPS.weights[ROOT_SIGNS][DIRECTION][0]);
    const __m256i b = Load(lines, at, step, TAPS.weights[ROOT_SIGNS][DIRECTION][1]);
    const __m256i black = _mm256_cmpeq_epi8(levels, _mm256_setzero_si256());
    const __m256i equal = _mm256_andnot_si256(black, _mm256_cmpeq_epi8(a, b));
    Store(out + at, levels);
    return (unsigned)_mm256_movemask_epi8(
        _mm256_and_si256(equal, InSet(InexactSamples(DIRECTION), a)));
}

// Appends the positions of a block's lanes. The first ALWAYS_NOTED are written in any case, and
// kept as far as there are that many: no processor can guess how many there will be, and few blocks
// have more.
static inline size_t NoteLanes(size_t *again, size_t nAgain, size_t at, unsigned mask)
{
    const unsigned none = 1u << (LANES - 1);
    size_t *next = again + nAgain;
    nAgain += (size_t)__builtin_popcount(mask);
    for (int i = 0; i < ALWAYS_NOTED; i++) {
        *next++ = at + (size_t)__builtin_ctz(mask | none);
        mask &= mask - 1;
    }
    for (; mask != 0; mask &= mask - 1) {
        *next++ = at + (size_t)__builtin_ctz(mask);
    }
    return nAgain;
}

// The lanes to be summed again are noted and done later: between two blocks each would hold up the
// next one.
template <int DIRECTION>
static void RootKernel(const BYTE *const *lines, ptrdiff_t step, BYTE *__restrict out, size_t count,
                       const void *pParameters)
{
    const BYTE *const run[3] = {lines[0], lines[1], lines[2]};
    size_t again[AGAIN + LANES + ALWAYS_NOTED];
    (void)pParameters;
    for (size_t i = 0; i < count && count < LANES; i++) {
        out[i] = RootPixel<DIRECTION>(run, i, step);
    }
    for (size_t start = 0; start < count && count >= LANES; start += AGAIN) {
        size_t nAgain = 0;
        for (size_t i = start; i < count && i < start + AGAIN; i += LANES) {
            const size_t at = i + LANES <= count ? i : count - LANES;
            const unsigned mask = RootBlock<DIRECTION>(run, at, step, out);
            nAgain = NoteLanes(again, nAgain, at, mask);
        }
        for (size_t n = 0; n < nAgain; n++) {
            out[again[n]] = RootPixel<DIRECTION>(run, again[n], step);
        }
    }
}

#include "weighted_table.inl"

const SmoothingKernels SMOOTHING_KERNELS = {IntegerKernel<MEAN, MEAN_UNIFORM>,
                                            IntegerKernel<MEAN, MEAN_GAUSS>};

}  // namespace KERNEL_LEVEL
