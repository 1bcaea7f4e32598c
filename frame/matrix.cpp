// Column-major matrices: load, allocate, map, store, free. See matrix.h.
//
// The gray and the colour matrix differ in the size of a cell and in how a cell meets a pixel; the
// walks, the stepping and the memory are the same code.

#include "matrix.h"

#include "intops.h"
#include "platform/workmemory.h"
#include "progress.h"

void BuildLevelMaps(const RGBQUAD *pColors, LevelMaps *pMaps)
{
    pMaps->paletteChanged = 0;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        pMaps->indexOf[i] = -1;
    }
    for (int i = 0; i < GRAY_LEVELS; i++) {
        pMaps->levels[i] = pColors[i].rgbBlue;
        pMaps->indexOf[pMaps->levels[i]] = i;
    }
}

int HasAllLevels(const LevelMaps *pMaps)
{
    int bAll = 1;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        bAll &= pMaps->indexOf[i] >= 0;
    }
    return bAll;
}

int IsGrayRamp(const LevelMaps *pMaps)
{
    int bRamp = 1;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        bRamp &= pMaps->levels[i] == i;
    }
    return bRamp;
}

int GrayLevelToIndex(LevelMaps *pMaps, int level)
{
    if (pMaps->indexOf[level] == -1) {
        pMaps->paletteChanged = 1;
        pMaps->levels[level] = (BYTE)level;
        pMaps->indexOf[level] = level;
    }
    return pMaps->indexOf[level];
}

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

// ---- gray ---------------------------------------------------------------------------------------

int LoadGrayMatrix(HGLOBAL hDib, GrayMatrix *pMatrix, int bProgress)
{
    DibView view;
    pMatrix->columns = NULL;
    if (!LockDib(hDib, &view)) {
        return 0;
    }
    if (view.shape.bitCount == 8 && view.shape.nColors >= GRAY_LEVELS) {
        pMatrix->width = (unsigned)view.shape.width;
        pMatrix->height = (unsigned)view.shape.height;
        void **columns = AllocColumns(view.shape.width, view.shape.height, 1, 0);
        if (columns != NULL && !LoadColumns(&view, columns, LoadGrayRow, bProgress)) {
            FreeColumns(columns, pMatrix->width);
            columns = NULL;
        }
        pMatrix->columns = (BYTE **)columns;
        BuildLevelMaps(view.pColors, &pMatrix->maps);
    }
    UnlockDib(&view);
    return pMatrix->columns != NULL;
}

int AllocGrayMatrix(GrayMatrix *pMatrix, int width, int height, int bProgress)
{
    pMatrix->width = (unsigned)width;
    pMatrix->height = (unsigned)height;
    pMatrix->columns = (BYTE **)AllocColumns(width, height, 1, bProgress);
    return pMatrix->columns != NULL;
}

static void StoreLevels(const DibView *pView, const LevelMaps *pMaps)
{
    for (int i = 0; i < GRAY_LEVELS; i++) {
        RGBQUAD *pColor = &pView->pColors[i];
        pColor->rgbBlue = pColor->rgbGreen = pColor->rgbRed = pMaps->levels[i];
    }
}

// The block may be another picture by now: the host runs while messages are let through.
static int LockForStore(HGLOBAL hDib, int bitCount, unsigned width, unsigned height, DibView *pView)
{
    const DibShape *p = &pView->shape;
    if (!LockDib(hDib, pView)) {
        return 0;
    }
    if (p->bitCount == bitCount && (unsigned)p->width == width && (unsigned)p->height == height &&
        (bitCount != 8 || p->nColors >= GRAY_LEVELS)) {
        return 1;
    }
    UnlockDib(pView);
    return 0;
}

int StoreGrayMatrix(HGLOBAL hDib, const GrayMatrix *pPixels, const GrayMatrix *pPalette,
                    int bProgress)
{
    DibView view;
    if (!LockForStore(hDib, 8, pPixels->width, pPixels->height, &view)) {
        return 0;
    }
    if (pPalette->maps.paletteChanged) {
        StoreLevels(&view, &pPalette->maps);
    }
    const int bDone =
        StoreColumns(&view, (void **)(void *)pPixels->columns, StoreGrayColumn, bProgress);
    UnlockDib(&view);
    return bDone;
}

void FreeGrayMatrix(GrayMatrix *pMatrix)
{
    FreeColumns((void **)(void *)pMatrix->columns, pMatrix->width);
    pMatrix->columns = NULL;
}

// ---- colour -------------------------------------------------------------------------------------

int LoadColorMatrix(HGLOBAL hDib, ColorMatrix *pMatrix, int bProgress)
{
    DibView view;
    pMatrix->columns = NULL;
    if (!LockDib(hDib, &view)) {
        return 0;
    }
    if (view.shape.bitCount == 24) {
        pMatrix->width = (unsigned)view.shape.width;
        pMatrix->height = (unsigned)view.shape.height;
        void **columns = AllocColumns(view.shape.width, view.shape.height, sizeof(uint32_t), 0);
        if (columns != NULL && !LoadColumns(&view, columns, LoadColorRow, bProgress)) {
            FreeColumns(columns, pMatrix->width);
            columns = NULL;
        }
        pMatrix->columns = (uint32_t **)columns;
    }
    UnlockDib(&view);
    return pMatrix->columns != NULL;
}

int AllocColorMatrix(ColorMatrix *pMatrix, int width, int height, int bProgress)
{
    pMatrix->width = (unsigned)width;
    pMatrix->height = (unsigned)height;
    pMatrix->columns = (uint32_t **)AllocColumns(width, height, sizeof(uint32_t), bProgress);
    return pMatrix->columns != NULL;
}

int StoreColorMatrix(HGLOBAL hDib, const ColorMatrix *pMatrix, int bProgress)
{
    DibView view;
    if (!LockForStore(hDib, 24, pMatrix->width, pMatrix->height, &view)) {
        return 0;
    }
    const int bDone =
        StoreColumns(&view, (void **)(void *)pMatrix->columns, StoreColorColumn, bProgress);
    UnlockDib(&view);
    return bDone;
}

void FreeColorMatrix(ColorMatrix *pMatrix)
{
    FreeColumns((void **)(void *)pMatrix->columns, pMatrix->width);
    pMatrix->columns = NULL;
}

int64_t LoadSteps(int height)
{
    return (int64_t)CeilDivide((uint64_t)height - 1, 5);
}

int64_t ColumnSteps(int width)
{
    return (int64_t)CeilDivide((uint64_t)width, 5);
}
