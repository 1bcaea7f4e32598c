// See effect_kernels.h: compiled once per instruction set into the namespace KERNEL_LEVEL.
//
// Divisions. Of 16-bit sums: the sum times 65536 / divisor without its fraction is the quotient or
// one less, which one comparison tells. Of the others: a half is added to the sum before it is
// multiplied by the divisor's inverse; the product is then further from a whole number than it can
// be wrong.

#include "effect_kernels.h"

#include "frame/intops.h"
#include "random.h"
#include "statistics/mean_running.h"

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

template <class Sum> static size_t BoxStateBytes(size_t nColumns, size_t step)
{
    return (2 * RunningSpare(nColumns, step) + RunningBlock(nColumns, step)) * sizeof(Sum);
}

template <class Sum>
static void AdvanceBox(void *pColumns, const BYTE *entering, const BYTE *leaving, size_t count)
{
    Sum *columns = (Sum *)pColumns;
    for (size_t i = 0; i < count; i++) {
        columns[i] = Plus(columns[i], (Sum)(entering[i] - leaving[i]));
    }
}

template <class Real>
static void InvertBox(void *pInverses, const int *perRow, double nRows, size_t count)
{
    Real *inverses = (Real *)pInverses;
    for (size_t i = 0; i < count; i++) {
        inverses[i] = (Real)(1.0 / (nRows * perRow[i]));
    }
}

template <class Sum, class Real> static void AverageBox(const BoxRow *p)
{
    const size_t nBlock = RunningBlock(p->nColumns, p->step);
    Sum *spare = (Sum *)p->pState;
    Sum *const spares[] = {spare, spare + RunningSpare(p->nColumns, p->step)};
    Sum *sums = spares[1] + RunningSpare(p->nColumns, p->step);
    const Real half = (Real)0.5, most = (Real)255;
    for (size_t start = 0; start < p->count; start += nBlock) {
        const size_t n = Least(p->count - start, nBlock);
        const Real *inverses = (const Real *)p->inverses + start;
        BYTE *__restrict out = p->out + start;
        SumColumns((const Sum *)p->columns + start, p->nColumns, p->step, spares, sums, n);
        for (size_t i = 0; i < n; i++) {
            // A host that changes the picture meanwhile may make it anything.
            const Real mean = ((Real)sums[i] + half) * inverses[i];
            const Real least = mean > most ? most : mean;
            out[i] = (BYTE)(int)(least < 0 ? 0 : least);
        }
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
    {{sizeof(int32_t), sizeof(float), BoxStateBytes<int32_t>, AdvanceBox<int32_t>, InvertBox<float>,
      AverageBox<int32_t, float>},
     {sizeof(int32_t), sizeof(double), BoxStateBytes<int32_t>, AdvanceBox<int32_t>,
      InvertBox<double>, AverageBox<int32_t, double>},
     {sizeof(double), sizeof(double), BoxStateBytes<double>, AdvanceBox<double>, InvertBox<double>,
      AverageBox<double, double>}},
    AddToColumns,
    AddNoise,
    Radii};

}  // namespace KERNEL_LEVEL
