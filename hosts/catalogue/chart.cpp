// See chart.h.
#include "chart.h"

#include <string.h>

bool CountPicture(HGLOBAL hDib, HistogramRecord *record)
{
    memset(record, 0, sizeof *record);
    const int bCounted = HistDIBCreate(hDib, record);
    const BITMAPINFOHEADER *locked =
        bCounted ? static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib)) : nullptr;
    if (!locked) {
        return false;
    }
    const BITMAPINFOHEADER header = *locked;
    const UINT bits = header.biBitCount, width = UINT(header.biWidth);
    const BYTE *rows = reinterpret_cast<const BYTE *>(locked) + sizeof header +
                       (header.biClrUsed ? header.biClrUsed
                        : bits <= 8      ? 1u << bits
                                         : 0) *
                           4;
    const UINT stride = (width * bits + 31) / 32 * 4;
    for (UINT y = 0; y < UINT(header.biHeight); y++) {
        const BYTE *row = rows + size_t(y) * stride;
        const UINT units = bits == 24 ? stride / 3 : stride * 8 / bits;
        for (UINT x = width; x < units; x++) {
            if (bits == 24) {
                for (int channel = 0; channel < 3; channel++) {
                    record->counts[channel][row[x * 3 + UINT(channel)]]--;
                }
            } else {
                const UINT shift = 8 - bits - x * bits % 8;
                record->counts[0][row[x * bits / 8] >> shift & ((1u << bits) - 1)]--;
            }
        }
    }
    GlobalUnlock(hDib);
    for (UINT channel = 0; channel < record->nChannels; channel++) {
        const UINT *counts = record->counts[channel];
        UINT least = counts[0], most = counts[0];
        for (UINT level = 1; level < record->nLevels; level++) {
            least = counts[level] < least ? counts[level] : least;
            most = counts[level] > most ? counts[level] : most;
        }
        record->minCount[channel] = least;
        record->maxCount[channel] = most;
    }
    return true;
}

// A block with the rows of a picture of 24 bits.
static HGLOBAL WrapRows(const BITMAPINFOHEADER *header, const void *rows)
{
    const HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE, sizeof *header + header->biSizeImage);
    BYTE *block = hDib ? static_cast<BYTE *>(GlobalLock(hDib)) : nullptr;
    if (!block) {
        GlobalFree(hDib);
        return nullptr;
    }
    memcpy(block, header, sizeof *header);
    memcpy(block + sizeof *header, rows, header->biSizeImage);
    GlobalUnlock(hDib);
    return hDib;
}

HGLOBAL DrawChart(const HistogramRecord *record, int width, int height, int channel)
{
    BITMAPINFO info = {};
    void *rows = nullptr;
    HGLOBAL hDib = nullptr;
    const RECT rect = {0, 0, width, height};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biSizeImage = DWORD((width * 3 + 3) / 4 * 4 * height);
    const HDC hdc = CreateCompatibleDC(nullptr);
    const HBITMAP hBitmap = CreateDIBSection(hdc, &info, DIB_RGB_COLORS, &rows, nullptr, 0);
    if (hdc && hBitmap) {
        const HGDIOBJ hOld = SelectObject(hdc, hBitmap);
        const int bDrawn = HistDispToDC(hdc, record, &rect, channel);
        GdiFlush();
        hDib = bDrawn ? WrapRows(&info.bmiHeader, rows) : nullptr;
        SelectObject(hdc, hOld);
    }
    if (hBitmap) {
        DeleteObject(hBitmap);
    }
    if (hdc) {
        DeleteDC(hdc);
    }
    return hDib;
}
