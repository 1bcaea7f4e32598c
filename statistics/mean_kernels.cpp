// The inner loops of the mean filters. Plain loops, compiled once per instruction set into the
// namespace KERNEL_LEVEL.
//
// Sums that are rounded on the way: neighbouring pixels stand side by side, each with a sum of its
// own that grows in the stated order, row by row and left to right. The terms of a source row are
// looked up once, when it enters the window, and stay in a ring of as many rows as the window has.
//
// Whole numbers need no order and run (mean_running.h). Where whole numbers close to the truth
// decide most levels, mean_near_kernels.cpp comes before all this and leaves it the rest.

#include "frame/intops.h"
#include "mean_forms.h"
#include "mean_running.h"

#include <string.h>

namespace KERNEL_LEVEL
{

// ---- from sums to levels ------------------------------------------------------------------------

static inline BYTE TruncateToLevel(double value)
{
    const double positive = value > 0 ? value : 0;
    return (BYTE)(int)(positive < 255 ? positive : 255);
}

// A rank that may be too low.
static inline int CellRank(const LevelSteps *pSteps, double value)
{
    const double above = value > pSteps->dLeast ? value : pSteps->dLeast;
    const double inside = above < pSteps->dMost ? above : pSteps->dMost;
    return pSteps->cells[(int)(BitsOfDouble(inside) >> STEP_CELL_SHIFT) - pSteps->nFirstCell];
}

static void SlowSteps(const LevelSteps *pSteps, const double *values, BYTE *out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        int rank = CellRank(pSteps, values[i]);
        while (BitsOfDouble(values[i]) >= pSteps->limits[rank]) {
            rank++;
        }
        out[i] = (BYTE)(values[i] == 0 ? 0 : rank ^ pSteps->nFlip);
    }
}

static void FastSteps(const LevelSteps *pSteps, const double *__restrict values,
                      BYTE *__restrict out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        int rank = CellRank(pSteps, values[i]);
        rank += BitsOfDouble(values[i]) >= pSteps->limits[rank];
        out[i] = (BYTE)(rank ^ pSteps->nFlip);
    }
}

static void Finish(const MeanRule *pRule, const double *__restrict first,
                   const double *__restrict second, BYTE *__restrict out, size_t count)
{
    switch (pRule->finish) {
    case FINISH_VALUE:
        for (size_t i = 0; i < count; i++) {
            out[i] = TruncateToLevel(first[i]);
        }
        break;
    case FINISH_INVERSE:
        for (size_t i = 0; i < count; i++) {
            out[i] = TruncateToLevel(pRule->dSamples / first[i] + 0.5);
        }
        break;
    case FINISH_MEAN:
        for (size_t i = 0; i < count; i++) {
            out[i] = TruncateToLevel(first[i] / pRule->dSamples);
        }
        break;
    case FINISH_QUOTIENT:
        for (size_t i = 0; i < count; i++) {
            const double quotient = first[i] / second[i];
            out[i] = TruncateToLevel(second[i] == 0 ? 0 : quotient);
        }
        break;
    case FINISH_STEPS:
    default:
        if (pRule->pSteps->bSlow) {
            SlowSteps(pRule->pSteps, first, out, count);
        } else {
            FastSteps(pRule->pSteps, first, out, count);
        }
        break;
    }
}

// ---- sample by sample ---------------------------------------------------------------------------

// The order and the precision that all other forms must match.
template <SumKind KIND, class Sum>
static double PlainSum(const MeanRule *pRule, const double *terms, const BYTE *const *lines,
                       size_t i, ptrdiff_t step)
{
    Sum sum = KIND == MULTIPLY ? 1 : 0;
    for (int k = 0; k < pRule->nRows; k++) {
        const BYTE *sample = lines[k] + i;
        for (int j = 0; j < pRule->nColumns; j++, sample += step) {
            sum = KIND == MULTIPLY ? (Sum)(sum * terms[*sample]) : (Sum)(sum + terms[*sample]);
        }
    }
    return (double)sum;
}

BYTE PlainLevel(const MeanRule *pRule, const BYTE *const *lines, size_t i, ptrdiff_t step)
{
    double sums[2] = {0, 0};
    BYTE level;
    for (int s = 0; s < pRule->nSums; s++) {
        const WindowSum *pSum = &pRule->sums[s];
        switch (pSum->kind) {
        case SUM_FLOATS:
        case SUM_ROUNDED:
            sums[s] = PlainSum<SUM_ROUNDED, float>(pRule, pSum->terms, lines, i, step);
            break;
        case MULTIPLY:
            sums[s] = PlainSum<MULTIPLY, double>(pRule, pSum->terms, lines, i, step);
            break;
        default:
            sums[s] = PlainSum<SUM_DOUBLES, double>(pRule, pSum->terms, lines, i, step);
            break;
        }
    }
    Finish(pRule, &sums[0], &sums[1], &level, 1);
    return level;
}

static void PlainMean(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                      const void *pParameters)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = PlainLevel((const MeanRule *)pParameters, lines, i, step);
    }
}

// ---- rows, in order -----------------------------------------------------------------------------

// What is carried from row to row: for whole numbers the sums of the columns, for others the ring.
// Window row k is in slot (nTopSlot + k) mod nRows.
struct OrderedState {
    int nTopSlot;
};

// Where things are in the state's memory, in bytes from its start.
struct OrderedLayout {
    size_t nSamples;  // in a row
    size_t nBlock;
    size_t carried[2];
    size_t spares[2];
    size_t whole;
    size_t floats;
    size_t sums[2];
    size_t nBytes;
};

static size_t Place(OrderedLayout *pLayout, size_t count, size_t size)
{
    const size_t at = pLayout->nBytes;
    pLayout->nBytes += WholeVectors(count * size);
    return at;
}

static size_t PlaceCarried(OrderedLayout *pLayout, const WindowSum *pSum, size_t nRows)
{
    switch (pSum->kind) {
    case SUM_ONES:
        return 0;
    case SUM_SAMPLES:
    case SUM_SQUARES:
        return Place(pLayout, pLayout->nSamples, sizeof(int32_t));
    case SUM_FLOATS:
        return Place(pLayout, pLayout->nSamples * nRows, sizeof(float));
    default:
        return Place(pLayout, pLayout->nSamples * nRows, sizeof(double));
    }
}

static OrderedLayout LayOut(const MeanRule *pRule, size_t nSamples, size_t step)
{
    OrderedLayout layout = {};
    const size_t nColumns = (size_t)pRule->nColumns;
    layout.nSamples = nSamples;
    layout.nBlock = RunningBlock(nColumns, step);
    layout.nBytes = WholeVectors(sizeof(OrderedState));
    for (int s = 0; s < 2; s++) {
        layout.spares[s] = Place(&layout, RunningSpare(nColumns, step), sizeof(int32_t));
        layout.sums[s] = Place(&layout, layout.nBlock, sizeof(double));
    }
    layout.whole = Place(&layout, layout.nBlock, sizeof(int32_t));
    layout.floats = Place(&layout, layout.nBlock, sizeof(float));
    for (int s = 0; s < pRule->nSums; s++) {
        layout.carried[s] = PlaceCarried(&layout, &pRule->sums[s], (size_t)pRule->nRows);
    }
    return layout;
}

size_t OrderedStateBytes(const NeighbourhoodFilter *pFilter, size_t nSamples, ptrdiff_t step)
{
    return LayOut((const MeanRule *)pFilter->pParameters, nSamples, (size_t)step).nBytes;
}

template <class Term>
static void LookUp(const double *terms, const BYTE *samples, Term *__restrict out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = (Term)terms[samples[i]];
    }
}

// The row at the top of the window takes the place of the one that has left below.
template <class Term>
static void AdvanceRing(void *pRing, const double *terms, int nTopSlot, int nRows, size_t nSamples,
                        const BYTE *const *lines, int bFirst)
{
    for (int k = 0; k < (bFirst ? nRows : 1); k++) {
        Term *slot = (Term *)pRing + (size_t)((nTopSlot + k) % nRows) * nSamples;
        LookUp(terms, lines[k], slot, nSamples);
    }
}

static void Advance(void *pCarried, const WindowSum *pSum, int nTopSlot, int nRows, size_t nSamples,
                    const BYTE *const *lines, int bFirst)
{
    switch (pSum->kind) {
    case SUM_ONES:
        break;
    case SUM_SAMPLES:
        AdvanceColumns<int32_t, SampleTerm<int32_t>>((int32_t *)pCarried, NULL, lines, nRows,
                                                     nSamples, bFirst);
        break;
    case SUM_SQUARES:
        AdvanceColumns<int32_t, SquareTerm<int32_t>>((int32_t *)pCarried, NULL, lines, nRows,
                                                     nSamples, bFirst);
        break;
    case SUM_FLOATS:
        AdvanceRing<float>(pCarried, pSum->terms, nTopSlot, nRows, nSamples, lines, bFirst);
        break;
    default:
        AdvanceRing<double>(pCarried, pSum->terms, nTopSlot, nRows, nSamples, lines, bFirst);
        break;
    }
}

// COLUMNS neighbouring columns of one window row.
template <int COLUMNS, SumKind KIND, class Sum, class Term>
static void TakeColumns(Sum *__restrict sums, const Term *__restrict terms, size_t step,
                        size_t count)
{
    for (size_t i = 0; i < count; i++) {
        Sum sum = sums[i];
        for (size_t j = 0; j < COLUMNS; j++) {
            const Term term = terms[i + j * step];
            sum = KIND == MULTIPLY ? (Sum)(sum * term) : (Sum)(sum + term);
        }
        sums[i] = sum;
    }
}

template <SumKind KIND, class Sum, class Term>
static void TakeRow(Sum *sums, const Term *terms, size_t nColumns, size_t step, size_t count)
{
    size_t j = 0;
    for (; nColumns - j >= 4; j += 4) {
        TakeColumns<4, KIND>(sums, terms + j * step, step, count);
    }
    switch (nColumns - j) {
    case 3:
        TakeColumns<3, KIND>(sums, terms + j * step, step, count);
        break;
    case 2:
        TakeColumns<2, KIND>(sums, terms + j * step, step, count);
        break;
    case 1:
        TakeColumns<1, KIND>(sums, terms + j * step, step, count);
        break;
    default:
        break;
    }
}

template <SumKind KIND, class Sum, class Term>
static void TakeRing(const void *pRing, const MeanRule *pRule, int nTopSlot, size_t nSamples,
                     size_t start, size_t step, Sum *sums, double *out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        sums[i] = KIND == MULTIPLY ? 1 : 0;
    }
    for (int k = 0; k < pRule->nRows; k++) {
        const size_t slot = (size_t)((nTopSlot + k) % pRule->nRows);
        TakeRow<KIND>(sums, (const Term *)pRing + slot * nSamples + start, (size_t)pRule->nColumns,
                      step, count);
    }
    for (size_t i = 0; i < count; i++) {
        out[i] = sums[i];
    }
}

static int32_t *SumWhole(BYTE *pMemory, const OrderedLayout *pLayout, const MeanRule *pRule, int s,
                         size_t start, size_t step, size_t count)
{
    const int32_t *columns = (const int32_t *)(void *)(pMemory + pLayout->carried[s]);
    int32_t *whole = (int32_t *)(void *)(pMemory + pLayout->whole);
    int32_t *const spares[2] = {(int32_t *)(void *)(pMemory + pLayout->spares[0]),
                                (int32_t *)(void *)(pMemory + pLayout->spares[1])};
    SumColumns(columns + start, (size_t)pRule->nColumns, step, spares, whole, count);
    return whole;
}

// Sum number s of count windows from start on.
static const double *SumBlock(BYTE *pMemory, const OrderedLayout *pLayout, const MeanRule *pRule,
                              int s, size_t start, size_t step, size_t count)
{
    const int nTopSlot = ((const OrderedState *)(void *)pMemory)->nTopSlot;
    const void *pCarried = pMemory + pLayout->carried[s];
    double *out = (double *)(void *)(pMemory + pLayout->sums[s]);
    float *floats = (float *)(void *)(pMemory + pLayout->floats);
    const int32_t *whole;
    switch (pRule->sums[s].kind) {
    case SUM_ONES:
        for (size_t i = 0; i < count; i++) {
            out[i] = pRule->dSamples;
        }
        break;
    case SUM_SAMPLES:
    case SUM_SQUARES:
        whole = SumWhole(pMemory, pLayout, pRule, s, start, step, count);
        for (size_t i = 0; i < count; i++) {
            out[i] = whole[i];
        }
        break;
    case SUM_FLOATS:
        TakeRing<SUM_FLOATS, float, float>(pCarried, pRule, nTopSlot, pLayout->nSamples, start,
                                           step, floats, out, count);
        break;
    case SUM_ROUNDED:
        TakeRing<SUM_ROUNDED, float, double>(pCarried, pRule, nTopSlot, pLayout->nSamples, start,
                                             step, floats, out, count);
        break;
    case SUM_DOUBLES:
        TakeRing<SUM_DOUBLES, double, double>(pCarried, pRule, nTopSlot, pLayout->nSamples, start,
                                              step, out, out, count);
        break;
    case MULTIPLY:
    default:
        TakeRing<MULTIPLY, double, double>(pCarried, pRule, nTopSlot, pLayout->nSamples, start,
                                           step, out, out, count);
        break;
    }
    return out;
}

// A quotient of whole numbers that a float holds, both and their sum, is never rounded up to the
// next whole number. (A host that changes the picture meanwhile may have made a sum of any 32 bits:
// with two samples or more the quotient is an int still.)
static void FloatMeans(const int32_t *__restrict whole, float samples, BYTE *__restrict out,
                       size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = (BYTE)(int)((float)whole[i] / samples);
    }
}

static void OrderedBlock(BYTE *pMemory, const OrderedLayout *pLayout, const MeanRule *pRule,
                         size_t start, size_t step, BYTE *out, size_t count)
{
    const double *sums[2] = {NULL, NULL};
    if (pRule->finish == FINISH_MEAN && pRule->dSamples >= 2 &&
        pRule->dSamples * (double)GRAY_LEVELS <= 1 << 24) {
        FloatMeans(SumWhole(pMemory, pLayout, pRule, 0, start, step, count), (float)pRule->dSamples,
                   out, count);
        return;
    }
    for (int s = 0; s < pRule->nSums; s++) {
        sums[s] = SumBlock(pMemory, pLayout, pRule, s, start, step, count);
    }
    Finish(pRule, sums[0], sums[1], out, count);
}

void OrderedRow(void *pState, const NeighbourhoodFilter *pFilter, const BYTE *const *lines,
                ptrdiff_t step, BYTE *out, size_t count, int bFirst)
{
    const MeanRule *pRule = (const MeanRule *)pFilter->pParameters;
    const size_t nSamples = count + (size_t)(pRule->nColumns - 1) * (size_t)step;
    const OrderedLayout layout = LayOut(pRule, nSamples, (size_t)step);
    BYTE *pMemory = (BYTE *)pState;
    int *pTopSlot = &((OrderedState *)pState)->nTopSlot;
    *pTopSlot = bFirst ? 0 : (*pTopSlot + pRule->nRows - 1) % pRule->nRows;
    for (int s = 0; s < pRule->nSums; s++) {
        Advance(pMemory + layout.carried[s], &pRule->sums[s], *pTopSlot, pRule->nRows, nSamples,
                lines, bFirst);
    }
    for (size_t start = 0; start < count; start += layout.nBlock) {
        OrderedBlock(pMemory, &layout, pRule, start, (size_t)step, out + start,
                     Least(count - start, layout.nBlock));
    }
}

// ---- weights ------------------------------------------------------------------------------------

enum {
    WEIGHTED_BLOCK = 512,
    WEIGHTS_AT_ONCE = 4,
    MOST_PART_WEIGHT = 257  // 257 x 255 fits into 16 bits
};

// Up to four weights in work, and what all since the last flush add up to.
struct WeightParts {
    const BYTE *samples[WEIGHTS_AT_ONCE];
    uint16_t weights[WEIGHTS_AT_ONCE];
    int nHeld;
    int nPartWeight;
    uint16_t parts[WEIGHTED_BLOCK];
    double totals[WEIGHTED_BLOCK];
};

static void StartParts(WeightParts *p, const BYTE *anySamples, size_t count)
{
    for (int i = 0; i < WEIGHTS_AT_ONCE; i++) {
        p->samples[i] = anySamples;
        p->weights[i] = 0;
    }
    p->nHeld = p->nPartWeight = 0;
    memset(p->parts, 0, count * sizeof p->parts[0]);
    for (size_t i = 0; i < count; i++) {
        p->totals[i] = 0;
    }
}

// Unused places hold weight 0.
static void TakeHeld(WeightParts *p, size_t count)
{
    uint16_t *__restrict parts = p->parts;
    const BYTE *const a = p->samples[0], *const b = p->samples[1];
    const BYTE *const c = p->samples[2], *const d = p->samples[3];
    const uint16_t u = p->weights[0], v = p->weights[1], w = p->weights[2], x = p->weights[3];
    for (size_t i = 0; i < count; i++) {
        parts[i] = (uint16_t)(parts[i] + u * a[i] + v * b[i] + w * c[i] + x * d[i]);
    }
    p->nHeld = 0;
    memset(p->weights, 0, sizeof p->weights);
}

static void FlushParts(WeightParts *p, size_t count)
{
    TakeHeld(p, count);
    for (size_t i = 0; i < count; i++) {
        p->totals[i] += p->parts[i];
        p->parts[i] = 0;
    }
    p->nPartWeight = 0;
}

static void AddWeight(WeightParts *p, int weight, const BYTE *samples, size_t count)
{
    if (p->nPartWeight + weight > MOST_PART_WEIGHT) {
        FlushParts(p, count);
    }
    p->samples[p->nHeld] = samples;
    p->weights[p->nHeld++] = (uint16_t)weight;
    p->nPartWeight += weight;
    if (p->nHeld == WEIGHTS_AT_ONCE) {
        TakeHeld(p, count);
    }
}

static void WeightedMean(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                         const void *pParameters)
{
    const WeightRule *pRule = (const WeightRule *)pParameters;
    const double total = (double)pRule->nTotal;
    WeightParts parts;
    for (size_t start = 0; start < count; start += WEIGHTED_BLOCK) {
        const size_t n = Least(count - start, WEIGHTED_BLOCK);
        const BYTE *weight = pRule->pWeights;
        StartParts(&parts, lines[0] + start, n);
        for (int k = 0; k < pRule->nRows; k++) {
            for (int j = 0; j < pRule->nColumns; j++, weight++) {
                if (*weight != 0) {
                    AddWeight(&parts, *weight, lines[k] + start + j * step, n);
                }
            }
        }
        FlushParts(&parts, n);
        for (size_t i = 0; i < n; i++) {
            out[start + i] = TruncateToLevel(parts.totals[i] / total);
        }
    }
}

static const RowKernel ORDERED_ROWS = {OrderedStateBytes, OrderedRow};

const PixelMeanKernels PIXEL_MEAN_KERNELS = {PlainMean, &ORDERED_ROWS, &NEAR_ROWS, WeightedMean};

}  // namespace KERNEL_LEVEL
