// The line pipeline: a neighbourhood filter straight from the source rows to the result rows.
//
// Rows are made in memory order (bottom row first), each written once, so that the fresh pages of
// the result are touched one after the other; there is no image-sized temporary. A shuffled gray
// palette costs a few line buffers: source rows pass through the level map into a ring of as many
// lines as the window has rows, and results pass back in place.
//
// The bar takes the same number of steps as a filter that loads, allocates, computes and stores in
// passes, spread over the rows.

#include "levels.h"
#include "matrix.h"
#include "neighbourhood.h"
#include "platform/workmemory.h"
#include "progress.h"

#include <string.h>

enum {
    MIRROR_SIDE = 3,
    EDGE_COUNT = 32,                 // samples computed for the two edge pixels of a row
    EDGE_BYTES = EDGE_COUNT + 2 * 3  // and what their windows reach
};

// The left and right window of a row of a mirrored picture, one behind the other; then zeros, so
// that kernels run over a length that suits them.
struct EdgeLine {
    int bFilled;
    int y;
    BYTE samples[EDGE_BYTES];
};

struct LineRun {
    const NeighbourhoodFilter *pFilter;
    DibView source;
    DibView result;
    size_t channels;
    const BYTE **lines;      // the window's lines for the row in work
    const LevelMaps *pMaps;  // null: samples are used as stored
    BYTE *ring;              // mapped rows; row y is in slot y mod nSlots
    int nSlots;              // the window's rows and the one it has just left
    int nLowestMapped;
    void *pState;  // of the row kernel
    int bStarted;  // it has run on a row
    BYTE indexOf[GRAY_LEVELS];
    EdgeLine edges[MIRROR_SIDE];  // row y is in slot y mod MIRROR_SIDE
};

static inline void CopyPixel(BYTE *dst, const BYTE *src, size_t channels)
{
    dst[0] = src[0];
    if (channels == 3) {
        dst[1] = src[1];
        dst[2] = src[2];
    }
}

static const BYTE *SourceLine(LineRun *pRun, int y)
{
    if (pRun->pMaps == NULL) {
        return PictureRow(&pRun->source, y);
    }
    const size_t width = (size_t)pRun->source.shape.width;
    return pRun->ring + (size_t)(y % pRun->nSlots) * width;
}

// Maps the rows from the window's top row down to those already in the ring.
static void FillRing(LineRun *pRun, int nTopRow)
{
    const int width = pRun->source.shape.width;
    const int height = pRun->source.shape.height;
    if (pRun->nLowestMapped > height) {
        const int nBelow = nTopRow + pRun->pFilter->nRows;
        pRun->nLowestMapped = nBelow < height ? nBelow : height;
    }
    const int nLowest = nTopRow < 0 ? 0 : nTopRow;
    while (pRun->nLowestMapped > nLowest) {
        const int y = --pRun->nLowestMapped;
        BYTE *line = pRun->ring + (size_t)(y % pRun->nSlots) * (size_t)width;
        MapBytes(pRun->pMaps->levels, PictureRow(&pRun->source, y), line, (size_t)width);
    }
}

static void AimLines(LineRun *pRun, int y)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const int nTopRow = y - pFilter->nOriginRow;
    if (pRun->pMaps != NULL) {
        FillRing(pRun, nTopRow);
    }
    for (int k = 0; k < pFilter->nRows; k++) {
        pRun->lines[k] = SourceLine(pRun, Mirror(nTopRow + k, pRun->source.shape.height));
    }
    if (pRun->bStarted) {
        pRun->lines[pFilter->nRows] = SourceLine(pRun, nTopRow + pFilter->nRows);
    }
}

// The windows of row y, whose samples are pLine.
static const BYTE *EdgeSamples(LineRun *pRun, int y, const BYTE *pLine)
{
    EdgeLine *pEdge = &pRun->edges[y % MIRROR_SIDE];
    if (!pEdge->bFilled || pEdge->y != y) {
        const int width = pRun->source.shape.width;
        const int columns[2 * MIRROR_SIDE] = {1, 0, 1, width - 2, width - 1, width - 2};
        const size_t channels = pRun->channels;
        for (size_t j = 0; j < 2 * MIRROR_SIDE; j++) {
            CopyPixel(pEdge->samples + j * channels, pLine + (size_t)columns[j] * channels,
                      channels);
        }
        pEdge->bFilled = 1;
        pEdge->y = y;
    }
    return pEdge->samples;
}

// The pixels of the left and right column in row y of a mirrored picture.
static void ComputeEdges(LineRun *pRun, int y, int bEdgeRow, BYTE *dst)
{
    BYTE levels[EDGE_COUNT];
    const BYTE *lines[MIRROR_SIDE];
    const size_t channels = pRun->channels;
    const size_t nLast = (size_t)(pRun->source.shape.width - 1) * channels;
    for (int k = 0; k < MIRROR_SIDE; k++) {
        lines[k] = EdgeSamples(pRun, Mirror(y - 1 + k, pRun->source.shape.height), pRun->lines[k]);
    }
    KernelAt(pRun->pFilter, 1, bEdgeRow)(lines, (ptrdiff_t)channels, levels, EDGE_COUNT,
                                         pRun->pFilter->pParameters);
    CopyPixel(dst, levels, channels);
    CopyPixel(dst + nLast, levels + MIRROR_SIDE * channels, channels);
}

static void RunKernel(LineRun *pRun, LineKernel kernel, BYTE *dst)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const int nComputed = pRun->source.shape.width - pFilter->nLeft - pFilter->nRight;
    const ptrdiff_t step = (ptrdiff_t)pRun->channels;
    const ptrdiff_t nShift = step * (pFilter->nLeft - pFilter->nOriginColumn);
    BYTE *out = dst + (size_t)pFilter->nLeft * pRun->channels;
    const size_t count = (size_t)nComputed * pRun->channels;
    if (nComputed <= 0) {
        return;  // a mirrored picture two pixels wide is all edges
    }
    for (int k = 0; k < pFilter->nRows + (pRun->bStarted ? 1 : 0); k++) {
        pRun->lines[k] += nShift;
    }
    if (pFilter->pRowKernel == NULL) {
        kernel(pRun->lines, step, out, count, pFilter->pParameters);
        return;
    }
    pFilter->pRowKernel->Run(pRun->pState, pFilter, pRun->lines, step, out, count, !pRun->bStarted);
    pRun->bStarted = 1;
}

static void MapBack(const LineRun *pRun, BYTE *pixels, int count)
{
    if (pRun->pMaps != NULL) {
        MapBytes(pRun->indexOf, pixels, pixels, (size_t)count);
    }
}

static void MirroredRow(LineRun *pRun, int y, BYTE *dst)
{
    const int width = pRun->source.shape.width;
    const int bEdgeRow = y == 0 || y == pRun->source.shape.height - 1;
    AimLines(pRun, y);
    ComputeEdges(pRun, y, bEdgeRow, dst);
    RunKernel(pRun, KernelAt(pRun->pFilter, 0, bEdgeRow), dst);
    MapBack(pRun, dst, width);
}

// The top and bottom rows are computed again from their neighbours' windows rather than copied: the
// bottom row is written before the row it repeats.
static void RepeatedRow(LineRun *pRun, int y, const BYTE *src, BYTE *dst)
{
    const size_t channels = pRun->channels;
    const int width = pRun->source.shape.width;
    const int height = pRun->source.shape.height;
    const size_t nLast = (size_t)(width - 1) * channels;
    const int bEdgeRow = y == 0 || y == height - 1;
    AimLines(pRun, y == 0 ? 1 : y == height - 1 ? height - 2 : y);
    RunKernel(pRun, pRun->pFilter->Kernel, dst);
    MapBack(pRun, dst + channels, width - 2);
    CopyPixel(dst, bEdgeRow ? src : dst + channels, channels);
    CopyPixel(dst + nLast, bEdgeRow ? src + nLast : dst + nLast - channels, channels);
}

// The pixels nFirst to nEnd - 1, which have no whole window.
static void MakeBorder(const LineRun *pRun, const BYTE *src, BYTE *dst, int nFirst, int nEnd)
{
    const size_t nOffset = (size_t)nFirst * pRun->channels;
    const size_t nBytes = (size_t)(nEnd - nFirst) * pRun->channels;
    if (pRun->pFilter->border == BORDER_BLACK) {
        memset(dst + nOffset, pRun->pMaps != NULL ? pRun->indexOf[0] : 0, nBytes);
    } else {
        memcpy(dst + nOffset, src + nOffset, nBytes);
    }
}

static void InnerRow(LineRun *pRun, int y, const BYTE *src, BYTE *dst)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const size_t channels = pRun->channels;
    const int width = pRun->source.shape.width;
    const int nEnd = width - pFilter->nRight;
    if (y < pFilter->nTop || y >= pRun->source.shape.height - pFilter->nBottom) {
        MakeBorder(pRun, src, dst, 0, width);
        return;
    }
    AimLines(pRun, y);
    MakeBorder(pRun, src, dst, 0, pFilter->nLeft);
    RunKernel(pRun, pFilter->Kernel, dst);
    MapBack(pRun, dst + (size_t)pFilter->nLeft * channels, nEnd - pFilter->nLeft);
    MakeBorder(pRun, src, dst, nEnd, width);
}

static void MakeRow(LineRun *pRun, int y, int bCopy)
{
    const BYTE *src = PictureRow(&pRun->source, y);
    BYTE *dst = PictureRow(&pRun->result, y);
    CopyRowPadding(&pRun->source, &pRun->result, y);
    if (bCopy) {
        MakeBorder(pRun, src, dst, 0, pRun->source.shape.width);
    } else if (pRun->pFilter->border == BORDER_MIRRORED) {
        MirroredRow(pRun, y, dst);
    } else if (pRun->pFilter->border == BORDER_REPEATED) {
        RepeatedRow(pRun, y, src, dst);
    } else {
        InnerRow(pRun, y, src, dst);
    }
}

static int MakeRows(LineRun *pRun, int bCopy, int bProgress)
{
    const int width = pRun->source.shape.width;
    const int height = pRun->source.shape.height;
    int nFirst, nEnd;
    ComputeUnits(pRun->pFilter, width, height, &nFirst, &nEnd);
    ProgressPace pace = {GetFilterThreadState(), bProgress,
                         LoadSteps(height) + ColumnSteps(width) +
                             pRun->pFilter->nEarlierPasses * UnitSteps(0, height) +
                             UnitSteps(nFirst, nEnd) + ColumnSteps(width),
                         0};
    for (int y = height - 1; y >= 0; y--) {
        if (!BeginPacedRow(&pace, height - 1 - y, height)) {
            return 0;
        }
        MakeRow(pRun, y, bCopy);
    }
    return 1;
}

static int PrepareRowKernel(LineRun *pRun)
{
    const RowKernel *pKernel = pRun->pFilter->pRowKernel;
    const size_t nSamples = (size_t)pRun->source.shape.width * pRun->channels;
    if (pKernel == NULL) {
        return 1;
    }
    const size_t nBytes = pKernel->StateBytes(pRun->pFilter, nSamples, (ptrdiff_t)pRun->channels);
    pRun->pState = nBytes != 0 ? WorkAlloc(nBytes, 1) : NULL;
    return nBytes == 0 || pRun->pState != NULL;
}

static int PrepareRing(LineRun *pRun)
{
    if (pRun->pMaps == NULL) {
        return 1;
    }
    pRun->ring = (BYTE *)WorkAlloc((size_t)pRun->nSlots, (size_t)pRun->source.shape.width);
    pRun->nLowestMapped = INT32_MAX;
    return pRun->ring != NULL;
}

// What a computed row needs: the lines' pointers, the ring and the row kernel's state. 0 without
// memory.
static int PrepareLines(LineRun *pRun)
{
    pRun->nSlots = pRun->pFilter->nRows + 1;
    pRun->lines = (const BYTE **)WorkAlloc((size_t)pRun->nSlots, sizeof(BYTE *));
    return pRun->lines != NULL && PrepareRing(pRun) && PrepareRowKernel(pRun);
}

HGLOBAL RunLinePipeline(const NeighbourhoodFilter *pFilter, const DibView *pSource,
                        const LevelMaps *pMaps, int bProgress)
{
    LineRun run;
    HGLOBAL hResult = NULL;
    int bDone = 0;
    memset(&run, 0, sizeof run);
    run.pFilter = pFilter;
    run.source = *pSource;
    run.pMaps = pMaps;
    for (int i = 0; pMaps != NULL && i < GRAY_LEVELS; i++) {
        run.indexOf[i] = (BYTE)pMaps->indexOf[i];
    }
    run.channels = (size_t)run.source.shape.bitCount / 8;
    const int bCopy = ComputesNothing(pFilter, run.source.shape.width, run.source.shape.height);
    if (bCopy || PrepareLines(&run)) {
        hResult = DuplicateFrame(&run.source, &run.result);
    }
    if (hResult != NULL) {
        bDone = MakeRows(&run, bCopy, bProgress);
        UnlockDib(&run.result);
    }
    if (hResult != NULL && !bDone) {
        GlobalFree(hResult);
        hResult = NULL;
    }
    WorkFree(run.pState);
    WorkFree(run.ring);
    WorkFree((void *)run.lines);
    return hResult;
}
