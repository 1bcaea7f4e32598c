// Median, trimmed mean and double-window trimmed mean of square windows of any size, at a cost that
// hardly depends on it.
//
// Every column of the picture that the windows touch keeps counts of its samples in them: how many
// are at most so bright. Counts that only grow with the level need no summing when a rank is looked
// for, and a sample comes and goes with one addition of a constant row of noughts and ones. There
// are two kinds: coarse counts up to the end of each segment of sixteen levels, and fine counts
// from the start of a segment up to each of its levels.
//
// From row to row each column gains a sample above and loses one below. Along a row the window
// gains a column and loses one, which updates its coarse counts; the first that reaches the rank
// names the segment, and only that segment's fine counts are needed. They slide with the window as
// long as the segment stays the same. The segment left behind is put aside and brought up to date
// when it is needed again: by the columns passed since, or from scratch if those are many.
//
// The trimmed mean takes the sum of the k lowest samples for two ranks k. With c(l) samples of
// level l or less that is the sum of max(0, k - c(l)) over all levels: over whole segments it comes
// from sums that each column keeps as well, and within the segment from the fine counts.
//
// The double window needs the number and the sum of the large window's samples up to two levels.
// Both come the same way: the sum of those up to l is (l + 1) c(l) less the sum of c over all
// levels to l.
//
// Columns count in bytes and windows in words up to 255 x 255; larger windows take words and double
// words, in plain loops. State is kept by channel: a channel's columns are neighbours.

#include "adaptive_kernels.h"
#include "rank_kernels.h"

#include <string.h>

namespace KERNEL_LEVEL
{

// Into each of the loops over a row, however many there are.
#define INLINE static inline __attribute__((always_inline))

enum {
    SEGMENT = 16,  // levels in a segment
    SEGMENTS = 16
};

// ---- sixteen numbers ----------------------------------------------------------------------------

struct SixteenDwords {
    DWORD at[16];
};

template <typename T> static inline void LoadSixteen(SixteenDwords *a, const T *p)
{
    for (int i = 0; i < 16; i++) {
        a->at[i] = p[i];
    }
}

static inline void StoreSixteen(DWORD *p, const SixteenDwords &a)
{
    for (int i = 0; i < 16; i++) {
        p[i] = a.at[i];
    }
}

static inline SixteenDwords Add(const SixteenDwords &a, const SixteenDwords &b)
{
    SixteenDwords sum;
    for (int i = 0; i < 16; i++) {
        sum.at[i] = a.at[i] + b.at[i];
    }
    return sum;
}

static inline SixteenDwords Subtract(const SixteenDwords &a, const SixteenDwords &b)
{
    SixteenDwords difference;
    for (int i = 0; i < 16; i++) {
        difference.at[i] = a.at[i] - b.at[i];
    }
    return difference;
}

static inline SixteenDwords And(const SixteenDwords &a, const SixteenDwords &b)
{
    SixteenDwords both;
    for (int i = 0; i < 16; i++) {
        both.at[i] = a.at[i] & b.at[i];
    }
    return both;
}

static inline SixteenDwords Shortfalls(const SixteenDwords &a, DWORD limit)
{
    SixteenDwords shortfalls;
    for (int i = 0; i < 16; i++) {
        shortfalls.at[i] = a.at[i] < limit ? limit - a.at[i] : 0;
    }
    return shortfalls;
}

static inline unsigned FirstToReach(const SixteenDwords &a, DWORD limit)
{
    unsigned nBefore = 0;
    for (int i = 0; i < 15; i++) {
        nBefore += a.at[i] < limit;
    }
    return nBefore;
}

// The types of counts: a column's, in its fine and its coarse counts; a window's, sixteen at once;
// and of sums of levels.
struct NarrowCounts {
    typedef BYTE Fine;
    typedef WORD Coarse;
    typedef SixteenWords Sixteen;
    typedef DWORD Sum;
};

struct WideCounts {
    typedef WORD Fine;
    typedef DWORD Coarse;
    typedef SixteenDwords Sixteen;
    typedef ULONGLONG Sum;
};

// The counts of a window up to the end of the segment before each. Those of the segments
// themselves, which are stored at once, lie in a line of the cache.
template <typename T> struct ReachedCounts {
    alignas(SEGMENTS * sizeof(T)) T at[2 * SEGMENTS];
};

template <typename T> INLINE T *ReachedBefore(ReachedCounts<T> *pReached)
{
    pReached->at[SEGMENTS - 1] = 0;
    return pReached->at + SEGMENTS - 1;
}

// Short of registers, compilers store a byte and load it as a double word at once, which stalls. So
// it is one before.
INLINE unsigned LevelAt(const BYTE *p)
{
    unsigned level = *p;
    __asm__("" : "+r"(level));
    return level;
}

// ---- columns ------------------------------------------------------------------------------------

// Row j: 1 from place j on. The last row is all 0.
template <typename T> struct StepRows {
    T at[SEGMENTS + 1][SEGMENTS];
};

template <typename T> static constexpr StepRows<T> MakeSteps(void)
{
    StepRows<T> steps = {};
    for (int j = 0; j < SEGMENTS; j++) {
        for (int i = j; i < SEGMENTS; i++) {
            steps.at[j][i] = 1;
        }
    }
    return steps;
}

template <typename T> static constexpr StepRows<T> STEPS = MakeSteps<T>();

// Row j: all bits up to place j.
template <typename T> static constexpr StepRows<T> MakePrefixes(void)
{
    StepRows<T> prefixes = {};
    for (int j = 0; j < SEGMENTS; j++) {
        for (int i = 0; i <= j; i++) {
            prefixes.at[j][i] = (T)-1;
        }
    }
    return prefixes;
}

template <typename T> static constexpr StepRows<T> PREFIXES = MakePrefixes<T>();

// Row l: how far level l lies below the start of each segment.
template <typename T> struct DepthRows {
    T at[256][SEGMENTS];
};

template <typename T> static constexpr DepthRows<T> MakeDepths(void)
{
    DepthRows<T> depths = {};
    for (int level = 0; level < 256; level++) {
        for (int i = level / SEGMENT + 1; i < SEGMENTS; i++) {
            depths.at[level][i] = (T)(i * SEGMENT - level);
        }
    }
    return depths;
}

template <typename T> static constexpr DepthRows<T> DEPTHS = MakeDepths<T>();

// The counts of one channel's columns: coarse[x], depths[x] (their sums of DEPTHS; null if the
// filter needs none) and fine[segment][x], sixteen numbers each.
template <typename COUNTS> struct Columns {
    size_t count;
    typename COUNTS::Coarse *coarse;
    typename COUNTS::Coarse *depths;
    typename COUNTS::Fine *fine;
};

template <typename COUNTS>
INLINE typename COUNTS::Fine *FineCounts(const Columns<COUNTS> *pColumns, unsigned segment,
                                         size_t x)
{
    return pColumns->fine + (segment * pColumns->count + x) * SEGMENT;
}

// One vector, or two.
template <typename T> struct RowOf {
    typedef T Vector __attribute__((vector_size(SEGMENT * sizeof(T))));
};

template <typename T> INLINE void AddRow(T *counts, const T *added)
{
    typename RowOf<T>::Vector sum, more;
    memcpy(&sum, counts, sizeof sum);
    memcpy(&more, added, sizeof more);
    sum += more;
    memcpy(counts, &sum, sizeof sum);
}

template <typename T> INLINE void SubtractRow(T *counts, const T *lost)
{
    typename RowOf<T>::Vector difference, less;
    memcpy(&difference, counts, sizeof difference);
    memcpy(&less, lost, sizeof less);
    difference -= less;
    memcpy(counts, &difference, sizeof difference);
}

template <typename COUNTS>
INLINE void GainSamples(const Columns<COUNTS> *pColumns, const BYTE *line, size_t step)
{
    typedef typename COUNTS::Coarse Coarse;
    typedef typename COUNTS::Fine Fine;
    for (size_t x = 0; x < pColumns->count - 1; x++) {
        const unsigned level = LevelAt(line + x * step);
        AddRow(pColumns->coarse + x * SEGMENTS, STEPS<Coarse>.at[level / SEGMENT]);
        AddRow(FineCounts(pColumns, level / SEGMENT, x), STEPS<Fine>.at[level % SEGMENT]);
        if (pColumns->depths != NULL) {
            AddRow(pColumns->depths + x * SEGMENTS, DEPTHS<Coarse>.at[level]);
        }
    }
}

template <typename COUNTS>
INLINE void LoseSamples(const Columns<COUNTS> *pColumns, const BYTE *line, size_t step)
{
    typedef typename COUNTS::Coarse Coarse;
    typedef typename COUNTS::Fine Fine;
    for (size_t x = 0; x < pColumns->count - 1; x++) {
        const unsigned level = LevelAt(line + x * step);
        SubtractRow(pColumns->coarse + x * SEGMENTS, STEPS<Coarse>.at[level / SEGMENT]);
        SubtractRow(FineCounts(pColumns, level / SEGMENT, x), STEPS<Fine>.at[level % SEGMENT]);
        if (pColumns->depths != NULL) {
            SubtractRow(pColumns->depths + x * SEGMENTS, DEPTHS<Coarse>.at[level]);
        }
    }
}

// ---- the segment that a rank falls into ---------------------------------------------------------

static constexpr size_t NEVER = (size_t)-1;

// The fine counts of one segment in the window at hand.
template <typename COUNTS> struct Segment {
    typename COUNTS::Sixteen counts;
    unsigned nNumber;
};

// Those of the segments left behind, each as of the window whose first column was at.
template <typename COUNTS> struct PutAside {
    typename COUNTS::Sixteen counts[SEGMENTS];
    size_t at[SEGMENTS];
};

template <typename COUNTS>
INLINE typename COUNTS::Sixteen Slide(const typename COUNTS::Sixteen &counts,
                                      const typename COUNTS::Fine *segment, size_t x, size_t nSize)
{
    typename COUNTS::Sixteen gained, lost;
    LoadSixteen(&gained, segment + (x + nSize) * SEGMENT);
    LoadSixteen(&lost, segment + x * SEGMENT);
    return Subtract(Add(counts, gained), lost);
}

// Brings a segment's counts from the window at nFrom to the one at x.
template <typename COUNTS>
static __attribute__((noinline)) void CatchUp(typename COUNTS::Sixteen *pCounts,
                                              const typename COUNTS::Fine *segment, size_t nFrom,
                                              size_t x, size_t nSize)
{
    typename COUNTS::Sixteen counts = *pCounts;
    if (nFrom == NEVER || 2 * (x - nFrom) >= nSize) {
        LoadSixteen(&counts, segment + x * SEGMENT);
        for (size_t i = 1; i < nSize; i++) {
            typename COUNTS::Sixteen column;
            LoadSixteen(&column, segment + (x + i) * SEGMENT);
            counts = Add(counts, column);
        }
    } else {
        for (; nFrom < x; nFrom++) {
            counts = Slide<COUNTS>(counts, segment, nFrom, nSize);
        }
    }
    *pCounts = counts;
}

template <typename COUNTS>
INLINE void BeginSegment(const Columns<COUNTS> *pColumns, Segment<COUNTS> *pSegment,
                         PutAside<COUNTS> *pAside, size_t nSize)
{
    for (size_t &at : pAside->at) {
        at = NEVER;
    }
    pSegment->nNumber = 0;
    CatchUp<COUNTS>(&pAside->counts[0], FineCounts(pColumns, 0, 0), NEVER, 0, nSize);
    pSegment->counts = pAside->counts[0];
}

template <typename COUNTS>
INLINE void TurnToSegment(const Columns<COUNTS> *pColumns, Segment<COUNTS> *pSegment,
                          PutAside<COUNTS> *pAside, unsigned nNumber, size_t x, size_t nSize)
{
    if (__builtin_expect(nNumber != pSegment->nNumber, 0)) {
        pAside->counts[pSegment->nNumber] = pSegment->counts;
        pAside->at[pSegment->nNumber] = x;
        CatchUp<COUNTS>(&pAside->counts[nNumber], FineCounts(pColumns, nNumber, 0),
                        pAside->at[nNumber], x, nSize);
        pSegment->counts = pAside->counts[nNumber];
        pSegment->nNumber = nNumber;
    }
}

template <typename COUNTS>
INLINE typename COUNTS::Sixteen FirstWindow(const Columns<COUNTS> *pColumns, size_t nSize)
{
    typename COUNTS::Sixteen window, column;
    LoadSixteen(&window, pColumns->coarse);
    for (size_t x = 1; x < nSize; x++) {
        LoadSixteen(&column, pColumns->coarse + x * SEGMENTS);
        window = Add(window, column);
    }
    return window;
}

// From the window whose first column is x to the next.
template <typename COUNTS>
INLINE typename COUNTS::Sixteen NextWindow(const Columns<COUNTS> *pColumns,
                                           const typename COUNTS::Sixteen &window, size_t x,
                                           size_t nSize)
{
    typename COUNTS::Sixteen gained, lost;
    LoadSixteen(&gained, pColumns->coarse + (x + nSize) * SEGMENTS);
    LoadSixteen(&lost, pColumns->coarse + x * SEGMENTS);
    return Subtract(Add(window, gained), lost);
}

template <typename COUNTS>
INLINE void FirstDepths(const Columns<COUNTS> *pColumns, typename COUNTS::Sum *depths, size_t nSize)
{
    for (size_t i = 0; i < nSize * SEGMENTS; i++) {
        depths[i % SEGMENTS] += pColumns->depths[i];
    }
}

template <typename COUNTS>
INLINE void MoveDepths(const Columns<COUNTS> *pColumns, typename COUNTS::Sum *__restrict depths,
                       size_t x, size_t nSize)
{
    for (size_t i = 0; i < SEGMENTS; i++) {
        depths[i] += pColumns->depths[(x + nSize) * SEGMENTS + i] -
                     (typename COUNTS::Sum)pColumns->depths[x * SEGMENTS + i];
    }
}

// ---- median -------------------------------------------------------------------------------------

// The top left sample is left out: its steps are taken off the counts that are looked at.
template <typename COUNTS>
static void MedianRow(const Columns<COUNTS> *pColumns, const BYTE *top, size_t step, BYTE *out,
                      size_t nPixels, const SquareRule *pRule)
{
    typedef typename COUNTS::Coarse Coarse;
    const size_t nSize = pRule->nSize;
    const DWORD nRank = pRule->nSize * pRule->nSize / 2;
    ReachedCounts<Coarse> reachedCounts;
    Coarse *const reached = ReachedBefore(&reachedCounts);
    Segment<COUNTS> segment;
    PutAside<COUNTS> aside;
    typename COUNTS::Sixteen window = FirstWindow(pColumns, nSize);
    typename COUNTS::Sixteen steps;
    BeginSegment(pColumns, &segment, &aside, nSize);
    for (size_t x = 0; x < nPixels; x++) {
        const unsigned first = LevelAt(top + x * step);
        LoadSixteen(&steps, STEPS<Coarse>.at[first / SEGMENT]);
        const typename COUNTS::Sixteen others = Subtract(window, steps);
        StoreSixteen(reached + 1, others);
        TurnToSegment(pColumns, &segment, &aside, FirstToReach(others, nRank), x, nSize);
        const unsigned nNumber = segment.nNumber;
        const unsigned row = first / SEGMENT == nNumber ? first % SEGMENT : (unsigned)SEGMENTS;
        LoadSixteen(&steps, STEPS<Coarse>.at[row]);
        out[x * step] = (BYTE)(nNumber * SEGMENT + FirstToReach(Subtract(segment.counts, steps),
                                                                nRank - reached[nNumber]));
        segment.counts = Slide<COUNTS>(segment.counts, FineCounts(pColumns, nNumber, 0), x, nSize);
        window = NextWindow(pColumns, window, x, nSize);
    }
}

// ---- trimmed mean -------------------------------------------------------------------------------

INLINE ULONGLONG SumOf(const SixteenDwords &a)
{
    ULONGLONG sum = 0;
    for (int i = 0; i < 16; i++) {
        sum += a.at[i];
    }
    return sum;
}

// The sum of the window's nRank lowest samples.
template <typename COUNTS>
INLINE typename COUNTS::Sum
SumOfLowest(const Columns<COUNTS> *pColumns, DWORD nRank, const typename COUNTS::Sixteen &window,
            const typename COUNTS::Coarse *reached, const typename COUNTS::Sum *depths,
            Segment<COUNTS> *pSegment, PutAside<COUNTS> *pAside, size_t x, size_t nSize)
{
    typedef typename COUNTS::Sum Sum;
    TurnToSegment(pColumns, pSegment, pAside, FirstToReach(window, nRank), x, nSize);
    const unsigned nNumber = pSegment->nNumber;
    const Sum nBefore = (Sum)nNumber * SEGMENT * nRank - depths[nNumber];
    const Sum nWithin = SumOf(Shortfalls(pSegment->counts, nRank - reached[nNumber]));
    pSegment->counts = Slide<COUNTS>(pSegment->counts, FineCounts(pColumns, nNumber, 0), x, nSize);
    return nBefore + nWithin;
}

template <typename COUNTS>
static void TrimmedMeanRow(const Columns<COUNTS> *pColumns, const BYTE *top, size_t step, BYTE *out,
                           size_t nPixels, const SquareRule *pRule)
{
    typedef typename COUNTS::Sum Sum;
    const size_t nSize = pRule->nSize;
    const DWORD nSamples = pRule->nSize * pRule->nSize;
    const double divisor = nSamples - 2 * pRule->nTrim;
    ReachedCounts<typename COUNTS::Coarse> reachedCounts;
    typename COUNTS::Coarse *const reached = ReachedBefore(&reachedCounts);
    Sum depths[SEGMENTS] = {0};
    Segment<COUNTS> low, high;
    PutAside<COUNTS> lowAside, highAside;
    typename COUNTS::Sixteen window = FirstWindow(pColumns, nSize);
    (void)top;
    BeginSegment(pColumns, &low, &lowAside, nSize);
    BeginSegment(pColumns, &high, &highAside, nSize);
    FirstDepths(pColumns, depths, nSize);
    for (size_t x = 0; x < nPixels; x++) {
        StoreSixteen(reached + 1, window);
        const Sum nLow =
            SumOfLowest(pColumns, pRule->nTrim, window, reached, depths, &low, &lowAside, x, nSize);
        const Sum nHigh = SumOfLowest(pColumns, nSamples - pRule->nTrim, window, reached, depths,
                                      &high, &highAside, x, nSize);
        // No more than 255, unless the host changes the picture meanwhile.
        const double mean = (double)(nHigh - nLow) / divisor + 0.5;
        out[x * step] = (BYTE)(mean < 255 ? mean : 255);
        MoveDepths(pColumns, depths, x, nSize);
        window = NextWindow(pColumns, window, x, nSize);
    }
}

// ---- double window ------------------------------------------------------------------------------

// The median of all samples.
template <typename COUNTS>
INLINE int WholeMedian(const Columns<COUNTS> *pColumns, const typename COUNTS::Sixteen &window,
                       DWORD nRank, Segment<COUNTS> *pSegment, PutAside<COUNTS> *pAside, size_t x,
                       size_t nSize)
{
    ReachedCounts<typename COUNTS::Coarse> reachedCounts;
    typename COUNTS::Coarse *const reached = ReachedBefore(&reachedCounts);
    StoreSixteen(reached + 1, window);
    TurnToSegment(pColumns, pSegment, pAside, FirstToReach(window, nRank), x, nSize);
    const unsigned nNumber = pSegment->nNumber;
    const unsigned row = FirstToReach(pSegment->counts, nRank - reached[nNumber]);
    pSegment->counts = Slide<COUNTS>(pSegment->counts, FineCounts(pColumns, nNumber, 0), x, nSize);
    return (int)(nNumber * SEGMENT + row);
}

template <typename COUNTS> struct Lowest {
    typename COUNTS::Sum count;
    typename COUNTS::Sum sum;
};

// The window's samples up to a level; none up to level -1.
template <typename COUNTS>
INLINE Lowest<COUNTS> LowestTo(const Columns<COUNTS> *pColumns, int level,
                               const typename COUNTS::Coarse *reached,
                               const typename COUNTS::Sum *depths, Segment<COUNTS> *pSegment,
                               PutAside<COUNTS> *pAside, size_t x, size_t nSize)
{
    typedef typename COUNTS::Sum Sum;
    typename COUNTS::Sixteen prefix;
    typename COUNTS::Coarse counts[SEGMENTS];
    if (level >= 0) {
        TurnToSegment(pColumns, pSegment, pAside, (unsigned)level / SEGMENT, x, nSize);
    }
    const unsigned nNumber = pSegment->nNumber;
    const unsigned row = (unsigned)level % SEGMENT;
    LoadSixteen(&prefix, PREFIXES<typename COUNTS::Coarse>.at[row]);
    StoreSixteen(counts, pSegment->counts);
    const Sum count = (Sum)reached[nNumber] + counts[row];
    const Sum nDepth = depths[nNumber] + (Sum)(row + 1) * reached[nNumber] +
                       (Sum)SumOf(And(pSegment->counts, prefix));
    pSegment->counts = Slide<COUNTS>(pSegment->counts, FineCounts(pColumns, nNumber, 0), x, nSize);
    return level < 0 ? Lowest<COUNTS>{0, 0}
                     : Lowest<COUNTS>{count, (Sum)(level + 1) * count - nDepth};
}

template <typename COUNTS>
static void DoubleWindowRow(const Columns<COUNTS> *pSmall, const Columns<COUNTS> *pLarge,
                            size_t step, BYTE *out, size_t nPixels, const TrimRule *pRule)
{
    const size_t nSmall = (size_t)pRule->nSmall, nLarge = (size_t)pRule->nLarge;
    const DWORD nRank = (DWORD)(nSmall * nSmall / 2 + 1);
    ReachedCounts<typename COUNTS::Coarse> reachedCounts;
    typename COUNTS::Coarse *const reached = ReachedBefore(&reachedCounts);
    typename COUNTS::Sum depths[SEGMENTS] = {0};
    Segment<COUNTS> middle, low, high;
    PutAside<COUNTS> middleAside, lowAside, highAside;
    typename COUNTS::Sixteen inner = FirstWindow(pSmall, nSmall);
    typename COUNTS::Sixteen window = FirstWindow(pLarge, nLarge);
    BeginSegment(pSmall, &middle, &middleAside, nSmall);
    BeginSegment(pLarge, &low, &lowAside, nLarge);
    BeginSegment(pLarge, &high, &highAside, nLarge);
    FirstDepths(pLarge, depths, nLarge);
    for (size_t x = 0; x < nPixels; x++) {
        const int median = WholeMedian(pSmall, inner, nRank, &middle, &middleAside, x, nSmall);
        const int least = median - pRule->nTrim, most = median + pRule->nTrim;
        StoreSixteen(reached + 1, window);
        const Lowest<COUNTS> below = LowestTo(pLarge, least > 0 ? least - 1 : -1, reached, depths,
                                              &low, &lowAside, x, nLarge);
        const Lowest<COUNTS> all = LowestTo(pLarge, most < 255 ? most : 255, reached, depths, &high,
                                            &highAside, x, nLarge);
        // The median is among the samples, unless the host changes the picture meanwhile.
        const typename COUNTS::Sum count = all.count - below.count;
        out[x * step] = (BYTE)(count != 0 ? (all.sum - below.sum) / count : 0);
        inner = NextWindow(pSmall, inner, x, nSmall);
        window = NextWindow(pLarge, window, x, nLarge);
        MoveDepths(pLarge, depths, x, nLarge);
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// A channel's columns and an empty one behind them, into which the last window slides.
template <typename COUNTS, int WITH_DEPTHS> static ULONGLONG ColumnsBytes(ULONGLONG nColumns)
{
    return nColumns * SEGMENTS *
           (sizeof(typename COUNTS::Coarse) * (1 + WITH_DEPTHS) +
            SEGMENT * sizeof(typename COUNTS::Fine));
}

template <typename COUNTS, int WITH_DEPTHS>
static size_t HistogramBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    (void)pFilter;
    return StateSize(ColumnsBytes<COUNTS, WITH_DEPTHS>(nSamples + (ULONGLONG)step));
}

template <typename COUNTS, int WITH_DEPTHS>
static Columns<COUNTS> ColumnsAt(BYTE *memory, size_t nColumns)
{
    Columns<COUNTS> columns = {};
    columns.count = nColumns;
    columns.coarse = (typename COUNTS::Coarse *)(void *)memory;
    typename COUNTS::Coarse *end = columns.coarse + nColumns * SEGMENTS;
    if (WITH_DEPTHS) {
        columns.depths = end;
        end += nColumns * SEGMENTS;
    }
    columns.fine = (typename COUNTS::Fine *)(void *)end;
    return columns;
}

// lines: from the window's top line on, and the one that it has just left.
template <typename COUNTS>
INLINE void MoveRows(const Columns<COUNTS> *pColumns, const BYTE *const *lines, size_t offset,
                     size_t step, size_t nSize, int bFirst)
{
    for (size_t k = 0; k < (bFirst ? nSize : 1); k++) {
        GainSamples(pColumns, lines[k] + offset, step);
    }
    if (!bFirst) {
        LoseSamples(pColumns, lines[nSize] + offset, step);
    }
}

template <typename COUNTS, int WITH_DEPTHS,
          void (*ROW)(const Columns<COUNTS> *, const BYTE *, size_t, BYTE *, size_t,
                      const SquareRule *)>
static void RunHistograms(void *pState, const NeighbourhoodFilter *pFilter,
                          const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                          int bFirst)
{
    const SquareRule *pRule = (const SquareRule *)pFilter->pParameters;
    const size_t channels = (size_t)step;
    const size_t nPixels = count / channels;
    for (size_t c = 0; c < channels; c++) {
        const size_t nColumns = nPixels + pRule->nSize;
        const Columns<COUNTS> columns = ColumnsAt<COUNTS, WITH_DEPTHS>(
            (BYTE *)pState + c * (size_t)ColumnsBytes<COUNTS, WITH_DEPTHS>(nColumns), nColumns);
        MoveRows(&columns, lines, c, channels, pRule->nSize, bFirst);
        ROW(&columns, lines[0] + c, channels, out + c, nPixels, pRule);
    }
}

// The small window's columns and the large one's.
template <typename COUNTS>
static size_t DoubleWindowBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    const ULONGLONG nColumns = nSamples + (ULONGLONG)step;
    (void)pFilter;
    return StateSize(ColumnsBytes<COUNTS, 0>(nColumns) + ColumnsBytes<COUNTS, 1>(nColumns));
}

template <typename COUNTS>
static void RunDoubleWindow(void *pState, const NeighbourhoodFilter *pFilter,
                            const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                            int bFirst)
{
    const TrimRule *pRule = (const TrimRule *)pFilter->pParameters;
    const size_t channels = (size_t)step, nPixels = count / channels;
    const size_t nSmall = (size_t)pRule->nSmall, nLarge = (size_t)pRule->nLarge;
    const size_t nInset = (size_t)pRule->nInset;
    BYTE *memory = (BYTE *)pState;
    for (size_t c = 0; c < channels; c++) {
        const Columns<COUNTS> small = ColumnsAt<COUNTS, 0>(memory, nPixels + nSmall);
        memory += ColumnsBytes<COUNTS, 0>(nPixels + nSmall);
        const Columns<COUNTS> large = ColumnsAt<COUNTS, 1>(memory, nPixels + nLarge);
        memory += ColumnsBytes<COUNTS, 1>(nPixels + nLarge);
        MoveRows(&small, lines + nInset, nInset * channels + c, channels, nSmall, bFirst);
        MoveRows(&large, lines, c, channels, nLarge, bFirst);
        DoubleWindowRow(&small, &large, channels, out + c, nPixels, pRule);
    }
}

const HistogramKernels HISTOGRAM_KERNELS = {
    {HistogramBytes<NarrowCounts, 0>, RunHistograms<NarrowCounts, 0, MedianRow<NarrowCounts>>},
    {HistogramBytes<WideCounts, 0>, RunHistograms<WideCounts, 0, MedianRow<WideCounts>>},
    {HistogramBytes<NarrowCounts, 1>, RunHistograms<NarrowCounts, 1, TrimmedMeanRow<NarrowCounts>>},
    {HistogramBytes<WideCounts, 1>, RunHistograms<WideCounts, 1, TrimmedMeanRow<WideCounts>>},
    {DoubleWindowBytes<NarrowCounts>, RunDoubleWindow<NarrowCounts>},
    {DoubleWindowBytes<WideCounts>, RunDoubleWindow<WideCounts>},
};

}  // namespace KERNEL_LEVEL
