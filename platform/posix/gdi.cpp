// Drawing without a screen: lines and rectangles of the stock pens and brushes into bitmaps of 24
// bits, as GDI draws them: one pixel wide, without the end point of a line, rectangles without
// their right and bottom sides.
//
// Promised: memory contexts with a DIB section of 24 bits, bottom-up or top-down; the contexts of
// windows, which draw into the window's bitmap (headless.h) or, without one, nowhere. Every handle
// is checked. Left out: everything else; lines are level or upright.
//
// One lock guards contexts and bitmaps.

#include <windows.h>

#include "headless.h"
#include "internal.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>

static const uintptr_t MAX_OBJECTS = 256;
// Handles are no valid addresses: one of these and a running number and the index.
static const uintptr_t FIRST_CONTEXT = uintptr_t(0x0044) << 48;
static const uintptr_t FIRST_BITMAP = uintptr_t(0x0042) << 48;
static const uintptr_t FIRST_STOCK = uintptr_t(0x0053) << 48;

struct Bitmap {
    HBITMAP hBitmap;  // null: free
    BYTE *pBits;
    int nWidth, nHeight;
    bool bTopDown;
};

struct Context {
    HDC hdc;  // null: free
    HBITMAP hBitmap;
    int nPen, nBrush;  // stock objects
    int x, y;
};

static pthread_mutex_t drawLock = PTHREAD_MUTEX_INITIALIZER;
static Bitmap bitmaps[MAX_OBJECTS];
static Context contexts[MAX_OBJECTS];
static uintptr_t nMade;

// ---- handles; called with the lock held ------------------------------------------------------

static Bitmap *FindBitmap(const void *handle)
{
    Bitmap *bitmap = &bitmaps[reinterpret_cast<uintptr_t>(handle) % MAX_OBJECTS];
    return handle != nullptr && bitmap->hBitmap == handle ? bitmap : nullptr;
}

static Context *FindContext(HDC hdc)
{
    Context *context = &contexts[reinterpret_cast<uintptr_t>(hdc) % MAX_OBJECTS];
    return hdc != nullptr && context->hdc == hdc ? context : nullptr;
}

static HGDIOBJ StockHandle(int object)
{
    return reinterpret_cast<HGDIOBJ>(FIRST_STOCK + uintptr_t(object));
}

static bool IsPen(int object)
{
    return object == WHITE_PEN || object == BLACK_PEN;
}

static bool IsBrush(int object)
{
    return object == WHITE_BRUSH || object == BLACK_BRUSH;
}

static BYTE LevelOf(int object)
{
    return object == WHITE_PEN || object == WHITE_BRUSH ? 255 : 0;
}

static HDC AddContext(HBITMAP hBitmap)
{
    HDC hdc = nullptr;
    pthread_mutex_lock(&drawLock);
    for (uintptr_t n = 0; n < MAX_OBJECTS && hdc == nullptr; n++) {
        if (contexts[n].hdc == nullptr) {
            hdc = reinterpret_cast<HDC>(FIRST_CONTEXT + ++nMade * MAX_OBJECTS + n);
            contexts[n] = {hdc, hBitmap, BLACK_PEN, WHITE_BRUSH, 0, 0};
        }
    }
    pthread_mutex_unlock(&drawLock);
    if (hdc == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return hdc;
}

// ---- contexts ----------------------------------------------------------------------------------

HDC WINAPI CreateCompatibleDC(HDC)
{
    return AddContext(nullptr);
}

BOOL WINAPI DeleteDC(HDC hdc)
{
    pthread_mutex_lock(&drawLock);
    Context *context = FindContext(hdc);
    if (context != nullptr) {
        *context = {};
    }
    pthread_mutex_unlock(&drawLock);
    return context != nullptr;
}

HDC WINAPI GetDC(HWND hWnd)
{
    HBITMAP hBitmap;
    return BitmapOfWindow(hWnd, &hBitmap) ? AddContext(hBitmap) : nullptr;
}

int WINAPI ReleaseDC(HWND hWnd, HDC hDC)
{
    HBITMAP hBitmap;
    return BitmapOfWindow(hWnd, &hBitmap) && DeleteDC(hDC);
}

HDC WINAPI BeginPaint(HWND hWnd, LPPAINTSTRUCT lpPaint)
{
    if (lpPaint == nullptr) {
        return nullptr;
    }
    memset(lpPaint, 0, sizeof *lpPaint);
    lpPaint->hdc = GetDC(hWnd);
    GetClientRect(hWnd, &lpPaint->rcPaint);
    return lpPaint->hdc;
}

BOOL WINAPI EndPaint(HWND hWnd, const PAINTSTRUCT *lpPaint)
{
    return lpPaint != nullptr && ReleaseDC(hWnd, lpPaint->hdc);
}

// ---- objects -----------------------------------------------------------------------------------

static size_t BitmapStride(int width)
{
    return (size_t(unsigned(width)) * 3 + 3) / 4 * 4;
}

HBITMAP WINAPI CreateDIBSection(HDC, const BITMAPINFO *pbmi, UINT, void **ppvBits, HANDLE, DWORD)
{
    const BITMAPINFOHEADER *header = &pbmi->bmiHeader;
    const int64_t height = header->biHeight < 0 ? -int64_t(header->biHeight) : header->biHeight;
    if (header->biBitCount != 24 || header->biCompression != BI_RGB || header->biWidth < 1 ||
        height < 1 || BitmapStride(header->biWidth) > size_t(INT32_MAX) / size_t(height)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    HBITMAP hBitmap = nullptr;
    BYTE *bits = static_cast<BYTE *>(calloc(size_t(height), BitmapStride(header->biWidth)));
    pthread_mutex_lock(&drawLock);
    for (uintptr_t n = 0; n < MAX_OBJECTS && bits != nullptr && hBitmap == nullptr; n++) {
        if (bitmaps[n].hBitmap == nullptr) {
            hBitmap = reinterpret_cast<HBITMAP>(FIRST_BITMAP + ++nMade * MAX_OBJECTS + n);
            bitmaps[n] = {hBitmap, bits, header->biWidth, int(height), header->biHeight < 0};
        }
    }
    pthread_mutex_unlock(&drawLock);
    if (hBitmap == nullptr) {
        free(bits);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    } else if (ppvBits != nullptr) {
        *ppvBits = bits;
    }
    return hBitmap;
}

BOOL WINAPI DeleteObject(HGDIOBJ ho)
{
    pthread_mutex_lock(&drawLock);
    Bitmap *bitmap = FindBitmap(ho);
    if (bitmap != nullptr) {
        free(bitmap->pBits);
        *bitmap = {};
    }
    pthread_mutex_unlock(&drawLock);
    return bitmap != nullptr;
}

BOOL SizeOfBitmap(HBITMAP hBitmap, int *pWidth, int *pHeight)
{
    pthread_mutex_lock(&drawLock);
    const Bitmap *bitmap = FindBitmap(hBitmap);
    if (bitmap != nullptr) {
        *pWidth = bitmap->nWidth;
        *pHeight = bitmap->nHeight;
    }
    pthread_mutex_unlock(&drawLock);
    return bitmap != nullptr;
}

HGDIOBJ WINAPI GetStockObject(int i)
{
    return IsPen(i) || IsBrush(i) ? StockHandle(i) : nullptr;
}

HGDIOBJ WINAPI SelectObject(HDC hdc, HGDIOBJ h)
{
    HGDIOBJ previous = nullptr;
    pthread_mutex_lock(&drawLock);
    Context *context = FindContext(hdc);
    if (context != nullptr && FindBitmap(h) != nullptr) {
        previous = context->hBitmap;
        context->hBitmap = static_cast<HBITMAP>(h);
    }
    for (int object = 0; context != nullptr && object <= BLACK_PEN; object++) {
        if (h != StockHandle(object) || !(IsPen(object) || IsBrush(object))) {
            continue;
        }
        int *selected = IsPen(object) ? &context->nPen : &context->nBrush;
        previous = StockHandle(*selected);
        *selected = object;
    }
    pthread_mutex_unlock(&drawLock);
    return previous;
}

// ---- pixels ------------------------------------------------------------------------------------

// From left and top to before right and bottom, as far as it lies in the bitmap.
static void FillPixels(const Context *context, int left, int top, int right, int bottom, BYTE level)
{
    const Bitmap *bitmap = FindBitmap(context->hBitmap);
    if (bitmap == nullptr) {
        return;
    }
    left = left < 0 ? 0 : left;
    top = top < 0 ? 0 : top;
    right = right > bitmap->nWidth ? bitmap->nWidth : right;
    bottom = bottom > bitmap->nHeight ? bitmap->nHeight : bottom;
    for (int y = top; y < bottom && left < right; y++) {
        const int row = bitmap->bTopDown ? y : bitmap->nHeight - 1 - y;
        memset(bitmap->pBits + BitmapStride(bitmap->nWidth) * size_t(row) + size_t(left) * 3, level,
               size_t(right - left) * 3);
    }
}

BOOL WINAPI MoveToEx(HDC hdc, int x, int y, POINT *lppt)
{
    pthread_mutex_lock(&drawLock);
    Context *context = FindContext(hdc);
    if (context != nullptr) {
        if (lppt != nullptr) {
            *lppt = {context->x, context->y};
        }
        context->x = x;
        context->y = y;
    }
    pthread_mutex_unlock(&drawLock);
    return context != nullptr;
}

BOOL WINAPI LineTo(HDC hdc, int x, int y)
{
    pthread_mutex_lock(&drawLock);
    Context *context = FindContext(hdc);
    bool bDrawn = context != nullptr && (context->x == x || context->y == y);
    if (bDrawn) {
        // The end point stays out, at whichever side it lies.
        const int dx = x < context->x ? 1 : 0, dy = y < context->y ? 1 : 0;
        const bool bAcross = context->y == y;
        const int left = dx != 0 ? x : context->x, right = dx != 0 ? context->x : x;
        const int top = dy != 0 ? y : context->y, bottom = dy != 0 ? context->y : y;
        if (bAcross) {
            FillPixels(context, left + dx, y, right + dx, y + 1, LevelOf(context->nPen));
        } else {
            FillPixels(context, x, top + dy, x + 1, bottom + dy, LevelOf(context->nPen));
        }
        context->x = x;
        context->y = y;
    }
    pthread_mutex_unlock(&drawLock);
    return bDrawn;
}

BOOL WINAPI Rectangle(HDC hdc, int left, int top, int right, int bottom)
{
    pthread_mutex_lock(&drawLock);
    const Context *context = FindContext(hdc);
    if (context != nullptr) {
        if (right < left) {
            const int kept = left;
            left = right;
            right = kept;
        }
        if (bottom < top) {
            const int kept = top;
            top = bottom;
            bottom = kept;
        }
        // Four sides, each without its end: of a single pixel nothing is left.
        if (right - left != 1 || bottom - top != 1) {
            FillPixels(context, left, top, right, bottom, LevelOf(context->nPen));
        }
        FillPixels(context, left + 1, top + 1, right - 1, bottom - 1, LevelOf(context->nBrush));
    }
    pthread_mutex_unlock(&drawLock);
    return context != nullptr;
}

BOOL WINAPI GdiFlush(void)
{
    return TRUE;
}
