// See calls.h.

#include "calls.h"

#include "frame/intops.h"
#include "platform/workmemory.h"

#include <math.h>
#include <string.h>

// ---- memory -------------------------------------------------------------------------------------

// Two planes of the next power of 2 would be more than 32 bits can address.
static const size_t MOST_SIDE = 8192;

// Kept: 50 bytes more than a plane. They held the end of rows that are longer than a plane of a
// side of 2 or 4; today they make room for alignment.
static const size_t PLANE_SPARE_BYTES = 50;

struct PlaneBlock {
    HGLOBAL hBlock;
    double *numbers;
};

size_t SideOf(const FilterCall *pCall)
{
    size_t side = SpectrumSize(&pCall->source.shape);
    if (pCall->hSecond != NULL) {
        const size_t other = SpectrumSize(&pCall->second.shape);
        side = side > other ? side : other;
    }
    return side;
}

int FitsPlanes(FilterCall *pCall)
{
    return SideOf(pCall) <= MOST_SIDE;
}

// To a line of the cache, or as far as the spare bytes reach.
static double *Aligned(void *pBlock)
{
    enum { CACHE_LINE_BYTES = 64 };
    BYTE *p = (BYTE *)pBlock;
    const size_t nLine = (CACHE_LINE_BYTES - (uintptr_t)p % CACHE_LINE_BYTES) % CACHE_LINE_BYTES;
    const size_t nVector = nLine % VECTOR_BYTES;
    return (double *)(void *)(p + (nLine <= PLANE_SPARE_BYTES ? nLine : nVector));
}

// 0 if one cannot be had.
static int LockPlanes(size_t side, int nPlanes, PlaneBlock *blocks)
{
    const unsigned long long nBytes = (unsigned long long)side * side * sizeof(double);
    for (int i = 0; i < nPlanes; i++) {
        blocks[i].hBlock = AllocBlock(nBytes + PLANE_SPARE_BYTES);
        void *pBlock = blocks[i].hBlock != NULL ? GlobalLock(blocks[i].hBlock) : NULL;
        if (pBlock == NULL) {
            return 0;
        }
        blocks[i].numbers = Aligned(pBlock);
    }
    return 1;
}

static void UnlockPlanes(int nPlanes, const PlaneBlock *blocks)
{
    for (int i = 0; i < nPlanes; i++) {
        if (blocks[i].numbers != NULL) {
            GlobalUnlock(blocks[i].hBlock);
        }
    }
}

static void AimPlanes(FrequencyWork *p, size_t side, int nPlanes, const PlaneBlock *blocks)
{
    const int bSmall = side < LINES;
    double *numbers[MOST_PLANES];
    for (int i = 0; i < MOST_PLANES; i++) {
        numbers[i] = bSmall ? p->smallPlanes[i] : i < nPlanes ? blocks[i].numbers : NULL;
    }
    const size_t stride = bSmall ? (size_t)LINES : side;
    p->planes = {numbers[0], numbers[1], stride};
    p->blurPlanes = {numbers[2], numbers[3], stride};
}

// Kept: the bytes of a whole row of whole pixels per row, and four more. Header fields but the
// sides are the source's.
static HGLOBAL AllocResult(const FilterCall *pCall, size_t width, size_t height)
{
    const DibShape *pShape = &pCall->source.shape;
    const size_t nChannels = pShape->bitCount == 24 ? 3 : 1;
    return AllocBlock((unsigned long long)pShape->nBitsOffset +
                      (unsigned long long)((width + 3) / 4) * height * 4 * nChannels + 4);
}

static void AimResult(FrequencyWork *p, BYTE *pBlock, size_t side)
{
    const DibView *pSource = &p->pCall->source;
    size_t width = (size_t)pSource->shape.width;
    size_t height = (size_t)pSource->shape.height;
    CopyHead(pSource, pBlock);
    if (p->bSpectrum) {
        BITMAPINFOHEADER header = pSource->header;
        header.biWidth = header.biHeight = (LONG)side;
        memcpy(pBlock, &header, sizeof header);
        width = height = side;
    }
    p->result = RowsOf(pSource->shape.bitCount, width, height, pBlock + pSource->shape.nBitsOffset);
}

// ---- samples ------------------------------------------------------------------------------------

// Kept: bytes are read as signed numbers, so that a bright pixel counts as a negative one. Half
// bytes are not.
static void FillValues(FrequencyWork *p)
{
    for (int i = 0; i < SAMPLE_VALUES; i++) {
        const double value = i < 128 ? i : i - 256;
        p->values[i] = !p->bLogarithms ? value
                       : value > 1.0   ? (double)logl((long double)value)
                                       : 0.0;
    }
}

static SampleSource SourceOf(const FrequencyWork *p, const DibView *pView)
{
    const DibShape *pShape = &pView->shape;
    return {RowsOf(pShape->bitCount, (size_t)pShape->width, (size_t)pShape->height, pView->pBits),
            0, p->values, NULL};
}

static void TakeChannel(FrequencyWork *p, int nChannel, SampleSource *pSource, BYTE *small)
{
    pSource->nChannel = nChannel;
    if (p->fourier.side >= LINES) {
        return;
    }
    memset(small, 0, MOST_SMALL_SAMPLES);
    for (size_t r = 0; r < pSource->rows.height; r++) {
        DibRowToSamples(&pSource->rows, r, nChannel, 0, pSource->rows.nSamples,
                        small + r * p->fourier.side);
    }
    pSource->pSmall = small;
}

static void RunChannels(FrequencyWork *p)
{
    const int bBlur = p->pCall->hSecond != NULL;
    FillValues(p);
    p->source = SourceOf(p, &p->pCall->source);
    if (bBlur) {
        p->blur = SourceOf(p, &p->pCall->second);
    }
    const int nChannels = p->source.rows.nSamples != 0 ? p->source.rows.nChannels : 0;
    for (int channel = 0; channel < nChannels; channel++) {
        memset(p->smallPlanes, 0, sizeof p->smallPlanes);
        TakeChannel(p, channel, &p->source, p->small[0]);
        if (bBlur) {
            TakeChannel(p, channel, &p->blur, p->small[1]);
        }
        p->RunChannel(p);
    }
}

// ---- the call -----------------------------------------------------------------------------------

// 0: there is no memory for the planes.
static int RunInPlanes(FrequencyWork *p, size_t side)
{
    PlaneBlock blocks[MOST_PLANES] = {};
    const int nPlanes = p->pCall->hSecond != NULL ? MOST_PLANES : MOST_PLANES / 2;
    const int bLocked = LockPlanes(side, nPlanes, blocks);
    if (bLocked) {
        AimPlanes(p, side, nPlanes, blocks);
        RunChannels(p);
    }
    UnlockPlanes(nPlanes, blocks);
    return bLocked;
}

static HGLOBAL RunWithPlan(FilterCall *pCall, FrequencyWork *p, size_t side)
{
    const DibShape *pShape = &pCall->source.shape;
    const size_t width = p->bSpectrum ? side : (size_t)pShape->width;
    const size_t height = p->bSpectrum ? side : (size_t)pShape->height;
    const HGLOBAL hResult = AllocResult(pCall, width, height);
    BYTE *pBlock = hResult != NULL ? (BYTE *)GlobalLock(hResult) : NULL;
    if (pBlock == NULL) {
        if (hResult != NULL) {
            GlobalFree(hResult);
        }
        return NULL;
    }
    AimResult(p, pBlock, side);
    const int bDone = RunInPlanes(p, side);
    GlobalUnlock(hResult);
    pCall->bStopped = !bDone;
    return bDone ? hResult : NULL;
}

HGLOBAL RunOnPlanes(FilterCall *pCall, FrequencyWork *p)
{
    const size_t side = SideOf(pCall);
    p->pCall = pCall;
    if (!MakeFourierPlan(p->kind, side, pCall->hSecond != NULL, &p->fourier)) {
        return NULL;
    }
    const HGLOBAL hResult = RunWithPlan(pCall, p, side);
    FreeFourierPlan(&p->fourier);
    return hResult;
}

// ---- results ------------------------------------------------------------------------------------

enum { SAMPLE_RUN = 256 };

// Part of a row. pDisplay null: the numbers are truncated.
static void WriteNumbers(const FrequencyWork *p, size_t nRow, size_t nFirst, size_t count,
                         const double *numbers, const Display *pDisplay)
{
    BYTE samples[SAMPLE_RUN];
    for (size_t k = 0; k < count; k += SAMPLE_RUN) {
        const size_t nRun = Least(SAMPLE_RUN, count - k);
        if (pDisplay != NULL) {
            ShowNumbers(pDisplay, numbers + k, nRun, samples);
        } else {
            g_pSpectrumKernels->Truncate(numbers + k, nRun, samples);
        }
        SamplesToDibRow(&p->result, nRow, p->source.nChannel, nFirst + k, nRun, samples);
    }
}

static void WriteRows(void *pContext, size_t nFirst, const Lines *lines)
{
    const FrequencyWork *p = (const FrequencyWork *)pContext;
    double *rows = p->fourier.scratch;
    g_pTransformKernels->LinesToRows(lines->re, lines->step, p->result.nSamples, rows,
                                     p->fourier.side);
    for (size_t i = 0; i < LINES && nFirst + i < p->result.height; i++) {
        WriteNumbers(p, nFirst + i, 0, p->result.nSamples, rows + i * p->fourier.side, NULL);
    }
}

static void WriteColumns(void *pContext, size_t nFirst, const Lines *lines)
{
    const FrequencyWork *p = (const FrequencyWork *)pContext;
    const size_t count = Least(LINES, p->result.nSamples - nFirst);
    for (size_t k = 0; k < p->result.height; k++) {
        WriteNumbers(p, k, nFirst, count, lines->re + k * lines->step, NULL);
    }
}

// From planes whose rows may be shorter than the result's: then what follows is written, behind the
// last row what was read there. nShift: the row and column that come first.
static void WriteSmall(const FrequencyWork *p, size_t nShift, const Display *pDisplay)
{
    const size_t side = p->fourier.side;
    BYTE samples[MOST_SMALL_SAMPLES];
    for (size_t i = side * side; i < MOST_SMALL_SAMPLES; i++) {
        samples[i] = (BYTE)TruncateToInt(p->values[p->source.pSmall[i]]);
    }
    for (size_t i = 0; i < side * side; i++) {
        const size_t r = (i / side + nShift) % side;
        const size_t c = (i % side + nShift) % side;
        const double *pNumber = p->planes.re + r * p->planes.stride + c;
        if (pDisplay != NULL) {
            ShowNumbers(pDisplay, pNumber, 1, &samples[i]);
        } else {
            g_pSpectrumKernels->Truncate(pNumber, 1, &samples[i]);
        }
    }
    for (size_t r = 0; r < p->result.height; r++) {
        SamplesToDibRow(&p->result, r, p->source.nChannel, 0, p->result.nSamples,
                        samples + r * side);
    }
}

static void Show(FrequencyWork *p, size_t nShift, DisplayFunction function)
{
    const size_t side = p->fourier.side;
    const int nTop = p->result.bitCount == 4 ? 15 : 255;
    const Display display = SpreadOver(function, &p->planes, side, nTop);
    if (side < LINES) {
        WriteSmall(p, nShift, &display);
        return;
    }
    const size_t nAfter = Least(p->result.nSamples, side - nShift);
    for (size_t r = 0; r < p->result.height; r++) {
        const double *row = p->planes.re + (r + nShift) % side * p->planes.stride;
        WriteNumbers(p, r, 0, nAfter, row + nShift, &display);
        WriteNumbers(p, r, nAfter, p->result.nSamples - nAfter, row, &display);
    }
}

void ShowCentred(FrequencyWork *p, DisplayFunction function)
{
    Show(p, p->fourier.side / 2, function);
}

static void Invert(FrequencyWork *p, int bFinite, int bWrite)
{
    Pass first = FirstPass(&p->fourier, 1);
    Pass second = SecondPass(&p->fourier, 1);
    first.bFinite = second.bFinite = bFinite;
    second.bRealResult = 1;
    second.keep = KEEP_REAL;
    if (bWrite) {
        second.nLines = second.bColumns ? p->result.nSamples : p->result.height;
        second.Step = second.bColumns ? WriteColumns : WriteRows;
        second.pContext = p;
        second.keep = KEEP_NOTHING;
    }
    RunPass(&p->fourier, &first, &p->planes);
    RunPass(&p->fourier, &second, &p->planes);
}

void InvertToResult(FrequencyWork *p, int bFinite)
{
    const int bSmall = p->fourier.side < LINES;
    Invert(p, bFinite, !bSmall);
    if (bSmall) {
        WriteSmall(p, 0, NULL);
    }
}

void InvertToExponentials(FrequencyWork *p, int bFinite)
{
    Invert(p, bFinite, 0);
    Show(p, 0, DISPLAY_EXPONENTIAL);
}
