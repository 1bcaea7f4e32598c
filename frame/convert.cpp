// Format conversions: 1-bit to 8-bit gray (plain or smoothed) and 8-bit palette to 24-bit.
//
// Both report in nLastError, which no export returns, and leave nCurrentError alone. What no code
// tells (a block shorter than its header says) counts as a bad argument.
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

enum { SMOOTHING_SIDE = 5, GUARD = SMOOTHING_SIDE / 2 };

// clang-format off
static const BYTE SMOOTHING[2][SMOOTHING_SIDE][SMOOTHING_SIDE] = {
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
                           const BYTE kernel[SMOOTHING_SIDE][SMOOTHING_SIDE])
{
    const int width = pSource->shape.width;
    const size_t lineBytes = (size_t)width + 2 * GUARD + 8;
    BYTE *lines = (BYTE *)WorkAlloc(SMOOTHING_SIDE, lineBytes);
    if (lines == NULL) {
        return 0;
    }
    for (int y = -GUARD; y < pSource->shape.height + GUARD; y++) {
        // Line k of the ring holds the rows k, k + 5, ... above the picture included.
        LoadGuardedLine(pSource, y, invert,
                        lines + (size_t)((y + SMOOTHING_SIDE) % SMOOTHING_SIDE) * lineBytes);
        const int centre = y - GUARD;
        if (centre < 0) {
            continue;
        }
        for (int i = 0; i < SMOOTHING_SIDE; i++) {
            const int ring = (centre + i - GUARD + SMOOTHING_SIDE) % SMOOTHING_SIDE;
            for (int j = 0; j < SMOOTHING_SIDE; j++) {
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

// A new image of the same sides with that many spare bytes at its end, its header written. Locked
// into *pResult; null without memory, *pError then says why.
static HGLOBAL NewExpanded(const DibView *pSource, WORD bitCount, uint64_t nSpareBytes, int *pError,
                           DibView *pResult)
{
    const size_t nColors = bitCount == 8 ? (size_t)GRAY_LEVELS : 0;
    const uint64_t stride = RowStride((uint64_t)pSource->shape.width, bitCount);
    const uint64_t nPixelBytes = stride * (uint64_t)pSource->shape.height;
    const size_t nBitsOffset = DIB_HEADER_BYTES + nColors * sizeof(RGBQUAD);
    const uint64_t nBytes = nBitsOffset + nPixelBytes + nSpareBytes;
    HGLOBAL hResult = AllocBlock(nBytes);
    if (hResult == NULL && bitCount == 24) {
        GlobalCompact((DWORD)-1);
        hResult = AllocBlock(nBytes);
    }
    *pError = hResult == NULL ? CONVERT_NO_MEMORY : CONVERT_OK;
    BYTE *pBlock = hResult != NULL ? (BYTE *)GlobalLock(hResult) : NULL;
    if (hResult != NULL && pBlock == NULL) {
        *pError = bitCount == 24 ? CONVERT_NOT_LOCKED : CONVERT_NO_MEMORY;
        GlobalFree(hResult);
    }
    if (pBlock == NULL) {
        return NULL;
    }
    pResult->header = pSource->header;
    pResult->header.biPlanes = 1;
    pResult->header.biBitCount = bitCount;
    pResult->header.biSizeImage = (DWORD)nPixelBytes;
    pResult->header.biClrUsed = 0;
    pResult->header.biClrImportant = 0;
    memcpy(pBlock, &pResult->header, DIB_HEADER_BYTES);
    ViewDib(hResult, pBlock, &pResult->header, pResult);
    return hResult;
}

HGLOBAL ExpandMono(const DibView *pSource, UINT method, DibView *pGray)
{
    const RGBQUAD first = pSource->pColors[0];
    const int bFirstIsLight = first.rgbBlue >= 128 && first.rgbGreen >= 128 && first.rgbRed >= 128;
    const BYTE invert = bFirstIsLight ? 255 : 0;
    const int height = pSource->shape.height;
    const uint64_t nSpareBytes = ((uint64_t)pSource->shape.width * 40 + 155) / 32 * 4;
    // Low pictures have no room for the larger kernels.
    const UINT fitting = method == 2 && height < 4 ? 0 : method == 2 && height < 6 ? 1 : method;
    int error;
    HGLOBAL hGray = NewExpanded(pSource, 8, nSpareBytes, &error, pGray);
    if (hGray != NULL) {
        for (int i = 0; i < GRAY_LEVELS; i++) {
            const BYTE level = (BYTE)i;
            pGray->pColors[i] = {level, level, level, 0};
        }
        if (fitting == 0) {
            ConvertPlain(pSource, pGray, invert);
        } else if (!ConvertSmoothed(pSource, pGray, invert, SMOOTHING[fitting - 1])) {
            error = CONVERT_NO_MEMORY;
            UnlockDib(pGray);
            GlobalFree(hGray);
            hGray = NULL;
        }
    }
    GetFilterThreadState()->nLastError = error;
    return hGray;
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

HGLOBAL ExpandPalette(const DibView *pSource, DibView *pColor)
{
    const uint64_t stride = RowStride((uint64_t)pSource->shape.width, 24);
    const int bFits = stride <= 0xffff && pSource->shape.height <= 0xffff;
    int error = CONVERT_BAD_ARGUMENT;
    const HGLOBAL hColor = bFits ? NewExpanded(pSource, 24, 0, &error, pColor) : NULL;
    if (hColor != NULL) {
        ExpandRows(pSource, pColor->pBits, pColor->shape.stride, (short)pSource->shape.height);
    }
    GetFilterThreadState()->nLastError = error;
    return hColor;
}

// ---- exports ------------------------------------------------------------------------------------

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

static int PaletteError(const BITMAPINFOHEADER *pHeader, UINT method)
{
    (void)method;
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

// The codes tell one fault from another, so the header is looked at before the usual check, which
// knows only one answer.
static int LockForConversion(HGLOBAL hDib, UINT method,
                             int (*HeaderError)(const BITMAPINFOHEADER *, UINT), DibView *pSource)
{
    BITMAPINFOHEADER header;
    if (hDib == NULL) {
        return CONVERT_BAD_ARGUMENT;
    }
    void *pBlock = GlobalLock(hDib);
    if (pBlock == NULL) {
        return CONVERT_NOT_LOCKED;
    }
    int error = CONVERT_BAD_ARGUMENT;
    if (ReadHeader(hDib, pBlock, &header)) {
        error = HeaderError(&header, method);
    }
    if (error == CONVERT_OK && !ViewDib(hDib, pBlock, &header, pSource)) {
        error = CONVERT_BAD_ARGUMENT;
    }
    if (error != CONVERT_OK) {
        GlobalUnlock(hDib);
    }
    return error;
}

HGLOBAL VEXAFILTER_API ConvertMonoDibToGrayScale(HGLOBAL hDib, UINT method)
{
    RunningCall running;
    DibView source, gray;
    HGLOBAL hGray = NULL;
    FilterThreadState *pState = BeginCall(&running);
    pState->nLastError = LockForConversion(hDib, method, MonoError, &source);
    if (pState->nLastError == CONVERT_OK) {
        hGray = ExpandMono(&source, method, &gray);
        if (hGray != NULL) {
            UnlockDib(&gray);
        }
        UnlockDib(&source);
    }
    EndCall(&running);
    return hGray;
}

HGLOBAL VEXAFILTER_API Convert8bitto24(HGLOBAL hDib)
{
    RunningCall running;
    DibView source, color;
    HGLOBAL hColor = NULL;
    FilterThreadState *pState = BeginCall(&running);
    pState->nLastError = LockForConversion(hDib, 0, PaletteError, &source);
    if (pState->nLastError == CONVERT_OK) {
        hColor = ExpandPalette(&source, &color);
        if (hColor != NULL) {
            UnlockDib(&color);
        }
        UnlockDib(&source);
    }
    EndCall(&running);
    return hColor;
}
