// Run-length rows of a BMP file, 4 or 8 bits per pixel.
//
// The data are byte pairs (count, value): count > 0 paints that many pixels with the value (at 4
// bits its two nibbles in turn). Count 0 is an escape: value 0 ends the row, 1 ends the picture, 2
// moves right and up by the next two bytes, and 3 or more is followed by that many literal pixels,
// padded to a multiple of two bytes. Pixels never painted keep index 0; runs are cut at the row's
// end. The data must reach the end of the picture.
#include "codecs.h"

static void PaintIndex(DibView *view, int x, int y, unsigned index)
{
    if (x >= view->nWidth) {
        return;
    }
    BYTE *row = view->pBits + view->nStride * unsigned(y);
    if (view->nBitCount == 8) {
        row[x] = BYTE(index);
    } else {
        row[x >> 1] =
            BYTE(x & 1 ? (row[x >> 1] & 0xF0) | index : (row[x >> 1] & 0x0F) | index << 4);
    }
}

// Pixel i of a row of packed pixels (a literal run, or a run's one value over and over).
static unsigned PackedIndex(const DibView *view, const BYTE *data, unsigned i)
{
    if (view->nBitCount == 8) {
        return data[i];
    }
    return (data[i >> 1] >> (i & 1 ? 0 : 4)) & 15u;
}

// y counts from the bottom row, as in the file. x may pass the row's end, but not without bound: no
// run is longer than 255.
bool DecodeBmpRuns(const BYTE *bytes, size_t length, DibView *view, ImageMessages *messages)
{
    int x = 0, y = 0;
    size_t at = 0;
    while (y < view->nHeight && length - at >= 2) {
        unsigned count = bytes[at], value = bytes[at + 1];
        const BYTE *data = bytes + at + 1;
        at += 2;
        if (count > 0) {
            for (unsigned i = 0; i < count; i++) {
                PaintIndex(view, x + int(i), y,
                           PackedIndex(view, data, view->nBitCount == 8 ? 0 : i & 1));
            }
            x += int(count);
        } else if (value == 0) {
            x = 0;
            y++;
        } else if (value == 1) {
            return true;
        } else if (value == 2) {
            if (length - at < 2) {
                break;
            }
            x += bytes[at];
            y += bytes[at + 1];
            at += 2;
        } else {
            size_t literal = (value * unsigned(view->nBitCount) + 7) / 8;
            literal += literal & 1;
            if (length - at < literal) {
                break;
            }
            for (unsigned i = 0; i < value; i++) {
                PaintIndex(view, x + int(i), y, PackedIndex(view, bytes + at, i));
            }
            x += int(value);
            at += literal;
        }
        x = x > view->nWidth ? view->nWidth : x;
    }
    if (y >= view->nHeight || (y == view->nHeight - 1 && x >= view->nWidth)) {
        return true;
    }
    return FailImage(messages, "the BMP file ends before its pixels do");
}
