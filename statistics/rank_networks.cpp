// Median and trimmed mean of small windows with sorting networks: plain loops, compiled once per
// instruction set into the namespace KERNEL_LEVEL, a vector of neighbouring pixels at a time.
//
// Neighbouring windows share their columns. So each column is sorted once, then pairs of
// neighbouring columns are merged, then pairs of pairs; a window picks the few lists that make it
// up. For 7 x 7, with c the window's columns:
//
//     c0   c1 c2   c3 c4   c5 c6
//     part \pair/   \pair/  \pair/
//                    \-- quad --/
//
// The median leaves the top left sample out, so its first column is the sorted column without its
// top sample, part. The last step never merges fully: the k-th smallest of two sorted lists is the
// smallest of max(x[i], y[k - i]) over all i.
//
// Rows of sorted lists stay in the first-level cache: a line is worked on in blocks.

#include "frame/intops.h"
#include "rank_kernels.h"
#include "sorting_networks.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum {
    BLOCK = 320,                   // samples of a line; whole vectors
    STRIDE = BLOCK + VECTOR_BYTES  // from one row of sorted samples to the next
};

#define INLINE static inline __attribute__((always_inline))

INLINE void Order(BYTE &low, BYTE &high)
{
    const BYTE a = low;
    const BYTE b = high;
    low = LesserByte(a, b);
    high = GreaterByte(a, b);
}

template <const Network &NETWORK, int PAIR = 0> INLINE void RunNetwork(BYTE *samples)
{
    if constexpr (PAIR < NETWORK.nPairs) {
        Order(samples[NETWORK.low[PAIR]], samples[NETWORK.high[PAIR]]);
        RunNetwork<NETWORK, PAIR + 1>(samples);
    }
}

template <int COUNT, int K = 0> INLINE void Load(const BYTE *rows, BYTE *samples)
{
    if constexpr (K < COUNT) {
        samples[K] = rows[K * STRIDE];
        Load<COUNT, K + 1>(rows, samples);
    }
}

template <const Network &NETWORK, int K = 0> INLINE void Store(const BYTE *samples, BYTE *rows)
{
    if constexpr (K < NETWORK.order.count) {
        rows[K * STRIDE] = samples[NETWORK.order.at[K]];
        Store<NETWORK, K + 1>(samples, rows);
    }
}

// ---- steps --------------------------------------------------------------------------------------

template <int SIZE, int K = 1>
INLINE void LoadColumn(const BYTE *const *lines, size_t i, BYTE *samples)
{
    if constexpr (K < SIZE) {
        samples[K] = lines[K][i];
        LoadColumn<SIZE, K + 1>(lines, i, samples);
    }
}

template <const Network &NETWORK, int K = 0> INLINE void Reorder(const BYTE *samples, BYTE *sorted)
{
    if constexpr (K < NETWORK.order.count) {
        sorted[K] = samples[NETWORK.order.at[K]];
        Reorder<NETWORK, K + 1>(samples, sorted);
    }
}

// Sorts columns, without their top sample into part, whole into column.
template <int SIZE>
static void SortColumns(const BYTE *const *lines, size_t start, BYTE *__restrict part,
                        BYTE *__restrict column, size_t count)
{
    const BYTE *from[SIZE];
    for (int k = 0; k < SIZE; k++) {
        from[k] = lines[k] + start;
    }
    for (size_t i = 0; i < count; i++) {
        BYTE samples[SIZE];
        BYTE sorted[SIZE];
        LoadColumn<SIZE>(from, i, samples);
        RunNetwork<SORT<SIZE - 1>>(samples + 1);
        Store<SORT<SIZE - 1>>(samples + 1, part + i);
        sorted[0] = from[0][i];
        Reorder<SORT<SIZE - 1>>(samples + 1, sorted + 1);
        RunNetwork<MERGE<1, SIZE - 1>>(sorted);
        Store<MERGE<1, SIZE - 1>>(sorted, column + i);
    }
}

template <int FIRST, int SECOND>
static void MergeRows(const BYTE *x, const BYTE *y, BYTE *__restrict merged, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        BYTE samples[FIRST + SECOND];
        Load<FIRST>(x + i, samples);
        Load<SECOND>(y + i, samples + FIRST);
        RunNetwork<MERGE<FIRST, SECOND>>(samples);
        Store<MERGE<FIRST, SECOND>>(samples, merged + i);
    }
}

// best = the smallest of max(x[i], y[RANK - i]), i samples being taken from the sorted list x,
// which NETWORK has left in samples, and the others from the SECOND sorted ones in y.
template <const Network &NETWORK, int SECOND, int RANK, int I = 0>
INLINE void PickRank(const BYTE *samples, const BYTE *y, BYTE &best)
{
    if constexpr (I <= NETWORK.order.count && I <= RANK) {
        if constexpr (RANK - I <= SECOND) {
            BYTE greater = 0;
            if constexpr (I > 0) {
                greater = samples[NETWORK.order.at[I - 1]];
            }
            if constexpr (I < RANK) {
                greater = GreaterByte(greater, y[(RANK - I - 1) * STRIDE]);
            }
            best = LesserByte(best, greater);
        }
        PickRank<NETWORK, SECOND, RANK, I + 1>(samples, y, best);
    }
}

// The sample of rank RANK in three sorted lists.
template <int FIRST, int SECOND, int THIRD, int RANK>
static void SelectRows(const BYTE *x, const BYTE *y, const BYTE *z, BYTE *__restrict selected,
                       size_t count)
{
    for (size_t i = 0; i < count; i++) {
        BYTE samples[FIRST + SECOND];
        BYTE best = 255;
        Load<FIRST>(x + i, samples);
        Load<SECOND>(y + i, samples + FIRST);
        RunNetwork<MERGE<FIRST, SECOND>>(samples);
        PickRank<MERGE<FIRST, SECOND>, THIRD, RANK>(samples, z + i, best);
        selected[i] = best;
    }
}

// ---- the block in work --------------------------------------------------------------------------

enum { MOST_NETWORK_SIZE = 9, MOST_SORTED_SIZE = 7 };

// Row k of a list holds the k-th smallest samples.
struct SortedRows {
    BYTE part[(MOST_NETWORK_SIZE - 1) * STRIDE];
    BYTE column[MOST_NETWORK_SIZE * STRIDE];
    BYTE pair[2 * MOST_NETWORK_SIZE * STRIDE];
    BYTE quad[4 * MOST_NETWORK_SIZE * STRIDE];
    BYTE rest[3 * MOST_SORTED_SIZE * STRIDE];
    BYTE window[MOST_SORTED_SIZE * MOST_SORTED_SIZE * STRIDE];
    WORD sums[STRIDE];
    BYTE result[STRIDE];
};

static size_t NoBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    (void)pFilter;
    (void)nSamples;
    (void)step;
    return 0;
}

static size_t SortedRowsBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    (void)pFilter;
    (void)nSamples;
    (void)step;
    return sizeof(SortedRows);
}

// Leaves count results in pRows->result.
typedef void (*BlockKernel)(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule);

// Blocks of as many pixels as have their columns in BLOCK samples; the last one overlaps the one
// before it.
template <int SIZE, BlockKernel COMPUTE>
static void RunBlocks(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                      ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    SortedRows *pRows = (SortedRows *)pState;
    const size_t nReach = (SIZE - 1) * (size_t)step;
    const size_t nMost = BLOCK - nReach;
    const size_t n = count < nMost ? count : nMost;
    (void)bFirst;
    for (size_t done = 0; done < count; done += n) {
        const size_t start = done + n <= count ? done : count - n;
        SortColumns<SIZE>(lines, start, pRows->part, pRows->column, n + nReach);
        COMPUTE(pRows, (size_t)step, n, (const SquareRule *)pFilter->pParameters);
        memcpy(out + start, pRows->result, n);
    }
}

// ---- median -------------------------------------------------------------------------------------

// Too little work to keep columns for: eight samples, two of the first column and all of the two
// columns behind it. Of those six only the second to fourth smallest can be the fourth of all.
static void Median3(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                    ptrdiff_t step, BYTE *__restrict out, size_t count, int bFirst)
{
    const BYTE *top = lines[0];
    const BYTE *middle = lines[1];
    const BYTE *bottom = lines[2];
    const size_t x1 = (size_t)step;
    const size_t x2 = 2 * x1;
    (void)pState;
    (void)pFilter;
    (void)bFirst;
    for (size_t i = 0; i < count; i++) {
        BYTE a[2] = {middle[i], bottom[i]};
        BYTE b[3] = {top[i + x1], middle[i + x1], bottom[i + x1]};
        BYTE c[3] = {top[i + x2], middle[i + x2], bottom[i + x2]};
        Order(a[0], a[1]);
        Order(b[1], b[2]);
        Order(b[0], b[1]);
        Order(b[1], b[2]);
        Order(c[1], c[2]);
        Order(c[0], c[1]);
        Order(c[1], c[2]);
        Order(b[0], c[0]);  // the smallest of the six goes to b[0], the greatest to c[2]
        Order(b[2], c[2]);
        Order(b[1], c[1]);
        Order(b[1], c[0]);  // b[1], the second smallest
        Order(c[1], b[2]);  // c[0] and c[1], the third and fourth in either order
        Order(c[0], c[1]);
        BYTE best = c[1];
        best = LesserByte(best, GreaterByte(a[0], c[0]));
        best = LesserByte(best, GreaterByte(a[1], b[1]));
        out[i] = best;
    }
}

static void Median5(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    (void)pRule;
    MergeRows<5, 5>(pRows->column + step, pRows->column + 2 * step, pRows->pair,
                    WholeVectors(count + 2 * step));
    SelectRows<4, 10, 10, 12>(pRows->part, pRows->pair, pRows->pair + 2 * step, pRows->result,
                              WholeVectors(count));
}

static void Median7(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    (void)pRule;
    MergeRows<7, 7>(pRows->column + step, pRows->column + 2 * step, pRows->pair,
                    WholeVectors(count + 4 * step));
    MergeRows<14, 14>(pRows->pair + 2 * step, pRows->pair + 4 * step, pRows->quad,
                      WholeVectors(count));
    SelectRows<6, 14, 28, 24>(pRows->part, pRows->pair, pRows->quad, pRows->result,
                              WholeVectors(count));
}

static void Median9(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    (void)pRule;
    MergeRows<9, 9>(pRows->column + step, pRows->column + 2 * step, pRows->pair,
                    WholeVectors(count + 6 * step));
    MergeRows<18, 18>(pRows->pair, pRows->pair + 2 * step, pRows->quad,
                      WholeVectors(count + 4 * step));
    SelectRows<8, 36, 36, 40>(pRows->part, pRows->quad, pRows->quad + 4 * step, pRows->result,
                              WholeVectors(count));
}

// ---- trimmed mean -------------------------------------------------------------------------------

// The window's sorted samples lie in pRows->window; those between the trimmed ends are averaged.
static void AverageRows(SortedRows *pRows, size_t count, const SquareRule *pRule)
{
    const DWORD nSamples = pRule->nSize * pRule->nSize;
    const double divisor = nSamples - 2 * pRule->nTrim;
    WORD *__restrict sums = pRows->sums;
    memset(sums, 0, sizeof pRows->sums);
    for (DWORD k = pRule->nTrim; k < nSamples - pRule->nTrim; k++) {
        const BYTE *row = pRows->window + k * STRIDE;
        for (size_t i = 0; i < count; i++) {
            sums[i] = (WORD)(sums[i] + row[i]);
        }
    }
    for (size_t i = 0; i < count; i++) {
        pRows->result[i] = (BYTE)((double)sums[i] / divisor + 0.5);
    }
}

static void TrimmedMean3(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    MergeRows<3, 3>(pRows->column, pRows->column + step, pRows->pair, WholeVectors(count));
    MergeRows<6, 3>(pRows->pair, pRows->column + 2 * step, pRows->window, WholeVectors(count));
    AverageRows(pRows, WholeVectors(count), pRule);
}

static void TrimmedMean5(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    MergeRows<5, 5>(pRows->column, pRows->column + step, pRows->pair,
                    WholeVectors(count + 2 * step));
    MergeRows<10, 10>(pRows->pair, pRows->pair + 2 * step, pRows->quad, WholeVectors(count));
    MergeRows<20, 5>(pRows->quad, pRows->column + 4 * step, pRows->window, WholeVectors(count));
    AverageRows(pRows, WholeVectors(count), pRule);
}

static void TrimmedMean7(SortedRows *pRows, size_t step, size_t count, const SquareRule *pRule)
{
    MergeRows<7, 7>(pRows->column, pRows->column + step, pRows->pair,
                    WholeVectors(count + 4 * step));
    MergeRows<14, 14>(pRows->pair, pRows->pair + 2 * step, pRows->quad, WholeVectors(count));
    MergeRows<14, 7>(pRows->pair + 4 * step, pRows->column + 6 * step, pRows->rest,
                     WholeVectors(count));
    MergeRows<28, 21>(pRows->quad, pRows->rest, pRows->window, WholeVectors(count));
    AverageRows(pRows, WholeVectors(count), pRule);
}

const NetworkKernels NETWORK_KERNELS = {
    {{},
     {NoBytes, Median3},
     {SortedRowsBytes, RunBlocks<5, Median5>},
     {SortedRowsBytes, RunBlocks<7, Median7>},
     {SortedRowsBytes, RunBlocks<9, Median9>}},
    {{},
     {SortedRowsBytes, RunBlocks<3, TrimmedMean3>},
     {SortedRowsBytes, RunBlocks<5, TrimmedMean5>},
     {SortedRowsBytes, RunBlocks<7, TrimmedMean7>},
     {}},
};

}  // namespace KERNEL_LEVEL
