// The matrix order: an 8-bit image whose gray palette lacks levels, pixel by pixel.
//
// A level that the palette lacks takes over the palette entry of the same number as soon as the
// first pixel needs it, and pixels computed later read that entry's new level. So the order of
// visits decides the result.
//
// Two ways lead there. Column by column, one window is gathered at a time and handed to the same
// kernel that the line pipeline runs over whole rows. Row by row, a whole row is computed with the
// levels that hold at its start; its pixels are right up to the first that gives a new level to an
// entry which the picture uses, and the rest of the row is computed again. That happens no more
// than 256 times in a picture.

#include "matrix.h"
#include "neighbourhood.h"
#include "platform/workmemory.h"
#include "progress.h"

#include <string.h>

struct MatrixRun {
    const NeighbourhoodFilter *pFilter;
    GrayMatrix source;
    GrayMatrix result;
    BYTE *window;        // nRows x nColumns levels; row by row: nRows whole lines, y in y mod nRows
    const BYTE **lines;  // the window's rows
    // Row by row only.
    int nMapped;              // the first line that has not been in the window yet
    int nRow;                 // in work
    BYTE *levels, *indices;   // of its pixels with a whole window
    void *pState;             // of the row kernel
    size_t nState;            // its bytes
    BYTE bUsed[GRAY_LEVELS];  // the entries that the picture's pixels have
};

// ---- cell by cell -------------------------------------------------------------------------------

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

// ---- row by row ---------------------------------------------------------------------------------

static int GoesByRows(const NeighbourhoodFilter *pFilter)
{
    return pFilter->order == VISIT_ROWS && pFilter->border == BORDER_COPIED;
}

static void MapLine(const MatrixRun *pRun, int y)
{
    const size_t width = pRun->source.width;
    BYTE *line = pRun->window + (size_t)(y % pRun->pFilter->nRows) * width;
    for (size_t x = 0; x < width; x++) {
        line[x] = pRun->source.maps.levels[pRun->source.columns[x][y]];
    }
}

static size_t WholeWindows(const MatrixRun *pRun)
{
    return pRun->source.width - (size_t)pRun->pFilter->nLeft - (size_t)pRun->pFilter->nRight;
}

// The levels of the row in work, as the palette is now.
static void ComputeLevels(MatrixRun *pRun)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const size_t width = pRun->source.width;
    const size_t count = WholeWindows(pRun);
    const int nTopRow = pRun->nRow - pFilter->nOriginRow;
    for (; pRun->nMapped < nTopRow + pFilter->nRows; pRun->nMapped++) {
        if (pRun->nMapped >= nTopRow) {
            MapLine(pRun, pRun->nMapped);
        }
    }
    for (int k = 0; k < pFilter->nRows; k++) {
        pRun->lines[k] = pRun->window + (size_t)((nTopRow + k) % pFilter->nRows) * width +
                         pFilter->nLeft - pFilter->nOriginColumn;
    }
    if (pFilter->pRowKernel == NULL) {
        pFilter->Kernel(pRun->lines, 1, pRun->levels, count, pFilter->pParameters);
        return;
    }
    // Rows come in the wrong order for a state that is carried on.
    memset(pRun->pState, 0, pRun->nState);
    pFilter->pRowKernel->Run(pRun->pState, pFilter, pRun->lines, 1, pRun->levels, count, 1);
}

static void ComputeAnew(void *pContext)
{
    MatrixRun *pRun = (MatrixRun *)pContext;
    pRun->nMapped = 0;
    ComputeLevels(pRun);
}

static void ComputeRow(MatrixRun *pRun, int y)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const size_t count = WholeWindows(pRun);
    const LevelRow row = {pRun->levels, count, pRun->bUsed, ComputeAnew, pRun};
    for (unsigned x = 0; x < pRun->source.width; x++) {
        pRun->result.columns[x][y] = pRun->source.columns[x][y];
    }
    if (y < pFilter->nTop || y >= (int)pRun->source.height - pFilter->nBottom) {
        return;
    }
    pRun->nRow = y;
    ComputeLevels(pRun);
    MapRowInOrder(&pRun->source.maps, &row, pRun->indices);
    for (size_t i = 0; i < count; i++) {
        pRun->result.columns[(size_t)pFilter->nLeft + i][y] = pRun->indices[i];
    }
}

static void NoteUsedEntries(MatrixRun *pRun)
{
    for (unsigned x = 0; x < pRun->source.width; x++) {
        for (unsigned y = 0; y < pRun->source.height; y++) {
            pRun->bUsed[pRun->source.columns[x][y]] = 1;
        }
    }
}

// 0 without memory.
static int PrepareRows(MatrixRun *pRun)
{
    const NeighbourhoodFilter *pFilter = pRun->pFilter;
    const size_t width = pRun->source.width;
    pRun->window = (BYTE *)WorkAlloc((size_t)pFilter->nRows, width);
    pRun->lines = (const BYTE **)WorkAlloc((size_t)pFilter->nRows, sizeof(BYTE *));
    pRun->levels = (BYTE *)WorkAlloc(2, width);
    if (pRun->window == NULL || pRun->lines == NULL || pRun->levels == NULL) {
        return 0;
    }
    pRun->indices = pRun->levels + width;
    NoteUsedEntries(pRun);
    if (pFilter->pRowKernel != NULL) {
        pRun->nState = pFilter->pRowKernel->StateBytes(pFilter, width, 1);
        pRun->pState = pRun->nState != 0 ? WorkAlloc(pRun->nState, 1) : NULL;
    }
    return pRun->nState == 0 || pRun->pState != NULL;
}

// ---- the passes ---------------------------------------------------------------------------------

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
        if (!bCopy && GoesByRows(pRun->pFilter)) {
            ComputeRow(pRun, unit);
            continue;
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

static int PrepareWindow(MatrixRun *pRun)
{
    const size_t nRows = (size_t)pRun->pFilter->nRows;
    const size_t nColumns = (size_t)pRun->pFilter->nColumns;
    if (GoesByRows(pRun->pFilter)) {
        return PrepareRows(pRun);
    }
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

static HGLOBAL StoreResult(const MatrixRun *pRun, const DibView *pSource, int bProgress)
{
    DibView result;
    const HGLOBAL hResult = DuplicateFrame(pSource, &result);
    if (hResult == NULL) {
        return NULL;
    }
    for (int y = 0; y < pSource->shape.height; y++) {
        CopyRowPadding(pSource, &result, y);
    }
    const int bDone = StoreGrayMatrix(&result, &pRun->result, &pRun->source, bProgress);
    UnlockDib(&result);
    if (!bDone) {
        GlobalFree(hResult);
        return NULL;
    }
    return hResult;
}

HGLOBAL RunMatrixOrder(const NeighbourhoodFilter *pFilter, const DibView *pSource, int bProgress)
{
    MatrixRun run;
    HGLOBAL hResult = NULL;
    memset(&run, 0, sizeof run);
    run.pFilter = pFilter;
    if (!LoadGrayMatrix(pSource, &run.source, bProgress)) {
        return NULL;
    }
    const int width = pSource->shape.width;
    const int height = pSource->shape.height;
    const int bCopy = ComputesNothing(pFilter, width, height);
    if (AllocGrayMatrix(&run.result, width, height, bProgress) && (bCopy || PrepareWindow(&run)) &&
        StepPasses(GetFilterThreadState(), bProgress, pFilter->nEarlierPasses, height) &&
        ComputePass(&run, bCopy, bProgress)) {
        hResult = StoreResult(&run, pSource, bProgress);
    }
    WorkFree(run.pState);
    WorkFree(run.levels);
    WorkFree((void *)run.lines);
    WorkFree(run.window);
    FreeGrayMatrix(&run.result);
    FreeGrayMatrix(&run.source);
    return hResult;
}
