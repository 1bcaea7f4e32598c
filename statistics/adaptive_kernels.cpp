// The inner loops of the adaptive filters. Plain loops, compiled once per instruction set into the
// namespace KERNEL_LEVEL.
//
// MMSE: running sums of samples and squares (mean_running.h), then the same few double operations
// for every pixel.
//
// Double-window trimmed mean: no sorting. Many pixels stand side by side: a median is the greatest
// value that no more than its rank of the samples lie below, so it is found bit by bit by counting;
// the samples near it are then counted and added up. That is for narrow windows; wide ones slide
// histograms (rank_histograms.inl).

#include "adaptive_kernels.h"

#include "frame/intops.h"
#include "mean_running.h"

#include <string.h>

namespace KERNEL_LEVEL
{

// ---- MMSE ---------------------------------------------------------------------------------------

// The mean is rounded to single precision before the variance is taken.
template <class Sum>
static void FinishMmse(const MmseRule *pRule, const Sum *__restrict sums,
                       const Sum *__restrict squares, const BYTE *__restrict samples,
                       BYTE *__restrict out, size_t count)
{
    const double dSamples = (double)pRule->nSize * pRule->nSize;
    const double dNoise = pRule->dNoiseVariance;
    for (size_t i = 0; i < count; i++) {
        const double mean = (float)((double)sums[i] / dSamples);
        const double variance = (double)squares[i] / dSamples - mean * mean;
        const double ratio = dNoise / variance;
        const double pulled = samples[i] * (1.0 - ratio) + ratio * mean;
        const double value = (variance != 0 ? pulled : mean) + 0.5;
        const double positive = value > 0 ? value : 0;
        out[i] = (BYTE)(int)(positive < 255 ? positive : 255);
    }
}

static const BYTE *OwnSamples(const MmseRule *pRule, const BYTE *const *lines, ptrdiff_t step)
{
    const int nBefore = pRule->nSize / 2;
    return lines[nBefore] + nBefore * step;
}

static void PlainMmse(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                      const void *pParameters)
{
    const MmseRule *pRule = (const MmseRule *)pParameters;
    for (size_t i = 0; i < count; i++) {
        int64_t sum = 0, squares = 0;
        for (int k = 0; k < pRule->nSize; k++) {
            const BYTE *sample = lines[k] + i;
            for (int j = 0; j < pRule->nSize; j++, sample += step) {
                sum += *sample;
                squares += *sample * *sample;
            }
        }
        FinishMmse(pRule, &sum, &squares, OwnSamples(pRule, lines, step) + i, out + i, 1);
    }
}

// Column sums of samples and of squares, two spares, a block's sums of both.
static size_t MmseStateBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    const size_t nColumns = (size_t)pFilter->nColumns;
    return 2 *
           (nSamples + RunningSpare(nColumns, (size_t)step) +
            RunningBlock(nColumns, (size_t)step)) *
           sizeof(double);
}

template <class Sum>
static void MmseRowAs(Sum *pState, const MmseRule *pRule, const BYTE *const *lines, size_t step,
                      BYTE *out, size_t count, int bFirst)
{
    const size_t nColumns = (size_t)pRule->nSize;
    const size_t nSamples = count + (nColumns - 1) * step;
    const size_t nBlock = RunningBlock(nColumns, step);
    const BYTE *own = OwnSamples(pRule, lines, (ptrdiff_t)step);
    Sum *columns = pState;
    Sum *squareColumns = columns + nSamples;
    Sum *const spares[2] = {squareColumns + nSamples,
                            squareColumns + nSamples + RunningSpare(nColumns, step)};
    Sum *sums = spares[1] + RunningSpare(nColumns, step);
    Sum *squares = sums + nBlock;
    AdvanceColumns<Sum, SampleTerm<Sum>>(columns, NULL, lines, pRule->nSize, nSamples, bFirst);
    AdvanceColumns<Sum, SquareTerm<Sum>>(squareColumns, NULL, lines, pRule->nSize, nSamples,
                                         bFirst);
    for (size_t start = 0; start < count; start += nBlock) {
        const size_t n = Least(count - start, nBlock);
        SumColumns(columns + start, nColumns, step, spares, sums, n);
        SumColumns(squareColumns + start, nColumns, step, spares, squares, n);
        FinishMmse(pRule, sums, squares, own + start, out + start, n);
    }
}

static void MmseRow(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                    ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    const MmseRule *pRule = (const MmseRule *)pFilter->pParameters;
    if (pRule->nSize <= 181) {  // 181 x 181 x 255 x 255 is below 2^31
        MmseRowAs((int32_t *)pState, pRule, lines, (size_t)step, out, count, bFirst);
    } else {
        MmseRowAs((double *)pState, pRule, lines, (size_t)step, out, count, bFirst);
    }
}

// ---- double window ----------------------------------------------------------------------

enum { BLOCK = 256 };

struct NarrowWork {
    BYTE found[BLOCK];  // the median's bits so far
    BYTE tried[BLOCK];  // with the next one set
    BYTE below[BLOCK];
    BYTE least[BLOCK];  // the range of the samples that count
    BYTE span[BLOCK];
    BYTE counts[BLOCK];
    uint16_t sums[BLOCK];
};

// The rows of windows are taken COLUMNS columns at a time.
template <int COLUMNS>
static void CountBelow(const BYTE *__restrict samples, size_t step, const BYTE *__restrict tried,
                       BYTE *__restrict below, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        BYTE n = below[i];
        for (size_t j = 0; j < COLUMNS; j++) {
            n = (BYTE)(n + (samples[i + j * step] < tried[i]));
        }
        below[i] = n;
    }
}

template <int COLUMNS>
static void AddNear(const BYTE *__restrict samples, size_t step, NarrowWork *__restrict p,
                    size_t count)
{
    for (size_t i = 0; i < count; i++) {
        BYTE n = p->counts[i];
        uint16_t sum = p->sums[i];
        for (size_t j = 0; j < COLUMNS; j++) {
            const BYTE sample = samples[i + j * step];
            const BYTE bNear = (BYTE)(sample - p->least[i]) <= p->span[i];
            n = (BYTE)(n + bNear);
            sum = (uint16_t)(sum + (bNear ? sample : 0));
        }
        p->counts[i] = n;
        p->sums[i] = sum;
    }
}

// The element at index nSide x nSide / 2 of each sorted window.
static void FindMedians(const BYTE *const *lines, size_t start, size_t nSide, size_t step,
                        NarrowWork *p, size_t count)
{
    const int nRank = (int)(nSide * nSide / 2);
    memset(p->found, 0, count);
    for (int bit = 128; bit != 0; bit >>= 1) {
        for (size_t i = 0; i < count; i++) {
            p->tried[i] = (BYTE)(p->found[i] | bit);
            p->below[i] = 0;
        }
        for (size_t k = 0; k < nSide; k++) {
            const BYTE *line = lines[k] + start;
            size_t j = 0;
            for (; j + 3 <= nSide; j += 3) {
                CountBelow<3>(line + j * step, step, p->tried, p->below, count);
            }
            for (; j < nSide; j++) {
                CountBelow<1>(line + j * step, step, p->tried, p->below, count);
            }
        }
        for (size_t i = 0; i < count; i++) {
            p->found[i] = p->below[i] <= nRank ? p->tried[i] : p->found[i];
        }
    }
}

static void MeanNear(const BYTE *const *lines, size_t start, const TrimRule *pRule, size_t step,
                     NarrowWork *p, BYTE *__restrict out, size_t count)
{
    const size_t nSide = (size_t)pRule->nLarge;
    for (size_t i = 0; i < count; i++) {
        const int least = p->found[i] - pRule->nTrim;
        const int most = p->found[i] + pRule->nTrim;
        p->least[i] = (BYTE)(least > 0 ? least : 0);
        p->span[i] = (BYTE)((most < 255 ? most : 255) - p->least[i]);
        p->counts[i] = 0;
        p->sums[i] = 0;
    }
    for (size_t k = 0; k < nSide; k++) {
        const BYTE *line = lines[k] + start;
        size_t j = 0;
        for (; j + 3 <= nSide; j += 3) {
            AddNear<3>(line + j * step, step, p, count);
        }
        for (; j < nSide; j++) {
            AddNear<1>(line + j * step, step, p, count);
        }
    }
    for (size_t i = 0; i < count; i++) {
        // The median is among the samples, unless the host changes the picture meanwhile: then 0.
        const BYTE nNear = GreaterByte(p->counts[i], 1);
        out[i] = (BYTE)(int)((float)p->sums[i] / (float)nNear);
    }
}

static void NarrowTrim(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                       const void *pParameters)
{
    const TrimRule *pRule = (const TrimRule *)pParameters;
    const ptrdiff_t nInset = pRule->nInset;
    NarrowWork work;
    for (size_t start = 0; start < count; start += BLOCK) {
        const size_t n = Least(count - start, BLOCK);
        const size_t nFirst = start + (size_t)(nInset * step);
        FindMedians(lines + nInset, nFirst, (size_t)pRule->nSmall, (size_t)step, &work, n);
        MeanNear(lines, start, pRule, (size_t)step, &work, out + start, n);
    }
}

static const RowKernel MMSE_ROWS = {MmseStateBytes, MmseRow};

const AdaptiveKernels ADAPTIVE_KERNELS = {PlainMmse, &MMSE_ROWS, NarrowTrim};

}  // namespace KERNEL_LEVEL
