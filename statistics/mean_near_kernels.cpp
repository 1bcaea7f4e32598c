// The mean filters by near sums: whole numbers close to a rule's sums run along with the window
// (mean_running.h) and decide almost every level. Plain loops, compiled once per instruction set
// into the namespace KERNEL_LEVEL.
//
// Row by row: the column sums are brought up to date and cut off where a zero sample would swamp
// them; window sums are made of them block by block, and levels of those. Undecided pixels are put
// together sample by sample. Where they are many (flat areas lie exactly on a limit of some means)
// the whole block is put together in order, its pixels side by side.

#include "frame/intops.h"
#include "mean_forms.h"
#include "mean_running.h"

#include <string.h>

namespace KERNEL_LEVEL
{

enum {
    NEAR_BLOCK = 256,
    MOST_BLOCK_ROWS = 64  // of windows whose blocks are put together in order
};

// ---- memory -------------------------------------------------------------------------------------

// Where things are in the state's memory, in bytes from its start. scratch: the state of blocks
// that are put together in order.
struct NearLayout {
    size_t columns[2];  // their running sums
    size_t cut[2];      // the same, cut off
    size_t spares[2];
    size_t sums[2];
    size_t scratch;
};

static size_t Place(size_t *pNext, size_t count)
{
    const size_t at = *pNext;
    *pNext += WholeVectors(count * sizeof(double));
    return at;
}

static NearLayout LayOutNear(const MeanRule *pRule, size_t nSamples, size_t step)
{
    NearLayout layout = {};
    size_t next = 0;
    for (int s = 0; s < pRule->pNear->nSums; s++) {
        layout.columns[s] = Place(&next, nSamples);
        layout.cut[s] = Place(&next, nSamples);
    }
    for (int s = 0; s < 2; s++) {
        layout.spares[s] = Place(&next, RunningSpare((size_t)pRule->nColumns, step));
        layout.sums[s] = Place(&next, NEAR_BLOCK);
    }
    layout.scratch = next;
    return layout;
}

static size_t NearStateBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    const MeanRule *pRule = (const MeanRule *)pFilter->pParameters;
    const size_t nBlock = NEAR_BLOCK + (size_t)(pRule->nColumns - 1) * (size_t)step;
    return LayOutNear(pRule, nSamples, (size_t)step).scratch +
           (pRule->nRows <= MOST_BLOCK_ROWS ? OrderedStateBytes(pFilter, nBlock, step) : 0);
}

// ---- levels -------------------------------------------------------------------------------------

// The two widths of sums, under the same names.
static inline const int32_t *TermsOf(const NearSum *p, int s, int32_t)
{
    return p->shortTerms[s];
}

static inline const double *TermsOf(const NearSum *p, int s, double)
{
    return p->terms[s];
}

static inline int32_t MostOf(const NearSum *p, int s, int32_t)
{
    return p->shortMost[s];
}

static inline double MostOf(const NearSum *p, int s, double)
{
    return p->most[s];
}

template <class Sum>
static void FindCells(const NearSum *pNear, const Sum *__restrict sums, int32_t *__restrict cells,
                      int32_t *__restrict places, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        const float value = (float)sums[i];
        const float above = value > pNear->fLeast ? value : pNear->fLeast;
        const float inside = above < pNear->fMost ? above : pNear->fMost;
        int32_t bits;
        memcpy(&bits, &inside, sizeof bits);
        cells[i] = (bits - pNear->nFirstBits) >> NEAR_CELL_SHIFT;
        places[i] = bits & (NEAR_CELL_SIZE - 1);
    }
}

// How far a sum lies beyond the limit in its cell, below 0 before it, and for how far it is not
// certain.
static inline int32_t Beyond(uint32_t entry, int32_t place)
{
    return place - (int32_t)(entry & ((1u << NEAR_LIMIT_BITS) - 1));
}

static inline int32_t Width(uint32_t entry)
{
    return (int32_t)(entry >> (NEAR_LIMIT_BITS - 2)) & NEAR_MOST_WIDTH;
}

// What a block's pixels are found to be: levels, and where those are uncertain.
struct BlockLevels {
    BYTE bOpen[NEAR_BLOCK + sizeof(uint64_t)];
    uint16_t open[NEAR_BLOCK];
    size_t nOpen;
};

static size_t CountOpen(const BYTE *bOpen, size_t count)
{
    uint32_t nOpen = 0;
    for (size_t i = 0; i < count; i++) {
        nOpen += bOpen[i];
    }
    return nOpen;
}

static void ListOpen(BlockLevels *p, size_t count)
{
    memset(p->bOpen + count, 0, sizeof(uint64_t));
    p->nOpen = 0;
    for (size_t i = 0; i < count; i += sizeof(uint64_t)) {
        uint64_t eight;
        memcpy(&eight, p->bOpen + i, sizeof eight);
        for (size_t j = i; eight != 0; j++, eight >>= 8) {
            p->open[p->nOpen] = (uint16_t)j;
            p->nOpen += eight & 1;
        }
    }
}

template <class Sum>
static void StepLevels(const NearSum *pNear, const Sum *__restrict sums, BYTE *__restrict out,
                       size_t count, BlockLevels *__restrict p)
{
    const uint32_t flip = (uint32_t)pNear->nFlip;
    int32_t cells[NEAR_BLOCK], places[NEAR_BLOCK];
    uint32_t entries[NEAR_BLOCK];
    FindCells(pNear, sums, cells, places, count);
    for (size_t i = 0; i < count; i++) {
        entries[i] = pNear->cells[cells[i]];
    }
    for (size_t i = 0; i < count; i++) {
        const int32_t beyond = Beyond(entries[i], places[i]);
        const uint32_t rank = (entries[i] >> NEAR_RANK_SHIFT) + (beyond >= 0 ? 1 : 0);
        p->bOpen[i] = (beyond >= 0) & (beyond < Width(entries[i]));
        out[i] = (BYTE)(rank ^ flip);
    }
    p->nOpen = CountOpen(p->bOpen, count);
}

// A lower sum of 0 is that of zeros alone, and then so is the upper one. None is negative, unless
// the host has changed the picture meanwhile.
template <class Sum> static inline float Quotient(Sum upper, Sum lower)
{
    return (float)(upper > 0 ? upper : 0) / (float)(lower > 1 ? lower : 1);
}

static inline int QuotientLevel(float quotient)
{
    return (int)(quotient < 255 ? quotient : 255);
}

template <class Sum>
static void QuotientLevels(const NearSum *pNear, const Sum *__restrict first,
                           const Sum *__restrict second, BYTE *__restrict out, size_t count,
                           BlockLevels *__restrict p)
{
    const float low = (float)(pNear->dRatio * (1 - pNear->dError));
    const float high = (float)(pNear->dRatio * (1 + pNear->dError));
    for (size_t i = 0; i < count; i++) {
        const float quotient = Quotient(first[i], second[i]);
        const int level = QuotientLevel(quotient * low);
        out[i] = (BYTE)level;
        p->bOpen[i] = level != QuotientLevel(quotient * high);
    }
    p->nOpen = CountOpen(p->bOpen, count);
}

// Of sums that are exact. A quotient of whole numbers that a float holds, both and their sum, is
// never rounded up to the next whole number.
static void ExactQuotients(const int32_t *__restrict first, const int32_t *__restrict second,
                           BYTE *__restrict out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = (BYTE)QuotientLevel(Quotient(first[i], second[i]));
    }
}

static void FindLevels(const NearSum *pNear, int32_t *const *sums, BYTE *out, size_t count,
                       BlockLevels *p)
{
    if (pNear->nSums == 1) {
        StepLevels(pNear, sums[0], out, count, p);
    } else if (pNear->dError > 0) {
        QuotientLevels(pNear, sums[0], sums[1], out, count, p);
    } else {
        ExactQuotients(sums[0], sums[1], out, count);
        p->nOpen = 0;
    }
}

static void FindLevels(const NearSum *pNear, double *const *sums, BYTE *out, size_t count,
                       BlockLevels *p)
{
    if (pNear->nSums == 1) {
        StepLevels(pNear, sums[0], out, count, p);
    } else {
        QuotientLevels(pNear, sums[0], sums[1], out, count, p);
    }
}

// ---- undecided pixels ---------------------------------------------------------------------------

// 1 if every row of the block's windows is flat, so that neighbours have the same level.
static int HasFlatRows(const MeanRule *pRule, const BYTE *const *lines, size_t start, size_t step,
                       size_t count)
{
    const size_t nCompared = count + (size_t)(pRule->nColumns - 1) * step - step;
    for (int k = 0; k < pRule->nRows; k++) {
        if (memcmp(lines[k] + start, lines[k] + start + step, nCompared) != 0) {
            return 0;
        }
    }
    return 1;
}

static void RepeatPixel(const MeanRule *pRule, const BYTE *const *lines, size_t start,
                        ptrdiff_t step, BYTE *out, size_t count)
{
    size_t nDone = (size_t)step;
    for (size_t i = 0; i < nDone; i++) {
        out[i] = PlainLevel(pRule, lines, start + i, step);
    }
    while (nDone < count) {
        const size_t n = Least(nDone, count - nDone);
        memcpy(out + nDone, out, n);
        nDone += n;
    }
}

static void Decide(const NeighbourhoodFilter *pFilter, void *pScratch, const BYTE *const *lines,
                   size_t start, ptrdiff_t step, BYTE *out, size_t count, BlockLevels *p)
{
    const MeanRule *pRule = (const MeanRule *)pFilter->pParameters;
    const BYTE *shifted[MOST_BLOCK_ROWS];
    if (p->nOpen > count / 8 && count > (size_t)step &&
        HasFlatRows(pRule, lines, start, (size_t)step, count)) {
        RepeatPixel(pRule, lines, start, step, out + start, count);
        return;
    }
    if (p->nOpen > count / 8 && pRule->nRows <= MOST_BLOCK_ROWS) {
        for (int k = 0; k < pRule->nRows; k++) {
            shifted[k] = lines[k] + start;
        }
        OrderedRow(pScratch, pFilter, shifted, step, out + start, count, 1);
        return;
    }
    ListOpen(p, count);
    for (size_t i = 0; i < p->nOpen; i++) {
        const size_t at = start + p->open[i];
        out[at] = PlainLevel(pRule, lines, at, step);
    }
}

// ---- rows ---------------------------------------------------------------------------------------

// Returns the columns' sums, cut off if they can be swamped.
template <class Sum>
static const Sum *AdvanceNear(const NearSum *pNear, int s, Sum *__restrict columns,
                              Sum *__restrict cut, const BYTE *const *lines, int nRows,
                              size_t nSamples, int bFirst)
{
    const Sum most = MostOf(pNear, s, Sum());
    switch (pNear->kinds[s]) {
    case NEAR_SAMPLES:
        AdvanceColumns<Sum, SampleTerm<Sum>>(columns, NULL, lines, nRows, nSamples, bFirst);
        break;
    case NEAR_SQUARES:
        AdvanceColumns<Sum, SquareTerm<Sum>>(columns, NULL, lines, nRows, nSamples, bFirst);
        break;
    case NEAR_LOOKED_UP:
    default:
        AdvanceColumns<Sum, LookedUpTerm<Sum>>(columns, TermsOf(pNear, s, Sum()), lines, nRows,
                                               nSamples, bFirst);
        break;
    }
    if (most == 0) {
        return columns;
    }
    for (size_t i = 0; i < nSamples; i++) {
        cut[i] = columns[i] < most ? columns[i] : most;
    }
    return cut;
}

template <class Sum> static Sum *At(BYTE *pMemory, size_t offset)
{
    return (Sum *)(void *)(pMemory + offset);
}

template <class Sum>
static void NearRowAs(BYTE *pMemory, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                      ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    const MeanRule *pRule = (const MeanRule *)pFilter->pParameters;
    const NearSum *pNear = pRule->pNear;
    const size_t nColumns = (size_t)pRule->nColumns;
    const size_t nSamples = count + (nColumns - 1) * (size_t)step;
    const NearLayout layout = LayOutNear(pRule, nSamples, (size_t)step);
    Sum *const spares[2] = {At<Sum>(pMemory, layout.spares[0]), At<Sum>(pMemory, layout.spares[1])};
    Sum *const sums[2] = {At<Sum>(pMemory, layout.sums[0]), At<Sum>(pMemory, layout.sums[1])};
    BlockLevels levels;
    const Sum *columns[2] = {NULL, NULL};
    for (int s = 0; s < pNear->nSums; s++) {
        columns[s] =
            AdvanceNear(pNear, s, At<Sum>(pMemory, layout.columns[s]),
                        At<Sum>(pMemory, layout.cut[s]), lines, pRule->nRows, nSamples, bFirst);
    }
    for (size_t start = 0; start < count; start += NEAR_BLOCK) {
        const size_t n = Least(count - start, NEAR_BLOCK);
        for (int s = 0; s < pNear->nSums; s++) {
            SumColumns(columns[s] + start, nColumns, (size_t)step, spares, sums[s], n);
        }
        FindLevels(pNear, sums, out + start, n, &levels);
        if (levels.nOpen > 0) {
            Decide(pFilter, pMemory + layout.scratch, lines, start, step, out, n, &levels);
        }
    }
}

static void NearRow(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                    ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    if (((const MeanRule *)pFilter->pParameters)->pNear->bShort) {
        NearRowAs<int32_t>((BYTE *)pState, pFilter, lines, step, out, count, bFirst);
    } else {
        NearRowAs<double>((BYTE *)pState, pFilter, lines, step, out, count, bFirst);
    }
}

const RowKernel NEAR_ROWS = {NearStateBytes, NearRow};

}  // namespace KERNEL_LEVEL
