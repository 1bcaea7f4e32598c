// The matrix order: an 8-bit image whose gray palette lacks levels, pixel by pixel.
//
// A level that the palette lacks takes over the palette entry of the same number as soon as the
// first pixel needs it, and pixels computed later read that entry's new level. So the order of
// visits decides the result. One window is gathered at a time and handed to the same kernel that
// the line pipeline runs over whole rows.

#include "dib.h"
#include "matrix.h"
#include "neighbourhood.h"
#include "platform/workmemory.h"
#include "progress.h"

#include <string.h>

struct MatrixRun {
    const NeighbourhoodFilter *pFilter;
    GrayMatrix source;
    GrayMatrix result;
    BYTE *window;        // nRows x nColumns levels
    const BYTE **lines;  // its rows
};

static int LevelOf(const MatrixRun *pRun, int x, int y)
{
    return pRun->source.maps.levels[pRun->source.columns[x][y]];
}

static BYTE BorderIndex(MatrixRun *pRun, int x, int y)
{
    if (pRun->pFilter->border == BORDER_BLACK) {
        return (BYTE)GrayLevelToIndex(&pRun->source.maps, 0);
    }
    return pRun->source.columns[x][y];
}

static void ComputeCell(MatrixRun *pRun, int x, int y)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const int width = (int)pRun->source.width;
    const int height = (int)pRun->source.height;
    const int bEdgeColumn = x < pFilter->nLeft || x >= width - pFilter->nRight;
    const int bEdgeRow = y < pFilter->nTop || y >= height - pFilter->nBottom;
    BYTE level;
    if ((bEdgeColumn || bEdgeRow) && pFilter->border != BORDER_MIRRORED) {
        pRun->result.columns[x][y] = BorderIndex(pRun, x, y);
        return;
    }
    BYTE *sample = pRun->window;
    for (int k = 0; k < pFilter->nRows; k++) {
        const int row = Mirror(y - pFilter->nOriginRow + k, height);
        for (int j = 0; j < pFilter->nColumns; j++) {
            *sample++ = (BYTE)LevelOf(pRun, Mirror(x - pFilter->nOriginColumn + j, width), row);
        }
    }
    KernelAt(pFilter, bEdgeColumn, bEdgeRow)(pRun->lines, 1, &level, 1, pFilter->pParameters);
    pRun->result.columns[x][y] = (BYTE)GrayLevelToIndex(&pRun->source.maps, level);
}

// Border pixels repeat the index of the nearest computed pixel; the corners keep their own.
static void RepeatBorder(MatrixRun *pRun)
{
    const unsigned right = pRun->source.width - 1;
    const unsigned bottom = pRun->source.height - 1;
    BYTE **columns = pRun->result.columns;
    for (unsigned x = 1; x < right; x++) {
        columns[x][0] = columns[x][1];
        columns[x][bottom] = columns[x][bottom - 1];
    }
    for (unsigned y = 1; y < bottom; y++) {
        columns[0][y] = columns[1][y];
        columns[right][y] = columns[right - 1][y];
    }
    for (unsigned x = 0; x <= right; x += right) {
        columns[x][0] = pRun->source.columns[x][0];
        columns[x][bottom] = pRun->source.columns[x][bottom];
    }
}

// A picture that is only copied takes the same steps.
static int ComputePass(MatrixRun *pRun, int bCopy, int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    const int width = (int)pRun->source.width;
    const int height = (int)pRun->source.height;
    const int bColumns = pRun->pFilter->order == VISIT_COLUMNS;
    const int nInner = bColumns ? height : width;
    int nFirst, nEnd;
    for (int x = 0; bCopy && x < width; x++) {
        for (int y = 0; y < height; y++) {
            pRun->result.columns[x][y] = BorderIndex(pRun, x, y);
        }
    }
    ComputeUnits(pRun->pFilter, width, height, &nFirst, &nEnd);
    for (int unit = nFirst; unit < nEnd; unit++) {
        if (!BeginUnit(pState, bProgress, (unsigned)unit)) {
            return 0;
        }
        for (int i = 0; i < nInner && !bCopy; i++) {
            ComputeCell(pRun, bColumns ? unit : i, bColumns ? i : unit);
        }
    }
    if (!bCopy && pRun->pFilter->border == BORDER_REPEATED) {
        RepeatBorder(pRun);
    }
    return 1;
}

static int StepEarlierPasses(const MatrixRun *pRun, int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    const int nRows = (int)pRun->source.height;
    for (int unit = 0; unit < pRun->pFilter->nEarlierPasses * nRows; unit++) {
        if (!BeginUnit(pState, bProgress, (unsigned)(unit % nRows))) {
            return 0;
        }
    }
    return 1;
}

static int PrepareWindow(MatrixRun *pRun)
{
    const size_t nRows = (size_t)pRun->pFilter->nRows;
    const size_t nColumns = (size_t)pRun->pFilter->nColumns;
    pRun->window = (BYTE *)WorkAlloc(nRows, nColumns);
    pRun->lines = (const BYTE **)WorkAlloc(nRows, sizeof(BYTE *));
    if (pRun->window == NULL || pRun->lines == NULL) {
        return 0;
    }
    for (size_t k = 0; k < nRows; k++) {
        pRun->lines[k] = pRun->window + k * nColumns;
    }
    return 1;
}

static HGLOBAL StoreResult(const MatrixRun *pRun, HGLOBAL hDib, int bProgress)
{
    const HGLOBAL hResult = DuplicateDib(hDib);
    if (hResult != NULL && !StoreGrayMatrix(hResult, &pRun->result, &pRun->source, bProgress)) {
        GlobalFree(hResult);
        return NULL;
    }
    return hResult;
}

HGLOBAL RunMatrixOrder(const NeighbourhoodFilter *pFilter, HGLOBAL hDib, int bProgress)
{
    MatrixRun run;
    HGLOBAL hResult = NULL;
    memset(&run, 0, sizeof run);
    run.pFilter = pFilter;
    if (!LoadGrayMatrix(hDib, &run.source, bProgress)) {
        return NULL;
    }
    const int width = (int)run.source.width;
    const int height = (int)run.source.height;
    const int bCopy = ComputesNothing(pFilter, width, height);
    if (AllocGrayMatrix(&run.result, width, height, bProgress) && (bCopy || PrepareWindow(&run)) &&
        StepEarlierPasses(&run, bProgress) && ComputePass(&run, bCopy, bProgress)) {
        hResult = StoreResult(&run, hDib, bProgress);
    }
    WorkFree((void *)run.lines);
    WorkFree(run.window);
    FreeGrayMatrix(&run.result);
    FreeGrayMatrix(&run.source);
    return hResult;
}
