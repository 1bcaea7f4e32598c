// See planes.h.

#include "planes.h"

#include "frame/intops.h"
#include "platform/workmemory.h"

#include <math.h>
#include <string.h>

static size_t WholeLines(size_t count)
{
    return (count + LINES - 1) / LINES * LINES;
}

// ---- twiddles -----------------------------------------------------------------------------------

// Of FFT1D, forward.
static void FillRecurrence(FourierPlan *p)
{
    double c1 = -1.0;
    double c2 = 0.0;
    for (size_t l1 = 1; l1 < p->side; l1 *= 2) {
        double u1 = 1.0;
        double u2 = 0.0;
        for (size_t j = 0; j < l1; j++) {
            p->cosines[l1 - 1 + j] = u1;
            p->sines[l1 - 1 + j] = u2;
            const double z = u1 * c1 - u2 * c2;
            u2 = u1 * c2 + u2 * c1;
            u1 = z;
        }
        c2 = -sqrt((1.0 - c1) / 2.0);
        c1 = sqrt((1.0 + c1) / 2.0);
    }
}

// Of FFT1DTable, forward. Sines and cosines are rounded from long doubles: then they are the same
// in both builds, whatever the system's own are.
static void FillTable(FourierPlan *p)
{
    const double step = 6.283 / (double)p->side;
    const size_t nLongest = p->side / 2;
    for (size_t l1 = 1; l1 < p->side; l1 *= 2) {
        p->cosines[l1 - 1] = 1.0;
        p->sines[l1 - 1] = 0.0;
    }
    for (size_t j = 1; j < nLongest; j++) {
        const double angle = (double)j * step;
        p->cosines[nLongest - 1 + j] = (double)cosl((long double)angle);
        p->sines[nLongest - 1 + j] = (double)sinl((long double)angle) * -1.0;
    }
    // A shorter stage takes every second twiddle of the next one.
    for (size_t l1 = nLongest / 2; l1 >= 1; l1 /= 2) {
        for (size_t j = 1; j < l1; j++) {
            p->cosines[l1 - 1 + j] = p->cosines[2 * l1 - 1 + 2 * j];
            p->sines[l1 - 1 + j] = p->sines[2 * l1 - 1 + 2 * j];
        }
    }
}

static Lines LinesAt(double *memory)
{
    return {memory, memory + LINES, 2 * LINES};
}

int MakeFourierPlan(TransformKind kind, size_t side, int bTwoSpectra, FourierPlan *p)
{
    const size_t n = WholeLines(side);  // transposing goes by blocks
    const size_t nSet = n * 2 * LINES;
    const size_t nAlignment = LINES;  // numbers of a line of the cache
    memset(p, 0, sizeof *p);
    p->kind = kind;
    p->side = side;
    while (((size_t)1 << p->log2Side) < side) {
        p->log2Side++;
    }
    p->pMemory =
        (double *)WorkAlloc(nAlignment + (bTwoSpectra ? 3 : 2) * nSet + 3 * n, sizeof(double));
    if (p->pMemory == NULL) {
        return 0;
    }
    const size_t nPast = (size_t)((uintptr_t)p->pMemory / sizeof(double)) % nAlignment;
    double *memory = p->pMemory + (nPast != 0 ? nAlignment - nPast : 0);
    p->scratch = memory;
    p->lines = LinesAt(memory + nSet);
    memory += 2 * nSet;
    if (bTwoSpectra) {
        p->otherLines = LinesAt(memory);
        memory += nSet;
    }
    p->cosines = memory;
    p->sines = memory + n;
    p->inverseSines = memory + 2 * n;
    if (kind == FFT_RECURRENCE) {
        FillRecurrence(p);
    } else {
        FillTable(p);
    }
    for (size_t i = 0; i < n; i++) {
        p->inverseSines[i] = -p->sines[i];
    }
    return 1;
}

void FreeFourierPlan(FourierPlan *p)
{
    WorkFree(p->pMemory);
    p->pMemory = NULL;
}

// ---- samples as lines ---------------------------------------------------------------------------

// Of a small plane, column or row i in lane i.
static void LoadSmall(const SampleSource *s, size_t side, int bColumns, const Lines *lines)
{
    for (size_t k = 0; k < side; k++) {
        for (size_t i = 0; i < LINES; i++) {
            const size_t at = bColumns ? k * side + i : i * side + k;
            lines->re[k * lines->step + i] = i < side ? s->values[s->pSmall[at]] : 0.0;
        }
    }
}

static void LoadColumns(const SampleSource *s, size_t nFirst, const Lines *lines)
{
    const size_t count = Least(LINES, s->rows.nSamples - nFirst);
    for (size_t k = 0; k < s->rows.height; k++) {
        BYTE samples[LINES] = {};
        DibRowToSamples(&s->rows, k, s->nChannel, nFirst, count, samples);
        for (size_t i = 0; i < LINES; i++) {
            lines->re[k * lines->step + i] = s->values[samples[i]];
        }
    }
}

// Samples of a row that are looked up at a time.
enum { SAMPLE_RUN = 256 };

static void LoadRow(const SampleSource *s, size_t nRow, size_t count, double *row)
{
    const size_t nSamples = nRow < s->rows.height ? s->rows.nSamples : 0;
    memset(row, 0, count * sizeof *row);
    for (size_t k = 0; k < nSamples; k += SAMPLE_RUN) {
        BYTE samples[SAMPLE_RUN];
        const size_t nRun = Least(SAMPLE_RUN, nSamples - k);
        DibRowToSamples(&s->rows, nRow, s->nChannel, k, nRun, samples);
        for (size_t i = 0; i < nRun; i++) {
            row[k + i] = s->values[samples[i]];
        }
    }
}

static void LoadRows(const SampleSource *s, const FourierPlan *p, size_t nFirst, const Lines *lines)
{
    const size_t count = WholeLines(s->rows.nSamples);
    for (size_t i = 0; i < LINES; i++) {
        LoadRow(s, nFirst + i, count, p->scratch + i * count);
    }
    g_pTransformKernels->RowsToLines(p->scratch, count, count, lines->re, lines->step);
}

static void LoadSamples(const FourierPlan *p, const Pass *pPass, size_t nFirst, const Lines *lines)
{
    const SampleSource *s = pPass->pSource;
    if (s->pSmall != NULL) {
        LoadSmall(s, p->side, pPass->bColumns, lines);
    } else if (pPass->bColumns) {
        LoadColumns(s, nFirst, lines);
    } else {
        LoadRows(s, p, nFirst, lines);
    }
}

// ---- passes -------------------------------------------------------------------------------------

static Pass UsualPass(const FourierPlan *p, int bColumns, int bInverse)
{
    Pass pass = {};
    pass.bColumns = bColumns;
    pass.bInverse = bInverse;
    pass.nLines = p->side;
    pass.nLive = p->side;
    pass.bFinite = 1;
    pass.keep = KEEP_ALL;
    return pass;
}

Pass FirstPass(const FourierPlan *p, int bInverse)
{
    return UsualPass(p, p->kind == FFT_RECURRENCE, bInverse);
}

Pass SecondPass(const FourierPlan *p, int bInverse)
{
    return UsualPass(p, p->kind != FFT_RECURRENCE, bInverse);
}

void TakeSamples(const FourierPlan *p, const SampleSource *pSource, Pass *pFirst, Pass *pSecond)
{
    pFirst->pSource = pSource;
    if (pSource->pSmall == NULL) {
        const SampleRows *pRows = &pSource->rows;
        pFirst->nLines = pFirst->bColumns ? pRows->nSamples : pRows->height;
        pFirst->nLive = pFirst->bColumns ? pRows->height : pRows->nSamples;
        pSecond->nLive = Least(WholeLines(pFirst->nLines), p->side);
    }
}

static Lines ColumnsOf(const Planes *planes, size_t nFirst)
{
    return {planes->re + nFirst, planes->im + nFirst, planes->stride};
}

static void RowsToLines(const Pass *pPass, const Planes *planes, size_t nFirst, const Lines *lines)
{
    const size_t offset = nFirst * planes->stride;
    g_pTransformKernels->RowsToLines(planes->re + offset, planes->stride, pPass->nLive, lines->re,
                                     lines->step);
    g_pTransformKernels->RowsToLines(planes->im + offset, planes->stride, pPass->nLive, lines->im,
                                     lines->step);
}

static void LinesToRows(const FourierPlan *p, const Pass *pPass, const Planes *planes,
                        size_t nFirst, const Lines *lines)
{
    const size_t offset = nFirst * planes->stride;
    g_pTransformKernels->LinesToRows(lines->re, lines->step, p->side, planes->re + offset,
                                     planes->stride);
    if (pPass->keep == KEEP_ALL) {
        g_pTransformKernels->LinesToRows(lines->im, lines->step, p->side, planes->im + offset,
                                         planes->stride);
    }
}

void RunPassOn(const FourierPlan *p, const Pass *pPass, const Planes *planes, size_t nFirst,
               const Lines *spare, const Lines *to)
{
    const int bScaled = pPass->bInverse == (p->kind == FFT_TABLE);
    const double scale = bScaled ? 1.0 / (double)p->side : 1.0;
    LineTransform transform;
    Lines from = *spare;
    if (pPass->pSource != NULL) {
        LoadSamples(p, pPass, nFirst, spare);
    } else if (pPass->bColumns) {
        from = ColumnsOf(planes, nFirst);
    } else {
        RowsToLines(pPass, planes, nFirst, spare);
    }
    transform.n = p->side;
    transform.log2n = p->log2Side;
    transform.cosines = p->cosines;
    transform.sines = pPass->bInverse ? p->inverseSines : p->sines;
    transform.scratch = p->scratch;
    transform.nLive = pPass->nLive;
    transform.before = pPass->bInverse ? scale : 1.0;
    transform.after = pPass->bInverse ? 1.0 : scale;
    transform.bReal = pPass->pSource != NULL;
    transform.bFinite = pPass->bFinite;
    transform.bRealResult = pPass->bRealResult;
    g_pTransformKernels->Transform(&transform, &from, to);
}

void RunPass(const FourierPlan *p, const Pass *pPass, const Planes *planes)
{
    for (size_t nFirst = 0; nFirst < pPass->nLines; nFirst += LINES) {
        const int bInPlace = pPass->bColumns && pPass->keep != KEEP_NOTHING;
        const Lines to = bInPlace ? ColumnsOf(planes, nFirst) : p->lines;
        RunPassOn(p, pPass, planes, nFirst, &p->lines, &to);
        if (pPass->Step != NULL) {
            pPass->Step(pPass->pContext, nFirst, &to);
        }
        if (!bInPlace && pPass->keep != KEEP_NOTHING) {
            LinesToRows(p, pPass, planes, nFirst, &to);
        }
    }
}
