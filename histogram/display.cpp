// Histograms to look at: counts in a record of the host's, and charts of them.
//
// HistDIBCreate counts, HistDispToDC draws a record as bars, HistDispWmPain does so in answer to a
// WM_PAINT. HistDIBGen is older: it counts and draws by itself, a line for each level, and returns
// a copy of the image. None has a mode, a dialog or an error code.
//
// Levels are the stored values, palette indices included. Every byte of a row counts, its padding,
// too. All is drawn in white on whatever is there.
//
// Kept: HistDIBGen reads bytes as signed and limits them as unsigned: 128 to 254 count as 255.
// Kept: its extremes are those of the first channel, whichever is drawn, and its smallest count is
// at most the top level. A count below it becomes a huge difference, and its line ends anywhere.

#include "VexaFilter.h"

#include "counts.h"
#include "frame/call.h"
#include "frame/intops.h"
#include "frame/rows.h"

#include <string.h>

// ---- counts -------------------------------------------------------------------------------------

// Of all rows: channels apart at 24 bits, bytes in the first counters at any other depth.
static void CountImage(const DibView *pView, DWORD counts[COLOR_CHANNELS][GRAY_LEVELS])
{
    const DibShape *p = &pView->shape;
    memset(counts, 0, COLOR_CHANNELS * GRAY_LEVELS * sizeof(DWORD));
    if (p->bitCount == 24) {
        CountChannels(pView->pBits, (size_t)p->height, p->stride, counts);
    } else {
        CountBytes(pView->pBits, (size_t)p->height * p->stride, counts[0]);
    }
}

// Counts of bytes as counts of their bits.
static void SplitBits(DWORD counts[GRAY_LEVELS])
{
    DWORD bits[2] = {0, 0};
    for (int i = 0; i < GRAY_LEVELS; i++) {
        for (int bit = 0; bit < 8; bit++) {
            bits[i >> bit & 1] += counts[i];
        }
    }
    memset(counts, 0, GRAY_LEVELS * sizeof *counts);
    memcpy(counts, bits, sizeof bits);
}

// What a depth below 8 bits needs besides.
static void SplitLevels(int bitCount, DWORD counts[GRAY_LEVELS])
{
    if (bitCount == 1) {
        SplitBits(counts);
    } else if (bitCount == 4) {
        DWORD bytes[GRAY_LEVELS];
        memcpy(bytes, counts, sizeof bytes);
        SplitCounts(bytes, counts);
    }
}

static UINT LevelsOfDepth(int bitCount)
{
    switch (bitCount) {
    case 1:
        return 2;
    case 4:
        return 16;
    case 8:
    case 24:
        return GRAY_LEVELS;
    default:
        return 0;
    }
}

static void FillRecord(const DibView *pView, UINT nLevels, HistogramRecord *pRecord)
{
    pRecord->nLevels = nLevels;
    pRecord->nChannels = pView->shape.bitCount == 24 ? COLOR_CHANNELS : 1;
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS];
    CountImage(pView, counts);
    SplitLevels(pView->shape.bitCount, counts[0]);
    for (UINT channel = 0; channel < pRecord->nChannels; channel++) {
        UINT least = INT32_MAX, most = 0;
        for (UINT level = 0; level < nLevels; level++) {
            const UINT count = counts[channel][level];
            pRecord->counts[channel][level] = count;
            least = count < least ? count : least;
            most = count > most ? count : most;
        }
        pRecord->minCount[channel] = least;
        pRecord->maxCount[channel] = most;
    }
}

// ---- the chart of a record ----------------------------------------------------------------------

// Around the chart, in pixels.
enum { SIDE_MARGIN = 10, TOP_MARGIN = 20, MARGINS_ACROSS = 20, MARGINS_DOWN = 40 };

// What one call draws: a channel, or the sum of them all.
struct ChartData {
    const HistogramRecord *pRecord;
    UINT nFirst, nChannels;
    UINT least, most;
};

static ChartData SelectChannels(const HistogramRecord *pRecord, int channel)
{
    ChartData data = {pRecord, 0, 1, 0, 0};
    if (pRecord->nChannels != 1) {
        const int bOne = channel >= 1 && channel <= COLOR_CHANNELS;
        data.nFirst = bOne ? (UINT)channel - 1 : 0;
        data.nChannels = bOne ? 1 : COLOR_CHANNELS;
    }
    for (UINT i = data.nFirst; i < data.nFirst + data.nChannels; i++) {
        data.least += pRecord->minCount[i];
        data.most += pRecord->maxCount[i];
    }
    return data;
}

static UINT CountAtLevel(const ChartData *pData, UINT level)
{
    UINT count = 0;
    for (UINT i = pData->nFirst; i < pData->nFirst + pData->nChannels; i++) {
        count += pData->pRecord->counts[i][level];
    }
    return count;
}

// Of a bar or line, in pixels. An empty range has none.
static int BarHeight(UINT count, UINT least, UINT most, int height)
{
    if (most == least || height == 0) {
        return 0;
    }
    const double scale = (double)(most - least) / height;
    return TruncateToInt((double)(count - least) / scale);
}

static void DrawLine(HDC hdc, int x, int y, int xEnd, int yEnd)
{
    MoveToEx(hdc, x, y, NULL);
    LineTo(hdc, xEnd, yEnd);
}

// height is that of the bars, width that of each.
static void DrawBars(HDC hdc, const ChartData *pData, int width, int height)
{
    const int nLevels = (int)pData->pRecord->nLevels;
    const int chart = nLevels * width;
    const int base = height + TOP_MARGIN;
    for (int y = base + 1; y <= base + 2; y++) {
        DrawLine(hdc, SIDE_MARGIN - 1, y, chart + SIDE_MARGIN + 1, y);
    }
    for (int level = 0; level < nLevels; level++) {
        const int x = SIDE_MARGIN + level * width;
        const int bar =
            BarHeight(CountAtLevel(pData, (UINT)level), pData->least, pData->most, height);
        if (bar > 0) {
            Rectangle(hdc, x, bar > height ? TOP_MARGIN : base - bar, x + width, base);
        }
        if (width > 1) {
            DrawLine(hdc, x, base + 3, x, base + 5);
        }
    }
    if (width > 1) {
        DrawLine(hdc, chart + SIDE_MARGIN, base + 3, chart + SIDE_MARGIN, base + 5);
    }
}

// Sides of rectangles are the host's numbers: differences wrap.
static int SubtractWrapping(LONG a, LONG b)
{
    return (int)((unsigned)a - (unsigned)b);
}

static int DrawRecord(HDC hdc, const HistogramRecord *pRecord, const RECT *pRect, int channel)
{
    const int width = SubtractWrapping(SubtractWrapping(pRect->right, pRect->left), MARGINS_ACROSS);
    const int height = SubtractWrapping(SubtractWrapping(pRect->bottom, pRect->top), MARGINS_DOWN);
    const UINT nLevels = pRecord->nLevels;
    if (nLevels == 0 || nLevels > GRAY_LEVELS || width < (int)nLevels ||
        height > INT32_MAX - MARGINS_DOWN) {
        return 0;
    }
    const FloatControls hostControls = SetDefaultFloatControls();
    const ChartData data = SelectChannels(pRecord, channel);
    DrawBars(hdc, &data, width / (int)nLevels, height);
    RestoreFloatControls(hostControls);
    return 1;
}

static HGDIOBJ SelectStock(HDC hdc, int object)
{
    return SelectObject(hdc, GetStockObject(object));
}

static void SelectBack(HDC hdc, HGDIOBJ hPrevious)
{
    if (hPrevious != NULL) {
        SelectObject(hdc, hPrevious);
    }
}

// ---- lines in a window --------------------------------------------------------------------------

static int TopLevel(int bitCount)
{
    const UINT nLevels = LevelsOfDepth(bitCount);
    return nLevels != 0 ? (int)nLevels - 1 : bitCount;
}

// What 128 to 254 have counted counts as 255.
static void LumpUpperHalf(DWORD counts[GRAY_LEVELS])
{
    for (int level = 128; level < GRAY_LEVELS - 1; level++) {
        counts[GRAY_LEVELS - 1] += counts[level];
        counts[level] = 0;
    }
}

static void CountLines(const DibView *pView, DWORD counts[COLOR_CHANNELS][GRAY_LEVELS])
{
    const int bitCount = pView->shape.bitCount;
    CountImage(pView, counts);
    SplitLevels(bitCount, counts[0]);
    for (int channel = 0; channel < COLOR_CHANNELS && bitCount != 1 && bitCount != 4; channel++) {
        LumpUpperHalf(counts[channel]);
    }
}

// width, height: of the whole window, though the lines go into its client area.
static void DrawLines(HDC hdc, const DibView *pView, int channel, int width, int height)
{
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS];
    const int top = TopLevel(pView->shape.bitCount);
    const int drawn = pView->shape.bitCount == 24 ? channel - 1 : 0;
    const int base = (SHORT)(height - 50);
    const int left = (SHORT)((width - top - 1) / 2);
    UINT least = (UINT)top, most = 0;
    CountLines(pView, counts);
    for (int level = 0; level <= top; level++) {
        least = counts[0][level] < least ? counts[0][level] : least;
        most = counts[0][level] > most ? counts[0][level] : most;
    }
    DrawLine(hdc, left, base + 1, left + top + 1, base + 1);
    DrawLine(hdc, left, base + 2, left + top + 1, base + 2);
    for (int level = 0; level <= top; level++) {
        const int line = BarHeight(counts[drawn][level], least, most, height - 50);
        if (line != 0) {
            DrawLine(hdc, left + level, (SHORT)((unsigned)base - (unsigned)line), left + level,
                     base);
        }
    }
}

static void DrawIntoWindow(HWND hWnd, const DibView *pView, int channel)
{
    RECT window;
    if (!GetWindowRect(hWnd, &window)) {
        return;
    }
    const HDC hdc = GetDC(hWnd);
    if (hdc == NULL) {
        return;
    }
    const HGDIOBJ hPen = SelectStock(hdc, WHITE_PEN);
    const int width = SubtractWrapping(window.right, window.left);
    const int bChannel = pView->shape.bitCount != 24 || (channel >= 1 && channel <= COLOR_CHANNELS);
    if (width >= TopLevel(pView->shape.bitCount) + MARGINS_ACROSS && bChannel) {
        const FloatControls hostControls = SetDefaultFloatControls();
        DrawLines(hdc, pView, channel, width, SubtractWrapping(window.bottom, window.top));
        RestoreFloatControls(hostControls);
    }
    SelectBack(hdc, hPen);
    ReleaseDC(hWnd, hdc);
}

// The rows into a block of their own, with header and colour table.
static int CopyRows(HGLOBAL hCopy, const DibView *pView)
{
    BYTE *pBits = LockRowsResult(hCopy, pView);
    if (pBits == NULL) {
        return 0;
    }
    memcpy(pBits, pView->pBits, (size_t)pView->shape.height * pView->shape.stride);
    return 1;
}

// ---- exports ------------------------------------------------------------------------------------

int VEXAFILTER_API HistDIBCreate(HGLOBAL hDib, HistogramRecord *pRecord)
{
    DibView view;
    if (pRecord == NULL || hDib == NULL || GlobalLock(hDib) == NULL) {
        return 0;
    }
    // Kept: a depth that is not counted leaves the number of levels as it was.
    pRecord->nChannels = 1;
    memset(pRecord->minCount, 0, sizeof pRecord->minCount);
    memset(pRecord->maxCount, 0, sizeof pRecord->maxCount);
    memset(pRecord->counts, 0, sizeof pRecord->counts);
    int bCounted = 0;
    if (LockDibByLowDepth(hDib, &view)) {
        const UINT nLevels = LevelsOfDepth(view.shape.bitCount);
        bCounted = nLevels != 0 && view.shape.nPlanes == 1;
        if (bCounted) {
            FillRecord(&view, nLevels, pRecord);
        }
        UnlockDib(&view);
    }
    GlobalUnlock(hDib);
    return bCounted;
}

int VEXAFILTER_API HistDispToDC(HDC hdc, const HistogramRecord *pRecord, const RECT *pRect,
                                int channel)
{
    if (hdc == NULL || pRecord == NULL || pRect == NULL) {
        return 0;
    }
    const HGDIOBJ hPen = SelectStock(hdc, WHITE_PEN);
    const HGDIOBJ hBrush = SelectStock(hdc, WHITE_BRUSH);
    const int bDrawn = DrawRecord(hdc, pRecord, pRect, channel);
    SelectBack(hdc, hPen);
    SelectBack(hdc, hBrush);
    return bDrawn;
}

int VEXAFILTER_API HistDispWmPain(HWND hWnd, const HistogramRecord *pRecord, int channel)
{
    PAINTSTRUCT paint;
    RECT client;
    const HDC hdc = BeginPaint(hWnd, &paint);
    if (hdc != NULL) {
        if (GetClientRect(hWnd, &client)) {
            HistDispToDC(hdc, pRecord, &client, channel);
        }
        EndPaint(hWnd, &paint);
    }
    return 0;
}

HGLOBAL VEXAFILTER_API HistDIBGen(HGLOBAL hDib, HWND hWnd, int channel)
{
    DibView view;
    if (!LockDibByLowDepth(hDib, &view)) {
        return NULL;
    }
    HGLOBAL hCopy = view.shape.nPlanes == 1 ? AllocRowsResult(&view) : NULL;
    if (hCopy != NULL && !CopyRows(hCopy, &view)) {
        GlobalFree(hCopy);
        hCopy = NULL;
    }
    if (hCopy != NULL) {
        const HCURSOR hCursor = ShowWaitCursor();
        DrawIntoWindow(hWnd, &view, channel);
        SetCursor(hCursor);
        GlobalUnlock(hCopy);
    }
    UnlockDib(&view);
    return hCopy;
}
