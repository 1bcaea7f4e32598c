// Column-major matrices: load, allocate, map, store, free. See matrix.h.
//
// The gray and the colour matrix differ in the size of a cell and in how a cell meets a pixel; the
// walks, the stepping and the memory are the same code.

#include "matrix.h"

#include "intops.h"
#include "platform/workmemory.h"
#include "progress.h"

// ---- columns ------------------------------------------------------------------------------------

static void FreeColumns(void **columns, unsigned width)
{
    if (columns == NULL) {
        return;
    }
    for (unsigned x = 0; x < width; x++) {
        WorkFree(columns[x]);
    }
    WorkFree(columns);
}

// Columns of height zeroed cells. Without stepping when loading: that pass counts rows.
static void **AllocColumns(int width, int height, size_t cellBytes, int bStep)
{
    const FilterThreadState *pState = GetFilterThreadState();
    void **columns = (void **)WorkAlloc((size_t)width, sizeof(void *));
    for (int x = 0; columns != NULL && x < width; x++) {
        if (BeginUnit(pState, bStep, (unsigned)x)) {
            columns[x] = WorkAlloc((size_t)height, cellBytes);
        }
        if (columns[x] == NULL) {
            FreeColumns(columns, (unsigned)width);
            columns = NULL;
        }
    }
    return columns;
}

static BYTE *GrayCell(void *column, size_t y)
{
    return (BYTE *)column + y;
}

static uint32_t *ColorCell(void *column, size_t y)
{
    return (uint32_t *)column + y;
}

static void LoadGrayRow(const BYTE *row, size_t y, void **columns, int width)
{
    for (int x = 0; x < width; x++) {
        *GrayCell(columns[x], y) = row[x];
    }
}

static void LoadColorRow(const BYTE *row, size_t y, void **columns, int width)
{
    for (int x = 0; x < width; x++, row += 3) {
        *ColorCell(columns[x], y) =
            (uint32_t)row[2] | (uint32_t)row[1] << 8 | (uint32_t)row[0] << 16;
    }
}

// Bottom row first. Entering a row steps the bar; the first row of all is not entered from another.
static int LoadColumns(const DibView *pView, void **columns,
                       void (*LoadRow)(const BYTE *, size_t, void **, int), int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    for (int y = pView->shape.height - 1; y >= 0; y--) {
        const int bEntered = y < pView->shape.height - 1;
        if (!BeginUnit(pState, bProgress && bEntered, (unsigned)y)) {
            return 0;
        }
        LoadRow(PictureRow(pView, y), (size_t)y, columns, pView->shape.width);
    }
    return 1;
}

static void StoreGrayColumn(const DibView *pView, size_t x, void *column)
{
    BYTE *pixel = PictureRow(pView, 0) + x;
    for (int y = 0; y < pView->shape.height; y++, pixel -= pView->shape.stride) {
        *pixel = *GrayCell(column, (size_t)y);
    }
}

static void StoreColorColumn(const DibView *pView, size_t x, void *column)
{
    BYTE *pixel = PictureRow(pView, 0) + x * 3;
    for (int y = 0; y < pView->shape.height; y++, pixel -= pView->shape.stride) {
        const uint32_t cell = *ColorCell(column, (size_t)y);
        pixel[0] = (BYTE)(cell >> 16);
        pixel[1] = (BYTE)(cell >> 8);
        pixel[2] = (BYTE)cell;
    }
}

static int StoreColumns(const DibView *pView, void **columns,
                        void (*StoreColumn)(const DibView *, size_t, void *), int bProgress)
{
    const FilterThreadState *pState = GetFilterThreadState();
    for (int x = 0; x < pView->shape.width; x++) {
        if (!BeginUnit(pState, bProgress, (unsigned)x)) {
            return 0;
        }
        StoreColumn(pView, (size_t)x, columns[x]);
    }
    return 1;
}

// The columns of a locked picture, loaded; null without memory or once the user has cancelled.
static void **NewLoadedColumns(const DibView *pView, size_t cellBytes,
                               void (*LoadRow)(const BYTE *, size_t, void **, int), int bProgress)
{
    void **columns = AllocColumns(pView->shape.width, pView->shape.height, cellBytes, 0);
    if (columns != NULL && !LoadColumns(pView, columns, LoadRow, bProgress)) {
        FreeColumns(columns, (unsigned)pView->shape.width);
        columns = NULL;
    }
    return columns;
}

// ---- gray ---------------------------------------------------------------------------------------

int LoadGrayMatrix(const DibView *pView, GrayMatrix *pMatrix, int bProgress)
{
    pMatrix->width = (unsigned)pView->shape.width;
    pMatrix->height = (unsigned)pView->shape.height;
    pMatrix->columns = (BYTE **)NewLoadedColumns(pView, 1, LoadGrayRow, bProgress);
    if (pMatrix->columns == NULL) {
        return 0;  // the host may have freed the picture meanwhile
    }
    BuildLevelMaps(pView->pColors, &pMatrix->maps);
    return 1;
}

int AllocGrayMatrix(GrayMatrix *pMatrix, int width, int height, int bProgress)
{
    pMatrix->width = (unsigned)width;
    pMatrix->height = (unsigned)height;
    pMatrix->columns = (BYTE **)AllocColumns(width, height, 1, bProgress);
    return pMatrix->columns != NULL;
}

int StoreGrayMatrix(const DibView *pView, const GrayMatrix *pPixels, const GrayMatrix *pPalette,
                    int bProgress)
{
    StoreChangedLevels(pView, &pPalette->maps);
    return StoreColumns(pView, (void **)(void *)pPixels->columns, StoreGrayColumn, bProgress);
}

void FreeGrayMatrix(GrayMatrix *pMatrix)
{
    FreeColumns((void **)(void *)pMatrix->columns, pMatrix->width);
    pMatrix->columns = NULL;
}

// ---- colour -------------------------------------------------------------------------------------

int LoadColorMatrix(const DibView *pView, ColorMatrix *pMatrix, int bProgress)
{
    pMatrix->width = (unsigned)pView->shape.width;
    pMatrix->height = (unsigned)pView->shape.height;
    pMatrix->columns =
        (uint32_t **)NewLoadedColumns(pView, sizeof(uint32_t), LoadColorRow, bProgress);
    return pMatrix->columns != NULL;
}

int AllocColorMatrix(ColorMatrix *pMatrix, int width, int height, int bProgress)
{
    pMatrix->width = (unsigned)width;
    pMatrix->height = (unsigned)height;
    pMatrix->columns = (uint32_t **)AllocColumns(width, height, sizeof(uint32_t), bProgress);
    return pMatrix->columns != NULL;
}

int StoreColorMatrix(const DibView *pView, const ColorMatrix *pMatrix, int bProgress)
{
    return StoreColumns(pView, (void **)(void *)pMatrix->columns, StoreColorColumn, bProgress);
}

void FreeColorMatrix(ColorMatrix *pMatrix)
{
    FreeColumns((void **)(void *)pMatrix->columns, pMatrix->width);
    pMatrix->columns = NULL;
}

int64_t LoadSteps(int height)
{
    return (int64_t)CeilDivide((uint64_t)height - 1, UNITS_PER_STEP);
}

int64_t ColumnSteps(int width)
{
    return (int64_t)CeilDivide((uint64_t)width, UNITS_PER_STEP);
}
