// Running sums of whole numbers over a window: the sums of each column are carried from row to row,
// and a window's sum is put together from runs of 1, 2, 4, ... columns, each run two of the run
// before. So the cost per pixel grows with the logarithm of the window's width alone.
//
// A sum may be 32-bit or a double: whole numbers below 2^53 are exact in any order in both.
//
// In a namespace per level: shared inline code would be kept once by the linker, perhaps in the
// form that an older processor cannot run.
#ifndef STATISTICS_MEAN_RUNNING_H
#define STATISTICS_MEAN_RUNNING_H

#include <windows.h>

#include <stddef.h>
#include <stdint.h>

namespace KERNEL_LEVEL
{

// 32-bit sums wrap: a host may change the picture meanwhile, and then a sample leaves that never
// came.
static inline int32_t Plus(int32_t a, int32_t b)
{
    return (int32_t)((uint32_t)a + (uint32_t)b);
}

static inline double Plus(double a, double b)
{
    return a + b;
}

// What a sample adds.
template <class Sum> static inline Sum SampleTerm(const void *pTerms, BYTE sample)
{
    (void)pTerms;
    return (Sum)sample;
}

template <class Sum> static inline Sum SquareTerm(const void *pTerms, BYTE sample)
{
    (void)pTerms;
    return (Sum)(sample * sample);
}

template <class Sum> static inline Sum LookedUpTerm(const void *pTerms, BYTE sample)
{
    return ((const Sum *)pTerms)[sample];
}

// Puts the row that enters the window into the column sums and takes out the one that has left it
// below; on the first row adds up all.
template <class Sum, Sum (*TERM)(const void *, BYTE)>
static void AdvanceColumns(Sum *__restrict columns, const void *pTerms, const BYTE *const *lines,
                           int nRows, size_t nSamples, int bFirst)
{
    if (!bFirst) {
        const BYTE *entering = lines[0];
        const BYTE *leaving = lines[nRows];
        for (size_t i = 0; i < nSamples; i++) {
            columns[i] = Plus(columns[i], TERM(pTerms, entering[i]) - TERM(pTerms, leaving[i]));
        }
        return;
    }
    for (size_t i = 0; i < nSamples; i++) {
        columns[i] = 0;
    }
    for (int k = 0; k < nRows; k++) {
        const BYTE *line = lines[k];
        for (size_t i = 0; i < nSamples; i++) {
            columns[i] = Plus(columns[i], TERM(pTerms, line[i]));
        }
    }
}

// A block of windows is worked on at a time, so that its runs stay in the first-level cache.
static inline size_t RunningBlock(size_t nColumns, size_t step)
{
    const size_t nUsual = 512;
    return nColumns * step > nUsual ? nColumns * step : nUsual;
}

// The sums in each of the two spares that SumColumns keeps runs in.
static inline size_t RunningSpare(size_t nColumns, size_t step)
{
    return RunningBlock(nColumns, step) + nColumns * step;
}

template <class Sum>
static void AddRuns(const Sum *__restrict runs, size_t distance, Sum *__restrict out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = Plus(runs[i], runs[i + distance]);
    }
}

template <class Sum>
static void TakeRuns(Sum *__restrict sums, const Sum *__restrict runs, size_t count, int bFirst)
{
    if (bFirst) {
        for (size_t i = 0; i < count; i++) {
            sums[i] = runs[i];
        }
        return;
    }
    for (size_t i = 0; i < count; i++) {
        sums[i] = Plus(sums[i], runs[i]);
    }
}

// The sums of count windows, no more than a block, that begin at columns[0], columns[1], ...
template <class Sum>
static void SumColumns(const Sum *columns, size_t nColumns, size_t step, Sum *const *spares,
                       Sum *sums, size_t count)
{
    const Sum *runs = columns;
    size_t nTaken = 0;
    int nSpare = 0;
    for (size_t nRun = 1;; nRun *= 2) {
        if (nColumns & nRun) {
            TakeRuns(sums, runs + nTaken * step, count, nTaken == 0);
            nTaken += nRun;
        }
        if (nRun * 2 > nColumns) {
            return;
        }
        AddRuns(runs, nRun * step, spares[nSpare], count + (nColumns - nRun * 2) * step);
        runs = spares[nSpare];
        nSpare ^= 1;
    }
}

}  // namespace KERNEL_LEVEL

#endif
