// Format conversions: 1-bit to 8-bit gray (plain or smoothed) and 8-bit palette to 24-bit.
//
// Both report in nLastError, which no export returns, and leave nCurrentError alone. They check
// their input themselves because their codes tell one fault from another; what no code tells (a
// block shorter than its header says) counts as a bad argument.
//
// Smoothing: every output pixel is the sum of the weights of the white pixels around it. The
// weights of each kernel add up to 255, so the sums fit a byte; pixels outside the picture count as
// black.
//
// Kept: Convert8bitto24 counts rows as a signed 16-bit number, so a picture of 32768 to 65535 rows
// comes back with all its pixels zero.

#include "convert.h"

#include "VexaFilter.h"
#include "call.h"
#include "dib.h"
#include "intops.h"
#include "platform/workmemory.h"
#include "thread_state.h"

#include <string.h>

enum {
    LARGEST_SIDE = 5,  // of the smoothing kernels
    GUARD = LARGEST_SIDE / 2
};

// clang-format off
static const BYTE SMOOTHING[2][LARGEST_SIDE][LARGEST_SIDE] = {
    {{0,  0,  0,  0, 0},
     {0,  8, 31,  8, 0},
     {0, 31, 99, 31, 0},
     {0,  8, 31,  8, 0},
     {0,  0,  0,  0, 0}},
    {{0,  3,  7,  3, 0},
     {3, 16, 25, 16, 3},
     {7, 25, 39, 25, 7},
     {3, 16, 25, 16, 3},
     {0,  3,  7,  3, 0}}};
// clang-format on

// The header of a block of unknown size, for the first tests. Null if the block is shorter.
static const BITMAPINFOHEADER *LockHeader(HGLOBAL hDib, int *pError)
{
    *pError = CONVERT_OK;
    if (hDib == NULL) {
        *pError = CONVERT_BAD_ARGUMENT;
        return NULL;
    }
    void *pBlock = GlobalLock(hDib);
    if (pBlock == NULL) {
        *pError = CONVERT_NOT_LOCKED;
        return NULL;
    }
    if (GlobalSize(hDib) < DIB_HEADER_BYTES) {
        *pError = CONVERT_BAD_ARGUMENT;
        GlobalUnlock(hDib);
        return NULL;
    }
    return (const BITMAPINFOHEADER *)pBlock;
}

// Eight pixels, most significant bit first, as 255 or 0.
static void SpreadByte(BYTE bits, BYTE *out)
{
    const uint64_t each = (bits * 0x0101010101010101ull) & 0x0102040810204080ull;
    const uint64_t set = (each + 0x7f7f7f7f7f7f7f7full) >> 7 & 0x0101010101010101ull;
    const uint64_t pixels = set * 255;
    memcpy(out, &pixels, sizeof pixels);
}

// One row's pixels, the last byte's unused bits included: up to 7 bytes more than the width.
static void SpreadRow(const BYTE *row, int width, BYTE invert, BYTE *out)
{
    const size_t nBytes = ((size_t)width + 7) / 8;
    for (size_t i = 0; i < nBytes; i++) {
        SpreadByte(row[i] ^ invert, out + i * 8);
    }
}

// Rows overrun into the next one, which is written after, and the last into the spare rows.
static void ConvertPlain(const DibView *pSource, const DibView *pResult, BYTE invert)
{
    const int height = pSource->shape.height;
    for (int y = height - 1; y >= 0; y--) {
        SpreadRow(PictureRow(pSource, y), pSource->shape.width, invert, PictureRow(pResult, y));
    }
}

// Loads picture row y into a line with GUARD black pixels at both ends; black outside the picture.
static void LoadGuardedLine(const DibView *pSource, int y, BYTE invert, BYTE *line)
{
    const size_t width = (size_t)pSource->shape.width;
    memset(line, 0, GUARD);
    if (y < 0 || y >= pSource->shape.height) {
        memset(line + GUARD, 0, width + GUARD);
        return;
    }
    SpreadRow(PictureRow(pSource, y), pSource->shape.width, invert, line + GUARD);
    memset(line + GUARD + width, 0, GUARD);
}

static void AddWeighted(const BYTE *line, BYTE weight, int width, BYTE *out)
{
    for (int x = 0; x < width; x++) {
        out[x] = (BYTE)(out[x] + (line[x] & weight));
    }
}

static int ConvertSmoothed(const DibView *pSource, const DibView *pResult, BYTE invert,
                           const BYTE kernel[LARGEST_SIDE][LARGEST_SIDE])
{
    const int width = pSource->shape.width;
    const size_t lineBytes = (size_t)width + 2 * GUARD + 8;
    BYTE *lines = (BYTE *)WorkAlloc(LARGEST_SIDE, lineBytes);
    if (lines == NULL) {
        return 0;
    }
    for (int y = -GUARD; y < pSource->shape.height + GUARD; y++) {
        // Line k of the ring holds the rows k, k + 5, ... above the picture included.
        LoadGuardedLine(pSource, y, invert,
                        lines + (size_t)((y + LARGEST_SIDE) % LARGEST_SIDE) * lineBytes);
        const int centre = y - GUARD;
        if (centre < 0) {
            continue;
        }
        for (int i = 0; i < LARGEST_SIDE; i++) {
            const int ring = (centre + i - GUARD + LARGEST_SIDE) % LARGEST_SIDE;
            for (int j = 0; j < LARGEST_SIDE; j++) {
                if (kernel[i][j] != 0) {
                    AddWeighted(lines + (size_t)ring * lineBytes + j, kernel[i][j], width,
                                PictureRow(pResult, centre));
                }
            }
        }
    }
    WorkFree(lines);
    return 1;
}

// A gray block for the picture, header and colour table written, locked into *pResult.
static HGLOBAL NewGrayDib(const DibView *pSource, DibView *pResult)
{
    const BITMAPINFOHEADER *pFrom = (const BITMAPINFOHEADER *)(void *)pSource->pBlock;
    const uint64_t width = (uint64_t)pSource->shape.width;
    const uint64_t stride = RowStride(width, 8);
    const uint64_t nPixelBytes = stride * (uint64_t)pSource->shape.height;
    const uint64_t nSpareBytes = (width * 40 + 155) / 32 * 4;
    const size_t nTable = GRAY_LEVELS * sizeof(RGBQUAD);
    const HGLOBAL hResult = AllocBlock(DIB_HEADER_BYTES + nTable + nPixelBytes + nSpareBytes);
    BYTE *pBlock = hResult != NULL ? (BYTE *)GlobalLock(hResult) : NULL;
    if (pBlock == NULL) {
        if (hResult != NULL) {
            GlobalFree(hResult);
        }
        return NULL;
    }
    BITMAPINFOHEADER *pHeader = (BITMAPINFOHEADER *)(void *)pBlock;
    pHeader->biSize = DIB_HEADER_BYTES;
    pHeader->biWidth = pFrom->biWidth;
    pHeader->biHeight = pFrom->biHeight;
    pHeader->biPlanes = 1;
    pHeader->biBitCount = 8;
    pHeader->biSizeImage = (DWORD)nPixelBytes;
    pHeader->biXPelsPerMeter = pFrom->biXPelsPerMeter;
    pHeader->biYPelsPerMeter = pFrom->biYPelsPerMeter;
    pResult->hDib = hResult;
    pResult->shape = pSource->shape;
    pResult->shape.stride = (size_t)stride;
    pResult->pBlock = pBlock;
    pResult->pColors = (RGBQUAD *)(void *)(pBlock + DIB_HEADER_BYTES);
    pResult->pBits = pBlock + DIB_HEADER_BYTES + nTable;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        const BYTE level = (BYTE)i;
        pResult->pColors[i] = RGBQUAD{level, level, level, 0};
    }
    return hResult;
}

static HGLOBAL ConvertCheckedMono(const DibView *pSource, UINT method, int *pError)
{
    DibView result;
    const RGBQUAD first = pSource->pColors[0];
    const int bFirstIsLight = first.rgbBlue >= 128 && first.rgbGreen >= 128 && first.rgbRed >= 128;
    const BYTE invert = bFirstIsLight ? 255 : 0;
    const HGLOBAL hResult = NewGrayDib(pSource, &result);
    if (hResult == NULL) {
        *pError = CONVERT_NO_MEMORY;
        return NULL;
    }
    if (method == 0) {
        ConvertPlain(pSource, &result, invert);
    } else if (!ConvertSmoothed(pSource, &result, invert, SMOOTHING[method - 1])) {
        *pError = CONVERT_NO_MEMORY;
    }
    UnlockDib(&result);
    if (*pError != CONVERT_OK) {
        GlobalFree(hResult);
        return NULL;
    }
    return hResult;
}

static int MonoError(const BITMAPINFOHEADER *pHeader, UINT method)
{
    if (pHeader->biSize != DIB_HEADER_BYTES) {
        return CONVERT_BAD_ARGUMENT;
    }
    if (pHeader->biPlanes != 1 || pHeader->biBitCount != 1 || pHeader->biCompression != BI_RGB) {
        return CONVERT_COMPRESSED;
    }
    if (pHeader->biWidth == 0 || pHeader->biHeight == 0) {
        return CONVERT_EMPTY;
    }
    return method > 2 ? CONVERT_BAD_ARGUMENT : CONVERT_OK;
}

HGLOBAL ConvertMono(HGLOBAL hDib, UINT method)
{
    FilterThreadState *pState = GetFilterThreadState();
    HGLOBAL hResult = NULL;
    int error;
    const BITMAPINFOHEADER *pHeader = LockHeader(hDib, &error);
    if (pHeader != NULL) {
        DibView source;
        error = MonoError(pHeader, method);
        if (error == CONVERT_OK && LockDib(hDib, &source)) {
            const int height = source.shape.height;
            // Low pictures have no room for the larger kernels.
            const UINT fitting = method == 2 && height < 4   ? 0
                                 : method == 2 && height < 6 ? 1
                                                             : method;
            hResult = ConvertCheckedMono(&source, fitting, &error);
            UnlockDib(&source);
        } else if (error == CONVERT_OK) {
            error = CONVERT_BAD_ARGUMENT;
        }
        GlobalUnlock(hDib);
    }
    pState->nLastError = error;
    return hResult;
}

static int PaletteError(const BITMAPINFOHEADER *pHeader)
{
    if (pHeader->biSize != DIB_HEADER_BYTES) {
        return CONVERT_BAD_ARGUMENT;
    }
    if (pHeader->biCompression != BI_RGB) {
        return CONVERT_COMPRESSED;
    }
    if (pHeader->biBitCount == 1 || pHeader->biBitCount == 4) {
        return CONVERT_LOW_DEPTH;
    }
    if (pHeader->biBitCount == 24) {
        return CONVERT_HIGH_DEPTH;
    }
    if (pHeader->biWidth == 0 || (pHeader->biHeight & 0xffff) == 0) {
        return CONVERT_EMPTY;
    }
    return pHeader->biBitCount == 8 ? CONVERT_OK : CONVERT_BAD_ARGUMENT;
}

// Indices past a short colour table are black.
static void ExpandRows(const DibView *pSource, BYTE *pBits, size_t stride, int nRows)
{
    RGBQUAD colors[GRAY_LEVELS];
    DWORD nColors = pSource->shape.nColors;
    if (nColors > GRAY_LEVELS) {
        nColors = GRAY_LEVELS;
    }
    memset(colors, 0, sizeof colors);
    memcpy(colors, pSource->pColors, nColors * sizeof(RGBQUAD));
    const size_t width = (size_t)pSource->shape.width;
    for (int r = 0; r < nRows; r++) {
        const BYTE *src = pSource->pBits + (size_t)r * pSource->shape.stride;
        BYTE *dst = pBits + (size_t)r * stride;
        // Four bytes at a time: the fourth is overwritten by the next pixel.
        for (size_t x = 0; x + 1 < width; x++) {
            memcpy(dst + x * 3, &colors[src[x]], 4);
        }
        memcpy(dst + (width - 1) * 3, &colors[src[width - 1]], 3);
    }
}

static HGLOBAL ConvertCheckedPalette(const DibView *pSource, int *pError)
{
    const BITMAPINFOHEADER *pFrom = (const BITMAPINFOHEADER *)(void *)pSource->pBlock;
    const uint64_t stride = RowStride((uint64_t)pSource->shape.width, 24);
    const uint64_t nPixelBytes = stride * (uint64_t)pSource->shape.height;
    if (stride > 65535 || pSource->shape.height > 65535) {
        *pError = CONVERT_BAD_ARGUMENT;
        return NULL;
    }
    HGLOBAL hResult = AllocBlock(DIB_HEADER_BYTES + nPixelBytes);
    if (hResult == NULL) {
        GlobalCompact((DWORD)-1);
        hResult = AllocBlock(DIB_HEADER_BYTES + nPixelBytes);
    }
    if (hResult == NULL) {
        *pError = CONVERT_NO_MEMORY;
        return NULL;
    }
    BYTE *pBlock = (BYTE *)GlobalLock(hResult);
    if (pBlock == NULL) {
        *pError = CONVERT_NOT_LOCKED;
        GlobalFree(hResult);
        return NULL;
    }
    BITMAPINFOHEADER *pHeader = (BITMAPINFOHEADER *)(void *)pBlock;
    *pHeader = *pFrom;
    pHeader->biPlanes = 1;
    pHeader->biBitCount = 24;
    pHeader->biSizeImage = (DWORD)nPixelBytes;
    pHeader->biClrUsed = 0;
    pHeader->biClrImportant = 0;
    ExpandRows(pSource, pBlock + DIB_HEADER_BYTES, (size_t)stride, (short)pSource->shape.height);
    GlobalUnlock(hResult);
    return hResult;
}

HGLOBAL ConvertPalette(HGLOBAL hDib)
{
    FilterThreadState *pState = GetFilterThreadState();
    HGLOBAL hResult = NULL;
    int error;
    const BITMAPINFOHEADER *pHeader = LockHeader(hDib, &error);
    if (pHeader != NULL) {
        DibView source;
        error = PaletteError(pHeader);
        if (error == CONVERT_OK && LockDib(hDib, &source)) {
            hResult = ConvertCheckedPalette(&source, &error);
            UnlockDib(&source);
        } else if (error == CONVERT_OK) {
            error = CONVERT_BAD_ARGUMENT;
        }
        GlobalUnlock(hDib);
    }
    pState->nLastError = error;
    return hResult;
}

HGLOBAL VEXAFILTER_API ConvertMonoDibToGrayScale(HGLOBAL hDib, UINT method)
{
    RunningCall running;
    BeginCall(&running);
    const HGLOBAL hResult = ConvertMono(hDib, method);
    EndCall(&running);
    return hResult;
}

HGLOBAL VEXAFILTER_API Convert8bitto24(HGLOBAL hDib)
{
    RunningCall running;
    BeginCall(&running);
    const HGLOBAL hResult = ConvertPalette(hDib);
    EndCall(&running);
    return hResult;
}
