// Packed DIBs as the readers and writers of picture files see them: making one, opening one against
// the size of its block, rows counted from the top, colours, widening and turning.
//
// All sizes are summed in 64 bits and refused past 2^31 - 1 bytes, so a DIB that exists never
// overflows in later arithmetic. A colour table may be shorter than the depth allows; indexes past
// its end are black.
#include "codecs.h"

#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static const uint64_t DIB_BYTES_MOST = 0x7FFFFFFF;

bool FailImage(ImageMessages *messages, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(messages->szError, sizeof messages->szError, format, arguments);
    va_end(arguments);
    return false;
}

void NoteImage(ImageMessages *messages, const char *text)
{
    size_t length = strlen(messages->szNotice);
    snprintf(messages->szNotice + length, sizeof messages->szNotice - length, "%s%s",
             length > 0 ? "; " : "", text);
}

static uint64_t WideStride(int width, int bitCount)
{
    return (uint64_t(width) * unsigned(bitCount) + 31) / 32 * 4;
}

size_t DibStride(int width, int bitCount)
{
    return size_t(WideStride(width, bitCount));
}

static unsigned FullTable(int bitCount)
{
    return bitCount <= 8 ? 1u << bitCount : 0;
}

bool CreateDib(int width, int height, int bitCount, unsigned colours, DibView *view,
               ImageMessages *messages)
{
    uint64_t size = sizeof(BITMAPINFOHEADER) + uint64_t(colours) * sizeof(RGBQUAD) +
                    WideStride(width, bitCount) * unsigned(height);
    if (size > DIB_BYTES_MOST) {
        FailImage(messages, "the picture is too large: %d x %d pixels of %d bits pass 2 GiB", width,
                  height, bitCount);
        return false;
    }
    memset(view, 0, sizeof *view);
    view->hDib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, SIZE_T(size));
    view->pHeader = view->hDib ? static_cast<BITMAPINFOHEADER *>(GlobalLock(view->hDib)) : nullptr;
    if (!view->pHeader) {
        if (view->hDib) {
            GlobalFree(view->hDib);
        }
        FailImage(messages, "not enough memory for %d x %d pixels of %d bits", width, height,
                  bitCount);
        return false;
    }
    BITMAPINFOHEADER *header = view->pHeader;
    header->biSize = sizeof(BITMAPINFOHEADER);
    header->biWidth = width;
    header->biHeight = height;
    header->biPlanes = 1;
    header->biBitCount = WORD(bitCount);
    header->biCompression = BI_RGB;
    header->biClrUsed = colours == FullTable(bitCount) ? 0 : colours;
    view->pColours = reinterpret_cast<RGBQUAD *>(header + 1);
    view->nColours = colours;
    view->pBits = reinterpret_cast<BYTE *>(view->pColours + colours);
    view->nStride = DibStride(width, bitCount);
    view->nWidth = width;
    view->nHeight = height;
    view->nBitCount = bitCount;
    header->biSizeImage = DWORD(view->nStride * unsigned(height));
    return true;
}

bool OpenDib(HGLOBAL hDib, DibView *view, ImageMessages *messages)
{
    memset(view, 0, sizeof *view);
    uint64_t size = hDib ? GlobalSize(hDib) : 0;
    BITMAPINFOHEADER *header =
        size >= sizeof *header ? static_cast<BITMAPINFOHEADER *>(GlobalLock(hDib)) : nullptr;
    if (!header) {
        return FailImage(messages, "there is no picture");
    }
    int bits = header->biBitCount;
    bool bSound = header->biSize == sizeof *header && header->biWidth > 0 && header->biHeight > 0 &&
                  header->biCompression == BI_RGB &&
                  (bits == 1 || bits == 4 || bits == 8 || bits == 24);
    uint64_t colours = header->biClrUsed ? header->biClrUsed : FullTable(bits);
    uint64_t table = sizeof *header + colours * sizeof(RGBQUAD);
    if (!bSound || table + WideStride(header->biWidth, bits) * unsigned(header->biHeight) > size) {
        GlobalUnlock(hDib);
        return FailImage(messages, "the picture in memory is not a DIB of 1, 4, 8 or 24 bits");
    }
    view->hDib = hDib;
    view->pHeader = header;
    view->pColours = reinterpret_cast<RGBQUAD *>(header + 1);
    view->nColours = unsigned(colours < FullTable(bits) ? colours : FullTable(bits));
    view->pBits = reinterpret_cast<BYTE *>(view->pColours + colours);
    view->nStride = DibStride(header->biWidth, bits);
    view->nWidth = header->biWidth;
    view->nHeight = header->biHeight;
    view->nBitCount = bits;
    return true;
}

void CloseDib(DibView *view)
{
    if (view->hDib) {
        GlobalUnlock(view->hDib);
    }
    view->pHeader = nullptr;
}

BYTE *DibRow(const DibView *view, int y)
{
    return view->pBits + view->nStride * unsigned(view->nHeight - 1 - y);
}

RGBQUAD DibColour(const DibView *view, unsigned index)
{
    static const RGBQUAD BLACK = {0, 0, 0, 0};
    return index < view->nColours ? view->pColours[index] : BLACK;
}

unsigned DibPixelIndex(const DibView *view, const BYTE *row, int x)
{
    switch (view->nBitCount) {
    case 1:
        return (row[x >> 3] >> (7 - (x & 7))) & 1u;
    case 4:
        return (row[x >> 1] >> (x & 1 ? 0 : 4)) & 15u;
    default:
        return row[x];
    }
}

static BYTE RampLevel(const DibView *view, unsigned index)
{
    return BYTE(index * 255 / (FullTable(view->nBitCount) - 1));
}

static bool IsGray(RGBQUAD colour)
{
    return colour.rgbBlue == colour.rgbGreen && colour.rgbGreen == colour.rgbRed;
}

void SetGrayRamp(DibView *view)
{
    for (unsigned index = 0; index < view->nColours; index++) {
        BYTE level = RampLevel(view, index);
        view->pColours[index] = {level, level, level, 0};
    }
}

bool HasGrayTable(const DibView *view)
{
    for (unsigned index = 0; index < view->nColours; index++) {
        if (!IsGray(view->pColours[index])) {
            return false;
        }
    }
    return view->nBitCount <= 8;
}

bool HasGrayRamp(const DibView *view)
{
    if (view->nColours != FullTable(view->nBitCount) || !HasGrayTable(view)) {
        return false;
    }
    for (unsigned index = 0; index < view->nColours; index++) {
        if (view->pColours[index].rgbRed != RampLevel(view, index)) {
            return false;
        }
    }
    return true;
}

void ExpandRow(const DibView *view, int y, bool bGray, BYTE *out)
{
    const BYTE *row = DibRow(view, y);
    if (view->nBitCount == 24) {
        memcpy(out, row, size_t(view->nWidth) * 3);
        return;
    }
    for (int x = 0; x < view->nWidth; x++) {
        RGBQUAD colour = DibColour(view, DibPixelIndex(view, row, x));
        *out++ = colour.rgbBlue;
        if (bGray) {
            continue;
        }
        *out++ = colour.rgbGreen;
        *out++ = colour.rgbRed;
    }
}

void FlipDib(DibView *view)
{
    for (int y = 0; y < view->nHeight / 2; y++) {
        BYTE *upper = DibRow(view, y), *lower = DibRow(view, view->nHeight - 1 - y);
        for (size_t i = 0; i < view->nStride; i++) {
            BYTE kept = upper[i];
            upper[i] = lower[i];
            lower[i] = kept;
        }
    }
}

void InksToColours(const BYTE *inks, int width, bool bInverted, BYTE *out)
{
    int flip = bInverted ? 0 : 255;
    for (int x = 0; x < width; x++, inks += 4, out += 3) {
        for (int c = 0; c < 3; c++) {
            out[2 - c] = BYTE(((inks[c] ^ flip) * (inks[3] ^ flip) + 127) / 255);
        }
    }
}

unsigned DibColoursInUse(const DibView *view)
{
    unsigned colours = view->nColours;
    for (int y = 0; y < view->nHeight && colours < FullTable(view->nBitCount); y++) {
        const BYTE *row = DibRow(view, y);
        for (int x = 0; x < view->nWidth; x++) {
            unsigned index = DibPixelIndex(view, row, x);
            if (index >= colours) {
                colours = index + 1;
            }
        }
    }
    return colours;
}

int DotsPerInch(int perMeter)
{
    return perMeter > 0 ? int((int64_t(perMeter) * 254 + 5000) / 10000) : 0;
}

HGLOBAL WidenDib4To8(HGLOBAL hDib)
{
    ImageMessages messages;
    DibView src, dst;
    if (!OpenDib(hDib, &src, &messages)) {
        return nullptr;
    }
    bool bGray = HasGrayTable(&src);
    unsigned colours = bGray ? 256 : src.nColours;
    if (src.nBitCount != 4 || !CreateDib(src.nWidth, src.nHeight, 8, colours, &dst, &messages)) {
        CloseDib(&src);
        return nullptr;
    }
    dst.pHeader->biXPelsPerMeter = src.pHeader->biXPelsPerMeter;
    dst.pHeader->biYPelsPerMeter = src.pHeader->biYPelsPerMeter;
    if (bGray) {
        SetGrayRamp(&dst);
    } else {
        memcpy(dst.pColours, src.pColours, colours * sizeof(RGBQUAD));
    }
    for (int y = 0; y < src.nHeight; y++) {
        const BYTE *in = DibRow(&src, y);
        BYTE *out = DibRow(&dst, y);
        if (bGray) {
            ExpandRow(&src, y, true, out);
        } else {
            for (int x = 0; x < src.nWidth; x++) {
                out[x] = BYTE(DibPixelIndex(&src, in, x));
            }
        }
    }
    CloseDib(&dst);
    CloseDib(&src);
    return dst.hDib;
}

HGLOBAL OrientDib(HGLOBAL hDib, int orientation, ImageMessages *messages)
{
    // The tag names where the stored picture's first row and first column belong; in terms of a
    // pixel (x, y) of the upright picture: read the stored one at (x, y) or, from 5 on, at (y, x),
    // counted from the far side where the tag is listed below.
    if (orientation < 2 || orientation > 8) {
        return hDib;
    }
    bool bSwap = orientation >= 5;
    bool bFarX = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    bool bFarY = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;

    DibView src, dst;
    if (!OpenDib(hDib, &src, messages)) {
        GlobalFree(hDib);
        return nullptr;
    }
    int width = bSwap ? src.nHeight : src.nWidth, height = bSwap ? src.nWidth : src.nHeight;
    HGLOBAL hUpright = nullptr;
    if (src.nBitCount >= 8 &&
        CreateDib(width, height, src.nBitCount, src.nColours, &dst, messages)) {
        int perMeterX = src.pHeader->biXPelsPerMeter, perMeterY = src.pHeader->biYPelsPerMeter;
        dst.pHeader->biXPelsPerMeter = bSwap ? perMeterY : perMeterX;
        dst.pHeader->biYPelsPerMeter = bSwap ? perMeterX : perMeterY;
        memcpy(dst.pColours, src.pColours, src.nColours * sizeof(RGBQUAD));
        size_t step = unsigned(src.nBitCount) / 8;
        for (int y = 0; y < height; y++) {
            BYTE *out = DibRow(&dst, y);
            for (int x = 0; x < width; x++, out += step) {
                int sx = bSwap ? y : x, sy = bSwap ? x : y;
                sx = bFarX ? src.nWidth - 1 - sx : sx;
                sy = bFarY ? src.nHeight - 1 - sy : sy;
                memcpy(out, DibRow(&src, sy) + unsigned(sx) * step, step);
            }
        }
        CloseDib(&dst);
        hUpright = dst.hDib;
    }
    CloseDib(&src);
    GlobalFree(hDib);
    return hUpright;
}
