// The brightness and contrast tools for 8-bit images: a histogram of a viewport that follows the
// user, a look-up table made from it, and the table applied to an image.
//
// No dialogs, no progress, no cancel. The caller owns the blocks; what went wrong is told through
// the caller's error variable, which may be null. Every block is measured before it is used: an
// image that its block does not hold, or a table that is too short, is an invalid argument.
//
// The histogram counts raw bytes in 16 bits (Kept: they wrap, so that a viewport full of one value
// shows none of it), and where it stands belongs to the thread (Kept: not to the histogram or the
// image; a near move updates whatever the counts are). Moves of at most 128 pixels either way count
// only the columns and rows that come and go.

#include "VexaFilter.h"
#include "frame/call.h"
#include "frame/dib.h"
#include "frame/intops.h"
#include "frame/levels.h"

#include <string.h>

enum {
    VIEWPORT = 256,  // pixels along each side
    NEAR_MOVE = 128,
    NO_ORIGIN = -VIEWPORT,
    GATHERED_BYTES = 32 * VIEWPORT,  // rows of the viewport are too short to be counted one by one
    HISTOGRAM_BYTES = GRAY_LEVELS * sizeof(WORD)
};

static const unsigned MEAN_WITHOUT_HISTOGRAM = 128;

// Kept: these fifteen digits.
static const double LEVEL_UNIT = 0.00392156862745098;

// ---- blocks -------------------------------------------------------------------------------------

// Locks a block of at least nBytes. A code, CONVERT_OK if it is locked.
static int LockTable(HGLOBAL hTable, SIZE_T nBytes, void **pTable)
{
    *pTable = GlobalLock(hTable);
    if (*pTable == NULL) {
        return CONVERT_NOT_LOCKED;
    }
    if (GlobalSize(hTable) < nBytes) {
        GlobalUnlock(hTable);
        return CONVERT_BAD_ARGUMENT;
    }
    return CONVERT_OK;
}

// The same for an image.
static int LockImage(HGLOBAL hDib, DibView *pView)
{
    // Locked twice, to tell a block that cannot be locked from one that is no image.
    if (GlobalLock(hDib) == NULL) {
        return CONVERT_NOT_LOCKED;
    }
    const int bImage = LockDib(hDib, pView);
    GlobalUnlock(hDib);
    if (!bImage) {
        return CONVERT_BAD_ARGUMENT;
    }
    if (!FitsSixteenBits(&pView->shape)) {
        UnlockDib(pView);
        return CONVERT_BAD_ARGUMENT;
    }
    return CONVERT_OK;
}

static HGLOBAL AllocTwice(unsigned long long nBytes)
{
    const HGLOBAL hBlock = AllocBlock(nBytes);
    return hBlock != NULL ? hBlock : AllocBlock(nBytes);
}

// ---- histogram ----------------------------------------------------------------------------------

// The pixels from (x, y) up to, not including, column xEnd and row yEnd.
struct Area {
    int x;
    int y;
    int xEnd;
    int yEnd;
};

static void Swap(int *a, int *b)
{
    const int kept = *a;
    *a = *b;
    *b = kept;
}

// Adds the pixels of an area to the counts, or takes them off if nSign is -1. An area whose end
// lies before its beginning counts the other way round.
static void CountArea(const DibView *pImage, Area area, int nSign, WORD *counts)
{
    DWORD found[GRAY_LEVELS] = {0};
    BYTE gathered[GATHERED_BYTES];
    size_t nGathered = 0;
    if (area.xEnd < area.x) {
        Swap(&area.x, &area.xEnd);
        nSign = -nSign;
    }
    if (area.yEnd < area.y) {
        Swap(&area.y, &area.yEnd);
        nSign = -nSign;
    }
    const size_t width = (size_t)(area.xEnd - area.x);
    for (int y = area.y; y < area.yEnd; y++) {
        memcpy(gathered + nGathered, PictureRow(pImage, y) + area.x, width);
        nGathered += width;
        if (nGathered + width > sizeof gathered || y + 1 == area.yEnd) {
            CountBytes(gathered, nGathered, found);
            nGathered = 0;
        }
    }
    for (int i = 0; i < GRAY_LEVELS; i++) {
        counts[i] = (WORD)(nSign > 0 ? counts[i] + found[i] : counts[i] - found[i]);
    }
}

static int ClampOrigin(int origin, int side)
{
    const int last = side - VIEWPORT;
    return last < 0 || origin < 0 ? 0 : origin > last ? last : origin;
}

static int ViewportSide(int side)
{
    return side < VIEWPORT ? side : VIEWPORT;
}

// The thread's viewport lies in the image and at most NEAR_MOVE away. One that does not lie in the
// image comes from another; it is not moved but counted anew.
static int CanMove(int from, int to, int side)
{
    return from >= 0 && from <= side - ViewportSide(side) && from - to <= NEAR_MOVE &&
           to - from <= NEAR_MOVE;
}

// Brings the counts from the thread's viewport to the one at (x, y).
static void MoveViewport(const FilterThreadState *pState, const DibView *pImage, int x, int y,
                         WORD *counts)
{
    const int width = ViewportSide(pImage->shape.width);
    const int height = ViewportSide(pImage->shape.height);
    const int xOld = pState->nHistX;
    const int yOld = pState->nHistY;
    if (!CanMove(xOld, x, pImage->shape.width) || !CanMove(yOld, y, pImage->shape.height)) {
        // Kept: on a thread that has made no histogram the counts are not cleared.
        memset(counts, 0, (size_t)pState->nHistBytes);
        CountArea(pImage, {x, y, x + width, y + height}, 1, counts);
        return;
    }
    CountArea(pImage, {xOld + width, yOld, x + width, yOld + height}, 1, counts);
    CountArea(pImage, {xOld, yOld, x, yOld + height}, -1, counts);
    CountArea(pImage, {x, yOld + height, x + width, y + height}, 1, counts);
    CountArea(pImage, {x, yOld, x + width, y}, -1, counts);
}

static int UpdateViewport(FilterThreadState *pState, const DibView *pImage, HGLOBAL hHistogram,
                          const int *pOrigin)
{
    void *pCounts = NULL;
    const int x = ClampOrigin(pOrigin[0], pImage->shape.width);
    const int y = ClampOrigin(pOrigin[1], pImage->shape.height);
    // Kept: nothing else is looked at, even if the image or the histogram is another one by now.
    if (x == pState->nHistX && y == pState->nHistY) {
        return CONVERT_OK;
    }
    const int code = LockTable(hHistogram, HISTOGRAM_BYTES, &pCounts);
    if (code == CONVERT_OK) {
        MoveViewport(pState, pImage, x, y, (WORD *)pCounts);
        pState->nHistX = x;
        pState->nHistY = y;
        GlobalUnlock(hHistogram);
    }
    return code;
}

static int UpdateHistogram(FilterThreadState *pState, HGLOBAL hDib, HGLOBAL hHistogram,
                           const int *pOrigin)
{
    DibView image;
    if (hDib == NULL || hHistogram == NULL || pOrigin == NULL) {
        return CONVERT_BAD_ARGUMENT;
    }
    int code = LockImage(hDib, &image);
    if (code != CONVERT_OK) {
        return code;
    }
    // Kept: the rows of every depth are read as those of an 8-bit image.
    DibShape *p = &image.shape;
    p->stride = (size_t)RowStride((uint64_t)p->width, 8);
    if (p->nBitsOffset + (uint64_t)p->stride * (unsigned)p->height > p->nBlockBytes) {
        code = CONVERT_BAD_ARGUMENT;
    } else {
        code = UpdateViewport(pState, &image, hHistogram, pOrigin);
    }
    UnlockDib(&image);
    return code;
}

static HGLOBAL CreateHistogram(FilterThreadState *pState)
{
    const HGLOBAL hHistogram = AllocBlock(HISTOGRAM_BYTES);
    if (hHistogram != NULL) {
        pState->nHistBytes = HISTOGRAM_BYTES;
        pState->nHistX = pState->nHistY = NO_ORIGIN;
    }
    return hHistogram;
}

// ---- look-up table ------------------------------------------------------------------------------

// The mean of the counted bytes, rounded down; half-way up the scale without any.
static unsigned MeanOf(HGLOBAL hHistogram)
{
    void *pTable = NULL;
    unsigned sum = 0;  // at most 65535 x 32640
    unsigned nPixels = 0;
    if (hHistogram == NULL || LockTable(hHistogram, HISTOGRAM_BYTES, &pTable) != CONVERT_OK) {
        return MEAN_WITHOUT_HISTOGRAM;
    }
    const WORD *counts = (const WORD *)pTable;
    for (unsigned i = 0; i < GRAY_LEVELS; i++) {
        sum += i * counts[i];
        nPixels += counts[i];
    }
    GlobalUnlock(hHistogram);
    return nPixels == 0 ? MEAN_WITHOUT_HISTOGRAM : sum / nPixels;
}

// The slope is 1 + contrast / 255, turned about the mean. The terms before the scaling are whole
// numbers below 2^40, so the running sum of doubles is exact; the product with LEVEL_UNIT is exact
// where it should be whole, which makes contrast 0 and brightness 0 the identity. In registers
// wider than a double it would not be.
static void FillLut(int contrast, int brightness, unsigned mean, BYTE *table, int nLength)
{
    double term = -((double)mean * contrast);
    for (int i = 0; i < nLength; i++) {
        const double level = term * LEVEL_UNIT + brightness;
        table[i] = (BYTE)(level <= 0 ? 0 : level >= 255 ? 255 : (int)level);
        term += (double)contrast + 255;
    }
}

static int UpdateLut(const FilterThreadState *pState, HGLOBAL hHistogram, HGLOBAL hTable,
                     int contrast, int brightness)
{
    void *pTable = NULL;
    if (hTable == NULL) {
        return CONVERT_BAD_ARGUMENT;
    }
    // Kept: on a thread that has made no table the length is 0 and nothing is written.
    const unsigned mean = MeanOf(hHistogram);
    const int code = LockTable(hTable, (SIZE_T)pState->nLutLength, &pTable);
    if (code == CONVERT_OK) {
        FillLut(contrast, brightness, mean, (BYTE *)pTable, pState->nLutLength);
        GlobalUnlock(hTable);
    }
    return code;
}

static HGLOBAL CreateLut(FilterThreadState *pState, int *pCode)
{
    pState->nLutLength = GRAY_LEVELS;
    const HGLOBAL hTable = AllocBlock(GRAY_LEVELS);
    BYTE *table = hTable != NULL ? (BYTE *)GlobalLock(hTable) : NULL;
    if (table == NULL) {
        *pCode = hTable == NULL ? CONVERT_NO_MEMORY : CONVERT_NOT_LOCKED;
        GlobalFree(hTable);
        return NULL;
    }
    for (int i = 0; i < GRAY_LEVELS; i++) {
        table[i] = (BYTE)i;
    }
    GlobalUnlock(hTable);
    return hTable;
}

// ---- application --------------------------------------------------------------------------------

// A new image with the header of another and room for its rows. A colour table with fewer than 256
// entries becomes a full one.
static HGLOBAL NewLikeness(const DibView *pSource, DibView *pCopy, int *pCode)
{
    const DibShape *p = &pSource->shape;
    *pCopy = *pSource;
    const size_t nColors = p->nColors < GRAY_LEVELS ? (size_t)GRAY_LEVELS : p->nColors;
    const size_t nPrefix = DIB_HEADER_BYTES + nColors * sizeof(RGBQUAD);
    pCopy->hDib = AllocTwice(nPrefix + (unsigned long long)p->height * p->stride);
    if (pCopy->hDib == NULL) {
        *pCode = CONVERT_NO_MEMORY;
        return NULL;
    }
    pCopy->pBlock = (BYTE *)GlobalLock(pCopy->hDib);
    if (pCopy->pBlock == NULL) {
        *pCode = CONVERT_NOT_LOCKED;
        GlobalFree(pCopy->hDib);
        return NULL;
    }
    memcpy(pCopy->pBlock, &pSource->header, DIB_HEADER_BYTES);
    if (p->nColors < GRAY_LEVELS) {
        ((BITMAPINFOHEADER *)(void *)pCopy->pBlock)->biClrUsed = GRAY_LEVELS;
    }
    pCopy->pColors = (RGBQUAD *)(void *)(pCopy->pBlock + DIB_HEADER_BYTES);
    pCopy->pBits = pCopy->pBlock + nPrefix;
    return pCopy->hDib;
}

// What becomes of each stored byte: the mean of its colour, missing ones being black, through the
// table. Then the image's bytes are levels and its colours a gray ramp.
static void MapImage(const DibView *pSource, const DibView *pResult, const BYTE *table)
{
    const DibShape *p = &pSource->shape;
    BYTE map[GRAY_LEVELS];
    for (unsigned i = 0; i < GRAY_LEVELS; i++) {
        const RGBQUAD black = {0, 0, 0, 0};
        const RGBQUAD color = i < p->nColors ? pSource->pColors[i] : black;
        map[i] = table[(color.rgbBlue + color.rgbGreen + color.rgbRed + 1) / 3];
    }
    for (unsigned i = 0; i < GRAY_LEVELS; i++) {
        const BYTE level = (BYTE)i;
        pResult->pColors[i] = {level, level, level, 0};
    }
    for (int y = p->height - 1; y >= 0; y--) {
        MapBytes(map, PictureRow(pSource, y), PictureRow(pResult, y), (size_t)p->width);
    }
}

// In place only if the image has the 256 colours that the ramp replaces.
static HGLOBAL MapInto(const DibView *pSource, const BYTE *table, int bMakeCopy, int *pCode)
{
    DibView result = *pSource;
    if (!bMakeCopy && pSource->shape.nColors < GRAY_LEVELS) {
        *pCode = CONVERT_BAD_ARGUMENT;
        return NULL;
    }
    if (bMakeCopy && NewLikeness(pSource, &result, pCode) == NULL) {
        return NULL;
    }
    MapImage(pSource, &result, table);
    if (bMakeCopy) {
        GlobalUnlock(result.hDib);
    }
    return result.hDib;
}

static HGLOBAL MapThroughTable(HGLOBAL hDib, HGLOBAL hTable, int bMakeCopy, int *pCode)
{
    DibView image;
    void *pTable = NULL;
    HGLOBAL hResult = NULL;
    if (hDib == NULL || hTable == NULL) {
        *pCode = CONVERT_BAD_ARGUMENT;
        return NULL;
    }
    *pCode = LockImage(hDib, &image);
    if (*pCode != CONVERT_OK) {
        return NULL;
    }
    if (image.shape.bitCount != 8) {
        *pCode = CONVERT_BAD_ARGUMENT;
    } else {
        *pCode = LockTable(hTable, GRAY_LEVELS, &pTable);
    }
    if (*pCode == CONVERT_OK) {
        hResult = MapInto(&image, (const BYTE *)pTable, bMakeCopy, pCode);
        GlobalUnlock(hTable);
    }
    UnlockDib(&image);
    return hResult;
}

// ---- exports ------------------------------------------------------------------------------------

static void Report(int *pError, int code)
{
    if (pError != NULL) {
        *pError = code;
    }
}

HGLOBAL VEXAFILTER_API ComputeHistogram(HGLOBAL hDib, int nOperation, HGLOBAL hHistogram,
                                        int *pOrigin, int *pError)
{
    int code = CONVERT_OK;
    HGLOBAL hResult = NULL;
    RunningCall running;
    FilterThreadState *pState = BeginCall(&running);
    if (nOperation == LUT_CREATE) {
        hResult = CreateHistogram(pState);
        code = hResult == NULL ? CONVERT_NO_MEMORY : CONVERT_OK;
    } else if (nOperation == LUT_COMPUTE) {
        code = UpdateHistogram(pState, hDib, hHistogram, pOrigin);
        hResult = code == CONVERT_OK ? hHistogram : NULL;
    } else if (nOperation == LUT_FREE) {
        GlobalFree(hHistogram);
    }
    EndCall(&running);
    Report(pError, code);
    return hResult;
}

HGLOBAL VEXAFILTER_API ComputeLUT(HGLOBAL hHistogram, int nOperation, HGLOBAL hTable, int contrast,
                                  int brightness, int *pError)
{
    int code = CONVERT_OK;
    HGLOBAL hResult = NULL;
    RunningCall running;
    FilterThreadState *pState = BeginCall(&running);
    if (nOperation == LUT_CREATE) {
        hResult = CreateLut(pState, &code);
    } else if (nOperation == LUT_COMPUTE) {
        code = UpdateLut(pState, hHistogram, hTable, contrast, brightness);
        hResult = code == CONVERT_OK ? hTable : NULL;
    } else if (nOperation == LUT_FREE) {
        // Kept: the handle comes back although it is no longer valid.
        GlobalFree(hTable);
        hResult = hTable;
    }
    EndCall(&running);
    Report(pError, code);
    return hResult;
}

HGLOBAL VEXAFILTER_API ApplyLUT(HGLOBAL hDib, HGLOBAL hTable, int bMakeCopy, int *pError)
{
    int code = CONVERT_OK;
    RunningCall running;
    BeginCall(&running);
    const HGLOBAL hResult = MapThroughTable(hDib, hTable, bMakeCopy, &code);
    EndCall(&running);
    Report(pError, code);
    return hResult;
}
