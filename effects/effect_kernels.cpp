// See effect_kernels.h: compiled once per instruction set into the namespace KERNEL_LEVEL.
//
// Divisions. Of 16-bit sums: the sum times 65536 / divisor without its fraction is the quotient or
// one less, which one comparison tells. Of 32-bit sums: the product with the divisor's inverse, a
// little too small, is the quotient or one less, too. Of doubles: a half is added to the sum
// before; the product is then further from a whole number than it can be wrong.

#include "effect_kernels.h"

#include "frame/intops.h"
#include "random.h"

namespace KERNEL_LEVEL
{

// ---- sums of lines ------------------------------------------------------------------------------

// So many samples are summed in registers at a time.
enum { PART = 16, PARTS = LINE_SPARE / PART };

typedef BYTE SamplePart __attribute__((vector_size(PART)));
typedef uint16_t SumPart __attribute__((vector_size(2 * PART)));

static inline void SumLines(const BYTE *const *lines, size_t nLines, size_t offset,
                            uint16_t *__restrict sums)
{
    SumPart parts[PARTS] = {};
    for (size_t k = 0; k < nLines; k++) {
        const BYTE *line = lines[k] + offset;
        for (size_t j = 0; j < PARTS; j++) {
            SamplePart samples;
            __builtin_memcpy(&samples, line + j * PART, PART);
            parts[j] += __builtin_convertvector(samples, SumPart);
        }
    }
    __builtin_memcpy(sums, parts, sizeof parts);
}

// nReciprocal: 65536 / nDivisor.
static inline BYTE Quotient(uint16_t sum, uint16_t nDivisor, uint16_t nReciprocal)
{
    const uint16_t nearly = (uint16_t)(((uint32_t)sum * nReciprocal) >> 16);
    const uint16_t rest = (uint16_t)(sum - (uint16_t)(nearly * nDivisor));
    return (BYTE)(nearly + (rest >= nDivisor ? 1 : 0));
}

static void AverageLines(const BYTE *const *lines, size_t nLines, unsigned nDivisor, BYTE *out,
                         size_t count)
{
    uint16_t sums[LINE_SPARE];
    BYTE levels[LINE_SPARE];
    if (nDivisor == 1 || nDivisor > 0xffff) {
        for (size_t i = 0; i < count; i++) {
            out[i] = nDivisor == 1 && nLines == 1 ? lines[0][i] : 0;
        }
        return;
    }
    const uint16_t nReciprocal = (uint16_t)(65536 / nDivisor);
    for (size_t start = 0; start < count; start += LINE_SPARE) {
        SumLines(lines, nLines, start, sums);
        for (size_t i = 0; i < LINE_SPARE; i++) {
            levels[i] = Quotient(sums[i], (uint16_t)nDivisor, nReciprocal);
        }
        if (count - start >= LINE_SPARE) {
            __builtin_memcpy(out + start, levels, LINE_SPARE);
        } else {
            __builtin_memcpy(out + start, levels, count - start);
        }
    }
}

static void AddLines(const BYTE *const *lines, size_t nLines, double *totals, size_t count)
{
    uint16_t sums[LINE_SPARE];
    for (size_t start = 0; start < count; start += LINE_SPARE) {
        const size_t n = Least(count - start, LINE_SPARE);
        SumLines(lines, nLines, start, sums);
        for (size_t i = 0; i < n; i++) {
            totals[start + i] += sums[i];
        }
    }
}

// ---- box means ----------------------------------------------------------------------------------

// Sums from the left, of each channel: a window is the difference of two. 32-bit ones wrap around.
template <class Sum> static size_t BoxStateBytes(size_t count, size_t nColumns, size_t step)
{
    return (count + (nColumns + 1) * step) * sizeof(Sum);
}

template <class Sum>
static void AdvanceBox(void *pColumns, const BYTE *entering, const BYTE *leaving, size_t count)
{
    Sum *columns = (Sum *)pColumns;
    for (size_t i = 0; i < count; i++) {
        columns[i] += (Sum)(entering[i] - leaving[i]);
    }
}

template <class Sum, size_t STEP>
static void SumFromLeft(const Sum *columns, Sum *__restrict prefix, size_t count)
{
    Sum sums[STEP] = {};
    for (size_t i = 0; i < count; i += STEP) {
        for (size_t channel = 0; channel < STEP; channel++) {
            prefix[i + channel] = sums[channel];
            sums[channel] += columns[i + channel];
        }
    }
    for (size_t channel = 0; channel < STEP; channel++) {
        prefix[count + channel] = sums[channel];
    }
}

template <class Sum> static const Sum *SumColumnsFromLeft(const BoxRow *p)
{
    const size_t nSums = p->count + p->nColumns * p->step;
    if (p->step == 1) {
        SumFromLeft<Sum, 1>((const Sum *)p->columns, (Sum *)p->pState, nSums);
    } else {
        SumFromLeft<Sum, 3>((const Sum *)p->columns, (Sum *)p->pState, nSums);
    }
    return (const Sum *)p->pState;
}

// The inverses, a little too small, then the numbers of samples.
static void InvertBox(void *pInverses, const int *perRow, double nRows, size_t count)
{
    float *inverses = (float *)pInverses;
    uint32_t *samples = (uint32_t *)(void *)(inverses + count);
    for (size_t i = 0; i < count; i++) {
        samples[i] = (uint32_t)((int)nRows * perRow[i]);
        inverses[i] = (1 - 1.0F / (1 << 21)) / (float)(int)samples[i];
    }
}

static void AverageBox(const BoxRow *p)
{
    const size_t count = p->count;
    const uint32_t *prefix = SumColumnsFromLeft<uint32_t>(p);
    const uint32_t *end = prefix + p->nColumns * p->step;
    const float *inverses = (const float *)p->inverses;
    const uint32_t *samples = (const uint32_t *)(const void *)(inverses + count);
    BYTE *__restrict out = p->out;
    for (size_t i = 0; i < count; i++) {
        const uint32_t sum = end[i] - prefix[i];
        const int nearly = (int)((float)(int)sum * inverses[i]);
        const int rest = (int)(sum - (uint32_t)nearly * samples[i]);
        out[i] = (BYTE)(nearly + (rest >= (int)samples[i] ? 1 : 0));
    }
}

static void InvertLargeBox(void *pInverses, const int *perRow, double nRows, size_t count)
{
    double *inverses = (double *)pInverses;
    for (size_t i = 0; i < count; i++) {
        inverses[i] = 1.0 / (nRows * perRow[i]);
    }
}

static void AverageLargeBox(const BoxRow *p)
{
    const size_t count = p->count;
    const double *prefix = SumColumnsFromLeft<double>(p);
    const double *end = prefix + p->nColumns * p->step;
    const double *inverses = (const double *)p->inverses;
    BYTE *__restrict out = p->out;
    for (size_t i = 0; i < count; i++) {
        // A host that changes the picture meanwhile may make it anything.
        const double mean = (end[i] - prefix[i] + 0.5) * inverses[i];
        const double least = mean > 255 ? 255 : mean;
        out[i] = (BYTE)(int)(least < 0 ? 0 : least);
    }
}

// ---- the others ---------------------------------------------------------------------------------

static void AddToColumns(uint32_t *__restrict sums, const BYTE *line, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        sums[i] += line[i];
    }
}

// So many states run side by side, each so many draws ahead of itself at a time.
enum { STATES = 32 };

// x after so many steps is x * nFactor + nAddend.
struct Leap {
    uint32_t nFactor, nAddend;
};

static inline Leap LeapOf(size_t nSteps)
{
    Leap leap = {1, 0};
    for (size_t i = 0; i < nSteps; i++) {
        DrawRandom(&leap.nAddend);
        leap.nFactor *= RANDOM_FACTOR;
    }
    return leap;
}

static inline BYTE Noisy(BYTE sample, uint32_t nState, uint32_t nAmount, uint32_t nReciprocal,
                         int nHalf)
{
    const uint32_t draw = nState >> 16 & 0x7fff;
    const uint32_t rest = draw - (draw * nReciprocal >> 16) * nAmount;
    const int noise = (int)(rest >= nAmount ? rest - nAmount : rest);
    return ClampToByte(sample + noise - nHalf);
}

static void AddNoise(const NoiseRow *p)
{
    uint32_t states[STATES];
    BYTE levels[STATES];
    const Leap leap = LeapOf(STATES);
    const uint32_t nAmount = p->nAmount;
    const uint32_t nReciprocal = 65536 / nAmount;
    const int nHalf = p->nHalf;
    uint32_t state = p->nState;
    for (uint32_t &each : states) {
        DrawRandom(&state);
        each = state;
    }
    for (size_t start = 0; start < p->count; start += STATES) {
        const size_t n = Least(p->count - start, STATES);
        if (n == STATES) {
            for (size_t i = 0; i < STATES; i++) {
                levels[i] = Noisy(p->src[start + i], states[i], nAmount, nReciprocal, nHalf);
                states[i] = states[i] * leap.nFactor + leap.nAddend;
            }
            __builtin_memcpy(p->out + start, levels, STATES);
            continue;
        }
        for (size_t i = 0; i < n; i++) {
            p->out[start + i] = Noisy(p->src[start + i], states[i], nAmount, nReciprocal, nHalf);
        }
    }
}

static void Radii(int nSquare, int *__restrict out, size_t count)
{
    for (int i = 0; i < (int)count; i++) {
        const int square = i * i + nSquare;
        const int nRoot = (int)__builtin_sqrtf((float)square);
        const int over = nRoot * nRoot > square ? 1 : 0;
        const int under = (nRoot + 1) * (nRoot + 1) <= square ? 1 : 0;
        out[i] = nRoot - over + under;
    }
}

const EffectKernels EFFECT_KERNELS = {
    AverageLines,
    AddLines,
    {{sizeof(uint32_t), sizeof(float) + sizeof(uint32_t), BoxStateBytes<uint32_t>,
      AdvanceBox<uint32_t>, InvertBox, AverageBox},
     {sizeof(double), sizeof(double), BoxStateBytes<double>, AdvanceBox<double>, InvertLargeBox,
      AverageLargeBox}},
    AddToColumns,
    AddNoise,
    Radii};

}  // namespace KERNEL_LEVEL
